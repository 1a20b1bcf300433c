// KeyInfo: line feed, and for each certificate X509Data and a line feed. Certificates are never
// merged into one X509Data.
#include "signature/generate/key_info.h"

#include "base/base64_text.h"
#include "crypto/handle.h"
#include "signature/generate/certificate_path.h"
#include "signature/generate/element_writer.h"
#include "signature/vocabulary/vocabulary.h"

namespace {

using namespace talvo;

UString encodeCertificate(const TalvoPKICert *certificate) noexcept {
  const CryptoOctets der = octetsFrom(TalvoPKICertGetCertEncode, certificate, TALVO_ENCODING_DER);
  return der ? encodeBase64(der.view(), TALVO_BASE64_LINES) : nullptr;
}

void addSigner(ElementWriter &keyInfo, XmlDoc *doc, XmlNode *ns, const TalvoPKICert *certificate,
               int32_t option) noexcept {
  keyInfo.part(generateX509Data(doc, ns, certificate));
  if (!CertificatePath::isAskedFor(option)) {
    return;
  }
  const CertificatePath path(certificate);
  if (path.lackedMemory()) {
    keyInfo.part(nullptr);  // which fails it
    return;
  }
  path.forEachIssuer(option, [&](const TalvoPKICert *issuer) {
    keyInfo.part(generateX509Data(doc, ns, issuer));
    return true;
  });
}

}  // namespace

namespace talvo {

OwnedNode generateKeyInfo(XmlDoc *doc, XmlNode *ns, const SignatureKey *key,
                          int32_t includeCertOption,
                          const talvo_arraylist *extraCertificates) noexcept {
  if (key == nullptr) {
    return nullptr;
  }
  ElementWriter keyInfo(doc, ns, g_xml_signature_keyinfo_name);
  keyInfo.open();
  if (includeCertOption != TALVO_CERTIFICATES_NONE) {
    addSigner(keyInfo, doc, ns, key->certificate(), includeCertOption);
  }
  for (const TalvoPKICert *certificate : items<TalvoPKICert>(extraCertificates)) {
    keyInfo.part(generateX509Data(doc, ns, certificate));
  }
  return keyInfo.take();
}

OwnedNode generateX509Data(XmlDoc *doc, XmlNode *ns, const TalvoPKICert *certificate) noexcept {
  const UString text = encodeCertificate(certificate);
  ElementWriter data(doc, ns, g_xml_signature_x509data);
  return data.open()
      .part(generateText(doc, ns, g_xml_signature_x509certificate, text.get()))
      .take();
}

}  // namespace talvo

XmlNode *talvo_xml_keyinfonode_gen(XmlDoc *doc, XmlNode *ns, const SignatureKey *key,
                                   int32_t includeCertOption,
                                   const talvo_arraylist *extraCertificates) noexcept {
  return handOut(generateKeyInfo(doc, ns, key, includeCertOption, extraCertificates));
}

XmlNode *talvo_xml_x509datanode_gen(XmlDoc *doc, XmlNode *ns,
                                    const TalvoPKICert *certificate) noexcept {
  return handOut(generateX509Data(doc, ns, certificate));
}
