// IDs: a document's table answers which attribute holds a value. What the table remembers of a part
// that was taken out of the document is no answer: a reference to it would lead to nothing.
#include "base/utf8.h"
#include "xml/id_table.h"
#include "xml/node.h"
#include "xml/tree.h"

namespace talvo {
namespace {

// The attribute that the table names, in the document or not.
xmlAttr *lookUp(const XmlDoc *doc, const talvo_ustring *id) noexcept {
  const Utf8 value(id);
  if (kindOf(doc) != NodeKind::document || !value) {
    return nullptr;
  }
  xmlAttr *attribute = xmlGetID(nativeDoc(doc), xmlText(value.get()));
  // libxml2 answers the document itself for an ID whose attribute is gone.
  return handleOf(attribute) == doc ? nullptr : attribute;
}

}  // namespace
}  // namespace talvo

using namespace talvo;

XmlNode *talvo_xml_getidattribute(const XmlDoc *doc, const talvo_ustring *id) noexcept {
  XmlNode *attribute = handleOf(lookUp(doc, id));
  return attribute != nullptr && isInDocument(attribute, doc) ? attribute : nullptr;
}

XmlNode *talvo_xml_getidelemnode(const XmlDoc *doc, const talvo_ustring *id) noexcept {
  return talvo_xml_node_getparent(talvo_xml_getidattribute(doc, id));
}

int32_t talvo_xml_node_setidattr(XmlDoc *doc, XmlNode *attr) noexcept {
  if (kindOf(doc) != NodeKind::document || kindOf(attr) != NodeKind::attribute) {
    return 0;
  }
  const UString value(talvo_xml_node_getvalue(attr));
  if (!value || lookUp(doc, value.get()) != nullptr) {
    return value ? 1 : 0;
  }
  // The table keeps a pointer to the attribute, so the attribute must lead back to the document.
  if (homeOf(native(attr)) == nullptr && talvo_xml_node_setdoc(attr, doc) != 1) {
    return 0;
  }
  const AtHome home(native(attr));
  if (native(attr)->doc != nativeDoc(doc)) {
    return 0;
  }
  const MemoryWatch watch;
  return xmlAddID(nullptr, nativeDoc(doc), xmlText(Utf8(value.get()).get()), nativeAttr(attr)) !=
                 nullptr
             ? 1
             : 0;
}
