// From objects of OpenSSL to DER and back.
#pragma once

#include <cassert>
#include <climits>

#include "crypto/octets.h"
#include "crypto/openssl_handle.h"

namespace talvo::crypto {

// The DER of an object by its i2d function.
template <class T>
Octets encodeDer(int (*encode)(const T *, unsigned char **), const T *object) noexcept {
  int length = object == nullptr ? -1 : encode(object, nullptr);
  if (length <= 0) {
    return {};
  }
  Octets der = makeOctets(kSource, static_cast<size_t>(length));
  unsigned char *end = der.bytes.get();
  if (!der || encode(object, &end) != length) {
    return {};
  }
  assert(end == der.bytes.get() + der.length);
  return der;
}

// The object that all of the bytes are, by its d2i function: null also when something follows it.
// OpenSSL's error queue holds 16 errors and drops the oldest, so the errors of one attempt are
// taken out before the next one could push out the application's.
template <class Owner, class T>
Owner decodeDer(T *(*decode)(T **, const unsigned char **, long), Bytes der) noexcept {
  if (der.empty() || der.size() > static_cast<size_t>(INT_MAX)) {
    return nullptr;
  }
  const ErrorQueueScope errors;
  const unsigned char *end = der.data();
  Owner object(decode(nullptr, &end, static_cast<long>(der.size())));
  return object && end == der.data() + der.size() ? std::move(object) : nullptr;
}

}  // namespace talvo::crypto
