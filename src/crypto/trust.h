// Whom a verifier believes: anchors, pins, CRLs and the rules for the certificates on a path. It is
// filled once and then only asked, so one object serves many threads.
#pragma once

#include <ctime>
#include <optional>

#include "crypto/certificate.h"
#include "util/x509/objects.h"

namespace talvo::crypto {

inline void freeCrlStack(STACK_OF(X509_CRL) * stack) noexcept {
  sk_X509_CRL_pop_free(stack, X509_CRL_free);
}
using CrlHandle = Handle<X509_CRL, X509_CRL_free>;
using CrlStack = Handle<STACK_OF(X509_CRL), freeCrlStack>;

struct TrustRules {
  int32_t minRsaBits = 0;
  int32_t minDsaBits = 0;
  int32_t minEcBits = 0;
  bool allowSha1 = true;
  bool keyUsage = false;
  int32_t revocation = TALVO_REVOCATION_NONE;
  bool pinIgnoresDates = false;
};

// Whether an extended key usage holds nothing but time-stamping and OCSP signing, or cannot be
// read.
bool isForServicesOnly(const X509 *x509) noexcept;
// Whether key, and signature, of a certificate are as strong as the rules ask.
bool isStrongKey(X509 *x509, const TrustRules &rules) noexcept;
bool isStrongSignature(X509 *x509, const TrustRules &rules) noexcept;

// What a CRL says about one certificate.
enum class CrlAnswer { speaksOfAnother, unusable, good, revoked };
CrlAnswer askCrl(X509_CRL *crl, const X509 *certificate, X509 *issuer, time_t now) noexcept;

}  // namespace talvo::crypto

struct TalvoPKITrust {
  talvo::crypto::X509Store store;
  talvo::crypto::X509Stack anchors;
  talvo::crypto::X509Stack intermediates;
  talvo::crypto::X509Stack pins;
  talvo::List pinnedKeys;  // of TalvoPKIPublicKey
  talvo::crypto::CrlStack crls;
  std::optional<time_t> time;  // none: now
  talvo::crypto::TrustRules rules;
};
