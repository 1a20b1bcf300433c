// Base64 between octets and strings.
#pragma once

#include "base/bytes.h"
#include "base/handle.h"
#include "base/utf8.h"

namespace talvo {

// `mode` is TALVO_BASE64_LINES for certificates, tokens and other DER, TALVO_BASE64_ONE_LINE for
// digests and signature values.
inline UString encodeBase64(Bytes bytes, int32_t mode) noexcept {
  char *text = nullptr;
  size_t length = 0;
  if (!talvo_base64_encode(bytes.data(), bytes.size(), mode, &text, &length)) {
    return nullptr;
  }
  const TextBuffer owned(text);
  return makeString({text, length});
}

// Either form; null for anything that is not Base64, the empty text included.
inline Blob decodeBase64(const talvo_ustring *text) noexcept {
  const std::string_view digits = viewOf(text);
  uint8_t *bytes = nullptr;
  size_t length = 0;
  if (!talvo_base64_decode(digits.data(), digits.size(), TALVO_BASE64_ONE_LINE, &bytes, &length)) {
    return nullptr;
  }
  const ByteBuffer owned(bytes);
  return Blob(talvo_data_blob_new(bytes, length));
}

}  // namespace talvo
