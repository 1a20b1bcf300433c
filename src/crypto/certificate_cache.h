// The certificates that were read last. OpenSSL 3.0 needs many times longer to decode a certificate
// than to verify a signature with it, and those who verify meet the same few certificates again and
// again.
#pragma once

#include "crypto/der.h"

namespace talvo::crypto {

// The certificate that all of the bytes are, or null. Callers share OpenSSL's object and must not
// change it.
X509Ptr certificateOfDer(Bytes der) noexcept;

}  // namespace talvo::crypto
