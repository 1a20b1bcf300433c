// Base64 (RFC 4648). Decoding goes four characters a step through tables that hold each digit
// already shifted to its place; a step that meets anything but digits is done again character by
// character.
#include "util/base64.h"

#include <array>
#include <limits>

#include "base/memory.h"

namespace talvo::util {
namespace {

constexpr char kSource[] = "base64";
constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr size_t kLineLength = 64;

enum Mode : int32_t { decodeOnly = 2, lines = 3, oneLine = 4 };

constexpr uint8_t kSpace = 64;
constexpr uint8_t kPadding = 65;
constexpr uint8_t kInvalid = 66;

constexpr std::array<uint8_t, 256> makeClasses() noexcept {
  std::array<uint8_t, 256> classes{};
  classes.fill(kInvalid);
  for (uint8_t value = 0; value < 64; ++value) {
    classes[static_cast<uint8_t>(kAlphabet[value])] = value;
  }
  for (const char space : {' ', '\t', '\r', '\n'}) {
    classes[static_cast<uint8_t>(space)] = kSpace;
  }
  classes['='] = kPadding;
  return classes;
}

constexpr auto kClasses = makeClasses();
constexpr uint32_t kNotADigit = 1U << 31U;

using ShiftedDigits = std::array<uint32_t, 256>;

constexpr ShiftedDigits makeShifted(unsigned shift) noexcept {
  ShiftedDigits table{};
  for (size_t i = 0; i < table.size(); ++i) {
    table[i] = kClasses[i] < 64 ? uint32_t{kClasses[i]} << shift : kNotADigit;
  }
  return table;
}

constexpr ShiftedDigits kFirst = makeShifted(18);
constexpr ShiftedDigits kSecond = makeShifted(12);
constexpr ShiftedDigits kThird = makeShifted(6);
constexpr ShiftedDigits kFourth = makeShifted(0);

void putGroup(uint32_t bits, uint8_t *&out) noexcept {
  *out++ = static_cast<uint8_t>(bits >> 16U);
  *out++ = static_cast<uint8_t>(bits >> 8U);
  *out++ = static_cast<uint8_t>(bits);
}

}  // namespace

bool Base64Decoder::feed(const char *text, size_t length, uint8_t *&out) noexcept {
  const auto *next = reinterpret_cast<const uint8_t *>(text);
  const uint8_t *const end = next + length;
  while (next != end) {
    while (digits_ == 0 && !isPadded_ && end - next >= 4) {
      const uint32_t group =
          kFirst[next[0]] | kSecond[next[1]] | kThird[next[2]] | kFourth[next[3]];
      if ((group & kNotADigit) != 0) {
        break;
      }
      putGroup(group, out);
      next += 4;
    }
    if (next != end && !feedOne(*next++, out)) {
      return false;
    }
  }
  return true;
}

bool Base64Decoder::feedOne(uint8_t character, uint8_t *&out) noexcept {
  const uint8_t value = kClasses[character];
  if (value == kSpace) {
    return true;
  }
  if (value == kPadding) {
    return feedPadding(out);
  }
  if (value == kInvalid || isPadded_) {
    return false;
  }
  bits_ = bits_ << 6U | value;
  if (++digits_ == 4) {
    putGroup(bits_, out);
    digits_ = 0;
    bits_ = 0;
  }
  return true;
}

// The first "=" ends the group of two or three digits; after two digits one more must follow.
bool Base64Decoder::feedPadding(uint8_t *&out) noexcept {
  if (isPadded_) {
    return paddingMissing_-- == 1;
  }
  if (digits_ < 2) {
    return false;
  }
  isPadded_ = true;
  paddingMissing_ = digits_ == 2 ? 1 : 0;
  if (digits_ == 2) {
    *out++ = static_cast<uint8_t>(bits_ >> 4U);
  } else {
    *out++ = static_cast<uint8_t>(bits_ >> 10U);
    *out++ = static_cast<uint8_t>(bits_ >> 2U);
  }
  digits_ = 0;
  return true;
}

namespace {

// The length of the encoded text without the NUL; 0 also when it cannot be expressed.
bool encodedLength(size_t length, int32_t mode, size_t &out) noexcept {
  if (length > std::numeric_limits<ptrdiff_t>::max() / 2) {
    return false;
  }
  const size_t digits = (length + 2) / 3 * 4;
  const size_t lineFeeds = mode == lines && digits > 0 ? (digits - 1) / kLineLength : 0;
  out = digits + lineFeeds;
  return true;
}

void encodeGroup(const uint8_t *bytes, size_t count, char *out) noexcept {
  const uint32_t second = count > 1 ? bytes[1] : 0U;
  const uint32_t third = count > 2 ? bytes[2] : 0U;
  const uint32_t bits = uint32_t{bytes[0]} << 16U | second << 8U | third;
  out[0] = kAlphabet[bits >> 18U];
  out[1] = kAlphabet[bits >> 12U & 63U];
  out[2] = count > 1 ? kAlphabet[bits >> 6U & 63U] : '=';
  out[3] = count > 2 ? kAlphabet[bits & 63U] : '=';
}

void encodeInto(Bytes bytes, bool breakLines, char *out) noexcept {
  size_t column = 0;
  for (size_t i = 0; i < bytes.size(); i += 3) {
    if (breakLines && column == kLineLength) {
      *out++ = '\n';
      column = 0;
    }
    encodeGroup(&bytes[i], bytes.size() - i, out);
    out += 4;
    column += 4;
  }
  *out = '\0';
}

}  // namespace
}  // namespace talvo::util

using namespace talvo;
using namespace talvo::util;

int32_t talvo_base64_encode(const void *bytes, size_t length, int32_t mode, char **text,
                            size_t *textLength) noexcept {
  size_t needed = 0;
  if ((bytes == nullptr && length > 0) || text == nullptr || (mode != lines && mode != oneLine) ||
      !encodedLength(length, mode, needed)) {
    return 0;
  }
  TextBuffer encoded = makeChars(kSource, needed + 1);
  if (!encoded) {
    return 0;
  }
  encodeInto(Bytes(static_cast<const uint8_t *>(bytes), length), mode == lines, encoded.get());
  *text = encoded.release();
  if (textLength != nullptr) {
    *textLength = needed;
  }
  return 1;
}

int32_t talvo_base64_decode(const char *text, size_t length, int32_t mode, uint8_t **bytes,
                            size_t *byteLength) noexcept {
  if (text == nullptr || length == 0 || mode < decodeOnly || mode > oneLine || bytes == nullptr ||
      byteLength == nullptr) {
    return 0;
  }
  ByteBuffer decoded = makeBytes(kSource, Base64Decoder::outputBound(length));
  if (!decoded) {
    return 0;
  }
  Base64Decoder decoder;
  uint8_t *end = decoded.get();
  if (!decoder.feed(text, length, end) || !decoder.isComplete() || end == decoded.get()) {
    return 0;
  }
  *byteLength = static_cast<size_t>(end - decoded.get());
  *bytes = decoded.release();
  return 1;
}
