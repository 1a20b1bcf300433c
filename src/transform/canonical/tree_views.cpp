#include "transform/canonical/tree_views.h"

namespace talvo {

const NamespaceView &TreeViews::namespaceOf(const xmlNs *ns) noexcept {
  Recent &recent = recent_[reinterpret_cast<uintptr_t>(ns) / alignof(xmlNs) / 4 % kRecent];
  if (recent.ns != ns) {
    recent = {ns, {viewOf(ns->prefix), viewOf(ns->href), ns}};
  }
  return recent.view;
}

NameView TreeViews::name(const xmlNode *node) noexcept {
  NameView name;
  name.local = viewOf(node->name);
  name.hasNamespace = node->ns != nullptr;
  if (name.hasNamespace) {
    name.ns = namespaceOf(node->ns);
  }
  return name;
}

std::string_view TreeViews::value(const xmlAttr *attribute) {
  const xmlNode *child = attribute->children;
  if (child == nullptr) {
    return {};
  }
  if (child->next == nullptr && child->type == XML_TEXT_NODE) {
    return viewOf(child->content);
  }
  values_.emplace_back(xmlNodeListGetString(attribute->doc, child, 1));
  return viewOf(values_.back().get());
}

ElementView TreeViews::element(const xmlNode *element, bool isSelected) {
  declarations_.clear();
  attributes_.clear();
  values_.clear();
  for (const xmlNs *ns = element->nsDef; ns != nullptr; ns = ns->next) {
    if (ns->href != nullptr) {
      declarations_.push_back(namespaceOf(ns));
    }
  }
  for (const xmlAttr *attribute = element->properties; attribute != nullptr;
       attribute = attribute->next) {
    const NameView attributeName = name(reinterpret_cast<const xmlNode *>(attribute));
    attributes_.push_back({attributeName, value(attribute), isSelected});
  }
  return {name(element), declarations_, attributes_, isSelected};
}

}  // namespace talvo
