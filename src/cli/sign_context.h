// From the options of `sign` to the library's description of a signature.
#pragma once

#include "cli/credential.h"
#include "cli/handle.h"
#include "cli/placement.h"
#include "cli/result.h"
#include "cli/sign_options.h"

namespace talvo::cli {

struct SignRequest {
  SignedInfoContext signedInfo;
  List objects;  // of ObjectCtx; null without any
};

// Takes the content of an enveloping signature out of the placement.
Result<SignRequest> makeRequest(const SignOptions &options, const Signer &signer,
                                Placement &placement);

// The method that signs by default with a key of this kind.
Result<int32_t> defaultMethod(const KeyPair &key);

}  // namespace talvo::cli
