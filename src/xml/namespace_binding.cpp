// A declaration is found by looking at declarations alone. libxml2's own search also answers with
// what an ancestor is bound to, which may be declared in another document.
#include "xml/namespace_binding.h"

#include <cassert>
#include <string>
#include <string_view>
#include <unordered_set>

#include "base/boundary.h"
#include "xml/namespace.h"

namespace talvo {

// Finds a declaration for each name of one tree that is bound to one outside of it.
class NamespaceBinding::Tree {
 public:
  Tree(NamespaceBinding *binding, xmlNode *top) : binding_(*binding), top_(top) {}

  bool plan();

 private:
  using Prefixes = std::unordered_set<std::string_view>;

  void noteDeclarations(const xmlNode *element);
  bool needsPlan(const xmlNode *node) const;
  xmlNs *choose(xmlNode *node);
  xmlNs *chooseForElement(xmlNode *element);
  xmlNs *chooseForAttribute(xmlNode *attribute);
  xmlNs *declare(xmlNode *element, const xmlNs &wanted, const xmlChar *prefix);
  xmlNs *declareFreePrefix(xmlNode *element, const xmlNs &wanted);
  bool mayDeclareOnTop(const xmlNs &wanted, const xmlNs *meant) const;

  // What a prefix will mean at an element of the tree, or at the scope itself; null for nothing.
  xmlNs *meaningAt(const xmlNode *element, const xmlChar *prefix) const noexcept;
  xmlNs *meaningInScope(const xmlChar *prefix) const noexcept;
  // A declaration with any prefix that means the namespace there.
  xmlNs *prefixedAt(const xmlNode *element, const xmlChar *uri) const noexcept;
  const xmlNode *above(const xmlNode *element) const noexcept;

