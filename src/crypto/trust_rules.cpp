// What the rules say about one certificate, wherever on a path it stands.
#include <openssl/x509v3.h>

#include "crypto/trust.h"

namespace talvo::crypto {

// An extended key usage that holds nothing but these two is meant for something else than
// documents.
bool isForServicesOnly(const X509 *x509) noexcept {
  int critical = -1;
  const Handle<EXTENDED_KEY_USAGE, EXTENDED_KEY_USAGE_free> usages(
      static_cast<EXTENDED_KEY_USAGE *>(
          X509_get_ext_d2i(x509, NID_ext_key_usage, &critical, nullptr)));
  if (usages == nullptr) {
    return critical != -1;  // -1: there is none
  }
  for (int i = 0; i < sk_ASN1_OBJECT_num(usages.get()); ++i) {
    const int nid = OBJ_obj2nid(sk_ASN1_OBJECT_value(usages.get(), i));
    if (nid != NID_time_stamp && nid != NID_OCSP_sign) {
      return false;
    }
  }
  return true;
}

bool isStrongKey(X509 *x509, const TrustRules &rules) noexcept {
  EVP_PKEY *key = X509_get0_pubkey(x509);
  if (key == nullptr) {
    return false;
  }
  const int bits = EVP_PKEY_get_bits(key);
  switch (familyOf(key)) {
    case KeyFamily::rsa:
    case KeyFamily::rsaPss:
      return bits >= rules.minRsaBits;
    case KeyFamily::dsa:
      return bits >= rules.minDsaBits;
    case KeyFamily::ec:
    case KeyFamily::sm2:
      return bits >= rules.minEcBits;
    default:
      return true;
  }
}

bool isStrongSignature(X509 *x509, const TrustRules &rules) noexcept {
  int digest = NID_undef;
  if (X509_get_signature_info(x509, &digest, nullptr, nullptr, nullptr) != 1) {
    return true;  // a signature without a digest of its own
  }
  if (digest == NID_md2 || digest == NID_md4 || digest == NID_md5 || digest == NID_ripemd160) {
    return rules.allowSha1 && rules.minRsaBits == 0;
  }
  return digest != NID_sha1 || rules.allowSha1;
}

}  // namespace talvo::crypto
