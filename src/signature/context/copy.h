// How contexts take over what a caller hands them: texts are copied, counted items are shared by
// one more reference.
#pragma once

#include "signature/context/context.h"

namespace talvo {

constexpr char kSource[] = "TALVO_XML_Signature";

// Copies an optional string into a new context; false when memory is exhausted.
inline bool copyOptional(UString &target, const talvo_ustring *source) noexcept {
  target.reset(talvo_ustring_dup(source));
  return target != nullptr || source == nullptr;
}

// Replaces a string by a copy of a required one; on failure the old value stays.
inline int32_t replaceRequired(UString &target, const talvo_ustring *source) noexcept {
  UString copy(talvo_ustring_dup(source));
  if (!copy) {
    return 0;
  }
  target = std::move(copy);
  return 1;
}

// A new list that copies the strings pushed into it.
List newStringList() noexcept;

template <class Context>
void releaseCounted(void *item) noexcept {
  release(static_cast<Context *>(item));
}

// A new list that holds one more reference to each context of the source; entries that are null are
// left out. Null when nothing remains or memory is exhausted.
template <class Context>
List shareContexts(const talvo_arraylist *source) noexcept {
  List shared(talvo_arraylist_new(dupCounted<Context>, releaseCounted<Context>));
  if (!shared) {
    return nullptr;
  }
  for (Context *context : items<Context>(source)) {
    if (context != nullptr && talvo_arraylist_pushback(shared.get(), context) != 1) {
      return nullptr;
    }
  }
  if (items<Context>(shared).empty()) {
    return nullptr;
  }
  return shared;
}

}  // namespace talvo
