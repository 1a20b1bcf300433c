// What a decoded signature says about itself, as parts of a result tree.
#pragma once

#include <string>

#include "cli/algorithm.h"
#include "cli/handle.h"
#include "cli/json_object.h"

namespace talvo::cli {

// Name and number; of an algorithm that the library does not know, the identifier as written.
JsonObject describeAlgorithm(uint32_t kind, int32_t number, const UString &uri);

// Subject, issuer, serial number; of null an empty object.
JsonObject describeCertificate(const TalvoPKICert *certificate);

// Claimed signing time, and each of what was added after signing: time-stamps with their verdict,
// certificate and revocation values, countersignatures with theirs. A countersignature whose
// references lead out of the document is not verified unless `mayLeaveDocument`.
void describeXades(const Signature *signature, bool mayLeaveDocument, JsonObject &report);

}  // namespace talvo::cli
