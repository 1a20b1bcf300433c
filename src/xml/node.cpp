// Reading nodes. Two rules shape everything built on top: a run of adjacent texts counts as one
// sibling, and a document's only child is its root element.
#include "xml/node.h"

#include <array>
#include <string_view>

#include "base/memory.h"
#include "base/utf8.h"
#include "xml/native.h"

namespace talvo {
namespace {

constexpr char kSource[] = "TALVO_XML";

// By libxml2's kind number minus one.
constexpr std::array<NodeKind, 18> kKinds = {
    NodeKind::element,                // element
    NodeKind::attribute,              // attribute
    NodeKind::text,                   // text
    NodeKind::text,                   // CDATA section
    NodeKind::unsupported,            // entity reference
    NodeKind::unsupported,            // entity
    NodeKind::processingInstruction,  // processing instruction
    NodeKind::comment,                // comment
    NodeKind::document,               // document
    NodeKind::unsupported,            // document type
    NodeKind::unsupported,            // document fragment
    NodeKind::unsupported,            // notation
    NodeKind::unsupported,            // HTML document
    NodeKind::unsupported,            // DTD
    NodeKind::unsupported,            // element declaration
    NodeKind::unsupported,            // attribute declaration
    NodeKind::unsupported,            // entity declaration
    NodeKind::namespaceDeclaration,   // namespace declaration
};

talvo_ustring *newString(const xmlChar *text) noexcept {
  return text == nullptr ? nullptr : makeString(viewOf(text)).release();
}

bool isText(const xmlNode *node) noexcept {
  return node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE;
}

// Documents, declarations and what is no node have neither parent nor siblings.
bool hasRelatives(const XmlNode *node) noexcept {
  switch (kindOf(node)) {
    case NodeKind::document:
    case NodeKind::namespaceDeclaration:
    case NodeKind::unsupported:
      return false;
    default:
      return true;
  }
}

bool isIgnorable(const XmlNode *node) noexcept {
  const NodeKind kind = kindOf(node);
  return kind == NodeKind::processingInstruction || kind == NodeKind::comment || isBlankText(node);
}

// The declaration that an element's name is in, its own or the default one above it.
const xmlNs *namespaceOf(const xmlNode *node) noexcept {
  if (node->ns != nullptr || node->type != XML_ELEMENT_NODE) {
    return node->ns;
  }
  auto *element = const_cast<xmlNode *>(node);
  return xmlSearchNs(element->doc, element, nullptr);
}

const xmlChar *nameOf(const XmlNode *node) noexcept {
  switch (kindOf(node)) {
    case NodeKind::element:
    case NodeKind::attribute:
    case NodeKind::processingInstruction:
    case NodeKind::comment:
      return native(node)->name;
    case NodeKind::namespaceDeclaration:
      return nativeNs(node)->prefix;
    default:
      return nullptr;
  }
}

const xmlChar *nsUriOf(const XmlNode *node) noexcept {
  const xmlNs *ns = nullptr;
  switch (kindOf(node)) {
    case NodeKind::element:
    case NodeKind::attribute:
      ns = namespaceOf(native(node));
      break;
    case NodeKind::namespaceDeclaration:
      ns = nativeNs(node);
      break;
    default:
      break;
  }
  return ns == nullptr ? nullptr : ns->href;
}

// Nearly every attribute value is one text.
talvo_ustring *attributeValue(const XmlNode *node) noexcept {
  const xmlNode *only = nativeAttr(node)->children;
  if (only != nullptr && only->next == nullptr && only->type == XML_TEXT_NODE) {
    return newString(only->content);
  }
  const XmlChars value(xmlNodeGetContent(native(node)));
  return newString(value.get());
}

// Shows each text of a run of siblings that is more than blanks; false when the run holds something
// else than text, comments and processing instructions.
template <class Visit>
bool visitTexts(const XmlNode *first, Visit visit) noexcept {
  for (const XmlNode *at = first; at != nullptr; at = talvo_xml_node_getnextsibling(at)) {
    if (isIgnorable(at)) {
      continue;
    }
    if (kindOf(at) != NodeKind::text) {
      return false;
    }
    visit(viewOf(native(at)->content));
  }
  return true;
}

bool sameText(const xmlChar *text, const talvo_ustring *string) noexcept {
  return text != nullptr && viewOf(text) == viewOf(string);
}

}  // namespace

NodeKind kindOf(const XmlNode *node) noexcept {
  if (node == nullptr) {
    return NodeKind::unsupported;
  }
  const auto number = static_cast<uint32_t>(native(node)->type) - 1;
  return number < kKinds.size() ? kKinds.at(number) : NodeKind::unsupported;
}

std::string_view localName(const XmlNode *node) noexcept {
  return viewOf(nameOf(node));
}

std::string_view namespaceUri(const XmlNode *node) noexcept {
  return viewOf(nsUriOf(node));
}

bool matches(const XmlNode *node, const talvo_ustring *name, const talvo_ustring *nsuri) noexcept {
  if (name == nullptr || !sameText(nameOf(node), name)) {
    return false;
  }
  const xmlChar *uri = nsUriOf(node);
  return nsuri == nullptr ? uri == nullptr : sameText(uri, nsuri);
}

bool isElement(const XmlNode *node, const talvo_ustring *name,
               const talvo_ustring *nsuri) noexcept {
  return kindOf(node) == NodeKind::element && matches(node, name, nsuri);
}

bool isBlankText(const XmlNode *node) noexcept {
  return kindOf(node) == NodeKind::text && xmlIsBlankNode(native(node)) == 1;
}

XmlNode *firstElementChild(const XmlNode *node) noexcept {
  const NodeKind kind = kindOf(node);
  if (kind != NodeKind::element && kind != NodeKind::document) {
    return nullptr;
  }
  xmlNode *child = native(node)->children;
  while (child != nullptr && child->type != XML_ELEMENT_NODE) {
    child = child->next;
  }
  return handleOf(child);
}

XmlNode *nextElement(const XmlNode *node) noexcept {
  if (!hasRelatives(node)) {
    return nullptr;
  }
  xmlNode *next = native(node)->next;
  while (next != nullptr && next->type != XML_ELEMENT_NODE) {
    next = next->next;
  }
  return handleOf(next);
}

XmlNode *lastChild(const XmlNode *node) noexcept {
  const NodeKind kind = kindOf(node);
  return kind == NodeKind::element || kind == NodeKind::document ? handleOf(native(node)->last)
                                                                 : nullptr;
}

XmlNode *followingNode(const XmlNode *node) noexcept {
  return hasRelatives(node) ? handleOf(native(node)->next) : nullptr;
}

XmlNode *precedingNode(const XmlNode *node) noexcept {
  return hasRelatives(node) ? handleOf(native(node)->prev) : nullptr;
}

bool isIdAttribute(const XmlNode *attribute) noexcept {
  return kindOf(attribute) == NodeKind::attribute &&
         nativeAttr(attribute)->atype == XML_ATTRIBUTE_ID;
}

bool hasDocumentType(const XmlDoc *doc) noexcept {
  return kindOf(doc) == NodeKind::document &&
         (nativeDoc(doc)->intSubset != nullptr || nativeDoc(doc)->extSubset != nullptr);
}

bool isAtOrBelow(const XmlNode *node, const XmlNode *ancestor) noexcept {
  if (node == nullptr || kindOf(node) == NodeKind::namespaceDeclaration) {
    return node == ancestor;
  }
  const xmlNode *at = native(node);
  while (at != nullptr && at != native(ancestor)) {
    at = at->parent;
  }
  return at != nullptr;
}

bool isInDocument(const XmlNode *node, const XmlDoc *doc) noexcept {
  return kindOf(doc) == NodeKind::document && isAtOrBelow(node, doc);
}

}  // namespace talvo

