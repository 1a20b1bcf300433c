#include "cli/describe_signature.h"

#include "cli/describe.h"
#include "cli/list.h"
#include "cli/text.h"

namespace talvo::cli {

namespace {

struct KindName {
  int32_t kind;
  std::string_view name;
};

constexpr KindName kKeyInfoKinds[] = {{TALVO_KEYINFO_KEY_NAME, "KeyName"},
                                      {TALVO_KEYINFO_KEY_VALUE, "KeyValue"},
                                      {TALVO_KEYINFO_RETRIEVAL_METHOD, "RetrievalMethod"},
                                      {TALVO_KEYINFO_X509_DATA, "X509Data"},
                                      {TALVO_KEYINFO_MGMT_DATA, "MgmtData"},
                                      {TALVO_KEYINFO_OTHER, "other"}};
constexpr KindName kContentKinds[] = {{TALVO_OBJECT_TEXT, "text"},
                                      {TALVO_OBJECT_SIGNATURE, "Signature"},
                                      {TALVO_OBJECT_SIGNATURE_PROPERTIES, "SignatureProperties"},
                                      {TALVO_OBJECT_MANIFEST, "Manifest"},
                                      {TALVO_OBJECT_NODE, "element"}};
constexpr KindName kKeyTypes[] = {{TALVO_KEY_VALUE_DSA, "DSA"}, {TALVO_KEY_VALUE_RSA, "RSA"}};

template <size_t Count>
std::string_view nameOf(const KindName (&names)[Count], int32_t kind) {
  for (const KindName &row : names) {
    if (row.kind == kind) {
      return row.name;
    }
  }
  return "";
}

std::string base64(const void *octets, size_t length) {
  char *text = nullptr;
  if (length == 0 ||
      talvo_base64_encode(octets, length, TALVO_BASE64_ONE_LINE, &text, nullptr) != 1) {
    return {};
  }
  return TextBuffer(text).get();
}

std::string base64(const Blob &blob) {
  return base64(talvo_data_blob_getdata(blob.get()), talvo_data_blob_getlength(blob.get()));
}

JsonArray describeTransforms(const Reference *reference) {
  JsonArray transforms;
  for (int32_t index = 0; index < talvo_xml_signature_reference_gettransformcount(reference);
       ++index) {
    const UString uri(talvo_xml_signature_reference_gettransformuri(reference, index));
    JsonObject transform =
        describeAlgorithm(TALVO_ALGORITHM_TRANSFORM,
                          talvo_xml_signature_reference_gettransform(reference, index), uri);
    transforms.add(transform);
  }
  return transforms;
}

JsonObject describeReference(const Reference *reference) {
  JsonObject report;
  report.optionalText("id", UString(talvo_xml_signature_reference_getid(reference)));
  report.optionalText("uri", UString(talvo_xml_signature_reference_geturi(reference)));
  report.optionalText("type", UString(talvo_xml_signature_reference_gettype(reference)));
  report.member("transforms", describeTransforms(reference).json());
  report.object("digest",
                describeAlgorithm(TALVO_ALGORITHM_DIGEST,
                                  talvo_xml_signature_reference_getdigestmethod(reference),
                                  UString(talvo_xml_signature_reference_getdigesturi(reference))));
  return report.text("digestValue",
                     base64(Blob(talvo_xml_signature_reference_getdigestvalue(reference))));
}

JsonArray describeReferences(const talvo_arraylist *references) {
  JsonArray reports;
  for (const Reference *reference : ListView<Reference>(references)) {
    reports.add(describeReference(reference));
  }
  return reports;
}

JsonObject describeKeyInfoItem(const Signature *signature, int32_t index) {
  JsonObject report;
  const int32_t kind = talvo_xml_signature_getkeyinfokind(signature, index);
  report.text("kind", nameOf(kKeyInfoKinds, kind));
  report.optionalText("text", UString(talvo_xml_signature_getkeyinfotext(signature, index)));
  report.optionalText("keyType",
                      nameOf(kKeyTypes, talvo_xml_signature_getkeyinfokeytype(signature, index)));
  if (const int32_t bits = talvo_xml_signature_getkeyinfokeybits(signature, index); bits > 0) {
    report.number("bits", bits);
  }
  if (const XmlNode *node = talvo_xml_signature_getkeyinfonode(signature, index)) {
    report.optionalText("element", UString(talvo_xml_node_getname(node)));
  }
  return report;
}

void describeKeyInfo(const Signature *signature, JsonObject &report) {
  JsonArray items;
  for (int32_t index = 0; index < talvo_xml_signature_getkeyinfocount(signature); ++index) {
    items.add(describeKeyInfoItem(signature, index));
  }
  report.member("keyInfoItems", items.json());
  JsonArray certificates;
  for (int32_t index = 0; index < talvo_xml_signature_getkeyinfocertcount(signature); ++index) {
    const Certificate certificate(talvo_xml_signature_getkeyinfocert(signature, index));
    certificates.add(describeCertificate(certificate.get()));
  }
  report.member("certificates", certificates.json());
}

// The references of a Manifest belong to whoever decoded it, one by one.
JsonArray describeManifest(XmlNode *manifest) {
  const List references(talvo_xml_signature_decodemanifestnode(manifest));
  JsonArray reports = describeReferences(references.get());
  for (Reference *reference : items<Reference>(references)) {
    talvo_xml_free_signature_reference(reference);
  }
  return reports;
}

JsonObject describeContent(const Signature *signature, int32_t object, int32_t item) {
  JsonObject report;
  const int32_t kind = talvo_xml_signature_getobjectcontentkind(signature, object, item);
  XmlNode *node = talvo_xml_signature_getobjectcontentnode(signature, object, item);
  report.text("kind", nameOf(kContentKinds, kind));
  report.optionalText("element", UString(talvo_xml_node_getname(node)));
  if (kind == TALVO_OBJECT_MANIFEST) {
    report.member("references", describeManifest(node).json());
  }
  return report;
}

JsonObject describeObject(const Signature *signature, int32_t index) {
  JsonObject report;
  report.optionalText("id", UString(talvo_xml_signature_getobjectid(signature, index)));
  report.optionalText("mimeType", UString(talvo_xml_signature_getobjectmimetype(signature, index)));
  report.optionalText("encoding", UString(talvo_xml_signature_getobjectencoding(signature, index)));
  JsonArray contents;
  for (int32_t item = 0; item < talvo_xml_signature_getobjectcontentcount(signature, index);
       ++item) {
    contents.add(describeContent(signature, index, item));
  }
  return report.member("contents", contents.json());
}

JsonArray describeObjects(const Signature *signature) {
  JsonArray objects;
  for (int32_t index = 0; index < talvo_xml_signature_getobjectcount(signature); ++index) {
    objects.add(describeObject(signature, index));
  }
  return objects;
}

JsonObject describeCertId(const CertId *certId) {
  JsonObject report;
  const TextBuffer issuer(talvo_xml_signature_xades_certid_getissuer(certId));
  report.optionalText("issuer", issuer == nullptr ? "" : issuer.get());
  char *serial = nullptr;
  const BigInteger number(talvo_xml_signature_xades_certid_getsn(certId));
  if (talvo_biginteger_todec(number.get(), &serial) == 1) {
    report.text("serial", TextBuffer(serial).get());
  }
  report.object("digest",
                describeAlgorithm(TALVO_ALGORITHM_DIGEST,
                                  talvo_xml_signature_xades_certid_getcerthashalgo(certId), {}));
  uint8_t *digest = nullptr;
  uint32_t length = 0;
  if (talvo_xml_signature_xades_certid_getcerthashvalue(certId, &digest, &length) == 1) {
    report.text("digestValue", base64(ByteBuffer(digest).get(), length));
  }
  return report;
}

template <auto Count, auto Get>
JsonArray describeCertIds(const Signature *signature) {
  JsonArray reports;
  for (int32_t index = 0; index < Count(signature); ++index) {
    reports.add(describeCertId(CertIdHandle(Get(signature, index)).get()));
  }
  return reports;
}

void describeIdentifiers(const Signature *signature, JsonObject &report) {
  report.optionalText("id", UString(talvo_xml_signature_getid(signature)));
  report.optionalText("signedInfoId", UString(talvo_xml_signature_getsignedinfoid(signature)));
  report.optionalText("signatureValueId",
                      UString(talvo_xml_signature_getsignaturevalueid(signature)));
}

void describeSignedInfo(const Signature *signature, JsonObject &report) {
  int32_t method = -1;
  talvo_xml_signature_getsignalgothrim(signature, &method);
  report.object(
      "c14n", describeAlgorithm(TALVO_ALGORITHM_C14N, talvo_xml_signature_getc14nmethod(signature),
                                UString(talvo_xml_signature_getc14nuri(signature))));
  report.object("method",
                describeAlgorithm(TALVO_ALGORITHM_SIGNATURE, method,
                                  UString(talvo_xml_signature_getsignatureuri(signature))));
  int32_t hmacLength = 0;
  if (talvo_xml_signature_gethmaclength(signature, &hmacLength) == 1) {
    report.number("hmacLength", hmacLength);
  }
  const List references(talvo_xml_signature_getreflist(signature));
  report.member("references", describeReferences(references.get()).json());
  const Blob value(talvo_xml_signature_getsignaturevalue(signature));
  report.number("signatureLength", static_cast<int64_t>(talvo_data_blob_getlength(value.get())));
  report.text("signatureValue", base64(value));
}

void describeQualifyingProperties(const Signature *signature, JsonObject &report) {
  report.optionalText("qualifyingPropertiesId",
                      UString(talvo_xml_signature_xades_getqualifyingpropertiesid(signature)));
  report.optionalText("signedPropertiesId",
                      UString(talvo_xml_signature_xades_getsignedpropertiesid(signature)));
  report.optionalText("signedSignaturePropertiesId",
                      UString(talvo_xml_signature_xades_getsignedsignaturepropertiesid(signature)));
  report.member("signingCertificates",
                describeCertIds<talvo_xml_signature_xades_getsigningcertificatecount,
                                talvo_xml_signature_xades_getsigningcertificate>(signature)
                    .json());
  report.member("completeCertificateRefs",
                describeCertIds<talvo_xml_signature_xades_getcompleterevocationrefscount,
                                talvo_xml_signature_xades_getcompleterevocationref>(signature)
                    .json());
}

}  // namespace

void describeSignature(const Signature *signature, JsonObject &report) {
  describeIdentifiers(signature, report);
  describeSignedInfo(signature, report);
  describeKeyInfo(signature, report);
  report.member("objects", describeObjects(signature).json());
  describeQualifyingProperties(signature, report);
  describeXades(signature, false, report);
}

}  // namespace talvo::cli
