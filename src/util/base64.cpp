// Base64 (RFC 4648).
#include <limits>

#include "base/base64_decoder.h"
#include "base/memory.h"

namespace talvo::util {
namespace {

constexpr char kSource[] = "base64";
constexpr size_t kLineLength = 64;

// The length of the encoded text without the NUL; 0 also when it cannot be expressed.
bool encodedLength(size_t length, int32_t mode, size_t &out) noexcept {
  if (length > std::numeric_limits<ptrdiff_t>::max() / 2) {
    return false;
  }
  const size_t digits = (length + 2) / 3 * 4;
  const size_t lineFeeds =
      mode == TALVO_BASE64_LINES && digits > 0 ? (digits - 1) / kLineLength : 0;
  out = digits + lineFeeds;
  return true;
}

void encodeGroup(const uint8_t *bytes, size_t count, char *out) noexcept {
  const uint32_t second = count > 1 ? bytes[1] : 0U;
  const uint32_t third = count > 2 ? bytes[2] : 0U;
  const uint32_t bits = uint32_t{bytes[0]} << 16U | second << 8U | third;
  out[0] = kBase64Alphabet[bits >> 18U];
  out[1] = kBase64Alphabet[bits >> 12U & 63U];
  out[2] = count > 1 ? kBase64Alphabet[bits >> 6U & 63U] : '=';
  out[3] = count > 2 ? kBase64Alphabet[bits & 63U] : '=';
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
  if ((bytes == nullptr && length > 0) || text == nullptr ||
      (mode != TALVO_BASE64_LINES && mode != TALVO_BASE64_ONE_LINE) ||
      !encodedLength(length, mode, needed)) {
    return 0;
  }
  TextBuffer encoded = makeChars(kSource, needed + 1);
  if (!encoded) {
    return 0;
  }
  encodeInto(Bytes(static_cast<const uint8_t *>(bytes), length), mode == TALVO_BASE64_LINES,
             encoded.get());
  *text = encoded.release();
  if (textLength != nullptr) {
    *textLength = needed;
  }
  return 1;
}

int32_t talvo_base64_decode(const char *text, size_t length, int32_t mode, uint8_t **bytes,
                            size_t *byteLength) noexcept {
  if (text == nullptr || length == 0 || mode < TALVO_BASE64_DECODE ||
      mode > TALVO_BASE64_ONE_LINE || bytes == nullptr || byteLength == nullptr) {
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
