// The signer's certificate and private key, from wherever users keep them.
#pragma once

#include <string>

#include "cli/handle.h"
#include "cli/result.h"

namespace CLI {  // NOLINT(readability-identifier-naming): a foreign name
class App;
}

namespace talvo::cli {

struct SignerOptions {
  std::string certificate;   // DER, PEM, a PEM bundle, PKCS #12
  std::string key;           // a file, or "pkcs11:..."; empty when it comes with the certificate
  std::string passwordFile;  // the first line is the password or PIN
};

struct Signer {
  Certificate certificate;  // carries the unlocked private key
  KeyPair keyPair;
};

void addSignerOptions(CLI::App &command, SignerOptions &options);
Result<Signer> loadSigner(const SignerOptions &options);

// One certificate, whatever else the file may hold.
Result<Certificate> loadCertificate(const std::string &path);

}  // namespace talvo::cli
