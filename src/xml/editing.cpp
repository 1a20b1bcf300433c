// The public functions that link, detach, change and free nodes. They keep the registry true: what
// a tree takes in leaves it, what is left without parent enters it.
#include <charconv>

#include "base/utf8.h"
#include "xml/edit.h"
#include "xml/id_table.h"
#include "xml/link.h"
#include "xml/node.h"
#include "xml/registry.h"

namespace talvo {
namespace {

bool isText(const XmlNode *node) noexcept {
  return kindOf(node) == NodeKind::text;
}

// libxml2 would merge them and free the new one.
bool areBothText(const XmlNode *ref, const XmlNode *node) noexcept {
  return isText(ref) && isText(node);
}

XmlNode *moveBeside(Where where, XmlNode *ref, XmlNode *node) noexcept {
  const Place place = {where, native(ref)};
  if (node == nullptr || areBothText(ref, node) || !fits(place, native(node)) ||
      liesWithin(place, native(node))) {
    return nullptr;
  }
  if (linkNodes(place, native(node), Extent::node) == nullptr) {
    return nullptr;
  }
  DeleteSibling(node);
  return node;
}

// From the last back to the first of nodes that were moved to a place without parent.
void unregisterMoved(xmlNode *first, xmlNode *last) noexcept {
  while (last != first) {
    DeleteSibling(handleOf(last));
    last = last->prev;
  }
  DeleteSibling(handleOf(first));
}

// A text that follows a text becomes part of it, as an appended child does in libxml2.
XmlNode *mergeText(xmlNode *last, xmlNode *text) noexcept {
  const MemoryWatch watch;
  xmlNodeAddContent(last, text->content);
  return watch.exhausted() ? nullptr : handleOf(last);
}

bool fitsWhole(const Place &place, const xmlNode *first) noexcept {
  for (const xmlNode *node = first; node != nullptr; node = node->next) {
    if (!fits(place, node)) {
      return false;
    }
  }
  return !liesWithinRun(place, first);
}

bool mayPrecedeRoot(const XmlNode *root) noexcept {
  for (const XmlNode *at = root; (at = talvo_xml_node_getprevsibling(at)) != nullptr;) {
    const NodeKind kind = kindOf(at);
    if (kind != NodeKind::processingInstruction && kind != NodeKind::comment) {
      return false;
    }
  }
  return true;
}

bool isRegistrable(const XmlNode *node) noexcept {
  switch (kindOf(node)) {
    case NodeKind::element:
    case NodeKind::text:
    case NodeKind::processingInstruction:
    case NodeKind::comment:
      return true;
    default:
      return false;
  }
}

bool isTextAlone(const xmlNode *first) noexcept {
  for (const xmlNode *node = first; node != nullptr; node = node->next) {
    if (node->type != XML_TEXT_NODE) {
      return false;
    }
  }
  return true;
}

// The value with its references resolved, as nodes; false when it is not well-formed or refers to
// more than text. An empty value may be no nodes at all.
bool parseValue(xmlDoc *doc, const Utf8 &value, OwnedNode *nodes) noexcept {
  const MemoryWatch watch;
  nodes->reset(handleOf(xmlStringGetNodeList(doc, xmlText(value.get()))));
  return !watch.exhausted() && (*nodes || value.length() == 0) && isTextAlone(native(nodes->get()));
}

bool isXmlCharacter(uint32_t code) noexcept {
  return code == 0x9 || code == 0xA || code == 0xD || (code >= 0x20 && code <= 0xD7FF) ||
         (code >= 0xE000 && code <= 0xFFFD) || (code >= 0x10000 && code <= 0x10FFFF);
}

// Whether a text that begins with "&#" begins with a whole reference to a character of XML.
bool isCharacterReference(std::string_view text) noexcept {
  constexpr size_t kMark = 2;
  const bool isHex = text.substr(kMark, 1) == "x";
  text.remove_prefix(isHex ? kMark + 1 : kMark);
  uint32_t code = 0;
  const auto [end, fault] =
      std::from_chars(text.data(), text.data() + text.size(), code, isHex ? 16 : 10);
  const size_t digits = static_cast<size_t>(end - text.data());
  return fault == std::errc() && text.substr(digits, 1) == ";" && isXmlCharacter(code);
}

// libxml2 leaves out what it does not understand of a character reference, or ends there.
bool areReferencesSound(std::string_view value) noexcept {
  constexpr std::string_view kMark = "&#";
  size_t at = value.find(kMark);
  while (at != std::string_view::npos && isCharacterReference(value.substr(at))) {
    at = value.find(kMark, at + kMark.size());
  }
  return at == std::string_view::npos;
}

void replaceChildren(xmlNode *parent, OwnedNode nodes) noexcept {
  if (parent->type == XML_ATTRIBUTE_NODE) {
    noteEdit(parent);
  }
  while (parent->children != nullptr) {
    freeTree(parent->children);
  }
  xmlNode *first = native(nodes.release());  // the parent owns them now
  parent->children = first;
  for (xmlNode *node = first; node != nullptr; node = node->next) {
    node->parent = parent;
    parent->last = node;
  }
}

// An ID keeps its place in the table under its new value, unless that is taken or empty. False when
// memory is exhausted.
bool renameId(xmlAttr *attribute, xmlNode *nodes) noexcept {
  const XmlChars value(xmlNodeListGetString(attribute->doc, nodes, 1));
  if ((nodes != nullptr && !value) ||
      enterId(attribute, value.get()) == IdDeclaration::outOfMemory) {
    return false;
  }
  keepOnlyId(attribute, value.get());
  return true;
}

int32_t setParsedValue(xmlNode *node, const Utf8 &value) noexcept {
  OwnedNode nodes;
  if (!areReferencesSound(value.view()) || !parseValue(node->doc, value, &nodes) ||
      (isId(node) && !renameId(asAttr(node), native(nodes.get())))) {
    return 0;
  }
  replaceChildren(node, std::move(nodes));
  return 1;
}

int32_t setRawValue(xmlNode *node, const Utf8 &value) noexcept {
  const MemoryWatch watch;
  xmlNodeSetContent(node, xmlText(value.get()));
  return watch.exhausted() ? 0 : 1;
}

// Below a parent whose document is another one, the node becomes a registry entry, so that its new
// document knows of it.
bool setHomeBelow(xmlNode *node, xmlDoc *doc) noexcept {
  const bool isForeign = homeOf(node->parent) != doc;
  if (isForeign && !reserveTracking(1)) {
    return false;
  }
  finishMove(node, doc);
  if (isForeign) {
    return track(handleOf(node), Tracking::rehomed, handleOf(doc));
  }
  untrack(handleOf(node));
  return true;
}

bool setHome(xmlNode *tree, xmlDoc *doc) noexcept {
  if (!copyStrings(tree, doc)) {
    return false;
  }
  if (tree->parent != nullptr) {
    return setHomeBelow(tree, doc);
  }
  finishMove(tree, doc);
  if (isTracked(handleOf(tree))) {
    const bool registered = isRegistered(handleOf(tree));
    track(handleOf(tree), registered ? Tracking::registered : Tracking::detached, handleOf(doc));
  }
  return true;
}

}  // namespace
}  // namespace talvo

