// An arraylist of T as a range: for (Reference *reference : items<Reference>(list)). A null list is
// an empty range.
#pragma once

#include <cstdint>

#include "base/memory.h"

namespace talvo {

template <class T>
class ListView {
 public:
  class Iterator {
   public:
    Iterator(const talvo_arraylist *list, int32_t index) noexcept : list_(list), index_(index) {}
    T *operator*() const noexcept {
      return static_cast<T *>(talvo_arraylist_getitem(list_, index_));
    }
    Iterator &operator++() noexcept {
      ++index_;
      return *this;
    }
    bool operator!=(const Iterator &other) const noexcept { return index_ != other.index_; }

   private:
    const talvo_arraylist *list_;
    int32_t index_;
  };

  explicit ListView(const talvo_arraylist *list) noexcept
      : list_(list), count_(list == nullptr ? 0 : talvo_arraylist_getcount(list)) {}

  Iterator begin() const noexcept { return {list_, 0}; }
  Iterator end() const noexcept { return {list_, count_}; }
  int32_t size() const noexcept { return count_; }
  bool empty() const noexcept { return count_ == 0; }
  T *operator[](int32_t index) const noexcept {
    return static_cast<T *>(talvo_arraylist_getitem(list_, index));
  }

 private:
  const talvo_arraylist *list_;
  int32_t count_;
};

template <class T>
ListView<T> items(const talvo_arraylist *list) noexcept {
  return ListView<T>(list);
}

template <class T>
ListView<T> items(const List &list) noexcept {
  return ListView<T>(list.get());
}

// The release function of a list whose items are Owned<T>.
template <class T>
void releaseItem(void *item) noexcept {
  kRelease<T>(static_cast<T *>(item));
}

// The item functions of a list that holds counted references.
template <class T>
void *dupCounted(void *item) noexcept {
  ++static_cast<T *>(item)->refCount;
  return item;
}

// Moves an owned item into a list that releases its items (and does not copy them).
template <class Owner>
bool append(const List &list, Owner item) noexcept {
  if (item == nullptr || talvo_arraylist_pushback(list.get(), item.get()) != 1) {
    return false;
  }
  item.release();  // the list owns it now
  return true;
}

}  // namespace talvo
