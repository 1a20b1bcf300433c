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

struct Kind {
  talvo_ustring *const *name;
  int32_t number;
  Reader read;
};

constexpr Kind kKinds[] = {
    {&g_xml_signature_x509certificate, 4, readOctets},
    {&g_xml_signature_x509issuerserial, 1, readIssuerSerial},
    {&g_xml_signature_x509ski, 2, readOctets},
    {&g_xml_signature_x509subjectname, 3, readText},
    {&g_xml_signature_x509crl, 5, readOctets},
};

Owned<X509DataItem> decodeItem(XmlNode *node) noexcept {
  Owned<X509DataItem> item = make<X509DataItem>(kDecodeSource);
  if (!item) {
    return nullptr;
  }
  item->data = ItemData(node);
  for (const Kind &kind : kKinds) {
    if (isSignatureElement(node, *kind.name)) {
      item->kind = kind.number;
      return kind.read(node, &item->data) ? std::move(item) : nullptr;
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
