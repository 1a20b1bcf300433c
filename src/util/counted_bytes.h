// Bytes behind their length in one block, with a NUL after the last: the body of strings and blobs.
// `Object` is the incomplete struct of the public header, completed by its file as one that holds
// only `size_t length`.
#pragma once

#include <cstdint>
#include <cstring>
#include <limits>
#include <new>

#include "base/memory.h"

namespace talvo::util {

template <class Object>
char *bytesBehind(Object *object) noexcept {
  return reinterpret_cast<char *>(object + 1);
}

template <class Object>
const char *bytesBehind(const Object *object) noexcept {
  return reinterpret_cast<const char *>(object + 1);
}

// Room for `length` bytes that the caller fills, or null.
template <class Object>
Object *allocateCounted(Site site, size_t length) noexcept {
  constexpr size_t kOverhead = sizeof(Object) + 1;
  if (length > std::numeric_limits<size_t>::max() - kOverhead) {
    return nullptr;
  }
  void *place = talvo_malloc(length + kOverhead, site.file, site.line);
  if (place == nullptr) {
    return nullptr;
  }
  auto *object = new (place) Object{length};
  bytesBehind(object)[length] = '\0';
  return object;
}

template <class Object>
Object *copyCounted(Site site, const void *bytes, size_t length) noexcept {
  auto *object = allocateCounted<Object>(site, length);
  if (object != nullptr && length > 0) {
    std::memcpy(bytesBehind(object), bytes, length);
  }
  return object;
}

}  // namespace talvo::util
