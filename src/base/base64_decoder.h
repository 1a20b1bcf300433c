// Decoding Base64 (RFC 4648) in pieces: the state between two of them is at most three digits. It
// goes four characters a step through tables that hold each digit already shifted to its place; a
// step that meets anything but digits is done again character by character.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace talvo {

constexpr std::string_view kBase64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

struct Base64Tables {
  static constexpr uint8_t kSpace = 64;
  static constexpr uint8_t kPadding = 65;
  static constexpr uint8_t kInvalid = 66;
  static constexpr uint32_t kNotADigit = 1U << 31U;

  std::array<uint8_t, 256> classes{};
  // The digits of a group of four, each at its place.
  std::array<std::array<uint32_t, 256>, 4> digits{};

  constexpr Base64Tables() noexcept {
    classes.fill(kInvalid);
    for (std::array<uint32_t, 256> &shifted : digits) {
      shifted.fill(kNotADigit);
    }
    for (uint32_t value = 0; value < kBase64Alphabet.size(); ++value) {
      const auto letter = static_cast<uint8_t>(kBase64Alphabet[value]);
      classes[letter] = static_cast<uint8_t>(value);
      for (uint32_t place = 0; place < digits.size(); ++place) {
        digits[place][letter] = value << (18U - 6U * place);
      }
    }
    for (const char space : {' ', '\t', '\r', '\n'}) {
      classes[static_cast<uint8_t>(space)] = kSpace;
    }
    classes['='] = kPadding;
  }
};

inline constexpr Base64Tables kBase64Tables;

class Base64Decoder {
 public:
  // The most bytes that `length` characters can add to the output, whatever came before.
  static constexpr size_t outputBound(size_t length) noexcept { return length / 4 * 3 + 3; }

  // Decodes one piece into `out`, which has room for outputBound(length) bytes, and moves `out`
  // behind what it wrote. False when a character is not allowed where it stands.
  bool feed(const char *text, size_t length, uint8_t *&out) noexcept {
    const auto *next = reinterpret_cast<const uint8_t *>(text);
    const uint8_t *const end = next + length;
    while (next != end) {
      if (digits_ == 0 && !isPadded_) {
        next = feedGroups(next, end, out);
      }
      if (next != end && !feedOne(*next++, out)) {
        return false;
      }
    }
    return true;
  }

  // Whether the text may end here: nothing pending, or padded completely.
  bool isComplete() const noexcept { return digits_ == 0 && paddingMissing_ == 0; }

 private:
  // Decodes whole groups up to the first that holds anything but digits.
  static const uint8_t *feedGroups(const uint8_t *next, const uint8_t *end,
                                   uint8_t *&out) noexcept {
    const auto &digits = kBase64Tables.digits;
    uint8_t *place = out;
    for (; end - next >= 4; next += 4) {
      const uint32_t group =
          digits[0][next[0]] | digits[1][next[1]] | digits[2][next[2]] | digits[3][next[3]];
      if ((group & Base64Tables::kNotADigit) != 0) {
        break;
      }
      putGroup(group, place);
    }
    out = place;
    return next;
  }

  static void putGroup(uint32_t bits, uint8_t *&out) noexcept {
    *out++ = static_cast<uint8_t>(bits >> 16U);
    *out++ = static_cast<uint8_t>(bits >> 8U);
    *out++ = static_cast<uint8_t>(bits);
  }

  bool feedOne(uint8_t character, uint8_t *&out) noexcept {
    const uint8_t value = kBase64Tables.classes[character];
    if (value == Base64Tables::kSpace) {
      return true;
    }
    if (value == Base64Tables::kPadding) {
      return feedPadding(out);
    }
    if (value == Base64Tables::kInvalid || isPadded_) {
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
  bool feedPadding(uint8_t *&out) noexcept {
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

  uint32_t bits_ = 0;   // the digits of the unfinished group
  uint8_t digits_ = 0;  // how many they are
  uint8_t paddingMissing_ = 0;
  bool isPadded_ = false;  // after padding only white space may follow
};

}  // namespace talvo
