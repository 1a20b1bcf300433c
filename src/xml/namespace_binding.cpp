// Three passes: note the declarations that move with the tree, find or make a declaration for each
// of the others, bind the nodes. Only the last pass changes nodes, and it cannot fail.
#include "xml/namespace_binding.h"

#include <unordered_map>

#include "base/boundary.h"
#include "xml/tree.h"

namespace talvo {
namespace {

class NamespaceBinder {
 public:
  NamespaceBinder(xmlNode *top, xmlNode *scope, xmlDoc *to) noexcept
      : top_(top), scope_(scope), to_(to) {}

  bool run() {
    forEachNode(top_, [this](xmlNode *node) { noteDeclarations(node); });
    bool found = true;
    forEachNode(top_, [this, &found](xmlNode *node) {
      if (hasNamespace(node) && bindings_.find(node->ns) == bindings_.end()) {
        found = found && find(node);
      }
    });
    if (!found) {
      return false;
    }
    forEachNode(top_, [this](xmlNode *node) {
      if (hasNamespace(node)) {
        node->ns = bindings_.find(node->ns)->second;
      }
    });
    return true;
  }

 private:
  static bool hasNamespace(const xmlNode *node) noexcept {
    return (node->type == XML_ELEMENT_NODE || node->type == XML_ATTRIBUTE_NODE) &&
           node->ns != nullptr;
  }

  void noteDeclarations(xmlNode *node) {
    if (node->type != XML_ELEMENT_NODE) {
      return;
    }
    for (xmlNs *ns = node->nsDef; ns != nullptr; ns = ns->next) {
      bindings_.emplace(ns, ns);
    }
  }

  bool find(xmlNode *node) {
    xmlNs *before = node->ns;
    xmlNs *after = inScope(before);
    if (after == nullptr && top_->type != XML_ELEMENT_NODE && scope_ == nullptr) {
      // A lone attribute has nothing that could hold its declaration.
      bindings_.emplace(before, nullptr);
      return true;
    }
    if (after == nullptr) {
      after = declare(node);
    }
    if (after != nullptr) {
      bindings_.emplace(before, after);
      bindings_.emplace(after, after);
    }
    return after != nullptr;
  }

  xmlNs *inScope(const xmlNs *wanted) const noexcept {
    if (wanted->prefix != nullptr && xmlStrEqual(wanted->prefix, xmlText("xml"))) {
      // Never declared by a document: libxml2 keeps one for each, or makes one on the element.
      xmlNode *place = scope_ != nullptr ? scope_ : top_;
      return place->type == XML_ELEMENT_NODE ? xmlSearchNs(to_, place, wanted->prefix) : nullptr;
    }
    if (scope_ == nullptr) {
      return nullptr;
    }
    xmlNs *ns = xmlSearchNs(to_, scope_, wanted->prefix);
    return ns != nullptr && xmlStrEqual(ns->href, wanted->href) ? ns : nullptr;
  }

  // On the top, so that the whole tree shares it, or where the prefix is taken there, on the node.
  xmlNs *declare(xmlNode *node) const noexcept {
    xmlNode *holder = top_->type == XML_ELEMENT_NODE ? top_ : scope_;
    xmlNs *ns = declareOn(holder, node->ns);
    if (ns != nullptr || holder == scope_) {
      return ns;
    }
    xmlNode *element = node->type == XML_ELEMENT_NODE ? node : node->parent;
    return element == top_ ? nullptr : declareOn(element, node->ns);
  }

  static xmlNs *declareOn(xmlNode *element, const xmlNs *wanted) noexcept {
    for (xmlNs *ns = element->nsDef; ns != nullptr; ns = ns->next) {
      if (xmlStrEqual(ns->prefix, wanted->prefix) && xmlStrEqual(ns->href, wanted->href)) {
        return ns;
      }
    }
    return xmlNewNs(element, wanted->href, wanted->prefix);
  }

  xmlNode *top_;
  xmlNode *scope_;
  xmlDoc *to_;
  std::unordered_map<const xmlNs *, xmlNs *> bindings_;
};

bool usesNamespaces(xmlNode *top) noexcept {
  bool uses = false;
  forEachNode(top, [&uses](const xmlNode *node) {
    uses = uses || ((node->type == XML_ELEMENT_NODE || node->type == XML_ATTRIBUTE_NODE) &&
                    node->ns != nullptr);
  });
  return uses;
}

}  // namespace

bool bindNamespaces(xmlNode *top, xmlNode *scope, xmlDoc *to) noexcept {
  return !usesNamespaces(top) || guard([=] { return NamespaceBinder(top, scope, to).run(); });
}

}  // namespace talvo
