// Three passes: note the declarations that move with the tree, find or make a declaration for each
// of the others, bind the nodes. Only the last pass changes nodes, and it cannot fail.
#include "xml/namespace_binding.h"

#include <unordered_map>

#include "base/boundary.h"
#include "xml/tree.h"

namespace talvo {
namespace {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast"
const xmlChar *const kXmlNamespaceUri = XML_XML_NAMESPACE;
#pragma GCC diagnostic pop
const xmlChar kXmlPrefix[] = "xml";

xmlNs xmlNamespaceRecord = {nullptr, XML_LOCAL_NAMESPACE, kXmlNamespaceUri, kXmlPrefix, nullptr,
                            nullptr};

bool hasNamespace(const xmlNode *node) noexcept {
  return (node->type == XML_ELEMENT_NODE || node->type == XML_ATTRIBUTE_NODE) &&
         node->ns != nullptr;
}

bool usesNamespaces(xmlNode *top) noexcept {
  bool uses = false;
  forEachNode(top, [&uses](const xmlNode *node) { uses = uses || hasNamespace(node); });
  return uses;
}

using Bindings = std::unordered_map<const xmlNs *, xmlNs *>;

void noteDeclarations(xmlNode *node, Bindings *bindings) {
  if (node->type != XML_ELEMENT_NODE) {
    return;
  }
  for (xmlNs *ns = node->nsDef; ns != nullptr; ns = ns->next) {
    bindings->emplace(ns, ns);
  }
}

bool isXmlNamespace(const xmlNs *ns) noexcept {
  return ns->prefix != nullptr && xmlStrEqual(ns->prefix, kXmlPrefix);
}

// resolve(node) finds or makes a declaration that stands for the node's one, or answers null.
template <class Resolve>
bool rebind(xmlNode *top, Resolve &&resolve) {
  Bindings bindings;
  forEachNode(top, [&bindings](xmlNode *node) { noteDeclarations(node, &bindings); });
  bool resolved = true;
  forEachNode(top, [&](xmlNode *node) {
    if (!resolved || !hasNamespace(node) || bindings.find(node->ns) != bindings.end()) {
      return;
    }
    xmlNs *after = isXmlNamespace(node->ns) ? xmlNamespace() : resolve(node);
    resolved = after != nullptr;
    bindings.emplace(node->ns, after);
  });
  if (!resolved) {
    return false;
  }
  forEachNode(top, [&bindings](xmlNode *node) {
    if (hasNamespace(node)) {
      node->ns = bindings.find(node->ns)->second;
    }
  });
  return true;
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

xmlNs *inScope(const xmlNs *wanted, xmlNode *scope, xmlDoc *to) noexcept {
  xmlNs *ns = xmlSearchNs(to, scope, wanted->prefix);
  return ns != nullptr && xmlStrEqual(ns->href, wanted->href) ? ns : nullptr;
}

xmlNs *declareOn(xmlNode *element, const xmlNs *wanted) noexcept {
  for (xmlNs *ns = element->nsDef; ns != nullptr; ns = ns->next) {
    if (xmlStrEqual(ns->prefix, wanted->prefix) && xmlStrEqual(ns->href, wanted->href)) {
      return ns;
    }
  }
  noteEdit(element);
  return xmlNewNs(element, wanted->href, wanted->prefix);
}

// On the top, so that the whole tree shares it, or where the prefix is taken there, on the node.
xmlNs *declare(xmlNode *node, xmlNode *holder) noexcept {
  xmlNs *ns = declareOn(holder, node->ns);
  if (ns != nullptr) {
    return ns;
  }
  xmlNode *element = node->type == XML_ELEMENT_NODE ? node : node->parent;
  return element == nullptr || element == holder ? nullptr : declareOn(element, node->ns);
}

}  // namespace

xmlNs *xmlNamespace() noexcept {
  return &xmlNamespaceRecord;
}

void leaveXmlNamespace(xmlNode *node) noexcept {
  if (!hasNamespace(node) || node->doc == nullptr) {
    return;
  }
  for (const xmlNs *ns = node->doc->oldNs; ns != nullptr; ns = ns->next) {
    if (ns == node->ns) {
      node->ns = xmlNamespace();
    }
  }
}

bool carryNamespaces(xmlNode *top, CarriedNamespaces *carried) noexcept {
  CarriedNamespaces copies;
  const bool bound = !usesNamespaces(top) || guard([top, &copies] {
    return rebind(top, [&copies](const xmlNode *node) { return copyOnto(node->ns, &copies); });
  });
  if (bound) {
    *carried = std::move(copies);
  }
  return bound;
}

bool bindNamespaces(xmlNode *top, xmlNode *scope, xmlDoc *to) noexcept {
  // An attribute has no place for a declaration but its new element.
  xmlNode *holder = top->type == XML_ATTRIBUTE_NODE ? scope : top;
  return !usesNamespaces(top) || guard([=] {
    return rebind(top, [=](xmlNode *node) -> xmlNs * {
      xmlNs *found = scope == nullptr ? nullptr : inScope(node->ns, scope, to);
      return found != nullptr ? found : declare(node, holder);
    });
  });
}

}  // namespace talvo
