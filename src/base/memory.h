// Objects on the talvo allocator. `make<T>(kSource, ...)` records the line of its caller by itself:
// a string literal converts to a Site, whose default argument is evaluated where the conversion
// happens.
#pragma once

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

#include "base/handle.h"

namespace talvo {

struct Site {
  const char *file;
  int32_t line;

  // Implicit on purpose: see above. Not std::source_location, which clang 14 does not have.
  // NOLINTNEXTLINE(google-explicit-constructor)
  Site(const char *source, int32_t at = __builtin_LINE()) noexcept : file(source), line(at) {}
};

template <class T>
void destroy(T *object) noexcept {
  if (object != nullptr) {
    object->~T();
    talvo_free(object);
  }
}

// What a handle of T gives it back with. Types that have a release function of their own name it by
// a specialisation.
template <class T>
using Release = void (*)(T *) noexcept;
template <class T>
constexpr Release<T> kRelease = destroy<T>;

template <class T>
using Owned = Handle<T, kRelease<T>>;

// A new T, or null when memory is exhausted. The constructor must not throw.
template <class T, class... Arguments>
Owned<T> make(Site site, Arguments &&...arguments) noexcept {
  void *place = talvo_malloc(sizeof(T), site.file, site.line);
  if (place == nullptr) {
    return nullptr;
  }
  return Owned<T>(new (place) T{std::forward<Arguments>(arguments)...});
}

// Room for `length` octets or characters, or null.
inline ByteBuffer makeBytes(Site site, size_t length) noexcept {
  return ByteBuffer(static_cast<uint8_t *>(talvo_malloc(length, site.file, site.line)));
}

inline TextBuffer makeChars(Site site, size_t length) noexcept {
  return TextBuffer(static_cast<char *>(talvo_malloc(length, site.file, site.line)));
}

// Room for `count` elements, moved where it has to be; false when all stays as it was.
template <class T>
bool resize(Site site, Handle<T, talvo_free> &elements, size_t count) noexcept {
  assert(count <= std::numeric_limits<size_t>::max() / sizeof(T));
  void *moved = talvo_realloc(elements.get(), count * sizeof(T), site.file, site.line);
  if (moved == nullptr) {
    return false;
  }
  static_cast<void>(elements.release());  // talvo_realloc has taken it
  elements.reset(static_cast<T *>(moved));
  return true;
}

inline ByteBuffer copyBytes(Site site, Bytes bytes) noexcept {
  ByteBuffer copy = makeBytes(site, bytes.size());
  if (copy) {
    std::copy(bytes.begin(), bytes.end(), copy.get());
  }
  return copy;
}

// With a NUL behind the copy.
inline TextBuffer copyText(Site site, std::string_view text) noexcept {
  TextBuffer copy = makeChars(site, text.size() + 1);
  if (copy) {
    *std::copy(text.begin(), text.end(), copy.get()) = '\0';
  }
  return copy;
}

}  // namespace talvo
