// HMAC (RFC 2104) objects, and the comparison that does not tell by its duration how much agreed.
#include <array>

#include <openssl/core_names.h>
#include <openssl/crypto.h>

#include "talvo_crypto.h"

#include "crypto/algorithm.h"
#include "crypto/octets.h"
#include "crypto/openssl_handle.h"

using namespace talvo;
using namespace talvo::crypto;

struct TalvoPKIMac {
  EvpMac context;  // null once the value was taken
};

TalvoPKIMac *TalvoPKICryptoNewMac(int32_t algorithm, const void *key, size_t keyLength) noexcept {
  ErrorQueueScope errors;
  const MacAlgorithm *mac = macByNumber(algorithm);
  if (mac == nullptr || hmac() == nullptr || (key == nullptr && keyLength != 0)) {
    return nullptr;
  }
  EvpMac context(EVP_MAC_CTX_new(hmac()));
  // OpenSSL only reads the name, though its parameter is not const.
  char *digest = const_cast<char *>(hashByNumber(mac->hash)->name);
  const std::array<OSSL_PARAM, 2> parameters = {
      OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, digest, 0),
      OSSL_PARAM_construct_end()};
  // A null key would mean "keep the key"; an empty one needs some address.
  static constexpr unsigned char kEmpty = 0;
  const auto *bytes = keyLength == 0 ? &kEmpty : static_cast<const unsigned char *>(key);
  if (!context || EVP_MAC_init(context.get(), bytes, keyLength, parameters.data()) != 1) {
    return nullptr;
  }
  return make<TalvoPKIMac>(kSource, std::move(context)).release();
}

int32_t TalvoPKICryptoMacUpdate(TalvoPKIMac *mac, const void *bytes, size_t length) noexcept {
  if (mac == nullptr || !mac->context || (bytes == nullptr && length != 0)) {
    return 0;
  }
  ErrorQueueScope errors;
  return length == 0 ||
         EVP_MAC_update(mac->context.get(), static_cast<const unsigned char *>(bytes), length) == 1;
}

int32_t TalvoPKICryptoMacFinal(TalvoPKIMac *mac, uint8_t **value, size_t *length) noexcept {
  if (mac == nullptr || !mac->context || value == nullptr || length == nullptr) {
    return 0;
  }
  ErrorQueueScope errors;
  Octets octets = makeOctets(kSource, EVP_MAC_CTX_get_mac_size(mac->context.get()));
  size_t written = 0;
  if (!octets ||
      EVP_MAC_final(mac->context.get(), octets.bytes.get(), &written, octets.length) != 1 ||
      written != octets.length) {
    return 0;
  }
  mac->context.reset();
  return handOut(std::move(octets), value, length);
}

void TalvoPKICryptoFreeMac(TalvoPKIMac *mac) noexcept {
  destroy(mac);
}

int32_t TalvoPKICryptoEqualMemory(const void *first, const void *second, size_t length) noexcept {
  if (length == 0) {
    return 1;
  }
  return first != nullptr && second != nullptr && CRYPTO_memcmp(first, second, length) == 0;
}
