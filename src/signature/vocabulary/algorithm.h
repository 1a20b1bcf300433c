// Every algorithm that the library knows, one row each: decoder, generators, JSON reader, signer
// and verifier ask the same tables. A row without identifier cannot be written, one without JSON
// name cannot be chosen there, one without number of the cryptographic library cannot be computed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "talvo_util.h"

namespace talvo {

// A slot of the vocabulary, filled at start-up.
using VocabularySlot = talvo_ustring *const *;

constexpr int32_t kUnknownAlgorithm = -1;

enum class KeyFamily : int32_t { none = 0, rsa = 1, dsa = 2, ec = 4, hmac = 100 };

struct C14nAlgorithm {
  int32_t number;
  VocabularySlot uri;
  std::string_view jsonName;
  const char *name;
  bool exclusive;
  bool withComments;
};

struct DigestAlgorithm {
  int32_t number;
  VocabularySlot uri;
  std::string_view jsonName;
  const char *name;
  int32_t hash;   // number of the cryptographic library; 0 where it is never digested
  size_t length;  // bytes; 0 where it is never digested
};

struct SignatureAlgorithm {
  int32_t number;
  VocabularySlot uri;
  std::string_view jsonName;
  const char *name;
  int32_t crypto;  // signature or MAC number of the cryptographic library; 0 for none
  KeyFamily family;
  int32_t hmacBits;  // full output in bits; 0 for other families
  bool inContext;    // may stand in a SignedInfoCtx
};

struct TransformAlgorithm {
  int32_t number;
  VocabularySlot uri;
  std::string_view jsonName;
  const char *name;
};

constexpr int32_t kTransformBase64 = 16;
constexpr int32_t kTransformXPath = 32;
constexpr int32_t kTransformEnveloped = 48;

// Null when there is no such row. Identifiers are compared exactly, JSON names without regard to
// ASCII case.
const C14nAlgorithm *c14nByNumber(int32_t number) noexcept;
const C14nAlgorithm *c14nByUri(const talvo_ustring *uri) noexcept;
const C14nAlgorithm *c14nByJsonName(std::string_view name) noexcept;
const DigestAlgorithm *digestByNumber(int32_t number) noexcept;
const DigestAlgorithm *digestByUri(const talvo_ustring *uri) noexcept;
const DigestAlgorithm *digestByJsonName(std::string_view name) noexcept;
const SignatureAlgorithm *signatureByNumber(int32_t number) noexcept;
const SignatureAlgorithm *signatureByUri(const talvo_ustring *uri) noexcept;
const SignatureAlgorithm *signatureByJsonName(std::string_view name) noexcept;
const TransformAlgorithm *transformByNumber(int32_t number) noexcept;
const TransformAlgorithm *transformByUri(const talvo_ustring *uri) noexcept;
const TransformAlgorithm *transformByJsonName(std::string_view name) noexcept;
// Certificate options 1 to 4 by JSON name ("None", "Self", "CertPath", "CertPathWithRoot"); -1 for
// another name.
int32_t includeCertOptionByJsonName(std::string_view name) noexcept;
// The other way round; empty for another number.
std::string_view includeCertOptionJsonName(int32_t option) noexcept;

// The number of a row, or kUnknownAlgorithm for none.
template <class Row>
int32_t numberOf(const Row *row) noexcept {
  return row == nullptr ? kUnknownAlgorithm : row->number;
}

// Minimal canonicalisation is known by its identifier only.
inline bool canCanonicalize(int32_t c14nMethod) noexcept {
  return c14nByNumber(c14nMethod) != nullptr && transformByNumber(c14nMethod) != nullptr;
}

inline bool isExclusive(int32_t c14nOrTransform) noexcept {
  return c14nOrTransform == 3 || c14nOrTransform == 4;
}

}  // namespace talvo
