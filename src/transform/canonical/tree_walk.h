// Tells the canonical writer of a tree, or of what is selected of it.
#pragma once

#include <span>

#include <libxml/tree.h>

#include "transform/canonical/octet_sink.h"
#include "transform/canonical/views.h"

namespace talvo {

// Selects among all nodes of a document. A namespace comes with the element at which it is in scope,
// any other node with its parent.
class NodeFilter {
 public:
  virtual bool keeps(xmlNode *node, xmlNode *parent) noexcept = 0;

 protected:
  ~NodeFilter() = default;
};

// A subtree, less some subtrees of it; or what a filter keeps of the whole document.
struct TreeSelection {
  const xmlNode *apex = nullptr;  // an element; null for the whole document
  std::span<const xmlNode *const> removed;
  bool withComments = true;
  NodeFilter *filter = nullptr;
};

// False when the work failed: the sink refused, memory was exhausted, or the selection holds an entity
// reference. The document must be one that has a canonical form.
bool canonicalizeTree(OctetSink &sink, xmlDoc *document, const TreeSelection &selection,
                      C14nForm form) noexcept;

}  // namespace talvo
