#include "crypto/algorithm.h"

#include <atomic>
#include <iterator>

#include <openssl/obj_mac.h>

namespace talvo::crypto {

namespace {

constexpr int32_t kMd5 = 0x1000;
constexpr int32_t kSha1 = 0x2000;
constexpr int32_t kSha224 = 0x3000;
constexpr int32_t kSha256 = 0x4000;
constexpr int32_t kSha384 = 0x5000;
constexpr int32_t kSha512 = 0x6000;
constexpr int32_t kSm3 = 0x7000;

constexpr HashAlgorithm kHashes[] = {
    {kMd5, "MD5", NID_md5, 16},
    {kSha1, "SHA1", NID_sha1, 20},
    {kSha224, "SHA2-224", NID_sha224, 28},
    {kSha256, "SHA2-256", NID_sha256, 32},
    {kSha384, "SHA2-384", NID_sha384, 48},
    {kSha512, "SHA2-512", NID_sha512, 64},
    {kSm3, "SM3", NID_sm3, 32},
};

constexpr MacAlgorithm kMacs[] = {
    {0x20000, kMd5},    {0x40000, kSha1},   {0x60000, kSha224},
    {0x80000, kSha256}, {0xa0000, kSha384}, {0xc0000, kSha512},
};

constexpr SigningAlgorithm kSignatures[] = {
    {1, KeyFamily::rsa, kMd5},    {2, KeyFamily::rsa, kSha1},   {4, KeyFamily::rsa, kSha256},
    {5, KeyFamily::rsa, kSha384}, {6, KeyFamily::rsa, kSha512}, {13, KeyFamily::dsa, kSha1},
    {16, KeyFamily::ec, kSha1},   {17, KeyFamily::ec, kSha224}, {18, KeyFamily::ec, kSha256},
    {19, KeyFamily::ec, kSha384}, {20, KeyFamily::ec, kSha512}, {25, KeyFamily::sm2, kSm3},
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
      return 1;
    case KeyFamily::dsa:
      return 2;
    case KeyFamily::ec:
    case KeyFamily::sm2:
      return 4;
    case KeyFamily::other:
      break;
  }
  return 0;
}

}  // namespace talvo::crypto
