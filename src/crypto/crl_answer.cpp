// One CRL against one certificate. A CRL counts when the issuer of the certificate signed it, may
// sign CRLs, and it is not past its date; one that is about a part of the certificates only counts
// for those.
#include <openssl/x509v3.h>

#include "crypto/trust.h"

namespace talvo::crypto {
namespace {

using DistributionPoint = Handle<ISSUING_DIST_POINT, ISSUING_DIST_POINT_free>;

// OpenSSL verifies the SM2 signature of a CRL with the empty identifier, so its octets are verified
// here. They are read from a copy: encoding them marks the object as changed.
bool verifySm2(X509_CRL *crl, EVP_PKEY *key) noexcept {
  const CrlHandle copy(X509_CRL_dup(crl));
  unsigned char *octets = nullptr;
  const int length = copy == nullptr ? 0 : i2d_re_X509_CRL_tbs(copy.get(), &octets);
  const OpensslBytes owner(octets);
  const Key sm2 = makeKey(share(key));
  const EvpDigest context(EVP_MD_CTX_new());
  const ASN1_BIT_STRING *value = nullptr;
  X509_CRL_get0_signature(crl, &value, nullptr);
  EVP_PKEY_CTX *keyContext = nullptr;
  return length > 0 && sm2 && context && value != nullptr &&
         EVP_DigestVerifyInit(context.get(), &keyContext, EVP_sm3(), nullptr, sm2.handle.get()) ==
             1 &&
         EVP_PKEY_CTX_set1_id(keyContext, kSm2Identifier.data(), kSm2Identifier.size()) == 1 &&
         EVP_DigestVerify(context.get(), value->data, static_cast<size_t>(value->length), octets,
                          static_cast<size_t>(length)) == 1;
}

bool isSignedBy(X509_CRL *crl, X509 *issuer) noexcept {
  EVP_PKEY *key = X509_get0_pubkey(issuer);
  if (key == nullptr) {
    return false;
  }
  return X509_CRL_get_signature_nid(crl) == NID_SM2_with_SM3 ? verifySm2(crl, key)
                                                             : X509_CRL_verify(crl, key) == 1;
}

bool isCurrent(const X509_CRL *crl, time_t now) noexcept {
  const ASN1_TIME *next = X509_CRL_get0_nextUpdate(crl);
  return X509_CRL_get0_lastUpdate(crl) != nullptr &&
         (next == nullptr || ASN1_TIME_cmp_time_t(next, now) > 0);
}

bool isKnownCritical(int nid) noexcept {
  return nid == NID_issuing_distribution_point || nid == NID_authority_key_identifier;
}

// A delta CRL and an indirect one mark themselves by critical extensions.
bool hasUnknownCritical(const X509_CRL *crl) noexcept {
  for (int i = 0; i < X509_CRL_get_ext_count(crl); ++i) {
    X509_EXTENSION *extension = X509_CRL_get_ext(crl, i);
    if (X509_EXTENSION_get_critical(extension) != 0 &&
        !isKnownCritical(OBJ_obj2nid(X509_EXTENSION_get_object(extension)))) {
      return true;
    }
  }
  return false;
}

bool sharesName(const DIST_POINT_NAME *first, const DIST_POINT_NAME *second) noexcept {
  if (first == nullptr || second == nullptr || first->type != 0 || second->type != 0) {
    return false;
  }
  for (int i = 0; i < sk_GENERAL_NAME_num(first->name.fullname); ++i) {
    for (int j = 0; j < sk_GENERAL_NAME_num(second->name.fullname); ++j) {
      if (GENERAL_NAME_cmp(sk_GENERAL_NAME_value(first->name.fullname, i),
                           sk_GENERAL_NAME_value(second->name.fullname, j)) == 0) {
        return true;
      }
    }
  }
  return false;
}

bool namesPoint(const X509 *certificate, const DIST_POINT_NAME *name) noexcept {
  const Handle<CRL_DIST_POINTS, CRL_DIST_POINTS_free> points(static_cast<CRL_DIST_POINTS *>(
      X509_get_ext_d2i(certificate, NID_crl_distribution_points, nullptr, nullptr)));
  for (int i = 0; i < sk_DIST_POINT_num(points.get()); ++i) {
    if (sharesName(sk_DIST_POINT_value(points.get(), i)->distpoint, name)) {
      return true;
    }
  }
  return false;
}

enum class Scope { all, other, unusable };

// Whether the certificate is among those that the CRL is about.
Scope scopeOf(const X509_CRL *crl, const X509 *certificate) noexcept {
  int critical = -1;
  const DistributionPoint point(static_cast<ISSUING_DIST_POINT *>(
      X509_CRL_get_ext_d2i(crl, NID_issuing_distribution_point, &critical, nullptr)));
  if (point == nullptr) {
    return critical == -1 ? Scope::all : Scope::unusable;  // -1: there is none
  }
  if (point->indirectCRL > 0 || point->onlysomereasons != nullptr) {
    return Scope::unusable;
  }
  const bool isAuthority = X509_check_ca(const_cast<X509 *>(certificate)) > 0;
  if (point->onlyattr > 0 || (point->onlyuser > 0 && isAuthority) ||
      (point->onlyCA > 0 && !isAuthority) ||
      (point->distpoint != nullptr && !namesPoint(certificate, point->distpoint))) {
    return Scope::other;
  }
  return Scope::all;
}

bool isRevoked(X509_CRL *crl, const X509 *certificate, time_t now) noexcept {
  X509_REVOKED *entry = nullptr;
  constexpr int kRevoked = 1;
  if (X509_CRL_get0_by_serial(crl, &entry, X509_get0_serialNumber(certificate)) != kRevoked) {
    return false;
  }
  // A date that cannot be read is -2, and counts.
  return ASN1_TIME_cmp_time_t(X509_REVOKED_get0_revocationDate(entry), now) <= 0;
}

}  // namespace

CrlAnswer askCrl(X509_CRL *crl, const X509 *certificate, X509 *issuer, time_t now) noexcept {
  if (X509_NAME_cmp(X509_CRL_get_issuer(crl), X509_get_issuer_name(certificate)) != 0) {
    return CrlAnswer::speaksOfAnother;
  }
  const Scope scope = scopeOf(crl, certificate);
  if (scope == Scope::other) {
    return CrlAnswer::speaksOfAnother;
  }
  const bool maySign = issuer != nullptr && (X509_get_key_usage(issuer) & KU_CRL_SIGN) != 0;
  if (scope == Scope::unusable || !maySign || hasUnknownCritical(crl) || !isCurrent(crl, now) ||
      !isSignedBy(crl, issuer)) {
    return CrlAnswer::unusable;
  }
  return isRevoked(crl, certificate, now) ? CrlAnswer::revoked : CrlAnswer::good;
}

}  // namespace talvo::crypto
