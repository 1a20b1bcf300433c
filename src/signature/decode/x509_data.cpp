#include "signature/decode/x509_data.h"

#include "signature/decode/element_reader.h"

namespace talvo {
namespace {

using ItemData = decltype(X509DataItem::data);
using Reader = bool (*)(XmlNode *element, ItemData *data);

bool readText(XmlNode *element, ItemData *data) noexcept {
  return store(UString(decodepcdata(element)), data);
}

bool readOctets(XmlNode *element, ItemData *data) noexcept {
  return store(Blob(decodeBase64Value(element)), data);
}

bool readIssuerSerial(XmlNode *element, ItemData *data) noexcept {
  Owned<X509IssuerSerial> names = make<X509IssuerSerial>(kDecodeSource);
  if (!names || hasAttributes(element)) {
    return false;
  }
  names->element = element;
  ElementCursor children(element);
  names->issuerName.reset(decodepcdata(children.takeIf(g_xml_signature_x509issuername)));
  // Deliberate: whatever stands second is read as the serial number, and nothing behind it is
  // looked at.
  names->serialNumber.reset(decodepcdata(children.take()));
  return names->issuerName != nullptr && names->serialNumber != nullptr &&
         store(std::move(names), data);
}

struct Row {
  talvo_ustring *const *name;
  X509Kind kind;
  Reader read;
};

constexpr Row kRows[] = {
    {&g_xml_signature_x509certificate, X509Kind::certificate, readOctets},
    {&g_xml_signature_x509issuerserial, X509Kind::issuerSerial, readIssuerSerial},
    {&g_xml_signature_x509ski, X509Kind::ski, readOctets},
    {&g_xml_signature_x509subjectname, X509Kind::subjectName, readText},
    {&g_xml_signature_x509crl, X509Kind::crl, readOctets},
};

Owned<X509DataItem> decodeItem(XmlNode *node) noexcept {
  Owned<X509DataItem> item = make<X509DataItem>(kDecodeSource);
  if (!item) {
    return nullptr;
  }
  item->data = ItemData(node);
  for (const Row &row : kRows) {
    if (isSignatureElement(node, *row.name)) {
      item->kind = row.kind;
      return row.read(node, &item->data) ? std::move(item) : nullptr;
    }
  }
  return item;
}

}  // namespace

List decodeX509Data(XmlNode *element) noexcept {
  ElementCursor children(element);
  if (hasAttributes(element) || children.atEnd()) {
    return nullptr;
  }
  return readRest<X509DataItem>(children, [](XmlNode *node) { return decodeItem(node).release(); });
}

}  // namespace talvo
