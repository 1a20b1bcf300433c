// What a decoded signature says about itself and its methods, for callers.
#include "signature/record/record.h"
#include "signature/vocabulary/algorithm.h"

namespace talvo {
namespace {

constexpr int32_t kBitsInOctet = 8;

int32_t octetsOf(const SignatureMethod &method) noexcept {
  const SignatureAlgorithm *algorithm = signatureByNumber(method.algorithmId);
  if (algorithm == nullptr || algorithm->family != KeyFamily::hmac ||
      method.hmacOutputLength % kBitsInOctet != 0) {
    return 0;
  }
  return method.hmacOutputLength / kBitsInOctet;
}

}  // namespace
}  // namespace talvo

using namespace talvo;

XmlNode *talvo_xml_signature_getnode(const Signature *signature) noexcept {
  return signature == nullptr ? nullptr : signature->element;
}

talvo_ustring *talvo_xml_signature_getid(const Signature *signature) noexcept {
  return signature == nullptr ? nullptr : talvo_ustring_dup(signature->id.get());
}

talvo_ustring *talvo_xml_signature_getsignaturevalueid(const Signature *signature) noexcept {
  return signature == nullptr ? nullptr : talvo_ustring_dup(signature->signatureValueId.get());
}

talvo_ustring *talvo_xml_signature_getsignedinfoid(const Signature *signature) noexcept {
  return signature == nullptr ? nullptr : talvo_ustring_dup(signature->signedInfo->id.get());
}

talvo_data_blob *talvo_xml_signature_getsignaturevalue(const Signature *signature) noexcept {
  return signature == nullptr ? nullptr
                              : talvo_data_blob_dup(signature->signatureValue->value.get());
}

int32_t talvo_xml_signature_getc14nmethod(const Signature *signature) noexcept {
  return signature == nullptr ? TALVO_ALGORITHM_UNKNOWN
                              : signature->signedInfo->canonicalizationMethod->algorithmId;
}

talvo_ustring *talvo_xml_signature_getc14nuri(const Signature *signature) noexcept {
  return signature == nullptr
             ? nullptr
             : talvo_ustring_dup(signature->signedInfo->canonicalizationMethod->algorithm.get());
}

int32_t talvo_xml_signature_getsignalgothrim(const Signature *signature, int32_t *method) noexcept {
  if (signature == nullptr || method == nullptr) {
    return 0;
  }
  *method = signature->signedInfo->signatureMethod->algorithmId;
  return 1;
}

talvo_ustring *talvo_xml_signature_getsignatureuri(const Signature *signature) noexcept {
  return signature == nullptr
             ? nullptr
             : talvo_ustring_dup(signature->signedInfo->signatureMethod->algorithm.get());
}

int32_t talvo_xml_signature_gethmaclength(const Signature *signature, int32_t *length) noexcept {
  if (signature == nullptr || length == nullptr) {
    return 0;
  }
  const int32_t octets = octetsOf(*signature->signedInfo->signatureMethod);
  if (octets == 0) {
    return 0;
  }
  *length = octets;
  return 1;
}

talvo_arraylist *talvo_xml_signature_getreflist(const Signature *signature) noexcept {
  if (signature == nullptr) {
    return nullptr;
  }
  List list(talvo_arraylist_new(nullptr, nullptr));
  for (Reference *reference : items<Reference>(signature->signedInfo->references)) {
    if (talvo_arraylist_pushback(list.get(), reference) != 1) {
      return nullptr;
    }
  }
  return list.release();
}

TalvoPKICert *talvo_xml_signature_getsigncert(const Signature *signature) noexcept {
  return signature == nullptr ? nullptr : TalvoPKICertDupCert(signature->signerCertificate.get());
}
