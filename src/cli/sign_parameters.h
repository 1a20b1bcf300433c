// Signing by a JSON parameter document.
#pragma once

#include "cli/credential.h"
#include "cli/document.h"
#include "cli/handle.h"
#include "cli/placement.h"
#include "cli/result.h"
#include "cli/sign_options.h"

namespace talvo::cli {

// Reads a JSON file; the failure names the line where it goes wrong.
Result<Json> loadJson(const std::string &path);
// The parameters then tell the library to fetch nothing from the network.
void forbidNetwork(const Json &parameters);

// The document that holds the new signature.
Result<LoadedDocument> signWithParameters(const SignOptions &options, const Signer &signer,
                                          Placement &placement);

}  // namespace talvo::cli
