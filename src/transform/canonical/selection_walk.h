// The way through the nodes of a selection, in document order and without recursion: a document
// built by calls can be deeper than any stack.
#pragma once

#include <algorithm>
#include <vector>

#include <libxml/tree.h>

#include "transform/canonical/tree_selection.h"

namespace talvo {

class SelectionWalk {
 public:
  explicit SelectionWalk(const TreeSelection &selection)
      : apex_(selection.apex),
        removes_(selection.removes),
        removed_(selection.removed.begin(), selection.removed.end()) {
    std::sort(removed_.begin(), removed_.end());
  }

  // Calls begin(node) for each node that is not removed, whatever the filter says, and end(element)
  // for each of the elements when what is below them is done. False when begin is.
  template <class Begin, class End>
  bool run(xmlDoc *document, Begin &&begin, End &&end) const {
    if (apex_ != nullptr) {
      return isBelowRemoved(apex_) || runOver(const_cast<xmlNode *>(apex_), begin, end);
    }
    for (xmlNode *node = document->children; node != nullptr; node = node->next) {
      if (!runOver(node, begin, end)) {
        return false;
      }
    }
    return true;
  }

 private:
  bool isRemoved(const xmlNode *node) const noexcept {
    return (!removed_.empty() && std::binary_search(removed_.begin(), removed_.end(), node)) ||
           (removes_ != nullptr && removes_(node));
  }

  bool isBelowRemoved(const xmlNode *node) const noexcept {
    do {
      node = node->parent;
    } while (node != nullptr && !isRemoved(node));
    return node != nullptr;
  }

  template <class Begin, class End>
  bool runOver(xmlNode *top, Begin &begin, End &end) const {
    for (xmlNode *node = top; node != nullptr;) {
      if (!isRemoved(node)) {
        if (!begin(node)) {
          return false;
        }
        if (node->type == XML_ELEMENT_NODE) {
          if (node->children != nullptr) {
            node = node->children;
            continue;
          }
          end(node);
        }
      }
      node = next(node, top, end);
    }
    return true;
  }

  // The node after one that is done with; elements end before it.
  template <class End>
  static xmlNode *next(xmlNode *node, const xmlNode *top, End &end) {
    while (node != top && node->next == nullptr) {
      node = node->parent;
      end(node);
    }
    return node == top ? nullptr : node->next;
  }

  const xmlNode *apex_;
  bool (*removes_)(const xmlNode *node) noexcept;
  std::vector<const xmlNode *> removed_;
};

}  // namespace talvo
