// The first half of verification: SignedInfo, canonicalised, against the signature value.
#pragma once

#include <cstddef>
#include <cstdint>

#include "talvo_xml.h"

extern "C" {

// Searches the certificates that belong to the signature for one that verifies `value` over the octets; `algorithm` is
// the cryptographic library's number of an ECDSA or SM2 method. Hands out a new key of the certificate. Key values
// are not used. Errors: 9 no candidate, 1 none of the candidates verifies, 3.
int32_t verifyeccsignature(int32_t algorithm, const uint8_t *octets, size_t length,
                           const Signature *signature, const uint8_t *value, size_t valueLength,
                           SignatureKey **key, uint32_t *error) noexcept;
}
