// The interface numbers of hashes, MACs and signatures and what they are to OpenSSL: one table
// each, so that an algorithm is added by a row. Fetching an algorithm from a provider costs more
// than a short digest, so each is fetched once and kept.
#pragma once

#include <cstddef>
#include <cstdint>

#include <openssl/evp.h>

namespace talvo::crypto {

// What a key is good for. `ec` and `sm2` are one key type to callers, yet neither can do the
// other's work.
enum class KeyFamily { other, rsa, dsa, ec, sm2 };

struct HashAlgorithm {
  int32_t number;
  const char *name;
  int nid;
  size_t length;
};

struct MacAlgorithm {
  int32_t number;
  int32_t hash;
};

struct SigningAlgorithm {
  int32_t number;
  KeyFamily family;
  int32_t hash;
};

// Null for unknown numbers.
const HashAlgorithm *hashByNumber(int32_t number) noexcept;
const HashAlgorithm *hashByNid(int nid) noexcept;
const MacAlgorithm *macByNumber(int32_t number) noexcept;
const SigningAlgorithm *signingByNumber(int32_t number) noexcept;

// The fetched implementations; null when no provider has the algorithm.
const EVP_MD *digestOf(const HashAlgorithm *hash) noexcept;
EVP_MAC *hmac() noexcept;

// The key type as callers know it.
int32_t keyTypeNumber(KeyFamily family) noexcept;

}  // namespace talvo::crypto
