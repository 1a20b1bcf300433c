// Sharing and releasing records. Every record releases itself by its destructor; the functions here
// are that under the names of the interface.
#include "signature/record/record.h"

using namespace talvo;

Signature *talvo_xml_signature_dup(Signature *signature) noexcept {
  return dup(signature);
}

void talvo_xml_free_signature(Signature *signature) noexcept {
  release(signature);
}

void talvo_xml_free_signature_reference(Reference *reference) noexcept {
  destroy(reference);
}

void talvo_xml_signature_xades_certid_free(CertId *certId) noexcept {
  destroy(certId);
}

void talvo_xml_free_signature_signedinfo(SignedInfo *record) noexcept {
  destroy(record);
}

void talvo_xml_free_signature_c14nmethod(CanonicalizationMethod *record) noexcept {
  destroy(record);
}

void talvo_xml_free_signature_signaturemethod(SignatureMethod *record) noexcept {
  destroy(record);
}

void talvo_xml_free_signature_transform(Transform *record) noexcept {
  destroy(record);
}

void talvo_xml_free_signature_digestmethod(DigestMethod *record) noexcept {
  destroy(record);
}

void talvo_xml_free_signature_digestvalue(DigestValue *record) noexcept {
  destroy(record);
}

void talvo_xml_free_signature_signaturevalue(SignatureValue *record) noexcept {
  destroy(record);
}

void talvo_xml_free_signature_keyinfo(KeyInfo *record) noexcept {
  destroy(record);
}

void talvo_xml_free_signature_keyinfoelem(KeyInfoItem *record) noexcept {
  destroy(record);
}

void talvo_xml_free_signature_keyname(KeyName *record) noexcept {
  destroy(record);
}

void talvo_xml_free_signature_keyvalue(KeyValue *record) noexcept {
  destroy(record);
}

void talvo_xml_free_signature_dsakeyvalue(DsaKeyValue *record) noexcept {
  destroy(record);
}

void talvo_xml_free_signature_rsakeyvalue(RsaKeyValue *record) noexcept {
  destroy(record);
}

void talvo_xml_free_signature_retrievalmethod(RetrievalMethod *record) noexcept {
  destroy(record);
}

void talvo_xml_free_signature_x509dataelem(X509DataItem *record) noexcept {
  destroy(record);
}

void talvo_xml_free_signature_x509IssuerSerial(X509IssuerSerial *record) noexcept {
  destroy(record);
}

void talvo_xml_free_signature_object(Object *record) noexcept {
  destroy(record);
}

void talvo_xml_free_signature_objectelem(ObjectContent *record) noexcept {
  destroy(record);
}

void talvo_xml_free_signature_signatureproperties(SignatureProperties *record) noexcept {
  destroy(record);
}

void talvo_xml_free_signature_signatureproperty(SignatureProperty *record) noexcept {
  destroy(record);
}

void talvo_xml_free_signature_manifest(Manifest *record) noexcept {
  destroy(record);
}