using namespace talvo;

XmlNode *talvo_xml_node_addchild(XmlNode *parent, XmlNode *node) noexcept {
  const Place place = {Where::lastChild, native(parent)};
  xmlNode *first = native(node);
  if (!isRegistered(node) || !fitsWhole(place, first)) {
    return nullptr;
  }
  xmlNode *last = place.ref->last;
  XmlNode *result = node;
  if (last != nullptr && last->type == XML_TEXT_NODE && first->type == XML_TEXT_NODE) {
    result = mergeText(last, first);
    if (result == nullptr) {
      return nullptr;
    }
    xmlNode *rest = first->next;
    freeTree(first);
    first = rest;
  }
  if (first != nullptr && linkNodes(place, first, Extent::run) == nullptr) {
    return nullptr;
  }
  return result;
}

XmlNode *talvo_xml_node_addprevsibling(XmlNode *ref, XmlNode *node) noexcept {
  return moveBeside(Where::before, ref, node);
}

XmlNode *talvo_xml_node_addnextsibling(XmlNode *ref, XmlNode *node) noexcept {
  return moveBeside(Where::after, ref, node);
}

XmlNode *talvo_xml_node_addsibling(XmlNode *ref, XmlNode *first) noexcept {
  const Place place = {Where::after, native(ref)};
  if (first == nullptr || areBothText(ref, first) || !fitsWhole(place, native(first))) {
    return nullptr;
  }
  xmlNode *last = linkNodes(place, native(first), Extent::reachable);
  if (last != nullptr && place.parent() == nullptr) {
    unregisterMoved(native(first), last);
  }
  return handleOf(last);
}

