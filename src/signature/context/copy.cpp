// Lists of strings that belong to their list.
#include "signature/context/copy.h"

namespace talvo {
namespace {

void *copyString(void *item) noexcept {
  return talvo_ustring_dup(static_cast<talvo_ustring *>(item));
}

void freeString(void *item) noexcept {
  talvo_ustring_free(static_cast<talvo_ustring *>(item));
}

}  // namespace

List newStringList() noexcept {
  return List(talvo_arraylist_new(copyString, freeString));
}

List copyStrings(const talvo_arraylist *strings) noexcept {
  if (items<talvo_ustring>(strings).empty()) {
    return nullptr;
  }
  List copies = newStringList();
  for (talvo_ustring *string : items<talvo_ustring>(strings)) {
    if (talvo_arraylist_pushback(copies.get(), string) != 1) {
      return nullptr;
    }
  }
  return copies;
}

}  // namespace talvo
