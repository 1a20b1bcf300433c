// The octets of a signature value: the cryptographic library's DER pairs of DSA, ECDSA and SM2
// against the two halves of fixed width that XML Signature writes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "talvo_crypto.h"

extern "C" {

// Signs the octets by the signature method. The result (released with TalvoPKICryptoFreeMemory) is
// r || s for DSA, ECDSA and SM2, each half as wide as the group order, and the plain value for RSA.
// 1 or 0.
int32_t sign(TalvoPKIKeyPair *keyPair, int32_t signatureMethod, const uint8_t *bytes, size_t length,
             uint8_t **signature, size_t *signatureLength) noexcept;

// 1 exactly when the value is a valid signature of the octets; `algorithm` is a number of the
// cryptographic library.
int32_t verifysignaturebypubkey(TalvoPKIPublicKey *key, int32_t algorithm, const uint8_t *bytes,
                                size_t length, const uint8_t *value, size_t valueLength) noexcept;
}
