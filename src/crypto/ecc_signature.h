// The DER SEQUENCE of two unsigned INTEGERs: signatures of DSA, ECDSA and SM2 (r and s) have this
// form, and so have RSA public keys (modulus and exponent).
#pragma once

#include "crypto/octets.h"

namespace talvo::crypto {

struct IntegerPair {
  Octets first;
  Octets second;

  explicit operator bool() const noexcept { return first && second; }
};

// Empty unless the bytes are exactly such a SEQUENCE, in DER. The numbers have no leading zeros.
IntegerPair decodeIntegerPair(Bytes der) noexcept;

// Empty when a number is too long to be one half of anything (65,535 octets in all).
Octets encodeIntegerPair(Bytes first, Bytes second) noexcept;

}  // namespace talvo::crypto
