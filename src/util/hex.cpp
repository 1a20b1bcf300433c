// Hexadecimal text.
#include <cassert>
#include <limits>

#include "base/memory.h"

using namespace talvo;

namespace {

constexpr char kSource[] = "hex";
constexpr char kDigits[] = "0123456789ABCDEF";

// The value of a digit of either case, or -1.
int digitValue(char digit) noexcept {
  if (digit >= '0' && digit <= '9') {
    return digit - '0';
  }
  const char upper = static_cast<char>(digit & ~0x20);
  return upper >= 'A' && upper <= 'F' ? upper - 'A' + 10 : -1;
}

}  // namespace

int32_t talvo_hex_encode(const void *bytes, size_t length, char **text) noexcept {
  const bool tooLong = length > (std::numeric_limits<size_t>::max() - 1) / 2;
  if ((bytes == nullptr && length > 0) || text == nullptr || tooLong) {
    return 0;
  }
  TextBuffer digits = makeChars(kSource, length * 2 + 1);
  if (!digits) {
    return 0;
  }
  char *next = digits.get();
  for (const uint8_t byte : Bytes(static_cast<const uint8_t *>(bytes), length)) {
    *next++ = kDigits[byte >> 4U];
    *next++ = kDigits[byte & 0xFU];
  }
  assert(next == digits.get() + length * 2);
  *next = '\0';
  *text = digits.release();
  return 1;
}

int32_t talvo_hex_decode(const char *text, size_t length, uint8_t **bytes,
                         size_t *byteLength) noexcept {
  if (text == nullptr || length == 0 || length % 2 != 0 || bytes == nullptr ||
      byteLength == nullptr) {
    return 0;
  }
  ByteBuffer decoded = makeBytes(kSource, length / 2);
  if (!decoded) {
    return 0;
  }
  for (size_t i = 0; i < length; i += 2) {
    const int high = digitValue(text[i]);
    const int low = digitValue(text[i + 1]);
    if (high < 0 || low < 0) {
      return 0;
    }
    decoded.get()[i / 2] = static_cast<uint8_t>(high * 16 + low);
  }
  *bytes = decoded.release();
  *byteLength = length / 2;
  return 1;
}
