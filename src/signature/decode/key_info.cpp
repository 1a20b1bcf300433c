#include "signature/decode/key_info.h"

#include "signature/decode/element_reader.h"
#include "signature/decode/key_value.h"
#include "signature/decode/reference.h"
#include "signature/decode/x509_data.h"

namespace talvo {
namespace {

using ItemData = decltype(KeyInfoItem::data);

// A reader fills the item's data; false when the element's structure is wrong.
using Reader = bool (*)(XmlNode *element, XmlNode *signatureElement, ItemData *data);

bool readKeyName(XmlNode *element, XmlNode *, ItemData *data) noexcept {
  UString text(decodepcdata(element));
  Owned<KeyName> name = make<KeyName>(kDecodeSource);
  if (!text || !name) {
    return false;
  }
  name->element = element;
  name->name = std::move(text);
  return store(std::move(name), data);
}

bool readKeyValue(XmlNode *element, XmlNode *, ItemData *data) noexcept {
  return store(decodeKeyValue(element), data);
}

// Transforms alone, or nothing.
bool readTransforms(XmlNode *element, XmlNode *signatureElement, List *transforms) noexcept {
  ElementCursor children(element);
  if (children.atEnd()) {
    return true;
  }
  transforms->reset(talvo_xml_decode_signature_transforms(children.take(), signatureElement));
  return *transforms != nullptr && children.atEnd();
}

bool readRetrievalMethod(XmlNode *element, XmlNode *signatureElement, ItemData *data) noexcept {
  Owned<RetrievalMethod> method = make<RetrievalMethod>(kDecodeSource);
  if (!method ||
      !readAttributes(element, {{g_xml_signature_uri_attr, &method->uri},
                                {g_xml_signature_type_attr, &method->type}}) ||
      method->uri == nullptr || !readTransforms(element, signatureElement, &method->transforms)) {
    return false;
  }
  method->element = element;
  return store(std::move(method), data);
}

bool readX509Data(XmlNode *element, XmlNode *, ItemData *data) noexcept {
  return store(decodeX509Data(element), data);
}

bool readMgmtData(XmlNode *element, XmlNode *, ItemData *data) noexcept {
  return store(UString(decodepcdata(element)), data);
}

struct Kind {
  talvo_ustring *const *name;
  int32_t number;
  Reader read;
};

constexpr Kind kKinds[] = {
    {&g_xml_signature_x509data, TALVO_KEYINFO_X509_DATA, readX509Data},
    {&g_xml_signature_keyvalue, TALVO_KEYINFO_KEY_VALUE, readKeyValue},
    {&g_xml_signature_keyname, TALVO_KEYINFO_KEY_NAME, readKeyName},
    {&g_xml_signature_retrievalmethod, TALVO_KEYINFO_RETRIEVAL_METHOD, readRetrievalMethod},
    {&g_xml_signature_mgmtdata, TALVO_KEYINFO_MGMT_DATA, readMgmtData},
};

}  // namespace

Owned<KeyInfo> decodeKeyInfo(XmlNode *element, XmlNode *signatureElement) noexcept {
  Owned<KeyInfo> info = make<KeyInfo>(kDecodeSource);
  if (!info || !readOptionalId(element, &info->id)) {
    return nullptr;
  }
  info->element = element;
  ElementCursor children(element);
  info->items = readRest<KeyInfoItem>(children, [signatureElement](XmlNode *node) {
    return talvo_xml_decode_signature_keyinfoelem(node, signatureElement);
  });
  return info->items ? std::move(info) : nullptr;
}

}  // namespace talvo

using namespace talvo;

KeyInfoItem *talvo_xml_decode_signature_keyinfoelem(XmlNode *node,
                                                    XmlNode *signatureElement) noexcept {
  Owned<KeyInfoItem> item = make<KeyInfoItem>(kDecodeSource);
  if (!item) {
    return nullptr;
  }
  item->data = ItemData(node);
  for (const Kind &kind : kKinds) {
    if (isSignatureElement(node, *kind.name)) {
      item->kind = kind.number;
      return kind.read(node, signatureElement, &item->data) ? item.release() : nullptr;
    }
  }
  return item.release();
}
