// A certificate handle: the certificate, the private key that came with it or was given to it, and
// the other certificates that paths may use.
#pragma once

#include "crypto/open.h"

struct TalvoPKICert {
  talvo::crypto::X509Ptr x509;
  talvo::crypto::Key key;
  talvo::crypto::Octets lockedKey;  // PEM text of an encrypted key that waits for its password
  talvo::crypto::X509Stack companions;
};

namespace talvo::crypto {

// A new handle of the certificate alone.
TalvoPKICert *newCertificate(X509Ptr x509) noexcept;

// The key of the certificate, sharing OpenSSL's object; empty when it cannot be read.
Key publicKeyOf(const X509 *x509) noexcept;

// A time of ASN.1, whose own fraction of a second is dropped.
talvo_time *newTime(const ASN1_TIME *time, int32_t nanosecond) noexcept;

}  // namespace talvo::crypto
