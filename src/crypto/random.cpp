// Buffers that callers give back, the software device, and random octets.
#include <algorithm>
#include <climits>

#include <openssl/rand.h>

#include "talvo_crypto.h"

#include "crypto/octets.h"
#include "crypto/openssl_handle.h"

using namespace talvo;
using namespace talvo::crypto;

struct TalvoPKIDevice {
  int32_t number;
};

void *TalvoPKICryptoAllocMemory(size_t length) noexcept {
  return talvo_malloc(length, kSource, __LINE__);
}

void TalvoPKICryptoFreeMemory(void *memory) noexcept {
  talvo_free(memory);
}

TalvoPKIDevice *TalvoPKICryptoGetPseudoDevice() noexcept {
  static constinit TalvoPKIDevice device{0};
  return &device;
}

int32_t TalvoPKICryptoGenerateRandom(TalvoPKIDevice *device, uint8_t *bytes,
                                     size_t length) noexcept {
  if (device == nullptr || (bytes == nullptr && length != 0)) {
    return 0;
  }
  ErrorQueueScope errors;
  while (length > 0) {
    const size_t step = std::min<size_t>(length, INT_MAX);  // RAND_bytes counts in int
    if (RAND_bytes(bytes, static_cast<int>(step)) != 1) {
      return 0;
    }
    bytes += step;
    length -= step;
  }
  return 1;
}
