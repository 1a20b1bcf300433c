// HTTP through libcurl: one request, one answer, within limits of time and size.
#pragma once

#include <string_view>

#include "crypto/octets.h"

namespace talvo::crypto {

// The limits of every request but those that say otherwise. An answer that exceeds one is none.
struct HttpOptions {
  long connectMilliseconds = 10'000;      // until there is a connection, with TLS
  long totalMilliseconds = 60'000;        // for everything, up to 5 redirects included
  size_t bodyLimit = size_t{100} << 20U;  // octets; held once in memory
  const char *authorities = nullptr;      // a PEM file of trusted roots in place of the system's
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