void talvo_xml_node_remove(XmlNode *node) noexcept {
  if (kindOf(node) == NodeKind::namespaceDeclaration) {
    nativeNs(node)->context = nullptr;
    return;
  }
  xmlNode *removed = native(node);
  if (!isLinkable(removed)) {
    return;
  }
  // Deliberate: a node that leaves a document is not registered, so that no free function takes it.
  const bool becomesCallers = removed->doc == nullptr && isRegistrable(node);
  const Tracking tracking =
      becomesCallers || isRegistered(node) ? Tracking::registered : Tracking::detached;
  if (!reserveTracking(1) || !prepareToDetach(removed) ||
      !track(node, tracking, handleOf(homeOf(removed)))) {
    return;
  }
  cut(removed);
  removed->doc = nullptr;
}

int32_t talvo_xml_node_setdoc(XmlNode *tree, XmlDoc *doc) noexcept {
  if (kindOf(doc) != NodeKind::document) {
    return 0;
  }
  if (kindOf(tree) == NodeKind::namespaceDeclaration) {
    return 1;  // a declaration has no document
  }
  return isLinkable(native(tree)) && setHome(native(tree), nativeDoc(doc)) ? 1 : 0;
}

int32_t talvo_xml_node_setns(XmlNode *node, const XmlNode *ns) noexcept {
  const NodeKind kind = kindOf(node);
  if (kindOf(ns) != NodeKind::namespaceDeclaration ||
      (kind != NodeKind::element && kind != NodeKind::attribute)) {
    return 0;
  }
  noteEdit(native(node));
  native(node)->ns = nativeNs(ns);
  return 1;
}

int32_t talvo_xml_node_setvalue(XmlNode *node, const talvo_ustring *value) noexcept {
  const Utf8 text(value);
  if (node == nullptr || !text) {
    return 0;
  }
  switch (kindOf(node)) {
    case NodeKind::namespaceDeclaration:
      return 0;
    case NodeKind::element:
    case NodeKind::attribute: {
      const AtHome home(native(node));
      return setParsedValue(native(node), text);
    }
    case NodeKind::text:
    case NodeKind::comment:
    case NodeKind::processingInstruction: {
      const AtHome home(native(node));
      return setRawValue(native(node), text);
    }
    default:
      return 1;  // documents and the like have no value that could be set
  }
}

XmlNode *talvo_xml_doc_setrootelement(XmlDoc *doc, XmlNode *root) noexcept {
  // Deliberate: a root with any following sibling is refused, comments and instructions included.
  if (kindOf(doc) != NodeKind::document || kindOf(root) != NodeKind::element ||
      !isRegistered(root) || !mayPrecedeRoot(root) ||
      talvo_xml_node_getnextsibling(root) != nullptr) {
    return nullptr;
  }
  XmlNode *old = talvo_xml_doc_getrootelement(doc);
  if (old == nullptr) {
    return handleOf(linkNodes({Where::lastChild, native(doc)}, native(root), Extent::node));
  }
  if (!reserveTracking(2) ||
      linkNodes({Where::after, native(old)}, native(root), Extent::node) == nullptr) {
    return nullptr;
  }
  if (!prepareToDetach(native(old))) {
    cut(native(root));
    track(root, Tracking::registered, doc);
    return nullptr;
  }
  XmlDoc *home = handleOf(homeOf(native(old)));
  cut(native(old));
  track(old, Tracking::detached, home);
  return root;
}

void talvo_xml_node_free(XmlNode *node) noexcept {
  if (!isRegistered(node)) {
    return;
  }
  if (kindOf(node) == NodeKind::document) {
    talvo_xml_doc_free(node);
  } else {
    freeTree(native(node));
  }
}

void talvo_xml_doc_free(XmlDoc *doc) noexcept {
  {
    const RegistryLock lock;
    if (!lock || !isRegistered(doc) || kindOf(doc) != NodeKind::document ||
        !releaseDependents(doc)) {
      return;
    }
    untrack(doc);
  }
  freeDocument(nativeDoc(doc));
}
