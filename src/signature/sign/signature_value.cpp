// The signature value: SignedInfo canonicalised, signed and written as Base64. The library signs
// with key pairs only; HMAC is for verification.
#include "base/base64_text.h"
#include "base/boundary.h"
#include "base/utf8.h"
#include "crypto/handle.h"
#include "signature/sign/raw_signature.h"
#include "signature/sign/signed_info_octets.h"
#include "signature/vocabulary/algorithm.h"
#include "signature/vocabulary/vocabulary.h"
#include "transform/canonical/prefix_list.h"
#include "xml/edit.h"
#include "xml/node.h"

namespace talvo {
namespace {

struct SignRun {
  XmlDoc *doc;
  XmlNode *signatureElement;
  TalvoPKIKeyPair *keyPair;
  int32_t signatureMethod;
  int32_t c14nMethod;
  const talvo_arraylist *prefixes;
};

Blob canonicalSignedInfo(const SignRun &run, XmlNode *signedInfo, uint32_t *error) noexcept {
  if (!canCanonicalize(run.c14nMethod)) {
    return failNull(error, TALVO_SIGN_ERROR_C14N_METHOD);
  }
  PrefixBlock prefixes;
  if (isExclusive(run.c14nMethod)) {
    prefixes = PrefixBlock(getexcc14nparam2(run.prefixes));
    if (!prefixes) {
      return failNull(error, TALVO_SIGN_ERROR_OUT_OF_MEMORY);
    }
  }
  Blob octets = signedInfoOctets(signedInfo, run.c14nMethod, prefixes);
  if (!octets) {
    return failNull(error, TALVO_SIGN_ERROR_OUT_OF_MEMORY);
  }
  return octets;
}

bool isHmac(int32_t signatureMethod) noexcept {
  const SignatureAlgorithm *method = signatureByNumber(signatureMethod);
  return method != nullptr && method->family == KeyFamily::hmac;
}

int32_t writeValue(const SignRun &run, Bytes value, uint32_t *error) noexcept {
  XmlNode *element = signatureChild(run.signatureElement, g_xml_signature_signaturevalue);
  if (element == nullptr) {
    return fail(error, TALVO_SIGN_ERROR_MISSING_ELEMENT);
  }
  const UString text = encodeBase64(value, TALVO_BASE64_ONE_LINE);
  OwnedNode node = makeText(run.doc, text.get());
  if (!node || linkChild(element, node) == nullptr) {
    return fail(error, TALVO_SIGN_ERROR_OUT_OF_MEMORY);
  }
  return 1;
}

int32_t signSignedInfo(const SignRun &run, uint32_t *error) noexcept {
  XmlNode *signedInfo = signatureChild(run.signatureElement, g_xml_signature_signerinfo_name);
  if (signedInfo == nullptr) {
    return fail(error, TALVO_SIGN_ERROR_MISSING_ELEMENT);
  }
  const Blob octets = canonicalSignedInfo(run, signedInfo, error);
  if (!octets) {
    return 0;
  }
  if (isHmac(run.signatureMethod)) {
    return fail(error, TALVO_SIGN_ERROR_HMAC_KEY);
  }
  const Bytes bytes = bytesOf(octets.get());
  const CryptoOctets value =
      octetsFrom(sign, run.keyPair, run.signatureMethod, bytes.data(), bytes.size());
  return value ? writeValue(run, value.view(), error) : fail(error, TALVO_SIGN_ERROR_FAILED);
}

}  // namespace
}  // namespace talvo

extern "C" {

int32_t talvo_xml_signature_calcsignature(XmlDoc *doc, XmlNode *signatureElement,
                                          TalvoPKIKeyPair *keyPair, int32_t signatureMethod,
                                          uint32_t c14nMethod, const talvo_arraylist *prefixes,
                                          uint32_t *error) noexcept {
  return talvo::guardWithError(error, TALVO_SIGN_ERROR_OUT_OF_MEMORY, [&] {
    if (signatureElement == nullptr || keyPair == nullptr) {
      return talvo::fail(error, TALVO_SIGN_ERROR_MISSING_ARGUMENT);
    }
    return talvo::signSignedInfo({doc, signatureElement, keyPair, signatureMethod,
                                  static_cast<int32_t>(c14nMethod), prefixes},
                                 error);
  });
}
}
