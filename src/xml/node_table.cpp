// An ordered array and an open hash index over it. An entry that leaves makes a gap; when the
// places run out the gaps are closed, at least `capacity` additions after the last time.
#include "xml/node_table.h"

#include <algorithm>
#include <bit>

namespace talvo {
namespace {

constexpr char kSource[] = "TALVO_XML";
// The index has four slots for each node and is counted in 32 bits.
constexpr int64_t kLastCapacity = int64_t{1} << 29;

template <class T>
T *allocate(size_t count) noexcept {
  return static_cast<T *>(talvo_malloc(count * sizeof(T), kSource, __LINE__));
}

size_t placesFor(int32_t capacity) noexcept {
  return size_t{2} * static_cast<size_t>(capacity);
}

size_t indexSizeFor(int32_t capacity) noexcept {
  return size_t{4} * static_cast<size_t>(capacity);
}

}  // namespace

bool NodeTable::reserve(int32_t more) noexcept {
  const int64_t wanted = int64_t{count_} + more;
  if (wanted > capacity_) {
    int64_t capacity = std::max(capacity_, kFirstCapacity);
    while (capacity < wanted) {
      capacity *= 2;
    }
    return capacity <= kLastCapacity && resize(static_cast<int32_t>(capacity));
  }
  if (used_ + static_cast<size_t>(more) > placesFor(capacity_)) {
    fill(places_.get());
  }
  return true;
}

bool NodeTable::resize(int32_t capacity) noexcept {
  Places places(allocate<TrackedNode>(placesFor(capacity)));
  Index index(allocate<uint32_t>(indexSizeFor(capacity)));
  if (!places || !index) {
    return false;
  }
  capacity_ = capacity;
  index_ = std::move(index);
  fill(places.get());
  places_ = std::move(places);
  return true;
}

// Puts the entries without gaps into `places`, which may be where they are, and indexes them anew.
void NodeTable::fill(TrackedNode *places) noexcept {
  std::fill_n(index_.get(), indexSizeFor(capacity_), 0U);
  uint32_t filled = 0;
  for (uint32_t place = 0; place < used_; ++place) {
    const TrackedNode entry = places_.get()[place];
    if (entry.node == nullptr) {
      continue;
    }
    places[filled++] = entry;
    size_t slot = startOf(entry.node);
    while (index_.get()[slot] != 0) {
      slot = (slot + 1) & (indexSizeFor(capacity_) - 1);
    }
    index_.get()[slot] = filled;
  }
  used_ = filled;
}

// Where the search for a node begins. The size is a power of two; the low bits of a pointer say
// little, so the high bits of a product are taken.
size_t NodeTable::startOf(const XmlNode *node) const noexcept {
  const auto bits = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(node));
  const auto size = static_cast<uint64_t>(indexSizeFor(capacity_));
  return (bits * 0x9E3779B97F4A7C15U) >> (65 - std::bit_width(size));
}

// The slot that leads to the node, or the free one where it would stand.
size_t NodeTable::indexOf(const XmlNode *node) const noexcept {
  const size_t mask = indexSizeFor(capacity_) - 1;
  size_t slot = startOf(node);
  while (index_.get()[slot] != 0 && places_.get()[index_.get()[slot] - 1].node != node) {
    slot = (slot + 1) & mask;
  }
  return slot;
}

TrackedNode *NodeTable::find(const XmlNode *node) const noexcept {
  if (count_ == 0 || node == nullptr) {
    return nullptr;
  }
  const uint32_t place = index_.get()[indexOf(node)];
  return place == 0 ? nullptr : &places_.get()[place - 1];
}

TrackedNode *NodeTable::add(XmlNode *node, Tracking tracking) noexcept {
  TrackedNode *entry = &places_.get()[used_];
  *entry = {node, nullptr, 0, tracking, nullptr};
  index_.get()[indexOf(node)] = ++used_;
  ++count_;
  return entry;
}

void NodeTable::remove(TrackedNode *entry) noexcept {
  removeFromIndex(indexOf(entry->node));
  *entry = {};
  --count_;
  while (used_ > 0 && places_.get()[used_ - 1].node == nullptr) {
    --used_;
  }
}

// Closes the hole in the index: whatever was pushed past it by a collision moves up.
void NodeTable::removeFromIndex(size_t hole) noexcept {
  const size_t mask = indexSizeFor(capacity_) - 1;
  for (size_t slot = (hole + 1) & mask; index_.get()[slot] != 0; slot = (slot + 1) & mask) {
    const size_t start = startOf(places_.get()[index_.get()[slot] - 1].node);
    if (((slot - start) & mask) >= ((slot - hole) & mask)) {
      index_.get()[hole] = index_.get()[slot];
      hole = slot;
    }
  }
  index_.get()[hole] = 0;
}

}  // namespace talvo
