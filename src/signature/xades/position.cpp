// Finding, or making, Object / QualifyingProperties / UnsignedProperties /
// UnsignedSignatureProperties. The order of properties is the order of the calls.
#include "signature/xades/position.h"

#include "signature/generate/element_writer.h"
#include "signature/vocabulary/vocabulary.h"
#include "signature/xades/properties.h"
#include "xml/node.h"

namespace {

using namespace talvo;

XmlNode *findChild(const XmlNode *parent, const talvo_ustring *name) noexcept {
  for (XmlNode *node = firstElementChild(parent); node != nullptr; node = nextElement(node)) {
    if (isElement(node, name, g_xml_xadesv132_nsuri)) {
      return node;
    }
  }
  return nullptr;
}

// Those of the first Object behind the child that has any.
XmlNode *findQualifyingProperties(const XmlNode *child) noexcept {
  for (XmlNode *node = nextElement(child); node != nullptr; node = nextElement(node)) {
    XmlNode *properties = isElement(node, g_xml_signature_object_name, g_xml_signature_nsuri)
                              ? findChild(node, g_xml_xades_qualifyingproperties)
                              : nullptr;
    if (properties != nullptr) {
      return properties;
    }
  }
  return nullptr;
}

UString findOrMakeId(XmlNode *element) noexcept {
  if (const XmlNode *present = findId(element)) {
    return UString(talvo_xml_node_getvalue(present));
  }
  UString id(genId());
  return addAttribute(element, g_xml_signature_id, id.get()) ? std::move(id) : nullptr;
}

XmlNode *addQualifyingProperties(const XmlNode *child) noexcept {
  XmlNode *signature = talvo_xml_node_getparent(child);
  XmlDoc *doc = talvo_xml_node_getdoc(child);
  const UString id = findOrMakeId(signature);
  const UString target = targetOf(id.get());
  OwnedNode properties = ElementWriter(doc, g_xml_xades_qualifyingproperties, g_xml_xadesv132_nsuri,
                                       g_xml_xadesv132_prefix)
                             .attribute(g_xml_xades_target, target.get())
                             .take();
  XmlNode *found = properties.get();
  OwnedNode object =
      ElementWriter(doc, talvo_xml_node_getassociatednsnode(child), g_xml_signature_object_name)
          .open()
          .part(std::move(properties))
          .take();
  return linkNewChild(signature, std::move(object)) == nullptr ? nullptr : found;
}

// The container among the children of its parent, in whose namespace it is made.
XmlNode *findOrMake(XmlNode *parent, const talvo_ustring *name) noexcept {
  if (XmlNode *found = findChild(parent, name)) {
    return found;
  }
  return linkNewChild(parent, makeElement(talvo_xml_node_getassociatednsnode(parent), name));
}

}  // namespace

XmlNode *getUnsignedSignaturePropertiesLastChildPos(XmlNode *child, XmlNode **ns) noexcept {
  if (talvo_xml_node_getparent(child) == nullptr || ns == nullptr) {
    return nullptr;
  }
  XmlNode *element = findQualifyingProperties(child);
  element = element == nullptr ? addQualifyingProperties(child) : element;
  for (const talvo_ustring *name :
       {g_xml_xades_unsignedproperties, g_xml_xades_unsignedsignatureproperties}) {
    element = element == nullptr ? nullptr : findOrMake(element, name);
  }
  XmlNode *position =
      talvo_xml_signature_xades_getLastChildPos(talvo_xml_node_getdoc(child), element);
  if (position != nullptr) {
    *ns = talvo_xml_node_getassociatednsnode(element);
  }
  return position;
}

XmlNode *talvo_xml_signature_xades_getLastChildPos(XmlDoc *doc, XmlNode *element) noexcept {
  if (kindOf(element) != NodeKind::element) {
    return nullptr;
  }
  XmlNode *last = lastChild(element);
  return last == nullptr ? addlfchild(doc, element) : last;
}
