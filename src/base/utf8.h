// A ustring as NUL-terminated UTF-8 for one scope, as libxml2 wants it. Text that holds a NUL
// cannot be expressed so: then the object is false, as it is for a null string. Nothing is copied:
// the ustring must outlive the scope.
#pragma once

#include <cstring>
#include <string_view>

#include "base/handle.h"

namespace talvo {

class Utf8 {
 public:
  explicit Utf8(const talvo_ustring *string) noexcept
      : text_(talvo_ustring_getutf8(string)), length_(talvo_ustring_getlength(string)) {
    if (text_ != nullptr && std::memchr(text_, 0, length_) != nullptr) {
      text_ = nullptr;
    }
  }

  explicit operator bool() const noexcept { return text_ != nullptr; }
  const char *get() const noexcept { return text_; }
  size_t length() const noexcept { return length_; }
  std::string_view view() const noexcept { return {text_, text_ == nullptr ? 0 : length_}; }

 private:
  const char *text_;
  size_t length_;
};

// All bytes of a ustring; empty for null.
inline std::string_view viewOf(const talvo_ustring *string) noexcept {
  const char *text = talvo_ustring_getutf8(string);
  return text == nullptr ? std::string_view()
                         : std::string_view(text, talvo_ustring_getlength(string));
}

inline UString makeString(std::string_view text) noexcept {
  return UString(talvo_ustring_newutf8(text.data(), text.size()));
}

inline bool equal(const talvo_ustring *first, const talvo_ustring *second) noexcept {
  return talvo_ustring_cmp(first, second) == 0;
}

}  // namespace talvo
