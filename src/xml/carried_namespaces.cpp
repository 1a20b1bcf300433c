// Three passes: note the declarations that go with the tree, copy the others, bind the nodes. Only
// the last pass changes nodes, and it cannot fail.
#include "xml/carried_namespaces.h"

#include <unordered_map>

#include "base/boundary.h"
#include "xml/namespace.h"

namespace talvo {
namespace {

// What stands for a declaration in the tree alone.
using Copies = std::unordered_map<const xmlNs *, xmlNs *>;

void noteDeclarations(const xmlNode *node, Copies *copies) {
  if (node->type != XML_ELEMENT_NODE) {
    return;
  }
  for (xmlNs *ns = node->nsDef; ns != nullptr; ns = ns->next) {
    copies->emplace(ns, ns);
  }
}

xmlNs *copyOnto(const xmlNs *ns, CarriedNamespaces *carried) noexcept {
  const MemoryWatch watch;
  CarriedNamespaces copy(xmlCopyNamespace(const_cast<xmlNs *>(ns)));
  if (!copy || watch.exhausted()) {
    return nullptr;
  }
  copy->next = carried->release();
  *carried = std::move(copy);
  return carried->get();
}

bool copyNamespaces(xmlNode *top, Copies *copies, CarriedNamespaces *carried) {
  forEachNode(top, [copies](const xmlNode *node) { noteDeclarations(node, copies); });
  bool copied = true;
  forEachNode(top, [=, &copied](const xmlNode *node) {
    if (!copied || !hasNamespace(node) || copies->contains(node->ns)) {
      return;
    }
    xmlNs *copy = isXmlNamespace(node->ns) ? xmlNamespace() : copyOnto(node->ns, carried);
    copied = copy != nullptr;
    copies->emplace(node->ns, copy);
  });
  return copied;
}

}  // namespace

bool carryNamespaces(xmlNode *top, CarriedNamespaces *carried) noexcept {
  return !usesNamespaces(top) || guard([=] {
    Copies copies;
    CarriedNamespaces made;
    if (!copyNamespaces(top, &copies, &made)) {
      return false;
    }
    forEachNode(top, [&copies](xmlNode *node) {
      if (hasNamespace(node)) {
        node->ns = copies.find(node->ns)->second;
      }
    });
    *carried = std::move(made);
    return true;
  });
}

}  // namespace talvo
