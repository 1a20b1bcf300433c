// The empty Signature element that a JSON-driven signature starts from, for callers that have no
// other reason to build elements.
#include "talvo_xml.h"

#include "base/handle.h"
#include "signature/vocabulary/vocabulary.h"

namespace {

using namespace talvo;

using FreeStanding = Handle<XmlNode, talvo_xml_node_free>;

FreeStanding makeElement(const talvo_ustring *prefix) noexcept {
  FreeStanding element(talvo_xml_node_newelem(nullptr, g_xml_signature_name));
  XmlNode *ns = talvo_xml_node_newns(element.get(), g_xml_signature_nsuri, prefix);
  return ns != nullptr && talvo_xml_node_setns(element.get(), ns) == 1 ? std::move(element)
                                                                       : nullptr;
}

bool fits(const XmlNode *parent, const XmlNode *sibling) noexcept {
  const uint32_t type = talvo_xml_node_gettype(parent);
  return (type == TALVO_NODE_DOCUMENT && sibling == nullptr) ||
         (type == TALVO_NODE_ELEMENT &&
          (sibling == nullptr || talvo_xml_node_getparent(sibling) == parent));
}

// Not null when the element has become part of the document.
XmlNode *link(XmlNode *parent, XmlNode *sibling, XmlNode *element) noexcept {
  if (talvo_xml_node_gettype(parent) == TALVO_NODE_DOCUMENT) {
    return talvo_xml_doc_setrootelement(parent, element);
  }
  return sibling == nullptr ? talvo_xml_node_addchild(parent, element)
                            : talvo_xml_node_addnextsibling(sibling, element);
}

}  // namespace

XmlNode *talvo_xml_signature_newsignaturenode(XmlNode *parent, XmlNode *sibling,
                                              const talvo_ustring *prefix) noexcept {
  if (!fits(parent, sibling)) {
    return nullptr;
  }
  FreeStanding element = makeElement(prefix);
  if (element == nullptr || link(parent, sibling, element.get()) == nullptr) {
    return nullptr;
  }
  return element.release();  // the document owns it now
}
