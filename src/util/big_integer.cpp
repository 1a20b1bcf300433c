// Big integers over OpenSSL's BIGNUM. The number itself lives on OpenSSL's allocator, its handle on
// ours.
#include <limits>
#include <string_view>
#include <utility>

#include <openssl/bn.h>

#include "base/memory.h"
#include "util/openssl.h"

using namespace talvo;
using namespace talvo::util;

namespace {

constexpr char kSource[] = "big_integer";

// Converting between binary and decimal takes time in the square of the length, and both may come
// from strangers.
constexpr int kDecimalBits = 65536;
constexpr size_t kDecimalDigits = 19728;

using Number = Handle<BIGNUM, BN_free>;

}  // namespace

struct talvo_biginteger {
  Number number;
};

namespace {

talvo_biginteger *wrap(Number number) noexcept {
  return number ? make<talvo_biginteger>(kSource, std::move(number)).release() : nullptr;
}

Number readMagnitude(Bytes bytes) noexcept {
  if (bytes.size() > static_cast<size_t>(std::numeric_limits<int>::max() / 8)) {
    return nullptr;
  }
  return Number(BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr));
}

// "-0" is zero.
bool isDecimal(std::string_view text) noexcept {
  if (text.starts_with('-')) {
    text.remove_prefix(1);
  }
  return !text.empty() && text.size() <= kDecimalDigits &&
         text.find_first_not_of("0123456789") == std::string_view::npos;
}

}  // namespace

talvo_biginteger *talvo_biginteger_newunsigneddata(const void *bytes, size_t length) noexcept {
  if (bytes == nullptr && length > 0) {
    return nullptr;
  }
  static constexpr uint8_t kNothing = 0;
  const auto *first = bytes == nullptr ? &kNothing : static_cast<const uint8_t *>(bytes);
  return wrap(readMagnitude(Bytes(first, length)));
}

talvo_biginteger *talvo_biginteger_newsigneddata(const void *bytes, size_t length) noexcept {
  if (bytes == nullptr || length == 0) {
    return nullptr;
  }
  const auto *first = static_cast<const uint8_t *>(bytes);
  Number number = readMagnitude(Bytes(first, length));
  if (number && (first[0] & 0x80U) != 0) {
    // Two's complement: the unsigned reading minus 2 to the power of the width.
    const Number power(BN_new());
    if (!power || BN_set_bit(power.get(), static_cast<int>(length * 8)) != 1 ||
        BN_sub(number.get(), number.get(), power.get()) != 1) {
      number.reset();
    }
  }
  return wrap(std::move(number));
}

talvo_biginteger *talvo_biginteger_newdec(const char *text) noexcept {
  // BN_dec2bn stops at the first character that it does not like and calls what came before a
  // number.
  if (text == nullptr || !isDecimal(text)) {
    return nullptr;
  }
  BIGNUM *number = nullptr;
  BN_dec2bn(&number, text);
  return wrap(Number(number));
}

talvo_biginteger *talvo_biginteger_dup(const talvo_biginteger *number) noexcept {
  return number == nullptr ? nullptr : wrap(Number(BN_dup(number->number.get())));
}

void talvo_biginteger_free(talvo_biginteger *number) noexcept {
  destroy(number);
}

int32_t talvo_biginteger_getsign(const talvo_biginteger *number) noexcept {
  if (number == nullptr || BN_is_zero(number->number.get())) {
    return 0;
  }
  return BN_is_negative(number->number.get()) ? -1 : 1;
}

int32_t talvo_biginteger_getbits(const talvo_biginteger *number) noexcept {
  return number == nullptr ? -1 : BN_num_bits(number->number.get());
}

int32_t talvo_biginteger_cmp(const talvo_biginteger *first,
                             const talvo_biginteger *second) noexcept {
  if (first == nullptr || second == nullptr) {
    return (first != nullptr ? 1 : 0) - (second != nullptr ? 1 : 0);
  }
  return BN_cmp(first->number.get(), second->number.get());
}

int32_t talvo_biginteger_getunsigneddata(const talvo_biginteger *number, uint8_t *bytes,
                                         size_t length) noexcept {
  if (number == nullptr || bytes == nullptr ||
      length > static_cast<size_t>(std::numeric_limits<int>::max())) {
    return 0;
  }
  return BN_bn2binpad(number->number.get(), bytes, static_cast<int>(length)) < 0 ? 0 : 1;
}

int32_t talvo_biginteger_todec(const talvo_biginteger *number, char **text) noexcept {
  if (number == nullptr || text == nullptr || BN_num_bits(number->number.get()) > kDecimalBits) {
    return 0;
  }
  const ErrorQueueScope errors;
  const OpensslMemory<char> decimal(BN_bn2dec(number->number.get()));
  if (!decimal) {
    return 0;
  }
  TextBuffer copy = copyText(kSource, decimal.get());
  if (!copy) {
    return 0;
  }
  *text = copy.release();
  return 1;
}
