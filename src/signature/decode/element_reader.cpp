#include "signature/decode/element_reader.h"

#include <algorithm>

#include "base/base64_text.h"
#include "base/utf8.h"

namespace talvo {

bool readAttributes(const XmlNode *element, std::initializer_list<AttributeSlot> slots) noexcept {
  for (XmlNode *attribute = talvo_xml_node_getattribute(element); attribute != nullptr;
       attribute = talvo_xml_node_getnextsibling(attribute)) {
    const std::string_view name = localName(attribute);
    const auto *slot = std::find_if(slots.begin(), slots.end(), [name](const AttributeSlot &each) {
      return viewOf(each.name) == name;
    });
    if (slot == slots.end() || *slot->value != nullptr ||
        namespaceUri(attribute).data() != nullptr) {
      return false;
    }
    slot->value->reset(talvo_xml_node_getvalue(attribute));
    if (*slot->value == nullptr) {
      return false;
    }
  }
  return true;
}

XmlNode *findAttribute(const XmlNode *element, const talvo_ustring *name) noexcept {
  XmlNode *attribute = talvo_xml_node_getattribute(element);
  while (attribute != nullptr && !matches(attribute, name, nullptr)) {
    attribute = talvo_xml_node_getnextsibling(attribute);
  }
  return attribute;
}

}  // namespace talvo

using namespace talvo;

talvo_ustring *decodepcdata(const XmlNode *element) noexcept {
  return hasAttributes(element) ? nullptr : DecodeChildTextValue(element);
}

talvo_ustring *DecodeChildTextValue(const XmlNode *element) noexcept {
  const XmlNode *first = talvo_xml_node_getchildren(element);
  return first == nullptr ? nullptr : talvo_xml_node_getpcdata(first);
}

talvo_data_blob *decodeb64(const talvo_ustring *text) noexcept {
  return decodeBase64(text).release();
}

talvo_data_blob *decodeBase64Value(const XmlNode *element) noexcept {
  const UString text(decodepcdata(element));
  return decodeb64(text.get());
}

talvo_biginteger *decodeBigInter(const XmlNode *element) noexcept {
  const Blob magnitude(decodeBase64Value(element));
  return magnitude ? talvo_biginteger_newunsigneddata(talvo_data_blob_getdata(magnitude.get()),
                                                      talvo_data_blob_getlength(magnitude.get()))
                   : nullptr;
}
