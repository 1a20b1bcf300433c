// What a chain of rules selects, put so that as few nodes as possible need be asked about: a
// subtree, less some subtrees, and only for the rest of the rules a question for each node that is
// left.
#pragma once

#include <vector>

#include "transform/canonical/selection_walk.h"
#include "transform/nodeset.h"
#include "xml/native.h"

namespace talvo {

// Looks at the tree as it is when the object is made. The constructor may throw std::bad_alloc.
class Selection final : private NodeFilter {
 public:
  explicit Selection(NodeSet *nodes);

  // Whether nothing is selected.
  bool isEmpty() const noexcept { return isEmpty_; }
  // Valid while this object lives, and stays where it is.
  TreeSelection tree() noexcept;
  // Whether an answer was wrong because memory was exhausted.
  bool hasFailed() const noexcept;

  // Calls visit(node) for each selected element, text, comment and instruction until it is false.
  template <class Visit>
  bool forEachNode(Visit &&visit) {
    const SelectionWalk walk(tree());
    return isEmpty_ || walk.run(
                           nativeDoc(document_),
                           [&](xmlNode *node) { return !keeps(node, node->parent) || visit(node); },
                           [](xmlNode *) {});
  }

 private:
  bool keeps(xmlNode *node, xmlNode *parent) noexcept override;
  void take(NodeSet &rule);
  void takeSubtree(const NodeSet &rule) noexcept;
  void takeExclusion(NodeSet &rule);
  void takeFilter(NodeSet &rule);

  XmlDoc *document_;
  const xmlNode *apex_ = nullptr;
  std::vector<const xmlNode *> removed_;
  bool removesSignatures_ = false;
  bool withComments_ = true;
  bool isEmpty_ = false;
  NodeSet *head_;
  std::vector<NodeSet *> asked_;
};

}  // namespace talvo
