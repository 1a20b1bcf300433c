// Which certificates may sign: one test for signing and for verification.
#pragma once

#include "talvo_crypto.h"

extern "C" {

// 1 when the key usage allows signatures of any kind (digital signature, non-repudiation,
// certificate or CRL signing) or is not restricted; 0 otherwise, for null and when it cannot be
// read.
int32_t issigncert(const TalvoPKICert *certificate) noexcept;
}
