#include "transform/canonical/tree_walk.h"

#include <algorithm>
#include <vector>

#include "base/boundary.h"
#include "transform/canonical/base_uri.h"
#include "transform/canonical/tree_views.h"
#include "transform/canonical/writer.h"
#include "xml/native.h"

namespace talvo {
namespace {

// Tells the writer of single nodes.
class Teller final : private NamespaceFilter {
 public:
  Teller(OctetSink &sink, const TreeSelection &selection, const C14nForm &form)
      : filter_(selection.filter), writer_(sink, form, filter_ == nullptr ? nullptr : this) {}

  // Whether the node may stand in a canonical document.
  bool begin(xmlNode *node);
  void end(xmlNode *element) noexcept;
  // The elements around a subtree.
  void tellContext(const xmlNode *element) { writer_.startElement(views_.element(element, false)); }

  bool hasFailed() const noexcept { return writer_.hasFailed(); }
  bool finish() noexcept { return writer_.finish(); }

 private:
  bool keeps(const void *declaration) override {
    return filter_->keeps(asNode(static_cast<const xmlNs *>(declaration)), element_);
  }
  static xmlNode *asNode(const xmlNs *ns) noexcept {
    return reinterpret_cast<xmlNode *>(const_cast<xmlNs *>(ns));
  }
  bool isSelected(xmlNode *node) noexcept {
    return filter_ == nullptr || filter_->keeps(node, node->parent);
  }
  void beginElement(xmlNode *element);

  NodeFilter *filter_;
  TreeViews views_;
  CanonicalWriter writer_;
  xmlNode *element_ = nullptr;      // whose namespaces the filter is asked about
  std::vector<bool> selectedOpen_;  // of a filtered walk: whether the open elements are selected
};

void Teller::beginElement(xmlNode *element) {
  if (filter_ == nullptr) {
    writer_.startElement(views_.element(element, true));
    return;
  }
  element_ = element;
  const bool isKept = isSelected(element);
  selectedOpen_.push_back(isKept);
  writer_.startElement(
      views_.element(element, isKept, [this](xmlNode *attribute) { return isSelected(attribute); }));
}

bool Teller::begin(xmlNode *node) {
  switch (node->type) {
    case XML_ELEMENT_NODE:
      beginElement(node);
      return true;
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
      if (isSelected(node)) {
        writer_.text(viewOf(node->content));
      }
      return true;
    case XML_COMMENT_NODE:
      if (isSelected(node)) {
        writer_.comment(viewOf(node->content));
      }
      return true;
    case XML_PI_NODE:
      if (isSelected(node)) {
        writer_.instruction(viewOf(node->name), viewOf(node->content));
      }
      return true;
    default:
      return node->type != XML_ENTITY_REF_NODE;
  }
}

void Teller::end(xmlNode *element) noexcept {
  const bool isKept = filter_ == nullptr || selectedOpen_.back();
  if (filter_ != nullptr) {
    selectedOpen_.pop_back();
  }
  writer_.endElement(views_.name(element), isKept);
}

class Walk {
 public:
  Walk(OctetSink &sink, const TreeSelection &selection, const C14nForm &form)
      : removed_(selection.removed.begin(), selection.removed.end()),
        teller_(sink, selection, form) {
    std::sort(removed_.begin(), removed_.end());
  }

  bool run(xmlDoc *document, const xmlNode *apex) {
    if (apex == nullptr) {
      return runBelow(asNode(document)) && teller_.finish();
    }
    if (isInRemoved(apex)) {
      return true;
    }
    tellContext(apex);
    return runOver(const_cast<xmlNode *>(apex)) && teller_.finish();
  }

 private:
  bool isRemoved(const xmlNode *node) const noexcept {
    return removed_.size() <= 1
               ? !removed_.empty() && node == removed_.front()
               : std::binary_search(removed_.begin(), removed_.end(), node);
  }
  bool isInRemoved(const xmlNode *node) const noexcept;
  void tellContext(const xmlNode *apex);
  bool runBelow(xmlNode *document);
  bool runOver(xmlNode *top);
  xmlNode *next(xmlNode *node, const xmlNode *top) noexcept;

  std::vector<const xmlNode *> removed_;
  Teller teller_;
};

bool Walk::isInRemoved(const xmlNode *node) const noexcept {
  while (node != nullptr && !isRemoved(node)) {
    node = node->parent;
  }
  return node != nullptr;
}

void Walk::tellContext(const xmlNode *apex) {
  std::vector<const xmlNode *> above;
  for (const xmlNode *node = apex->parent; node != nullptr && node->type == XML_ELEMENT_NODE;
       node = node->parent) {
    above.push_back(node);
  }
  for (; !above.empty(); above.pop_back()) {
    teller_.tellContext(above.back());
  }
}

bool Walk::runBelow(xmlNode *document) {
  for (xmlNode *node = document->children; node != nullptr; node = node->next) {
    if (!runOver(node)) {
      return false;
    }
  }
  return true;
}

// The node after one that is done with; the elements that end before it are told.
xmlNode *Walk::next(xmlNode *node, const xmlNode *top) noexcept {
  while (node != top && node->next == nullptr) {
    node = node->parent;
    teller_.end(node);
  }
  return node == top ? nullptr : node->next;
}

bool Walk::runOver(xmlNode *top) {
  xmlNode *node = top;
  while (node != nullptr) {
    if (isRemoved(node)) {
      node = next(node, top);
      continue;
    }
    if (!teller_.begin(node) || teller_.hasFailed()) {
      return false;
    }
    const bool isElement = node->type == XML_ELEMENT_NODE;
    if (isElement && node->children != nullptr) {
      node = node->children;
      continue;
    }
    if (isElement) {
      teller_.end(node);
    }
    node = next(node, top);
  }
  return true;
}

}  // namespace

bool canonicalizeTree(OctetSink &sink, xmlDoc *document, const TreeSelection &selection,
                      C14nForm form) noexcept {
  return guard([&] {
    form.withComments = form.withComments && selection.withComments;
    form.joinBase = joinBaseUri;
    const MemoryWatch watch;
    Walk walk(sink, selection, form);
    return walk.run(document, selection.apex) && !watch.exhausted();
  });
}

}  // namespace talvo
