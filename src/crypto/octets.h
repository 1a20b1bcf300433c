// Octets on the talvo allocator together with their length, and how they leave through a pair of
// out-parameters.
#pragma once

#include <cstring>
#include <string_view>
#include <utility>

#include "base/bytes.h"
#include "base/memory.h"

namespace talvo::crypto {

// Names this library in the allocator's records.
inline constexpr const char *kSource = "TALVO_Crypto";

struct Octets {
  ByteBuffer bytes;
  size_t length = 0;

  explicit operator bool() const noexcept { return bytes != nullptr; }
  Bytes view() const noexcept { return {bytes.get(), length}; }
};

inline Octets makeOctets(Site site, size_t length) noexcept {
  return {makeBytes(site, length), length};
}

inline Octets copyOctets(Bytes bytes) noexcept {
  return {copyBytes(kSource, bytes), bytes.size()};
}

inline int32_t handOut(Octets octets, uint8_t **bytes, size_t *length) noexcept {
  if (!octets || bytes == nullptr || length == nullptr) {
    return 0;
  }
  *length = octets.length;
  *bytes = octets.bytes.release();  // the caller gives it back to TalvoPKICryptoFreeMemory
  return 1;
}

// The bytes of a caller's pointer and length; a null pointer has none.
inline Bytes bytesAt(const void *bytes, size_t length) noexcept {
  return {static_cast<const uint8_t *>(bytes), bytes == nullptr ? 0 : length};
}

inline std::string_view textOf(Bytes bytes) noexcept {
  return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}

}  // namespace talvo::crypto
