// The XAdES properties of a decoded signature, for callers.
#include "signature/record/certid.h"
#include "signature/vocabulary/algorithm.h"

namespace talvo {
namespace {

int32_t countOf(const Signature *signature, const List Signature::*list) noexcept {
  return signature == nullptr ? -1 : items<void>((signature->*list)).size();
}

template <class T>
T *itemOf(const Signature *signature, const List Signature::*list, int32_t index) noexcept {
  return signature == nullptr ? nullptr : items<T>(signature->*list)[index];
}

CertId *copyOf(const CertId *certId) noexcept {
  return certId == nullptr ? nullptr : copyCertId(*certId).release();
}

talvo_ustring *copyOf(const Signature *signature, const UString Signature::*string) noexcept {
  return signature == nullptr ? nullptr : talvo_ustring_dup((signature->*string).get());
}

}  // namespace
}  // namespace talvo

using namespace talvo;

int32_t talvo_xml_signature_xades_hassigningcertificate(const Signature *signature) noexcept {
  return signature != nullptr && signature->signingCertificate != nullptr ? 1 : 0;
}

int32_t talvo_xml_signature_xades_getsigningcertificatecount(const Signature *signature) noexcept {
  return countOf(signature, &Signature::signingCertificate);
}

CertId *talvo_xml_signature_xades_getsigningcertificate(const Signature *signature,
                                                        int32_t index) noexcept {
  return copyOf(itemOf<CertId>(signature, &Signature::signingCertificate, index));
}

talvo_ustring *talvo_xml_signature_xades_getqualifyingpropertiesid(
    const Signature *signature) noexcept {
  return copyOf(signature, &Signature::qualifyingPropertiesId);
}

talvo_ustring *talvo_xml_signature_xades_getsignedpropertiesid(
    const Signature *signature) noexcept {
  return copyOf(signature, &Signature::signedPropertiesId);
}

talvo_ustring *talvo_xml_signature_xades_getsignedsignaturepropertiesid(
    const Signature *signature) noexcept {
  return copyOf(signature, &Signature::signedSignaturePropertiesId);
}

int32_t talvo_xml_signature_xades_getcertificatevaluescount(const Signature *signature) noexcept {
  return countOf(signature, &Signature::certificateValues);
}

TalvoPKICert *talvo_xml_signature_xades_getcertificatevalue(const Signature *signature,
                                                            int32_t index) noexcept {
  return TalvoPKICertDupCert(itemOf<TalvoPKICert>(signature, &Signature::certificateValues, index));
}

// Deliberate: the names speak of revocation, the answers are the certificate references.
int32_t talvo_xml_signature_xades_getcompleterevocationrefscount(
    const Signature *signature) noexcept {
  return countOf(signature, &Signature::completeCertificateRefs);
}

CertId *talvo_xml_signature_xades_getcompleterevocationref(const Signature *signature,
                                                           int32_t index) noexcept {
  return copyOf(itemOf<CertId>(signature, &Signature::completeCertificateRefs, index));
}

int32_t talvo_xml_signature_xades_getcountersignaturecount(const Signature *signature) noexcept {
  return countOf(signature, &Signature::counterSignatures);
}

XmlNode *talvo_xml_signature_xades_getcountersignature(const Signature *signature,
                                                       int32_t index) noexcept {
  return itemOf<XmlNode>(signature, &Signature::counterSignatures, index);
}

int32_t talvo_xml_signature_xades_getsignaturetimestampcount(const Signature *signature) noexcept {
  return countOf(signature, &Signature::signatureTimeStamps);
}

talvo_data_blob *talvo_xml_signature_xades_getsignaturetimestamptoken(const Signature *signature,
                                                                      int32_t index) noexcept {
  const auto *stamp = itemOf<TimeStamp>(signature, &Signature::signatureTimeStamps, index);
  return stamp == nullptr ? nullptr : talvo_data_blob_new(stamp->token.get(), stamp->tokenLength);
}

int32_t talvo_xml_signature_xades_getsignaturetimestampc14n(const Signature *signature,
                                                            int32_t index) noexcept {
  const auto *stamp = itemOf<TimeStamp>(signature, &Signature::signatureTimeStamps, index);
  return stamp == nullptr ? TALVO_ALGORITHM_UNKNOWN : stamp->c14nAlgorithmId;
}

talvo_time *talvo_xml_signature_xades_getsigningtime(const Signature *signature) noexcept {
  return signature == nullptr ? nullptr : talvo_time_dup(signature->signingTime.get());
}
