// Lists of pointers: an array that doubles. The list's two functions decide whether items are
// copied when they are pushed and whether the list releases them.
#include <cassert>
#include <limits>

#include "base/memory.h"

using namespace talvo;

namespace {

constexpr char kSource[] = "arraylist";
constexpr int32_t kFirstCapacity = 8;

using ItemArray = Handle<void *, talvo_free>;

}  // namespace

struct talvo_arraylist {
  talvo_arraylist_dupfunction dup;
  talvo_arraylist_freefunction release;
  ItemArray items;
  int32_t count;
  int32_t capacity;
};

namespace {

void releaseItemOf(const talvo_arraylist &list, void *item) noexcept {
  if (list.release != nullptr) {
    list.release(item);
  }
}

bool makeRoom(talvo_arraylist &list) noexcept {
  assert(list.count >= 0 && list.count <= list.capacity);
  if (list.count < list.capacity) {
    return true;
  }
  if (list.capacity > std::numeric_limits<int32_t>::max() / 2) {
    return false;
  }
  const int32_t capacity = list.capacity == 0 ? kFirstCapacity : list.capacity * 2;
  if (!resize(kSource, list.items, static_cast<size_t>(capacity))) {
    return false;
  }
  list.capacity = capacity;
  return true;
}

}  // namespace

talvo_arraylist *talvo_arraylist_new(talvo_arraylist_dupfunction dup,
                                     talvo_arraylist_freefunction release) noexcept {
  return make<talvo_arraylist>(kSource, dup, release, nullptr, 0, 0).release();
}

void talvo_arraylist_free(talvo_arraylist *list) noexcept {
  if (list == nullptr) {
    return;
  }
  for (int32_t i = 0; i < list->count; ++i) {
    releaseItemOf(*list, list->items.get()[i]);
  }
  destroy(list);
}

int32_t talvo_arraylist_pushback(talvo_arraylist *list, void *item) noexcept {
  // The room comes first: a copy that could not be kept would have to be released again.
  if (list == nullptr || item == nullptr || !makeRoom(*list)) {
    return 0;
  }
  void *kept = list->dup == nullptr ? item : list->dup(item);
  if (kept == nullptr) {
    return 0;
  }
  list->items.get()[list->count++] = kept;
  return 1;
}

int32_t talvo_arraylist_getcount(const talvo_arraylist *list) noexcept {
  return list == nullptr ? -1 : list->count;
}

void *talvo_arraylist_getitem(const talvo_arraylist *list, int32_t index) noexcept {
  if (list == nullptr || index < 0 || index >= list->count) {
    return nullptr;
  }
  return list->items.get()[index];
}

void talvo_arraylist_detachitems(talvo_arraylist *list) noexcept {
  if (list != nullptr) {
    list->count = 0;
  }
}
