// The CertIds of SigningCertificate and CompleteCertificateRefs.
#include <algorithm>

#include "signature/decode/element_reader.h"
#include "signature/decode/reference.h"
#include "signature/decode/xades.h"

namespace talvo {
namespace {

bool copyDigest(const DigestValue &value, CertId &certId) noexcept {
  const Bytes octets = bytesOf(value.value.get());
  certId.digest = copyBytes(kDecodeSource, octets);
  certId.digestLength = static_cast<uint32_t>(octets.size());
  return certId.digest != nullptr;
}

bool readDigest(const XmlNode *element, CertId &certId) noexcept {
  ElementCursor children(element);
  const Owned<DigestMethod> method(talvo_xml_decode_signature_digestmethod(children.take()));
  const Owned<DigestValue> value(talvo_xml_decode_signature_digestvalue(children.take()));
  if (!method || !value || !children.atEnd()) {
    return false;
  }
  certId.digestAlgorithmId = method->algorithmId;
  return copyDigest(*value, certId);
}

bool readText(const XmlNode *element, TextBuffer *text) noexcept {
  const UString string(decodepcdata(element));
  char *copy = nullptr;
  if (!talvo_ustring_toutf8(string.get(), &copy, nullptr)) {
    return false;
  }
  text->reset(copy);
  return true;
}

bool readIssuerSerial(const XmlNode *element, CertId &certId) noexcept {
  ElementCursor children(element);
  return readText(children.takeIf(g_xml_signature_x509issuername), &certId.issuerName) &&
         readText(children.takeIf(g_xml_signature_x509serialnumber), &certId.serialNumber) &&
         children.atEnd();
}

Owned<CertId> decodeCertId(const XmlNode *element) noexcept {
  if (!isXadesElement(element, g_xml_xades_cert)) {
    return nullptr;
  }
  ElementCursor children(element);
  const XmlNode *digest = children.takeXades(g_xml_xades_certdigest);
  const XmlNode *names = children.takeXades(g_xml_xades_issuerserial);
  Owned<CertId> certId = make<CertId>(kDecodeSource);
  const bool whole =
      certId && children.atEnd() && readDigest(digest, *certId) && readIssuerSerial(names, *certId);
  return whole ? std::move(certId) : nullptr;
}

}  // namespace
}  // namespace talvo

using namespace talvo;

talvo_arraylist *decodeCertIDList(const XmlNode *element) noexcept {
  ElementCursor children(element);
  return readRest<CertId>(children, [](XmlNode *child) { return decodeCertId(child).release(); })
      .release();
}
