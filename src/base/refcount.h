// Reference counts of records and contexts: plain integers, since one object is never shared by two
// threads.
#pragma once

#include <cassert>
#include <cstdint>

#include "base/memory.h"

namespace talvo {

struct Counted {
  uint32_t refCount = 1;
};

template <class T>
T *dup(T *object) noexcept {
  if (object != nullptr) {
    assert(object->refCount > 0);
    ++object->refCount;
  }
  return object;
}

template <class T>
void release(T *object) noexcept {
  assert(object == nullptr || object->refCount > 0);
  if (object != nullptr && --object->refCount == 0) {
    destroy(object);
  }
}

// One counted reference.
template <class T>
using Ref = Handle<T, release<T>>;

}  // namespace talvo