  NamespaceBinding &binding_;
  xmlNode *top_;
  std::unordered_set<const xmlNs *> own_;
  Prefixes declaredBelow_;  // by any element below the top
  Prefixes declaredAnew_;   // by this plan, below the top
  Prefixes usedFromScope_;
};

bool NamespaceBinding::Tree::plan() {
  forEachNode(top_, [this](const xmlNode *node) {
    if (node->type == XML_ELEMENT_NODE) {
      noteDeclarations(node);
    }
  });
  bool planned = true;
  forEachNode(top_, [this, &planned](xmlNode *node) {
    if (!planned || !needsPlan(node)) {
      return;
    }
    xmlNs *ns = choose(node);
    planned = ns != nullptr;
    if (ns != node->ns) {
      binding_.bound_.push_back({node, ns});
    }
  });
  return planned;
}

void NamespaceBinding::Tree::noteDeclarations(const xmlNode *element) {
  for (const xmlNs *ns = element->nsDef; ns != nullptr; ns = ns->next) {
    own_.insert(ns);
    if (element != top_) {
      declaredBelow_.insert(viewOf(ns->prefix));
    }
  }
}

// What is bound to a declaration of the tree itself can still be hidden by a new one.
bool NamespaceBinding::Tree::needsPlan(const xmlNode *node) const {
  return hasNamespace(node) &&
         (!own_.contains(node->ns) || declaredAnew_.contains(viewOf(node->ns->prefix)));
}

xmlNs *NamespaceBinding::Tree::choose(xmlNode *node) {
  if (isXmlNamespace(node->ns)) {
    return xmlNamespace();
  }
  xmlNs *chosen =
      node->type == XML_ATTRIBUTE_NODE ? chooseForAttribute(node) : chooseForElement(node);
  if (chosen != nullptr && !own_.contains(chosen)) {
    usedFromScope_.insert(viewOf(chosen->prefix));
  }
  return chosen;
}

xmlNs *NamespaceBinding::Tree::chooseForElement(xmlNode *element) {
  const xmlNs &wanted = *element->ns;
  xmlNs *meant = meaningAt(element, wanted.prefix);
  if (meant != nullptr && xmlStrEqual(meant->href, wanted.href)) {
    return meant;
  }
  return declare(mayDeclareOnTop(wanted, meant) ? top_ : element, wanted, wanted.prefix);
}

// On the top a declaration must reach the name, hide none that others of the tree use, and, without
// prefix, not draw the top's own name into the namespace.
bool NamespaceBinding::Tree::mayDeclareOnTop(const xmlNs &wanted, const xmlNs *meant) const {
  return !own_.contains(meant) && !usedFromScope_.contains(viewOf(wanted.prefix)) &&
         (wanted.prefix != nullptr || top_->ns == &wanted);
}

xmlNs *NamespaceBinding::Tree::chooseForAttribute(xmlNode *attribute) {
  xmlNode *element = attribute == top_ ? binding_.scope_ : attribute->parent;
  const xmlNs &wanted = *attribute->ns;
  xmlNs *meant = meaningAt(element, wanted.prefix);
  if (meant != nullptr && xmlStrEqual(meant->href, wanted.href)) {
    return meant;
  }
  if (xmlNs *other = prefixedAt(element, wanted.href)) {
    return other;
  }
  // A declaration without prefix would not reach the attribute and change the names of elements.
  if (meant != nullptr || wanted.prefix == nullptr) {
    return declareFreePrefix(element, wanted);
  }
  return declare(attribute == top_ ? element : top_, wanted, wanted.prefix);
}

xmlNs *NamespaceBinding::Tree::declareFreePrefix(xmlNode *element, const xmlNs &wanted) {
  std::string prefix;
  for (int number = 1; prefix.empty() || meaningAt(element, xmlText(prefix.c_str())) != nullptr;
       ++number) {
    prefix = "ns" + std::to_string(number);
  }
  return declare(element, wanted, xmlText(prefix.c_str()));
}

xmlNs *NamespaceBinding::Tree::declare(xmlNode *element, const xmlNs &wanted,
                                       const xmlChar *prefix) {
  binding_.made_.push_back({element, nullptr});  // first, because it can throw
  xmlNs *ns = declareNamespace(element, wanted.href, prefix);
  if (ns == nullptr) {
    binding_.made_.pop_back();
    return nullptr;
  }
  binding_.made_.back().ns = ns;
  if (element == binding_.scope_) {
    return ns;
  }
  own_.insert(ns);
  if (element != top_) {
    declaredBelow_.insert(viewOf(ns->prefix));
    declaredAnew_.insert(viewOf(ns->prefix));
  }
  return ns;
}

xmlNs *NamespaceBinding::Tree::meaningAt(const xmlNode *element,
                                         const xmlChar *prefix) const noexcept {
  if (element == binding_.scope_) {
    return meaningInScope(prefix);
  }
  // Nearly always there is nothing between the name and the top that could matter.
  const xmlNode *at = declaredBelow_.contains(viewOf(prefix)) ? element : top_;
  xmlNs *ns = declarationOn(at, prefix);
  while (ns == nullptr && at != top_) {
    at = at->parent;
    ns = declarationOn(at, prefix);
  }
  return ns != nullptr ? ns : meaningInScope(prefix);
}

xmlNs *NamespaceBinding::Tree::meaningInScope(const xmlChar *prefix) const noexcept {
  for (const xmlNode *at = binding_.scope_; at != nullptr && at->type == XML_ELEMENT_NODE;
       at = at->parent) {
    if (xmlNs *ns = declarationOn(at, prefix)) {
      return ns;
    }
  }
  return nullptr;
}

const xmlNode *NamespaceBinding::Tree::above(const xmlNode *element) const noexcept {
  const xmlNode *parent = element == top_ ? binding_.scope_ : element->parent;
  return parent != nullptr && parent->type == XML_ELEMENT_NODE ? parent : nullptr;
}

xmlNs *NamespaceBinding::Tree::prefixedAt(const xmlNode *element,
                                          const xmlChar *uri) const noexcept {
  for (const xmlNode *at = element; at != nullptr; at = above(at)) {
    for (xmlNs *ns = at->nsDef; ns != nullptr; ns = ns->next) {
      if (ns->prefix != nullptr && xmlStrEqual(ns->href, uri) &&
          meaningAt(element, ns->prefix) == ns) {
        return ns;
      }
    }
  }
  return nullptr;
}

NamespaceBinding::~NamespaceBinding() {
  for (const Declaration &made : made_) {
    undeclareNamespace(made.element, made.ns);
  }
}

bool NamespaceBinding::plan(xmlNode *top) noexcept {
  assert(top->type != XML_ATTRIBUTE_NODE || scope_ != nullptr);
  return !usesNamespaces(top) || guard([=, this] { return Tree(this, top).plan(); });
}

void NamespaceBinding::commit() noexcept {
  for (const Bound &bound : bound_) {
    bound.node->ns = bound.ns;
  }
  made_.clear();
  bound_.clear();
}

}  // namespace talvo
