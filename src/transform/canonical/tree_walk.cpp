#include "transform/canonical/tree_walk.h"

#include <vector>

#include "base/boundary.h"
#include "transform/canonical/base_uri.h"
#include "transform/canonical/selection_walk.h"
#include "transform/canonical/tree_views.h"
#include "transform/canonical/writer.h"
#include "xml/native.h"

namespace talvo {
namespace {

// Tells the writer of single nodes.
class Teller final : private NamespaceFilter {
 public:
  Teller(OctetSink &sink, NodeFilter *filter, const C14nForm &form)
      : filter_(filter), writer_(sink, form, filter == nullptr ? nullptr : this) {}

  void tellAbove(const xmlNode *apex);
  // False for a node that may not stand in a canonical document, and when the writer failed.
  bool begin(xmlNode *node);
  void end(xmlNode *element) noexcept;
  bool finish() noexcept { return writer_.finish(); }

 private:
  bool keeps(const void *declaration) override {
    const auto *ns = static_cast<const xmlNs *>(declaration);
    return element_ != nullptr && filter_->keeps(nodeOf(ns), element_);
  }
  static xmlNode *nodeOf(const xmlNs *ns) noexcept {
    return reinterpret_cast<xmlNode *>(const_cast<xmlNs *>(ns));
  }
  bool isSelected(xmlNode *node) noexcept {
    return filter_ == nullptr || filter_->keeps(node, node->parent);
  }
  void beginElement(xmlNode *element);
  void tellAttribute(const xmlAttr *attribute);

  NodeFilter *filter_;
  TreeViews views_;
  CanonicalWriter writer_;
  xmlNode *element_ = nullptr;      // whose namespaces the filter is asked about
  std::vector<bool> selectedOpen_;  // of a filtered walk: whether the open elements are selected
};

// The elements around a subtree, from the outermost one on.
void Teller::tellAbove(const xmlNode *apex) {
  std::vector<const xmlNode *> above;
  for (const xmlNode *node = apex->parent; node != nullptr && node->type == XML_ELEMENT_NODE;
       node = node->parent) {
    above.push_back(node);
  }
  for (; !above.empty(); above.pop_back()) {
    writer_.startElement(views_.element(above.back(), false));
  }
}

void Teller::beginElement(xmlNode *element) {
  if (filter_ == nullptr) {
    writer_.startElement(views_.element(element, true));
    return;
  }
  element_ = element;
  const bool isKept = isSelected(element);
  selectedOpen_.push_back(isKept);
  writer_.startElement(views_.element(
      element, isKept, [this](xmlNode *attribute) { return isSelected(attribute); }));
}

// Only the top of a walk can be an attribute.
void Teller::tellAttribute(const xmlAttr *attribute) {
  const NameView name = views_.name(reinterpret_cast<const xmlNode *>(attribute));
  writer_.attribute(name.ns.prefix, name.local, views_.value(attribute));
}

bool Teller::begin(xmlNode *node) {
  if (node->type == XML_ELEMENT_NODE) {
    beginElement(node);
    return !writer_.hasFailed();
  }
  if (node->type == XML_ENTITY_REF_NODE) {
    return false;
  }
  // A document type is no part of the form.
  if (node->type == XML_DTD_NODE || !isSelected(node)) {
    return true;
  }
  switch (node->type) {
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
      writer_.text(viewOf(node->content));
      break;
    case XML_COMMENT_NODE:
      writer_.comment(viewOf(node->content));
      break;
    case XML_PI_NODE:
      writer_.instruction(viewOf(node->name), viewOf(node->content));
      break;
    case XML_ATTRIBUTE_NODE:
      tellAttribute(asAttr(node));
      break;
    default:
      break;
  }
  return true;
}

void Teller::end(xmlNode *element) noexcept {
  const bool isKept = filter_ == nullptr || selectedOpen_.back();
  if (filter_ != nullptr) {
    selectedOpen_.pop_back();
  }
  writer_.endElement(views_.name(element), isKept);
}

}  // namespace

bool canonicalizeTree(OctetSink &sink, xmlDoc *document, const TreeSelection &selection,
                      C14nForm form) noexcept {
  return guard([&] {
    form.withComments = form.withComments && selection.withComments;
    form.joinBase = joinBaseUri;
    const MemoryWatch watch;
    Teller teller(sink, selection.filter, form);
    if (selection.apex != nullptr) {
      teller.tellAbove(selection.apex);
    }
    const SelectionWalk walk(selection);
    return walk.run(
               document, [&](xmlNode *node) { return teller.begin(node); },
               [&](xmlNode *element) { teller.end(element); }) &&
           teller.finish() && !watch.exhausted();
  });
}

}  // namespace talvo
