// Hash objects: a digest context over an algorithm that was fetched once.
#include "talvo_crypto.h"

#include "crypto/algorithm.h"
#include "crypto/octets.h"
#include "crypto/openssl_handle.h"

using namespace talvo;
using namespace talvo::crypto;

struct TalvoPKIHash {
  EvpDigest context;  // null once the digest was taken
  size_t length;
};

TalvoPKIHash *TalvoPKICryptoGetHashHandle(int32_t algorithm) noexcept {
  ErrorQueueScope errors;
  const HashAlgorithm *hash = hashByNumber(algorithm);
  const EVP_MD *method = digestOf(hash);
  if (method == nullptr) {
    return nullptr;
  }
  EvpDigest context(EVP_MD_CTX_new());
  if (!context || EVP_DigestInit_ex2(context.get(), method, nullptr) != 1) {
    return nullptr;
  }
  return make<TalvoPKIHash>(kSource, std::move(context), hash->length).release();
}

int32_t TalvoPKICryptoHashUpdate(TalvoPKIHash *hash, const void *bytes, size_t length) noexcept {
  if (hash == nullptr || !hash->context || (bytes == nullptr && length != 0)) {
    return 0;
  }
  ErrorQueueScope errors;
  return EVP_DigestUpdate(hash->context.get(), bytes, length) == 1 ? 1 : 0;
}

int32_t TalvoPKICryptoHashFinal(TalvoPKIHash *hash, uint8_t **digest, size_t *length) noexcept {
  if (hash == nullptr || !hash->context || digest == nullptr || length == nullptr) {
    return 0;
  }
  ErrorQueueScope errors;
  Octets octets = makeOctets(kSource, hash->length);
  if (!octets || EVP_DigestFinal_ex(hash->context.get(), octets.bytes.get(), nullptr) != 1) {
    return 0;
  }
  hash->context.reset();
  return handOut(std::move(octets), digest, length);
}

void TalvoPKICryptoFreeHash(TalvoPKIHash *hash) noexcept {
  destroy(hash);
}
