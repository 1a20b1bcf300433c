// A list of the libraries as a range: for (XmlNode *node : items<XmlNode>(list)).
#pragma once

#include <cstdint>

#include "cli/handle.h"

namespace talvo::cli {

template <class T>
class ListView {
 public:
  class Iterator {
   public:
    Iterator(const talvo_arraylist *list, int32_t index) : list_(list), index_(index) {}
    T *operator*() const { return static_cast<T *>(talvo_arraylist_getitem(list_, index_)); }
    Iterator &operator++() {
      ++index_;
      return *this;
    }
    bool operator!=(const Iterator &other) const { return index_ != other.index_; }

   private:
    const talvo_arraylist *list_;
    int32_t index_;
  };

  // A null list is an empty range.
  explicit ListView(const talvo_arraylist *list)
      : list_(list), count_(list == nullptr ? 0 : talvo_arraylist_getcount(list)) {}

  Iterator begin() const { return {list_, 0}; }
  Iterator end() const { return {list_, count_}; }
  int32_t size() const { return count_; }
  bool empty() const { return count_ == 0; }
  T *operator[](int32_t index) const {
    return static_cast<T *>(talvo_arraylist_getitem(list_, index));
  }

 private:
  const talvo_arraylist *list_;
  int32_t count_;
};

template <class T>
ListView<T> items(const List &list) {
  return ListView<T>(list.get());
}

}  // namespace talvo::cli
