// Finding elements and attributes by name. The walk uses the public navigation, so that what that
// does not reach is not found: content behind an unresolved entity reference, for one.
#include "base/list.h"
#include "signature/vocabulary/vocabulary.h"
#include "xml/native.h"
#include "xml/node.h"

namespace talvo {
namespace {

// The next element in document order below `top`; the siblings behind the root element are below
// their document.
XmlNode *nextBelow(XmlNode *node, const XmlNode *top) noexcept {
  XmlNode *next = talvo_xml_node_getchildren(node);
  while (next == nullptr && node != top) {
    next = talvo_xml_node_getnextsibling(node);
    if (next == nullptr) {
      node = handleOf(native(node)->parent);
    }
  }
  return next;
}

XmlNode *firstMatch(XmlNode *from, const XmlNode *top, const talvo_ustring *name,
                    const talvo_ustring *nsuri) noexcept {
  while (from != nullptr && !isElement(from, name, nsuri)) {
    from = nextBelow(from, top);
  }
  return from;
}

// What is found is handed out for changing, though the search only reads.
XmlNode *startOf(const XmlNode *node) noexcept {
  return const_cast<XmlNode *>(node);
}

bool appendMatches(const XmlNode *top, const talvo_ustring *name, const talvo_ustring *nsuri,
                   talvo_arraylist *list) noexcept {
  XmlNode *match = firstMatch(startOf(top), top, name, nsuri);
  while (match != nullptr) {
    if (talvo_arraylist_pushback(list, match) != 1) {
      return false;
    }
    match = firstMatch(nextBelow(match, top), top, name, nsuri);
  }
  return true;
}

}  // namespace
}  // namespace talvo

using namespace talvo;

int32_t talvo_xml_node_match(const XmlNode *node, const talvo_ustring *name,
                             const talvo_ustring *nsuri) noexcept {
  return matches(node, name, nsuri) ? 1 : 0;
}

XmlNode *talvo_xml_node_findelemnode(const XmlNode *node, const talvo_ustring *name,
                                     const talvo_ustring *nsuri) noexcept {
  return name == nullptr ? nullptr : firstMatch(startOf(node), node, name, nsuri);
}

int32_t talvo_xml_node_findallelemnode(const XmlNode *node, const talvo_ustring *name,
                                       const talvo_ustring *nsuri,
                                       talvo_arraylist **list) noexcept {
  if (list == nullptr) {
    return 0;
  }
  *list = nullptr;
  List found(talvo_arraylist_new(nullptr, nullptr));
  if (talvo_xml_node_findallelemnodeinlist(node, name, nsuri, found.get()) != 1) {
    return 0;
  }
  *list = found.release();
  return 1;
}

int32_t talvo_xml_node_findallelemnodeinlist(const XmlNode *node, const talvo_ustring *name,
                                             const talvo_ustring *nsuri,
                                             talvo_arraylist *list) noexcept {
  return node != nullptr && name != nullptr && list != nullptr &&
                 appendMatches(node, name, nsuri, list)
             ? 1
             : 0;
}

int32_t talvo_xml_node_findsignature(const XmlNode *node, talvo_arraylist **list) noexcept {
  return talvo_xml_node_findallelemnode(node, g_xml_signature_name, g_xml_signature_nsuri, list);
}

int32_t talvo_xml_signature_issignaturenode(const XmlNode *node) noexcept {
  return isElement(node, g_xml_signature_name, g_xml_signature_nsuri) ? 1 : 0;
}

int32_t talvo_xml_signature_ismanifestnode(const XmlNode *node) noexcept {
  return isElement(node, g_xml_signature_manifest, g_xml_signature_nsuri) ? 1 : 0;
}

XmlNode *talvo_xml_node_findattribute(const XmlNode *element, const talvo_ustring *name,
                                      const talvo_ustring *nsuri) noexcept {
  // Deliberate: the walk starts at the first attribute and goes to previous ones, so that only the
  // first is ever looked at.
  for (XmlNode *attribute = talvo_xml_node_getattribute(element); attribute != nullptr;
       attribute = talvo_xml_node_getprevsibling(attribute)) {
    if (matches(attribute, name, nsuri)) {
      return attribute;
    }
  }
  return nullptr;
}

talvo_ustring *talvo_xml_node_getattributevalue(const XmlNode *element, const talvo_ustring *name,
                                                const talvo_ustring *nsuri) noexcept {
  return talvo_xml_node_getvalue(talvo_xml_node_findattribute(element, name, nsuri));
}
