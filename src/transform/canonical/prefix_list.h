// The inclusive prefixes of exclusive canonicalisation in the form that libxml2 takes: one block of
// talvo_malloc that holds a null-terminated array of pointers and, behind it, the texts they point
// at.
#pragma once

#include <span>
#include <string_view>

#include "talvo_util.h"

#include "base/handle.h"

namespace talvo {

// Owns one block. An object without a block means "no list", which is not the same as an empty one.
class PrefixBlock {
 public:
  PrefixBlock() = default;
  // Takes over a block of getexcc14nparam2.
  explicit PrefixBlock(char **block) noexcept : block_(block) {}

  // A block of the given prefixes, as they stand; without a block when memory is exhausted.
  static PrefixBlock make(std::span<const std::string_view> prefixes) noexcept;

  explicit operator bool() const noexcept { return block_ != nullptr; }
  // Null for no list.
  char **get() const noexcept { return block_.get(); }
  // The block is the caller's from now on.
  char **release() noexcept { return block_.release(); }

 private:
  Handle<char *, talvo_free> block_;
};

}  // namespace talvo

extern "C" {

// getexcc14nparam2 returns a new block of the texts of a list of ustrings; an empty list gives a
// block that holds only the terminating null. Null for a null list, for a text that holds a NUL,
// and when memory is exhausted.
char **getexcc14nparam2(const talvo_arraylist *prefixes) noexcept;
}
