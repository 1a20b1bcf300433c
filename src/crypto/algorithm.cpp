// The tables, in the order of their numbers.
#include "crypto/algorithm.h"

#include <atomic>
#include <cassert>
#include <iterator>

#include <openssl/obj_mac.h>

#include "talvo_crypto.h"

namespace talvo::crypto {

namespace {

using enum KeyFamily;

constexpr HashAlgorithm kHashes[] = {
    {TALVO_HASH_MD5, "MD5", NID_md5, 16, true},
    {TALVO_HASH_SHA1, "SHA1", NID_sha1, 20, true},
    {TALVO_HASH_SHA224, "SHA2-224", NID_sha224, 28, true},
    {TALVO_HASH_SHA256, "SHA2-256", NID_sha256, 32, true},
    {TALVO_HASH_SHA384, "SHA2-384", NID_sha384, 48, true},
    {TALVO_HASH_SHA512, "SHA2-512", NID_sha512, 64, true},
    {TALVO_HASH_SM3, "SM3", NID_sm3, 32, true},
    // Deliberate: a time-stamp over SHA-3 is one of an unknown hash, so that tokens keep the
    // verdict that they have had.
    {TALVO_HASH_SHA3_224, "SHA3-224", NID_sha3_224, 28, false},
    {TALVO_HASH_SHA3_256, "SHA3-256", NID_sha3_256, 32, false},
    {TALVO_HASH_SHA3_384, "SHA3-384", NID_sha3_384, 48, false},
    {TALVO_HASH_SHA3_512, "SHA3-512", NID_sha3_512, 64, false},
};

constexpr MacAlgorithm kMacs[] = {
    {TALVO_MAC_HMAC_MD5, TALVO_HASH_MD5},       {TALVO_MAC_HMAC_SHA1, TALVO_HASH_SHA1},
    {TALVO_MAC_HMAC_SHA224, TALVO_HASH_SHA224}, {TALVO_MAC_HMAC_SHA256, TALVO_HASH_SHA256},
    {TALVO_MAC_HMAC_SHA384, TALVO_HASH_SHA384}, {TALVO_MAC_HMAC_SHA512, TALVO_HASH_SHA512},
};

constexpr SigningAlgorithm kSignatures[] = {
    {TALVO_CRYPTO_RSA_MD5, rsa, TALVO_HASH_MD5},
    {TALVO_CRYPTO_RSA_SHA1, rsa, TALVO_HASH_SHA1},
    {TALVO_CRYPTO_RSA_SHA256, rsa, TALVO_HASH_SHA256},
    {TALVO_CRYPTO_RSA_SHA384, rsa, TALVO_HASH_SHA384},
    {TALVO_CRYPTO_RSA_SHA512, rsa, TALVO_HASH_SHA512},
    {TALVO_CRYPTO_DSA_SHA1, dsa, TALVO_HASH_SHA1},
    {TALVO_CRYPTO_ECDSA_SHA1, ec, TALVO_HASH_SHA1},
    {TALVO_CRYPTO_ECDSA_SHA224, ec, TALVO_HASH_SHA224},
    {TALVO_CRYPTO_ECDSA_SHA256, ec, TALVO_HASH_SHA256},
    {TALVO_CRYPTO_ECDSA_SHA384, ec, TALVO_HASH_SHA384},
    {TALVO_CRYPTO_ECDSA_SHA512, ec, TALVO_HASH_SHA512},
    {TALVO_CRYPTO_SM2_SM3, sm2, TALVO_HASH_SM3},
    {TALVO_CRYPTO_RSA_SHA224, rsa, TALVO_HASH_SHA224},
    {TALVO_CRYPTO_DSA_SHA256, dsa, TALVO_HASH_SHA256},
    {TALVO_CRYPTO_ECDSA_SHA3_224, ec, TALVO_HASH_SHA3_224},
    {TALVO_CRYPTO_ECDSA_SHA3_256, ec, TALVO_HASH_SHA3_256},
    {TALVO_CRYPTO_ECDSA_SHA3_384, ec, TALVO_HASH_SHA3_384},
    {TALVO_CRYPTO_ECDSA_SHA3_512, ec, TALVO_HASH_SHA3_512},
    {TALVO_CRYPTO_ED25519, ed25519, 0},
    {TALVO_CRYPTO_ED448, ed448, 0},
    {TALVO_CRYPTO_RSA_PSS_SHA1, rsa, TALVO_HASH_SHA1, true},
    {TALVO_CRYPTO_RSA_PSS_SHA224, rsa, TALVO_HASH_SHA224, true},
    {TALVO_CRYPTO_RSA_PSS_SHA256, rsa, TALVO_HASH_SHA256, true},
    {TALVO_CRYPTO_RSA_PSS_SHA384, rsa, TALVO_HASH_SHA384, true},
    {TALVO_CRYPTO_RSA_PSS_SHA512, rsa, TALVO_HASH_SHA512, true},
    {TALVO_CRYPTO_RSA_PSS_SHA3_224, rsa, TALVO_HASH_SHA3_224, true},
    {TALVO_CRYPTO_RSA_PSS_SHA3_256, rsa, TALVO_HASH_SHA3_256, true},
    {TALVO_CRYPTO_RSA_PSS_SHA3_384, rsa, TALVO_HASH_SHA3_384, true},
    {TALVO_CRYPTO_RSA_PSS_SHA3_512, rsa, TALVO_HASH_SHA3_512, true},
};

// One slot for each row of kHashes. They are filled on first use and live as long as the process:
// a fetched algorithm is shared by all threads.
constinit std::atomic<EVP_MD *> g_digests[std::size(kHashes)] = {};
constinit std::atomic<EVP_MAC *> g_hmac = nullptr;

template <class Row>
const Row *rowOf(const Row *begin, const Row *end, int32_t number) noexcept {
  for (const Row *row = begin; row != end; ++row) {
    if (row->number == number) {
      return row;
    }
  }
  return nullptr;
}

// Two threads may fetch at the same time; the one that comes second gives its own back. A failed
// fetch is not remembered: it may have been for want of memory.
template <class T, class Fetch, class Release>
T *fetchOnce(std::atomic<T *> &slot, Fetch fetch, Release release) noexcept {
  T *known = slot.load(std::memory_order_acquire);
  if (known != nullptr) {
    return known;
  }
  T *fetched = fetch();
  if (slot.compare_exchange_strong(known, fetched, std::memory_order_acq_rel)) {
    return fetched;
  }
  release(fetched);
  return known;
}

}  // namespace

const HashAlgorithm *hashByNumber(int32_t number) noexcept {
  return rowOf(std::begin(kHashes), std::end(kHashes), number);
}

const HashAlgorithm *timeStampHashByNumber(int32_t number) noexcept {
  const HashAlgorithm *hash = hashByNumber(number);
  return hash != nullptr && hash->inTimeStamps ? hash : nullptr;
}

const HashAlgorithm *timeStampHashByNid(int nid) noexcept {
  for (const HashAlgorithm &hash : kHashes) {
    if (hash.nid == nid && hash.inTimeStamps) {
      return &hash;
    }
  }
  return nullptr;
}

const MacAlgorithm *macByNumber(int32_t number) noexcept {
  return rowOf(std::begin(kMacs), std::end(kMacs), number);
}

const SigningAlgorithm *signingByNumber(int32_t number) noexcept {
  return rowOf(std::begin(kSignatures), std::end(kSignatures), number);
}

const EVP_MD *digestOf(const HashAlgorithm *hash) noexcept {
  if (hash == nullptr) {
    return nullptr;
  }
  assert(hash >= std::begin(kHashes) && hash < std::end(kHashes));
  return fetchOnce(
      g_digests[hash - kHashes], [hash] { return EVP_MD_fetch(nullptr, hash->name, nullptr); },
      EVP_MD_free);
}

EVP_MAC *hmac() noexcept {
  return fetchOnce(
      g_hmac, [] { return EVP_MAC_fetch(nullptr, "HMAC", nullptr); }, EVP_MAC_free);
}

int32_t keyTypeNumber(KeyFamily family) noexcept {
  switch (family) {
    case rsa:
      return TALVO_KEY_TYPE_RSA;
    case dsa:
      return TALVO_KEY_TYPE_DSA;
    case ec:
    case sm2:
      return TALVO_KEY_TYPE_EC;
    case rsaPss:
    case ed25519:
    case ed448:
    case other:
      break;
  }
  return TALVO_KEY_TYPE_OTHER;
}

}  // namespace talvo::crypto
