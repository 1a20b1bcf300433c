// What of a document is selected.
#pragma once

#include <span>

#include <libxml/tree.h>

namespace talvo {

// Selects among all nodes of a document. A namespace comes with the element at which it is in
// scope, any other node with its parent.
class NodeFilter {
 public:
  virtual bool keeps(xmlNode *node, xmlNode *parent) noexcept = 0;

 protected:
  ~NodeFilter() = default;
};

// A subtree, less some subtrees of it, and of the rest what the filter keeps.
struct TreeSelection {
  const xmlNode *apex = nullptr;  // a node of the document; null for the whole of it
  std::span<const xmlNode *const> removed;
  bool (*removes)(const xmlNode *node) noexcept = nullptr;  // whether a subtree is removed, too
  bool withComments = true;
  NodeFilter *filter = nullptr;
};

}  // namespace talvo
