// Goes through a run from the top down, so that what is declared on an element counts for what is
// below it.
#include "xml/visible_namespace.h"

#include "xml/namespace.h"
#include "xml/node.h"
#include "xml/tree.h"

namespace talvo {
namespace {

// Lets a node be looked at, for a scope, as if it stood at its future place.
class AtPlace {
 public:
  AtPlace(xmlNode *node, xmlNode *parent) noexcept : node_(node), before_(node->parent) {
    node_->parent = parent;
  }
  ~AtPlace() { node_->parent = before_; }
  AtPlace(const AtPlace &) = delete;
  AtPlace &operator=(const AtPlace &) = delete;

 private:
  xmlNode *node_;
  xmlNode *before_;
};

// libxml2's own searches may need memory for the xml namespace, which is never declared.
bool isDeclarable(const xmlNs *ns) noexcept {
  return ns != nullptr && !(ns->prefix != nullptr && xmlStrEqual(ns->prefix, xmlText("xml")));
}

// What the prefix means at the element; null for nothing.
xmlNs *meaningAt(const xmlNode *element, const xmlChar *prefix) noexcept {
  for (const xmlNode *at = element; at != nullptr && at->type == XML_ELEMENT_NODE;
       at = at->parent) {
    for (xmlNs *ns = at->nsDef; ns != nullptr; ns = ns->next) {
      if (xmlStrEqual(ns->prefix, prefix)) {
        return ns;
      }
    }
  }
  return nullptr;
}

// A declaration of the same URI that is in reach, for an attribute one with a prefix; null for
// none.
xmlNs *inReach(const xmlNode *element, const xmlNs &wanted, bool needsPrefix) noexcept {
  for (const xmlNode *at = element; at != nullptr && at->type == XML_ELEMENT_NODE;
       at = at->parent) {
    for (xmlNs *ns = at->nsDef; ns != nullptr; ns = ns->next) {
      const bool fits =
          xmlStrEqual(ns->href, wanted.href) && (ns->prefix != nullptr || !needsPrefix);
      if (fits && meaningAt(element, ns->prefix) == ns) {
        return ns;
      }
    }
  }
  return nullptr;
}

bool settle(xmlNode *element, xmlNs **bound, bool needsPrefix) noexcept {
  if (!isDeclarable(*bound)) {
    return true;
  }
  xmlNs *ns = meaningAt(element, (*bound)->prefix);
  if (ns == nullptr || !xmlStrEqual(ns->href, (*bound)->href)) {
    ns = inReach(element, **bound, needsPrefix);
  }
  if (ns == nullptr) {
    // An element that declares the prefix itself cannot do so twice; none of those made here does.
    ns = declareNamespace(element, (*bound)->href, (*bound)->prefix);
    if (ns == nullptr) {
      return false;
    }
  }
  *bound = ns;
  return true;
}

bool settleElement(xmlNode *element) noexcept {
  if (!settle(element, &element->ns, false)) {
    return false;
  }
  for (xmlAttr *attribute = element->properties; attribute != nullptr;
       attribute = attribute->next) {
    if (!settle(element, &attribute->ns, true)) {
      return false;
    }
  }
  return true;
}

bool settleTree(xmlNode *top) noexcept {
  for (xmlNode *node = top; node != nullptr; node = nextInTree(node, top)) {
    if (node->type == XML_ELEMENT_NODE && !settleElement(node)) {
      return false;
    }
  }
  return true;
}

}  // namespace

bool settleNamespaces(XmlNode *parent, XmlNode *run) noexcept {
  // Below an element that is itself being built, the place is not known yet.
  if (!isInDocument(parent, talvo_xml_node_getdoc(parent))) {
    return true;
  }
  for (xmlNode *node = native(run); node != nullptr; node = node->next) {
    const AtPlace place(node, native(parent));
    if (!settleTree(node)) {
      return false;
    }
  }
  return true;
}

}  // namespace talvo
