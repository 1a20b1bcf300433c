#include "policy/signing_certificate.h"

#include <algorithm>
#include <cstring>

#include "base/utf8.h"
#include "signature/decode/element_reader.h"
#include "signature/decode/reference.h"
#include "signature/decode/xades.h"
#include "signature/vocabulary/algorithm.h"

namespace talvo::policy {
namespace {

constexpr const char kVersion2[] = "SigningCertificateV2";
constexpr const char kIssuerSerial2[] = "IssuerSerialV2";
constexpr int32_t kDigest = 44;
constexpr int32_t kSerialNumber = 32;

using CryptoBytes = Handle<uint8_t, TalvoPKICryptoFreeMemory>;

XmlNode *signedSignatureProperties(const Signature &signature) noexcept {
  const XmlNode *properties =
      xadesChild(propertySetsOf(signature).first, g_xml_xades_signedproperties);
  return xadesChild(properties, g_xml_xades_signedsignatureproperties);
}

bool hasDigest(const TalvoPKICert *certificate, int32_t digestId, Bytes expected) noexcept {
  const DigestAlgorithm *algorithm = digestByNumber(digestId);
  uint8_t *digest = nullptr;
  size_t length = 0;
  if (algorithm == nullptr || algorithm->hash == 0 ||
      TalvoPKICertGetCertHashAttribute(certificate, kDigest, algorithm->hash, &digest, &length) !=
          1) {
    return false;
  }
  const CryptoBytes owner(digest);
  return std::ranges::equal(Bytes(digest, length), expected);
}

bool hasSerial(const TalvoPKICert *certificate, const char *written) noexcept {
  std::string_view digits = written;
  while (!digits.empty() && std::strchr(" \t\r\n", digits.front()) != nullptr) {
    digits.remove_prefix(1);
  }
  digits = digits.substr(0, digits.find_first_of(" \t\r\n"));
  const UString own(TalvoPKICertGetCertStringAttribute(certificate, kSerialNumber));
  while (digits.size() > 1 && digits.front() == '0') {
    digits.remove_prefix(1);
  }
  return own != nullptr && viewOf(own.get()) == digits;
}

bool names(const CertId &certId, const TalvoPKICert *certificate) noexcept {
  const DistinguishedName issuer(TalvoPKICertGetCertIssuer(certificate));
  return hasDigest(certificate, certId.digestAlgorithmId,
                   {certId.digest.get(), certId.digestLength}) &&
         hasSerial(certificate, certId.serialNumber.get()) &&
         talvo_cert_dn_matchldapstring(issuer.get(), certId.issuerName.get(),
                                       std::strlen(certId.issuerName.get())) == 1;
}

// Version 1: one of the entries; the others may name issuers.
bool namesByVersion1(const XmlNode *property, const TalvoPKICert *certificate) noexcept {
  const List entries(decodeCertIDList(property));
  for (const CertId *entry : items<CertId>(entries)) {
    if (names(*entry, certificate)) {
      return true;
    }
  }
  return false;
}

enum class Fit { unreadable, other, same };

Fit fitOfIssuerSerial(const XmlNode *element, const TalvoPKICert *certificate) noexcept {
  const UString text(DecodeChildTextValue(element));
  const Blob der(decodeb64(text.get()));
  if (der == nullptr) {
    return Fit::unreadable;
  }
  const Bytes octets = bytesOf(der.get());
  return TalvoPKICertMatchIssuerSerial(certificate, octets.data(), octets.size()) == 1 ? Fit::same
                                                                                       : Fit::other;
}

// One Cert of version 2: a digest, and perhaps issuer and serial number.
Fit fitOfEntry(const XmlNode *element, const TalvoPKICert *certificate) noexcept {
  if (!isXadesElement(element, g_xml_xades_cert)) {
    return Fit::unreadable;
  }
  ElementCursor children(element);
  ElementCursor digest(children.takeXades(g_xml_xades_certdigest));
  const Owned<DigestMethod> method(talvo_xml_decode_signature_digestmethod(digest.take()));
  const Owned<DigestValue> value(talvo_xml_decode_signature_digestvalue(digest.take()));
  const XmlNode *serial = children.take();
  if (!method || !value || !digest.atEnd() || !children.atEnd()) {
    return Fit::unreadable;
  }
  if (serial != nullptr) {
    const bool isKnown = localName(serial) == kIssuerSerial2 &&
                         namespaceUri(serial) == viewOf(g_xml_xadesv132_nsuri);
    const Fit fit = isKnown ? fitOfIssuerSerial(serial, certificate) : Fit::unreadable;
    if (fit != Fit::same) {
      return fit;
    }
  }
  return hasDigest(certificate, method->algorithmId, bytesOf(value->value.get())) ? Fit::same
                                                                                  : Fit::other;
}

bool namesByVersion2(const XmlNode *property, const TalvoPKICert *certificate) noexcept {
  bool isNamed = false;
  for (ElementCursor entries(property); !entries.atEnd();) {
    const Fit fit = fitOfEntry(entries.take(), certificate);
    if (fit == Fit::unreadable) {
      return false;
    }
    isNamed = isNamed || fit == Fit::same;
  }
  return isNamed;
}

}  // namespace

PropertySets propertySetsOf(const Signature &signature) noexcept {
  PropertySets sets;
  for (const Object *object : items<Object>(signature.objects)) {
    for (XmlNode *child = firstElementChild(object->element); child != nullptr;
         child = nextElement(child)) {
      if (isXadesElement(child, g_xml_xades_qualifyingproperties)) {
        sets.first = sets.first == nullptr ? child : sets.first;
        ++sets.count;
      }
    }
  }
  return sets;
}

XmlNode *xadesChild(const XmlNode *parent, const talvo_ustring *name) noexcept {
  XmlNode *child = parent == nullptr ? nullptr : firstElementChild(parent);
  while (child != nullptr && !isXadesElement(child, name)) {
    child = nextElement(child);
  }
  return child;
}

XmlNode *xadesChild(const XmlNode *parent, const char *name) noexcept {
  XmlNode *child = parent == nullptr ? nullptr : firstElementChild(parent);
  while (child != nullptr &&
         (localName(child) != name || namespaceUri(child) != viewOf(g_xml_xadesv132_nsuri))) {
    child = nextElement(child);
  }
  return child;
}

bool namesCertificate(const Signature &signature) noexcept {
  const XmlNode *properties = signedSignatureProperties(signature);
  return xadesChild(properties, g_xml_xades_signingcertificate) != nullptr ||
         xadesChild(properties, kVersion2) != nullptr;
}

bool isNamedBy(const Signature &signature, const TalvoPKICert *certificate) noexcept {
  const XmlNode *properties = signedSignatureProperties(signature);
  const XmlNode *first = xadesChild(properties, g_xml_xades_signingcertificate);
  const XmlNode *second = xadesChild(properties, kVersion2);
  return certificate != nullptr && (first == nullptr || namesByVersion1(first, certificate)) &&
         (second == nullptr || namesByVersion2(second, certificate));
}

}  // namespace talvo::policy
