// Strings: one immutable block that holds the length, the UTF-8 bytes and a NUL. Everything that
// makes one checks the encoding, so that text from a string needs no second check.
#include <algorithm>
#include <array>
#include <cassert>

#include "base/utf8.h"
#include "util/counted_bytes.h"

struct talvo_ustring {
  size_t length;
};

namespace talvo::util {
namespace {

constexpr char kSource[] = "ustring";

// The sequences of RFC 3629 by their first byte: how many bytes follow, and what the first of them
// may be. The narrow ranges are what refuses overlong forms, surrogates and values above U+10FFFF.
struct LeadByte {
  uint8_t first;
  uint8_t last;
  uint8_t following;
  uint8_t secondFrom;
  uint8_t secondTo;
};

constexpr std::array<LeadByte, 8> kLeadBytes = {{
    {0xC2, 0xDF, 1, 0x80, 0xBF},
    {0xE0, 0xE0, 2, 0xA0, 0xBF},
    {0xE1, 0xEC, 2, 0x80, 0xBF},
    {0xED, 0xED, 2, 0x80, 0x9F},
    {0xEE, 0xEF, 2, 0x80, 0xBF},
    {0xF0, 0xF0, 3, 0x90, 0xBF},
    {0xF1, 0xF3, 3, 0x80, 0xBF},
    {0xF4, 0xF4, 3, 0x80, 0x8F},
}};

// The length of the multi-byte sequence at `text`, or 0 when it is not valid.
size_t sequenceLength(const uint8_t *text, size_t available) noexcept {
  assert(available > 0);
  for (const LeadByte &lead : kLeadBytes) {
    if (text[0] < lead.first || text[0] > lead.last) {
      continue;
    }
    if (available <= lead.following || text[1] < lead.secondFrom || text[1] > lead.secondTo) {
      return 0;
    }
    for (size_t i = 2; i <= lead.following; ++i) {
      if ((text[i] & 0xC0U) != 0x80U) {
        return 0;
      }
    }
    return lead.following + size_t{1};
  }
  return 0;
}

// How many ASCII bytes stand at the start, eight at a time while that lasts.
size_t asciiRun(const uint8_t *text, size_t length) noexcept {
  size_t position = 0;
  for (; length - position >= 8; position += 8) {
    uint64_t eight = 0;
    std::memcpy(&eight, text + position, 8);
    if ((eight & 0x8080808080808080U) != 0) {
      break;
    }
  }
  while (position < length && text[position] < 0x80) {
    ++position;
  }
  return position;
}

bool isUtf8(const char *text, size_t length) noexcept {
  const auto *bytes = reinterpret_cast<const uint8_t *>(text);
  size_t position = asciiRun(bytes, length);
  while (position < length) {
    assert(bytes[position] >= 0x80);
    const size_t sequence = sequenceLength(bytes + position, length - position);
    if (sequence == 0) {
      return false;
    }
    position += sequence;
    position += asciiRun(bytes + position, length - position);
  }
  return true;
}

}  // namespace
}  // namespace talvo::util

using namespace talvo;
using namespace talvo::util;

talvo_ustring *talvo_ustring_newutf8(const char *text, size_t length) noexcept {
  if (text == nullptr && length > 0) {
    return nullptr;
  }
  return isUtf8(text, length) ? copyCounted<talvo_ustring>(kSource, text, length) : nullptr;
}

talvo_ustring *talvo_ustring_dup(const talvo_ustring *string) noexcept {
  if (string == nullptr) {
    return nullptr;
  }
  return copyCounted<talvo_ustring>(kSource, bytesBehind(string), string->length);
}

void talvo_ustring_free(talvo_ustring *string) noexcept {
  talvo_free(string);
}

int32_t talvo_ustring_toutf8(const talvo_ustring *string, char **text, size_t *length) noexcept {
  const Utf8 utf8(string);
  if (!utf8 || text == nullptr) {
    return 0;
  }
  TextBuffer copy = copyText(kSource, utf8.view());
  if (!copy) {
    return 0;
  }
  *text = copy.release();
  if (length != nullptr) {
    *length = utf8.length();
  }
  return 1;
}

const char *talvo_ustring_getutf8(const talvo_ustring *string) noexcept {
  return string == nullptr ? nullptr : bytesBehind(string);
}

size_t talvo_ustring_getlength(const talvo_ustring *string) noexcept {
  return string == nullptr ? 0 : string->length;
}

talvo_ustring *talvo_ustring_cat(const talvo_ustring *first, const talvo_ustring *second) noexcept {
  if (first == nullptr || second == nullptr) {
    return nullptr;
  }
  size_t length = 0;
  if (__builtin_add_overflow(first->length, second->length, &length)) {
    return nullptr;
  }
  auto *joined = allocateCounted<talvo_ustring>(kSource, length);
  if (joined != nullptr) {
    std::memcpy(bytesBehind(joined), bytesBehind(first), first->length);
    std::memcpy(bytesBehind(joined) + first->length, bytesBehind(second), second->length);
  }
  return joined;
}

int32_t talvo_ustring_cmp(const talvo_ustring *first, const talvo_ustring *second) noexcept {
  if (first == second) {
    return 0;
  }
  if (first == nullptr || second == nullptr) {
    return first == nullptr ? -1 : 1;
  }
  const int order =
      std::memcmp(bytesBehind(first), bytesBehind(second), std::min(first->length, second->length));
  if (order != 0) {
    return order < 0 ? -1 : 1;
  }
  return first->length == second->length ? 0 : (first->length < second->length ? -1 : 1);
}
