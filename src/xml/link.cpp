// Linking goes in three steps over the whole run: make room in the registry and prepare every node,
// which may fail; then move them, which may not.
#include "xml/link.h"

#include "xml/namespace_binding.h"
#include "xml/node.h"
#include "xml/registry.h"

namespace talvo {
namespace {

bool isParent(const xmlNode *node) noexcept {
  return node->type == XML_ELEMENT_NODE || node->type == XML_DOCUMENT_NODE;
}

xmlNode *followerIn(const xmlNode *node, Extent extent) noexcept {
  switch (extent) {
    case Extent::node:
      return nullptr;
    case Extent::run:
      return node->next;
    default:
      return native(talvo_xml_node_getnextsibling(handleOf(const_cast<xmlNode *>(node))));
  }
}

bool sameName(const xmlAttr *first, const xmlAttr *second) noexcept {
  const xmlChar *firstUri = first->ns == nullptr ? nullptr : first->ns->href;
  const xmlChar *secondUri = second->ns == nullptr ? nullptr : second->ns->href;
  return xmlStrEqual(first->name, second->name) && xmlStrEqual(firstUri, secondUri);
}

void freeNamesakes(xmlAttr *attribute) noexcept {
  xmlAttr *next = nullptr;
  for (xmlAttr *other = attribute->parent->properties; other != nullptr; other = next) {
    next = other->next;
    if (other != attribute && sameName(other, attribute)) {
      freeTree(asNode(other));
    }
  }
}

// How the nodes of a run without parent are tracked; false for a run that an OwnedNode holds.
bool runIsTracked(const Place &place) noexcept {
  return place.parent() == nullptr && isTracked(handleOf(place.ref));
}

// The element in whose reach the declarations of a place are; null for none.
xmlNode *scopeOf(const Place &place) noexcept {
  xmlNode *parent = place.parent();
  return parent != nullptr && parent->type == XML_ELEMENT_NODE ? parent : nullptr;
}

// A node that was never below a parent keeps the declarations it was made with.
bool prepareNamespaces(const Place &place, xmlNode *node, NamespaceBinding *binding) noexcept {
  if (place.parent() == nullptr) {
    return prepareToDetach(node);
  }
  const bool isFresh = node->parent == nullptr && !carriesNamespaces(handleOf(node));
  return isFresh || binding->plan(node);
}

int32_t countOf(const xmlNode *first, Extent extent) noexcept {
  int32_t count = 0;
  for (const xmlNode *node = first; node != nullptr; node = followerIn(node, extent)) {
    ++count;
  }
  return count;
}

bool prepare(const Place &place, xmlNode *first, Extent extent) noexcept {
  if (place.parent() == nullptr && !reserveTracking(countOf(first, extent))) {
    return false;
  }
  NamespaceBinding binding(scopeOf(place));
  for (xmlNode *node = first; node != nullptr; node = followerIn(node, extent)) {
    if (!copyStrings(node, place.doc()) || !prepareNamespaces(place, node, &binding)) {
      return false;
    }
  }
  binding.commit();
  return true;
}

// What the registry knows of a node that is about to stand at the place.
void setTracking(const Place &place, xmlNode *node, xmlDoc *doc, bool tracked) noexcept {
  XmlNode *handle = handleOf(node);
  if (tracked) {
    const bool registered = isRegistered(handle);
    track(handle, registered ? Tracking::registered : Tracking::detached, handleOf(doc));
  } else if (place.parent() == nullptr && carriesNamespaces(handle)) {
    track(handle, Tracking::taken, nullptr);
  } else {
    untrack(handle);
  }
}

void move(const Place &place, xmlNode *node, xmlDoc *doc, bool tracked) noexcept {
  const xmlNode *before = node->parent;
  finishMove(node, doc);
  cut(node);
  setTracking(place, node, doc, tracked);
  splice(node, place);
  if (node->type == XML_ATTRIBUTE_NODE && node->parent != nullptr && node->parent != before) {
    freeNamesakes(asAttr(node));
  }
}

}  // namespace

bool isLinkable(const xmlNode *node) noexcept {
  switch (kindOf(handleOf(const_cast<xmlNode *>(node)))) {
    case NodeKind::document:
    case NodeKind::namespaceDeclaration:
      return false;
    case NodeKind::unsupported:
      return node != nullptr && node->type == XML_ENTITY_REF_NODE;
    default:
      return true;
  }
}

bool fits(const Place &place, const xmlNode *node) noexcept {
  const xmlNode *ref = place.ref;
  if (ref == nullptr || !isLinkable(node)) {
    return false;
  }
  const bool isAttribute = node->type == XML_ATTRIBUTE_NODE;
  if (place.where == Where::lastChild) {
    return isParent(ref) && !isAttribute;
  }
  if (ref->type == XML_DOCUMENT_NODE || ref->type == XML_NAMESPACE_DECL ||
      isAttribute != (ref->type == XML_ATTRIBUTE_NODE)) {
    return false;
  }
  return ref->parent == nullptr || isParent(ref->parent);
}

bool liesWithin(const Place &place, const xmlNode *node) noexcept {
  const xmlNode *at = place.ref;
  // A tree that grows downwards is not climbed for each leaf.
  while (at != nullptr && at != node && node->children != nullptr) {
    at = at->parent;
  }
  return at == node;
}

bool liesWithinRun(const Place &place, const xmlNode *first) noexcept {
  bool haveChildren = false;
  for (const xmlNode *node = first; node != nullptr; node = node->next) {
    haveChildren = haveChildren || node->children != nullptr;
  }
  // Of the nodes above the place only the one beside `first` can be in its run.
  const xmlNode *at = place.ref;
  while (haveChildren && at != nullptr && at->parent != first->parent) {
    at = at->parent;
  }
  const xmlNode *node = first;
  while (node != nullptr && node != at) {
    node = node->next;
  }
  return node != nullptr && at != nullptr;
}

xmlNode *linkNodes(const Place &place, xmlNode *first, Extent extent) noexcept {
  if (!prepare(place, first, extent)) {
    return nullptr;
  }
  xmlDoc *doc = place.doc();
  const bool tracked = runIsTracked(place);
  Place next = place;
  for (xmlNode *node = first; node != nullptr;) {
    xmlNode *follower = followerIn(node, extent);
    move(next, node, doc, tracked);
    next = {Where::after, node};
    node = follower;
  }
  return next.ref;
}

}  // namespace talvo
