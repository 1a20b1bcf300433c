// The first half of verification, the signature value. The road: canonical octets of SignedInfo,
// then either a MAC with the key that the caller set, or a search for the key that verifies; last
// the XAdES signing certificate, which ties the signature to one certificate.
#include "base/boundary.h"
#include "crypto/handle.h"
#include "signature/decode/transform_params.h"
#include "signature/record/certid.h"
#include "signature/sign/signed_info_octets.h"
#include "signature/verify/key_search.h"

namespace talvo {
namespace {

// The canonical octets of SignedInfo; null with an error.
Blob canonicalSignedInfo(const SignedInfo &signedInfo, uint32_t *error) noexcept {
  const TransformAlgorithm *method = c14nByNumber(signedInfo.canonicalizationMethod->algorithmId);
  if (method == nullptr || !canCanonicalize(method->number)) {
    return failNull(error, TALVO_VERIFY_ERROR_C14N_METHOD);
  }
  PrefixBlock prefixes;
  if (isExclusive(method->number) &&
      !decodeexcc14nnode(signedInfo.canonicalizationMethod->element, &prefixes, error)) {
    return nullptr;
  }
  Blob octets = signedInfoOctets(signedInfo.element, method->number, prefixes);
  if (!octets) {
    return failNull(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY);
  }
  return octets;
}

bool sameLength(int32_t hmacBits, size_t valueLength) noexcept {
  constexpr size_t kLongestValue = 128;
  return hmacBits >= 0 && static_cast<size_t>(hmacBits) / 8 == valueLength &&
         valueLength <= kLongestValue;
}

// A truncated MAC is compared over the length of the signature value.
int32_t verifyMac(const MacOperation &mac, Bytes octets, Bytes value, uint32_t *error) noexcept {
  if (TalvoPKICryptoMacUpdate(mac.get(), octets.data(), octets.size()) != 1) {
    return fail(error, TALVO_VERIFY_ERROR_INVALID_SIGNATURE);
  }
  const CryptoOctets computed = octetsFrom(TalvoPKICryptoMacFinal, mac.get());
  if (!computed || computed.length < value.size() ||
      TalvoPKICryptoEqualMemory(computed.bytes.get(), value.data(), value.size()) != 1) {
    return fail(error, TALVO_VERIFY_ERROR_INVALID_SIGNATURE);
  }
  return 1;
}

Key verifyHmac(const Signature &signature, const SignatureAlgorithm &method, Bytes octets,
               uint32_t *error) noexcept {
  const Bytes value = bytesOf(signature.signatureValue->value.get());
  if (!signature.hmacKey) {
    return failNull(error, TALVO_VERIFY_ERROR_NO_KEY);
  }
  if (!sameLength(signature.signedInfo->signatureMethod->hmacOutputLength, value.size())) {
    return failNull(error, TALVO_VERIFY_ERROR_INVALID_SIGNATURE);
  }
  const Bytes secret = bytesOf(signature.hmacKey.get());
  MacOperation mac(method.crypto == 0
                       ? nullptr
                       : TalvoPKICryptoNewMac(method.crypto, secret.data(), secret.size()));
  if (!mac) {
    return failNull(error, TALVO_VERIFY_ERROR_HMAC_METHOD);
  }
  if (verifyMac(mac, octets, value, error) != 1) {
    return nullptr;
  }
  Key key = makeHmacKey(secret);
  if (!key) {
    return failNull(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY);
  }
  return key;
}

Key searchKey(const Signature *signature, const ValueCheck &check, uint32_t *error) noexcept {
  KeySearch search(signature, check);
  if (!search.run()) {
    return failNull(error, search.triedAny() ? TALVO_VERIFY_ERROR_INVALID_SIGNATURE
                                             : TALVO_VERIFY_ERROR_NO_KEY);
  }
  Key key = search.makeKey();
  if (!key) {
    return failNull(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY);
  }
  return key;
}

// ECDSA and SM2, by a number of the cryptographic library: certificates alone are candidates, since
// a key value of their family is not read.
Key verifyeccsignature(const Signature &signature, int32_t algorithm, Bytes octets, Bytes value,
                       uint32_t *error) noexcept {
  return searchKey(&signature, {KeyFamily::ec, algorithm, octets, value}, error);
}

Key verifyWithKeyPairs(const Signature &signature, const SignatureAlgorithm *method, Bytes octets,
                       uint32_t *error) noexcept {
  if (method == nullptr || method->crypto == 0) {
    return failNull(error, TALVO_VERIFY_ERROR_SIGNATURE_METHOD);
  }
  const Bytes value = bytesOf(signature.signatureValue->value.get());
  if (method->family == KeyFamily::ec) {
    return verifyeccsignature(signature, method->crypto, octets, value, error);
  }
  constexpr size_t kDsaValueLength = 40;
  if (method->family == KeyFamily::dsa && value.size() != kDsaValueLength) {
    return failNull(error, TALVO_VERIFY_ERROR_INVALID_SIGNATURE);
  }
  return searchKey(&signature, {method->family, method->crypto, octets, value}, error);
}

// Without a SigningCertificate property every key will do; with one only a certificate that it
// names.
bool matchesSigningCertificate(const Signature &signature, const SignatureKey &key) noexcept {
  if (!signature.signingCertificate) {
    return true;
  }
  for (const CertId *certId : items<CertId>(signature.signingCertificate)) {
    if (key.certificate() != nullptr &&
        MatchSigningCertificateItem(certId, key.certificate()) == 1) {
      return true;
    }
  }
  return false;
}

// Keeps a copy of the certificate that verified, or forgets an earlier one.
bool rememberSigner(Signature *signature, const SignatureKey &key) noexcept {
  Certificate signer;
  if (key.certificate() != nullptr) {
    signer.reset(TalvoPKICertDupCert(key.certificate()));
    if (!signer) {
      return false;
    }
  }
  signature->signerCertificate = std::move(signer);
  return true;
}

Key verifyAsymmetric(Signature *signature, const SignatureAlgorithm *method, Bytes octets,
                     uint32_t *error) noexcept {
  Key key = verifyWithKeyPairs(*signature, method, octets, error);
  if (!key) {
    return nullptr;
  }
  if (!matchesSigningCertificate(*signature, *key)) {
    return failNull(error, TALVO_VERIFY_ERROR_SIGNING_CERTIFICATE);
  }
  if (!rememberSigner(signature, *key)) {
    return failNull(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY);
  }
  return key;
}

int32_t validateValue(Signature *signature, SignatureKey **key, uint32_t *error) noexcept {
  if (key != nullptr) {
    *key = nullptr;
  }
  if (signature == nullptr) {
    return fail(error, TALVO_VERIFY_ERROR_MISSING_ARGUMENT);
  }
  const Blob canonical = canonicalSignedInfo(*signature->signedInfo, error);
  if (!canonical) {
    return 0;
  }
  const Bytes octets = bytesOf(canonical.get());
  const SignatureAlgorithm *method =
      signatureByNumber(signature->signedInfo->signatureMethod->algorithmId);
  Key verified = method != nullptr && method->family == KeyFamily::hmac
                     ? verifyHmac(*signature, *method, octets, error)
                     : verifyAsymmetric(signature, method, octets, error);
  if (!verified) {
    return 0;
  }
  if (key != nullptr) {
    *key = verified.release();
  }
  return 1;
}

}  // namespace
}  // namespace talvo

using namespace talvo;

int32_t talvo_xml_signature_signaturevalidation(Signature *signature, SignatureKey **key,
                                                uint32_t *error) noexcept {
  return guardWithError(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY,
                        [&] { return validateValue(signature, key, error); });
}