using namespace talvo;

uint32_t talvo_xml_node_gettype(const XmlNode *node) noexcept {
  return static_cast<uint32_t>(kindOf(node));
}

XmlDoc *talvo_xml_node_getdoc(const XmlNode *node) noexcept {
  switch (kindOf(node)) {
    case NodeKind::unsupported:
      return nullptr;
    case NodeKind::document:
      return const_cast<XmlDoc *>(node);
    case NodeKind::namespaceDeclaration:
      return handleOf(nativeNs(node)->context);
    default:
      return handleOf(native(node)->doc);
  }
}

XmlNode *talvo_xml_node_getparent(const XmlNode *node) noexcept {
  return hasRelatives(node) ? handleOf(native(node)->parent) : nullptr;
}

XmlNode *talvo_xml_node_getnextsibling(const XmlNode *node) noexcept {
  if (kindOf(node) == NodeKind::namespaceDeclaration) {
    return handleOf(nativeNs(node)->next);
  }
  if (!hasRelatives(node)) {
    return nullptr;
  }
  const xmlNode *from = native(node);
  xmlNode *next = from->next;
  // Deliberate: from a text, the texts right behind it are part of the same run and are skipped.
  while (isText(from) && next != nullptr && isText(next)) {
    next = next->next;
  }
  return handleOf(next);
}

