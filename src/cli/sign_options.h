// What `sign` can be told.
#pragma once

#include <string>
#include <vector>

#include "cli/credential.h"

namespace talvo::cli {

struct SignOptions {
  SignerOptions signer;
  std::string parameters;  // a file of JSON parameters, instead of most of the options below

  // where the signature stands
  bool enveloping = false;
  std::vector<std::string> detached;
  std::string at;
  std::string into;

  // what is signed, and how
  std::string signatureId;
  std::string signatureValueId;
  std::string objectId = "Object";
  std::string c14n = "c14n";
  std::string prefixes;
  std::string digest = "SHA-256";
  std::string method;
  std::string includeCertificates = "self";
  std::vector<std::string> references;
  bool manifest = false;

  // XAdES
  bool signingTime = false;
  bool signingCertificate = false;
  std::string productionPlace;
  bool policyImplied = false;

  std::string basePath;
  std::string idAttribute;
  std::string output;
  std::string input;

  bool asksForXades() const {
    return signingTime || signingCertificate || policyImplied || !productionPlace.empty();
  }
  bool isDetached() const { return input.empty(); }
};

}  // namespace talvo::cli
