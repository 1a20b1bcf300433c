// The interface numbers of hashes, MACs and signatures and what they are to OpenSSL: one table
// each, so that an algorithm is added by a row. Fetching an algorithm from a provider costs more
// than a short digest, so each is fetched once and kept.
#pragma once

#include <cstddef>
#include <cstdint>

#include <openssl/evp.h>

namespace talvo::crypto {

// What a key is good for. `ec` and `sm2` are one key type to callers, yet neither can do the
// other's work; an `rsaPss` key is bound to RSA-PSS, which plain RSA keys do too.
enum class KeyFamily { other, rsa, rsaPss, dsa, ec, sm2, ed25519, ed448 };

struct HashAlgorithm {
  int32_t number;
  const char *name;
  int nid;
  size_t length;
  bool inTimeStamps;  // whether it is known as the imprint of one
};

struct MacAlgorithm {
  int32_t number;
  int32_t hash;
};

struct SigningAlgorithm {
  int32_t number;
  KeyFamily family;
  int32_t hash;        // 0 for a method that takes the text as a whole
  bool isPss = false;  // with the same hash for the mask, and a salt as long as it
};

// Null for unknown numbers.
const HashAlgorithm *hashByNumber(int32_t number) noexcept;
const HashAlgorithm *timeStampHashByNumber(int32_t number) noexcept;
const HashAlgorithm *timeStampHashByNid(int nid) noexcept;
const MacAlgorithm *macByNumber(int32_t number) noexcept;
const SigningAlgorithm *signingByNumber(int32_t number) noexcept;

// The fetched implementations; null when no provider has the algorithm.
const EVP_MD *digestOf(const HashAlgorithm *hash) noexcept;
EVP_MAC *hmac() noexcept;

// The key type as callers know it.
int32_t keyTypeNumber(KeyFamily family) noexcept;

}  // namespace talvo::crypto
