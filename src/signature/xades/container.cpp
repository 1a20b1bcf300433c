// Nodes that were linked stay when a later step fails; what is not linked yet frees itself.
#include "signature/xades/container.h"

#include "signature/decode/xades.h"
#include "signature/vocabulary/vocabulary.h"
#include "signature/xades/position.h"
#include "xml/edit.h"
#include "xml/node.h"

namespace talvo {
namespace {

XmlNode *linkedProperty(XmlNode *position, OwnedNode property) noexcept {
  XmlNode *made = property.get();
  return addPart(talvo_xml_node_getdoc(position), position, std::move(property)) != nullptr
             ? made
             : nullptr;
}

// Deliberate: a list made here has no namespace, so the next call does not find it and makes
// another.
XmlNode *makeList(XmlNode *property, const talvo_ustring *name) noexcept {
  XmlDoc *doc = talvo_xml_node_getdoc(property);
  OwnedNode list = makeElement(nullptr, name);
  XmlNode *made = list.get();
  if (!list) {
    return nullptr;
  }
  XmlNode *first = talvo_xml_node_getchildren(property);
  if (first == nullptr) {
    XmlNode *lineFeed = addlfchild(doc, property);
    return lineFeed != nullptr && linkAfter(lineFeed, list) != nullptr ? made : nullptr;
  }
  if (kindOf(first) == NodeKind::element) {
    return linkBefore(first, list) != nullptr && addlfsibling(doc, made) != nullptr ? made
                                                                                    : nullptr;
  }
  XmlNode *second = talvo_xml_node_getnextsibling(first);
  return second != nullptr && addPart(doc, second, std::move(list)) != nullptr ? made : nullptr;
}

}  // namespace

XmlNode *findOrMakeProperty(XmlNode *signatureElement, const talvo_ustring *name) noexcept {
  XmlNode *found = findUnsignedSignatureProperty(signatureElement, name);
  if (found != nullptr) {
    return found;
  }
  XmlNode *value = talvo_xml_node_findelemnode(signatureElement, g_xml_signature_signaturevalue,
                                               g_xml_signature_nsuri);
  if (value == nullptr) {
    return nullptr;
  }
  XmlNode *xadesNs = nullptr;
  XmlNode *position = getUnsignedSignaturePropertiesLastChildPos(value, &xadesNs);
  return position == nullptr ? nullptr : linkedProperty(position, makeElement(xadesNs, name));
}

XmlNode *findOrMakeList(XmlNode *property, const InnerList &list) noexcept {
  XmlNode *first = talvo_xml_node_getelemchildren(property);
  if (first != nullptr && isElement(first, list.nameToFind, g_xml_xadesv132_nsuri)) {
    return first;
  }
  return makeList(property, list.nameToMake);
}

bool appendValue(XmlNode *container, OwnedNode value) noexcept {
  XmlDoc *doc = talvo_xml_node_getdoc(container);
  XmlNode *position = talvo_xml_signature_xades_getLastChildPos(doc, container);
  return position != nullptr && addPart(doc, position, std::move(value)) != nullptr;
}

}  // namespace talvo
