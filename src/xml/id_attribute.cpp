// IDs: a document's table answers which attribute holds a value. What the table remembers of a part
// that was taken out of the document is no answer: a reference to it would lead to nothing.
#include "xml/id_attribute.h"

#include "base/utf8.h"
#include "xml/id_table.h"
#include "xml/node.h"
#include "xml/tree.h"

namespace talvo {
namespace {

const xmlChar *textOf(const Utf8 &value) noexcept {
  return xmlText(value.get());
}

}  // namespace

IdDeclaration declareId(XmlDoc *doc, XmlNode *attribute) noexcept {
  if (kindOf(doc) != NodeKind::document || kindOf(attribute) != NodeKind::attribute) {
    return IdDeclaration::refused;
  }
  const UString value(talvo_xml_node_getvalue(attribute));
  if (!value) {
    return IdDeclaration::outOfMemory;
  }
  const Utf8 text(value.get());
  xmlAttr *holder = holderOfId(nativeDoc(doc), textOf(text));
  if (holder != nullptr && isInDocument(handleOf(holder), doc)) {
    return IdDeclaration::done;
  }
  // The table keeps a pointer to the attribute, so the attribute must lead back to the document.
  if (homeOf(native(attribute)) == nullptr && talvo_xml_node_setdoc(attribute, doc) != 1) {
    return IdDeclaration::outOfMemory;
  }
  const AtHome home(native(attribute));
  if (native(attribute)->doc != nativeDoc(doc)) {
    return IdDeclaration::refused;
  }
  return enterId(nativeAttr(attribute), textOf(text));
}

}  // namespace talvo

using namespace talvo;

XmlNode *talvo_xml_getidattribute(const XmlDoc *doc, const talvo_ustring *id) noexcept {
  const Utf8 value(id);
  if (kindOf(doc) != NodeKind::document || !value) {
    return nullptr;
  }
  XmlNode *attribute = handleOf(holderOfId(nativeDoc(doc), textOf(value)));
  return attribute != nullptr && isInDocument(attribute, doc) ? attribute : nullptr;
}

XmlNode *talvo_xml_getidelemnode(const XmlDoc *doc, const talvo_ustring *id) noexcept {
  return talvo_xml_node_getparent(talvo_xml_getidattribute(doc, id));
}

int32_t talvo_xml_node_setidattr(XmlDoc *doc, XmlNode *attr) noexcept {
  return declareId(doc, attr) == IdDeclaration::done ? 1 : 0;
}
