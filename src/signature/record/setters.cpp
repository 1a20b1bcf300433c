// What a verifier adds to a decoded signature: keys, domain parameters, certificates, the place
// that relative references start from.
#include "signature/record/record.h"
#include "signature/record/signer_certificate.h"
#include "signature/vocabulary/algorithm.h"

namespace talvo {
namespace {

int32_t methodOf(const Signature *signature) noexcept {
  return signature == nullptr ? TALVO_ALGORITHM_UNKNOWN
                              : signature->signedInfo->signatureMethod->algorithmId;
}

KeyFamily familyOf(const Signature *signature) noexcept {
  const SignatureAlgorithm *algorithm = signatureByNumber(methodOf(signature));
  return algorithm == nullptr ? KeyFamily::none : algorithm->family;
}

void *dupCertificate(void *certificate) noexcept {
  return TalvoPKICertDupCert(static_cast<TalvoPKICert *>(certificate));
}

void freeCertificate(void *certificate) noexcept {
  TalvoPKICertFreeCert(static_cast<TalvoPKICert *>(certificate));
}

void replaceGiven(BigInteger &target, BigInteger given) noexcept {
  if (given) {
    target = std::move(given);
  }
}

}  // namespace
}  // namespace talvo

using namespace talvo;

int32_t talvo_xml_signature_sethmackey(Signature *signature, const void *key,
                                       size_t length) noexcept {
  if (familyOf(signature) != KeyFamily::hmac || key == nullptr) {
    return 0;
  }
  Blob copy(talvo_data_blob_new(key, length));
  if (!copy) {
    return 0;
  }
  signature->hmacKey = std::move(copy);
  return 1;
}

int32_t talvo_xml_signature_sethdomainparam(Signature *signature, const talvo_biginteger *p,
                                            const talvo_biginteger *q,
                                            const talvo_biginteger *g) noexcept {
  if (methodOf(signature) != TALVO_SIGNATURE_DSA_SHA1 || (p == nullptr) != (q == nullptr) ||
      (p == nullptr && g == nullptr)) {
    return 0;
  }
  BigInteger newP(talvo_biginteger_dup(p));
  BigInteger newQ(talvo_biginteger_dup(q));
  BigInteger newG(talvo_biginteger_dup(g));
  if ((newP == nullptr) != (p == nullptr) || (newQ == nullptr) != (q == nullptr) ||
      (newG == nullptr) != (g == nullptr)) {
    return 0;
  }
  replaceGiven(signature->domainParameters[0], std::move(newP));
  replaceGiven(signature->domainParameters[1], std::move(newQ));
  replaceGiven(signature->domainParameters[2], std::move(newG));
  return 1;
}

int32_t talvo_xml_signature_setbasepath(Signature *signature, const talvo_ustring *path) noexcept {
  UString copy(talvo_ustring_dup(path));
  if (signature == nullptr || !copy) {
    return 0;
  }
  signature->basePath = std::move(copy);
  return 1;
}

int32_t talvo_xml_signature_addcert(Signature *signature,
                                    const TalvoPKICert *certificate) noexcept {
  if (signature == nullptr || issigncert(certificate) != 1) {
    return 0;
  }
  if (!signature->extraCertificates) {
    signature->extraCertificates.reset(talvo_arraylist_new(dupCertificate, freeCertificate));
  }
  // The list copies what is pushed, and its copy function takes items that are not const.
  return talvo_arraylist_pushback(signature->extraCertificates.get(),
                                  const_cast<TalvoPKICert *>(certificate));
}
