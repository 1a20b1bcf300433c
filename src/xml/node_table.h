// The nodes that no document owns, in the order in which they came: an array with gaps where
// entries left, and a hash index from node to place. Adding, finding and removing take constant
// time, however many nodes are tracked.
#pragma once

#include <cstdint>
#include <span>

#include "talvo_xml.h"

#include "base/memory.h"

namespace talvo {

enum class Tracking : uint32_t {
  registered,  // a document or free-standing node that belongs to the caller
  detached,    // without parent, but not the caller's to free: released at shut-down
  rehomed,     // inside one tree, while its document pointer names another document
  taken,       // held by an OwnedNode, with namespaces that it carries
};

struct TrackedNode {
  XmlNode *node;  // null in a gap
  // The document that the subtree points at without lying in it; null for none.
  XmlDoc *origin;
  // Of a document: how many entries have it as origin.
  uint32_t dependents;
  Tracking tracking;
  // Copies of the declarations that were above the tree when it lost its parent; libxml2's list.
  void *carried;
};

class NodeTable {
 public:
  static constexpr int32_t kFirstCapacity = 512;

  // Makes room for more entries; the capacity doubles when it is reached. False, and nothing
  // changed, when memory is exhausted. Pointers to entries are void afterwards.
  bool reserve(int32_t more = 1) noexcept;
  TrackedNode *find(const XmlNode *node) const noexcept;
  // Needs room, and a node that is not here yet.
  TrackedNode *add(XmlNode *node, Tracking tracking) noexcept;
  void remove(TrackedNode *entry) noexcept;

  int32_t count() const noexcept { return count_; }
  int32_t capacity() const noexcept { return capacity_; }
  // All places in order, gaps included.
  std::span<TrackedNode> places() noexcept { return {places_.get(), used_}; }

 private:
  using Places = Handle<TrackedNode, talvo_free>;
  using Index = Handle<uint32_t, talvo_free>;

  bool resize(int32_t capacity) noexcept;
  void fill(TrackedNode *places) noexcept;
  size_t startOf(const XmlNode *node) const noexcept;
  size_t indexOf(const XmlNode *node) const noexcept;
  void removeFromIndex(size_t hole) noexcept;

  // Twice as many places as the capacity, so that closing the gaps is rare enough to cost nothing.
  Places places_;
  Index index_;  // four for each of the capacity: the place and 1, or 0
  uint32_t used_ = 0;
  int32_t count_ = 0;
  int32_t capacity_ = 0;
};

}  // namespace talvo