XmlNode *talvo_xml_node_getprevsibling(const XmlNode *node) noexcept {
  if (!hasRelatives(node)) {
    return nullptr;
  }
  const xmlNode *from = native(node);
  xmlNode *previous = from->prev;
  while (isText(from) && previous != nullptr && isText(previous)) {
    previous = previous->prev;
  }
  return handleOf(previous);
}

XmlNode *talvo_xml_node_getattribute(const XmlNode *node) noexcept {
  return kindOf(node) == NodeKind::element ? handleOf(native(node)->properties) : nullptr;
}

XmlNode *talvo_xml_node_getnsnode(const XmlNode *node) noexcept {
  return kindOf(node) == NodeKind::element ? handleOf(native(node)->nsDef) : nullptr;
}

XmlNode *talvo_xml_node_getassociatednsnode(const XmlNode *node) noexcept {
  switch (kindOf(node)) {
    case NodeKind::element:
    case NodeKind::attribute:
      return handleOf(native(node)->ns);
    case NodeKind::namespaceDeclaration:
      return const_cast<XmlNode *>(node);
    default:
      return nullptr;
  }
}

XmlNode *talvo_xml_node_getchildren(const XmlNode *node) noexcept {
  switch (kindOf(node)) {
    case NodeKind::document:
      // Deliberate: comments and processing instructions around the root are no children.
      return talvo_xml_doc_getrootelement(node);
    case NodeKind::attribute:
    case NodeKind::namespaceDeclaration:
    case NodeKind::unsupported:
      return nullptr;
    default:
      return handleOf(native(node)->children);
  }
}

XmlNode *talvo_xml_node_getelemchildren(const XmlNode *node) noexcept {
  XmlNode *first = talvo_xml_node_getchildren(node);
  const NodeKind kind = kindOf(first);
  if (kind == NodeKind::element) {
    return first;
  }
  if (kind == NodeKind::text && !isBlankText(first)) {
    return nullptr;
  }
  XmlNode *next = talvo_xml_node_skipignorenode(first);
  return kindOf(next) == NodeKind::element ? next : nullptr;
}

XmlNode *talvo_xml_node_skipignorenode(const XmlNode *node) noexcept {
  XmlNode *next = talvo_xml_node_getnextsibling(node);
  while (next != nullptr && isIgnorable(next)) {
    next = talvo_xml_node_getnextsibling(next);
  }
  return next;
}

talvo_ustring *talvo_xml_node_getname(const XmlNode *node) noexcept {
  return newString(nameOf(node));
}

talvo_ustring *talvo_xml_node_getprefixedname(const XmlNode *node) noexcept {
  const XmlNode *ns = talvo_xml_node_getassociatednsnode(node);
  return ns == nullptr ? nullptr : newString(nativeNs(ns)->prefix);
}

talvo_ustring *talvo_xml_node_getnsuri(const XmlNode *node) noexcept {
  return newString(nsUriOf(node));
}

talvo_ustring *talvo_xml_node_getvalue(const XmlNode *node) noexcept {
  switch (kindOf(node)) {
    case NodeKind::attribute:
      return attributeValue(node);
    case NodeKind::text:
    case NodeKind::processingInstruction:
    case NodeKind::comment:
      return newString(native(node)->content);
    case NodeKind::namespaceDeclaration:
      return newString(nativeNs(node)->href);
    default:
      return nullptr;
  }
}

talvo_ustring *talvo_xml_node_getpcdata(const XmlNode *first) noexcept {
  size_t length = 0;
  std::string_view last;
  const auto measure = [&](std::string_view text) {
    length += text.size();
    last = text;
  };
  if (first == nullptr || !visitTexts(first, measure)) {
    return nullptr;
  }
  if (last.size() == length) {
    return makeString(last).release();  // one text, as nearly always
  }
  const TextBuffer joined = makeChars(kSource, length);
  if (!joined) {
    return nullptr;
  }
  char *end = joined.get();
  visitTexts(first, [&end](std::string_view text) { end += text.copy(end, text.size()); });
  return makeString({joined.get(), length}).release();
}

XmlNode *talvo_xml_doc_getrootelement(const XmlDoc *doc) noexcept {
  return kindOf(doc) == NodeKind::document ? handleOf(xmlDocGetRootElement(nativeDoc(doc)))
                                           : nullptr;
}
