#include "crypto/algorithm.h"

#include <atomic>
#include <iterator>

#include <openssl/obj_mac.h>

#include "talvo_crypto.h"

namespace talvo::crypto {

namespace {

constexpr HashAlgorithm kHashes[] = {
    {TALVO_HASH_MD5, "MD5", NID_md5, 16},
    {TALVO_HASH_SHA1, "SHA1", NID_sha1, 20},
    {TALVO_HASH_SHA224, "SHA2-224", NID_sha224, 28},
    {TALVO_HASH_SHA256, "SHA2-256", NID_sha256, 32},
    {TALVO_HASH_SHA384, "SHA2-384", NID_sha384, 48},
    {TALVO_HASH_SHA512, "SHA2-512", NID_sha512, 64},
    {TALVO_HASH_SM3, "SM3", NID_sm3, 32},
};

constexpr MacAlgorithm kMacs[] = {
    {TALVO_MAC_HMAC_MD5, TALVO_HASH_MD5},       {TALVO_MAC_HMAC_SHA1, TALVO_HASH_SHA1},
    {TALVO_MAC_HMAC_SHA224, TALVO_HASH_SHA224}, {TALVO_MAC_HMAC_SHA256, TALVO_HASH_SHA256},
    {TALVO_MAC_HMAC_SHA384, TALVO_HASH_SHA384}, {TALVO_MAC_HMAC_SHA512, TALVO_HASH_SHA512},
};

constexpr SigningAlgorithm kSignatures[] = {
    {TALVO_CRYPTO_RSA_MD5, KeyFamily::rsa, TALVO_HASH_MD5},
    {TALVO_CRYPTO_RSA_SHA1, KeyFamily::rsa, TALVO_HASH_SHA1},
    {TALVO_CRYPTO_RSA_SHA256, KeyFamily::rsa, TALVO_HASH_SHA256},
    {TALVO_CRYPTO_RSA_SHA384, KeyFamily::rsa, TALVO_HASH_SHA384},
    {TALVO_CRYPTO_RSA_SHA512, KeyFamily::rsa, TALVO_HASH_SHA512},
    {TALVO_CRYPTO_DSA_SHA1, KeyFamily::dsa, TALVO_HASH_SHA1},
    {TALVO_CRYPTO_ECDSA_SHA1, KeyFamily::ec, TALVO_HASH_SHA1},
    {TALVO_CRYPTO_ECDSA_SHA224, KeyFamily::ec, TALVO_HASH_SHA224},
    {TALVO_CRYPTO_ECDSA_SHA256, KeyFamily::ec, TALVO_HASH_SHA256},
    {TALVO_CRYPTO_ECDSA_SHA384, KeyFamily::ec, TALVO_HASH_SHA384},
    {TALVO_CRYPTO_ECDSA_SHA512, KeyFamily::ec, TALVO_HASH_SHA512},
    {TALVO_CRYPTO_SM2_SM3, KeyFamily::sm2, TALVO_HASH_SM3},
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

const HashAlgorithm *hashByNid(int nid) noexcept {
  for (const HashAlgorithm &hash : kHashes) {
    if (hash.nid == nid) {
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
    case KeyFamily::rsa:
      return TALVO_KEY_TYPE_RSA;
    case KeyFamily::dsa:
      return TALVO_KEY_TYPE_DSA;
    case KeyFamily::ec:
    case KeyFamily::sm2:
      return TALVO_KEY_TYPE_EC;
    case KeyFamily::other:
      break;
  }
  return TALVO_KEY_TYPE_OTHER;
}

}  // namespace talvo::crypto
