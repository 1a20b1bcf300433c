// Every algorithm that the library knows, one row each: decoder, generators, JSON reader, signer
// and verifier ask the same tables. A row without identifier cannot be written, one without JSON
// name cannot be chosen there, one without number of the cryptographic library cannot be computed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "talvo_xml.h"

namespace talvo {

// A slot of the vocabulary, filled at start-up.
using VocabularySlot = talvo_ustring *const *;

// The key types of certificates, and the secrets that they do not know.
enum class KeyFamily : int32_t {
  none = TALVO_KEY_TYPE_OTHER,
  rsa = TALVO_KEY_TYPE_RSA,
  dsa = TALVO_KEY_TYPE_DSA,
  ec = TALVO_KEY_TYPE_EC,
  hmac = 100
};

// The form of a signature value.
enum class ValueForm : uint8_t {
  octets,  // as the cryptographic library has it
  halves   // r || s, where the cryptographic library has a DER pair
};

enum class C14nKind : uint8_t {
  noC14n,
  inclusive10,
  inclusive11,
  exclusive,  // takes a prefix list
  minimal     // known by its identifier only, and no transform
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
  bool inContext;        // may stand in a SignedInfoCtx
  int32_t hmacBits = 0;  // full output in bits; 0 for other families
  ValueForm form = ValueForm::octets;
};

// Canonicalisation methods are transforms too, under the same number.
struct TransformAlgorithm {
  int32_t number;
  VocabularySlot uri;
  std::string_view jsonName;
  const char *name;
  C14nKind c14n;
  bool withComments;  // canonicalisation keeps them
};

// Null when there is no such row. Identifiers are compared exactly, JSON names without regard to
// ASCII case.
const TransformAlgorithm *c14nByNumber(int32_t number) noexcept;
const TransformAlgorithm *c14nByUri(const talvo_ustring *uri) noexcept;
const TransformAlgorithm *c14nByJsonName(std::string_view name) noexcept;
const DigestAlgorithm *digestByNumber(int32_t number) noexcept;
const DigestAlgorithm *digestByUri(const talvo_ustring *uri) noexcept;
const DigestAlgorithm *digestByJsonName(std::string_view name) noexcept;
const SignatureAlgorithm *signatureByNumber(int32_t number) noexcept;
const SignatureAlgorithm *signatureByUri(const talvo_ustring *uri) noexcept;
const SignatureAlgorithm *signatureByJsonName(std::string_view name) noexcept;
// By the number of the cryptographic library, which only one method has.
const SignatureAlgorithm *signatureByCrypto(int32_t crypto) noexcept;
const TransformAlgorithm *transformByNumber(int32_t number) noexcept;
const TransformAlgorithm *transformByUri(const talvo_ustring *uri) noexcept;
const TransformAlgorithm *transformByJsonName(std::string_view name) noexcept;
// Certificate options by JSON name ("None", "Self", "CertPath", "CertPathWithRoot"); -1 for
// another name.
int32_t includeCertOptionByJsonName(std::string_view name) noexcept;
// The other way round; empty for another number.
std::string_view includeCertOptionJsonName(int32_t option) noexcept;

// The number of a row, or TALVO_ALGORITHM_UNKNOWN for none.
template <class Row>
int32_t numberOf(const Row *row) noexcept {
  return row == nullptr ? TALVO_ALGORITHM_UNKNOWN : row->number;
}

inline bool canCanonicalize(int32_t c14nMethod) noexcept {
  const TransformAlgorithm *row = c14nByNumber(c14nMethod);
  return row != nullptr && row->c14n != C14nKind::minimal;
}

inline bool isExclusive(int32_t c14nOrTransform) noexcept {
  const TransformAlgorithm *row = transformByNumber(c14nOrTransform);
  return row != nullptr && row->c14n == C14nKind::exclusive;
}

}  // namespace talvo
