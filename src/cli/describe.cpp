#include "cli/describe.h"

#include "cli/document.h"
#include "cli/list.h"
#include "cli/text.h"

namespace talvo::cli {

namespace {

// The revocation values of this signature, not those of a signature inside it. An application may
// write the containers without namespace, so only local names count.
constexpr const char *kRevocationValues =
    "*[local-name()='Object']/*/*[local-name()='UnsignedProperties']/*/"
    "*[local-name()='RevocationValues']/*/*[starts-with(local-name(), 'Encapsulated')]";

UString attributeOf(const TalvoPKICert *certificate, int32_t attribute) {
  return UString(TalvoPKICertGetCertStringAttribute(certificate, attribute));
}

JsonObject describeTimeStamp(const Signature *signature, int32_t index) {
  JsonObject report;
  TalvoPKITimeStamp *verified = nullptr;
  const bool valid =
      talvo_xml_signature_xades_verifysignaturetimestamp(signature, index, nullptr, &verified) == 1;
  const TimeStamp timeStamp(verified);
  report.flag("valid", valid);
  if (!valid) {
    return report.text("message", "the token does not verify, or stamps another signature value");
  }
  report.optionalText("time", isoTime(Time(TalvoPKIMsgTimeStampGetTime(timeStamp.get())).get()));
  const Certificate authority(TalvoPKIMsgTimeStampGetSigner(timeStamp.get()));
  return report.optionalText("authority", attributeOf(authority.get(), TALVO_CERT_SUBJECT));
}

JsonArray describeTimeStamps(const Signature *signature) {
  JsonArray timeStamps;
  for (int32_t index = 0; index < talvo_xml_signature_xades_getsignaturetimestampcount(signature);
       ++index) {
    timeStamps.add(describeTimeStamp(signature, index));
  }
  return timeStamps;
}

JsonArray describeCertificateValues(const Signature *signature) {
  JsonArray values;
  for (int32_t index = 0; index < talvo_xml_signature_xades_getcertificatevaluescount(signature);
       ++index) {
    const Certificate value(talvo_xml_signature_xades_getcertificatevalue(signature, index));
    values.add(describeCertificate(value.get()));
  }
  return values;
}

JsonObject describeRevocationValue(const XmlNode *node) {
  JsonObject report;
  const UString name(talvo_xml_node_getname(node));
  report.text("kind", view(name) == "EncapsulatedCRLValue" ? "CRL" : view(name));
  const UString text(talvo_xml_node_getpcdata(talvo_xml_node_getchildren(node)));
  const Crl crl(talvo_crl_new(view(text).data(), view(text).size(), 0));
  if (crl == nullptr) {
    return report;
  }
  const DistinguishedName issuer(talvo_crl_getissuer(crl.get()));
  report.optionalText("issuer",
                      UString(talvo_cert_dn_getldapstring(issuer.get(), TALVO_DN_RFC4514)));
  report.optionalText("thisUpdate", isoTime(Time(talvo_crl_getthisupdate(crl.get())).get()));
  return report.optionalText("nextUpdate", isoTime(Time(talvo_crl_getnextupdate(crl.get())).get()));
}

JsonArray describeRevocationValues(const Signature *signature) {
  JsonArray values;
  talvo_arraylist *found = nullptr;
  if (talvo_xml_node_findxpath(talvo_xml_signature_getnode(signature),
                               makeString(kRevocationValues).get(), &found) != 1) {
    return values;
  }
  const List owner(found);
  for (const XmlNode *node : items<XmlNode>(owner)) {
    values.add(describeRevocationValue(node));
  }
  return values;
}

// Verifying a countersignature is allowed to use the network, so the program first looks where its
// references lead.
bool staysInDocument(XmlNode *signatureElement) {
  const SignatureRecord signature(talvo_xml_decode_signature(signatureElement));
  const List references(talvo_xml_signature_getreflist(signature.get()));
  for (const Reference *reference : items<Reference>(references)) {
    const UString uri(talvo_xml_signature_reference_geturi(reference));
    if (uri == nullptr || !(view(uri).empty() || view(uri).starts_with('#'))) {
      return false;
    }
  }
  return signature != nullptr;
}

JsonObject describeCounterSignature(const Signature *signature, int32_t index,
                                    bool mayLeaveDocument) {
  JsonObject report;
  XmlNode *element = talvo_xml_signature_xades_getcountersignature(signature, index);
  std::string id;
  if (attributeValue(element, "Id", id)) {
    report.text("id", id);
  }
  if (!mayLeaveDocument && !staysInDocument(element)) {
    return report.text("message", "not verified: its references lead out of the document");
  }
  TalvoPKICert *signer = nullptr;
  const bool valid = talvo_xml_signature_xades_verifycountersignature(signature, index, nullptr,
                                                                      &signer, &element) == 1;
  const Certificate certificate(signer);
  report.flag("valid", valid);
  return valid ? report.object("signer", describeCertificate(signer)) : report;
}

JsonArray describeCounterSignatures(const Signature *signature, bool mayLeaveDocument) {
  JsonArray signatures;
  for (int32_t index = 0; index < talvo_xml_signature_xades_getcountersignaturecount(signature);
       ++index) {
    signatures.add(describeCounterSignature(signature, index, mayLeaveDocument));
  }
  return signatures;
}

void addNonEmpty(JsonObject &report, std::string_view key, const JsonArray &values) {
  if (!values.empty()) {
    report.member(key, values.json());
  }
}

}  // namespace

JsonObject describeAlgorithm(uint32_t kind, int32_t number, const UString &uri) {
  JsonObject report;
  if (number < 0 && uri != nullptr) {
    report.text("name", view(uri));
  } else {
    report.text("name", algorithmName(kind, number));
  }
  return report.number("number", number);
}

JsonObject describeCertificate(const TalvoPKICert *certificate) {
  JsonObject report;
  report.optionalText("subject", attributeOf(certificate, TALVO_CERT_SUBJECT));
  report.optionalText("issuer", attributeOf(certificate, TALVO_CERT_ISSUER));
  return report.optionalText("serial", attributeOf(certificate, TALVO_CERT_SERIAL_NUMBER));
}

void describeXades(const Signature *signature, bool mayLeaveDocument, JsonObject &report) {
  const Time signingTime(talvo_xml_signature_xades_getsigningtime(signature));
  report.optionalText("signingTime", isoTime(signingTime.get()));
  addNonEmpty(report, "timeStamps", describeTimeStamps(signature));
  addNonEmpty(report, "certificateValues", describeCertificateValues(signature));
  addNonEmpty(report, "revocationValues", describeRevocationValues(signature));
  addNonEmpty(report, "counterSignatures", describeCounterSignatures(signature, mayLeaveDocument));
}

}  // namespace talvo::cli
