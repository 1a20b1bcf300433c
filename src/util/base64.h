// Decoding Base64 in pieces: the state between two of them is at most three digits.
#pragma once

#include <cstddef>
#include <cstdint>

namespace talvo::util {

class Base64Decoder {
 public:
  // The most bytes that `length` characters can add to the output, whatever came before.
  static constexpr size_t outputBound(size_t length) noexcept { return length / 4 * 3 + 3; }

  // Decodes one piece into `out`, which has room for outputBound(length) bytes, and moves `out`
  // behind what it wrote. False when a character is not allowed where it stands.
  bool feed(const char *text, size_t length, uint8_t *&out) noexcept;

  // Whether the text may end here: nothing pending, or padded completely.
  bool isComplete() const noexcept { return digits_ == 0 && paddingMissing_ == 0; }

 private:
  bool feedOne(uint8_t character, uint8_t *&out) noexcept;
  bool feedPadding(uint8_t *&out) noexcept;

  uint32_t bits_ = 0;   // the digits of the unfinished group
  uint8_t digits_ = 0;  // how many they are
  uint8_t paddingMissing_ = 0;
  bool isPadded_ = false;  // after padding only white space may follow
};

}  // namespace talvo::util
