// Where a new signature stands: in the user's document, around it, or in a document of its own.
#pragma once

#include "cli/document.h"
#include "cli/handle.h"
#include "cli/result.h"
#include "cli/sign_options.h"

namespace talvo::cli {

struct Placement {
  LoadedDocument loaded;      // the user's document; empty for a detached signature
  XmlNode *parent = nullptr;  // takes an enveloped signature as its last child
  ObjectContext content;      // the Object of an enveloping signature
  UString basePath;

  bool isEnveloped() const { return parent != nullptr; }
};

Result<Placement> place(const SignOptions &options);

// No reference of a new signature may lead to the network: neither by its own URI nor by an
// xml:base around it.
Check refuseNetwork(const std::vector<std::string> &uris, const Placement &placement);

}  // namespace talvo::cli
