// Texts and vectors on the talvo allocator, for what a caller can hold: its live blocks are
// counted, and tests make its allocations fail.
#pragma once

#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "talvo_util.h"

namespace talvo::policy {

template <class T>
struct HeapAllocator {
  using value_type = T;

  HeapAllocator() noexcept = default;
  template <class U>
  // NOLINTNEXTLINE(google-explicit-constructor): rebinding is implicit
  HeapAllocator(const HeapAllocator<U> &) noexcept {}

  T *allocate(size_t count) {
    constexpr size_t kSize = sizeof(T);  // NOLINT(bugprone-sizeof-expression): T may be a pointer
    void *block =
        count > SIZE_MAX / kSize ? nullptr : talvo_malloc(count * kSize, "policy", __LINE__);
    if (block == nullptr) {
      throw std::bad_alloc();
    }
    return static_cast<T *>(block);
  }
  void deallocate(T *block, size_t) noexcept { talvo_free(block); }

  template <class U>
  bool operator==(const HeapAllocator<U> &) const noexcept {
    return true;
  }
};

using Text = std::basic_string<char, std::char_traits<char>, HeapAllocator<char>>;
template <class T>
using Vec = std::vector<T, HeapAllocator<T>>;

}  // namespace talvo::policy
