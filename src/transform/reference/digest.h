// Digests of what transforms yield. A chain that ends in a canonicalisation or in Base64 is
// digested while its octets arise; they are never collected.
#pragma once

#include <array>

#include "base/bytes.h"
#include "base/handle.h"
#include "crypto/handle.h"
#include "transform/transform.h"

namespace talvo {

struct Digest {
  std::array<uint8_t, 64> bytes{};
  size_t length = 0;

  Bytes view() const noexcept { return {bytes.data(), length}; }
};

// Feeds a hash; without one it takes octets all the same.
class HashSink final : public OctetSink {
 public:
  explicit HashSink(int32_t digestId) noexcept;

  bool write(Bytes octets) noexcept override;
  // Whether the digest id is one that can be computed.
  bool isSupported() const noexcept { return hashNumber_ != 0; }
  // False when an octet was refused before or the hash cannot be finished.
  bool finish(Digest *digest) noexcept;

 private:
  int32_t hashNumber_;
  HashOperation hash_;
  bool hasFailed_;
};

// Runs the transforms (a list of Transform, or of TransformCtx; null for none) over the data and
// digests the result; a node set becomes octets by C14N 1.0. Codes: those of looking a transform
// up, 13 when a transform or the final canonicalisation yields nothing, 12 for a digest that cannot
// be computed, 19 when the hash fails.
bool digestReferenceData(TransformInput data, const talvo_arraylist *transforms, int32_t digestId,
                         Digest *digest, uint32_t *error) noexcept;
// The octets that a reference digests, written into a sink; its XPath filters draw on the budget
// (null: none). 13 also when the budget is exhausted, which it then says.
bool writeReferenceData(OctetSink &sink, TransformInput data, const talvo_arraylist *transforms,
                        XPathBudget *budget, uint32_t *error) noexcept;
bool digestContextData(TransformInput data, const talvo_arraylist *transforms, int32_t digestId,
                       Digest *digest, uint32_t *error) noexcept;
// The same, compared with the digest that is expected: 2 when it differs or the hash fails.
bool verifyReferenceData(TransformInput data, const talvo_arraylist *transforms, int32_t digestId,
                         Bytes expected, uint32_t *error) noexcept;

// Constant time for equal lengths.
bool equalOctets(Bytes first, Bytes second) noexcept;
// The one-line Base64 text of a digest; null when memory is exhausted.
UString digestText(const Digest &digest) noexcept;

}  // namespace talvo

extern "C" {

// A new hash object for a digest id, or null.
TalvoPKIHash *getHashHandle(int32_t digestId) noexcept;
// Digests bytes into a buffer of at least 64; the digest's length, or -1 with 12 or 19.
int32_t calchash(int32_t digestId, const void *bytes, size_t length, uint8_t *digest,
                 uint32_t *error) noexcept;
// Consumes the data; the Base64 text of its digest.
int32_t calcdigestvalue(int32_t digestId, TransformData *data, talvo_ustring **text,
                        uint32_t *error) noexcept;
// 1 when the digest is the expected one; 0 with 2 when not; -1 with 12, or 2 when the hash fails.
int32_t verifyhash(int32_t digestId, const void *bytes, size_t length, const void *expected,
                   size_t expectedLength, uint32_t *error) noexcept;
// Consumes the data: 1 when its digest is the expected one; 0 with 2 when not or when the hash
// fails, 12, or 13 when it cannot be canonicalised.
int32_t verifyoutputhash(int32_t digestId, TransformData *data, const void *expected,
                         size_t expectedLength, uint32_t *error) noexcept;
// A digest by a number of the cryptographic library, released with TalvoPKICryptoFreeMemory.
int32_t hash(int32_t hashNumber, const void *bytes, size_t length, uint8_t **digest,
             size_t *digestLength) noexcept;
}
