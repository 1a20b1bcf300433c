// HTTP through libcurl: one request, one answer, within limits.
#pragma once

#include <string_view>

#include "crypto/octets.h"

namespace talvo::crypto {

// What tests make smaller.
struct HttpOptions {
  long connectMilliseconds = 10'000;
  long totalMilliseconds = 60'000;
  size_t bodyLimit = size_t{100} << 20U;
  const char *authorities = nullptr;  // a PEM file of trusted roots in place of the system's
};

struct HttpAnswer {
  Octets body;
  int32_t status = 0;

  explicit operator bool() const noexcept { return bool(body); }
};

// `url` is NUL-terminated. Empty when there was no complete answer; the status may be any.
HttpAnswer httpGet(const char *url, const HttpOptions &options = {}) noexcept;
HttpAnswer httpPost(const char *url, const char *contentType, Bytes content,
                    const HttpOptions &options = {}) noexcept;

}  // namespace talvo::crypto
