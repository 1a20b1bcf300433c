// Runs a chain of transforms with the hash behind it. The last step decides how: a canonicalisation
// and Base64 write into the hash, and the steps that leave a node set behind are followed by C14N
// 1.0 in any case, so they need not be told that they are the last.
#include "transform/reference/digest.h"

#include <cstring>
#include <utility>

#include "base/base64_text.h"
#include "base/boundary.h"
#include "base/list.h"
#include "base/utf8.h"
#include "signature/vocabulary/algorithm.h"
#include "transform/reference/transform_lookup.h"

namespace talvo {
namespace {

// The cryptographic library's number, or 0 for an id that is never digested.
int32_t hashNumberOf(int32_t digestId) noexcept {
  const DigestAlgorithm *row = digestByNumber(digestId);
  return row == nullptr ? 0 : row->hash;
}

bool finishHash(TalvoPKIHash *hash, Digest *digest) noexcept {
  const CryptoOctets value = octetsFrom(TalvoPKICryptoHashFinal, hash);
  if (!value || value.length > digest->bytes.size()) {
    return false;
  }
  std::memcpy(digest->bytes.data(), value.bytes.get(), value.length);
  digest->length = value.length;
  return true;
}

// The data at the end of a chain: octets as they stand, a node set as C14N 1.0 has it.
bool writeResult(OctetSink &sink, const TransformData &data) noexcept {
  return data.octets != nullptr ? sink.write(bytesOf(data.octets.get()))
                                : canonicalizeInto(sink, data.nodes.get(), kDefaultC14n, nullptr);
}

// A filter that was just appended draws on the budget.
void setBudget(TransformData *data, XPathBudget *budget) noexcept {
  if (data != nullptr && data->nodes != nullptr) {
    data->nodes->budget = budget;
  }
}

bool writeLastStep(OctetSink &sink, const TransformData &data, TransformFunc function,
                   void *parameter, XPathBudget *budget) noexcept {
  const int32_t method = c14nMethodOf(function);
  if (method != 0) {
    return canonicalizeData(sink, data, method, static_cast<char **>(parameter));
  }
  if (function == talvo_xml_siganture_base64decode_transform) {
    return decodeBase64Into(sink, data);
  }
  const TransformInput result(function(&data, 0, parameter));
  setBudget(result.get(), budget);
  return result != nullptr && writeResult(sink, *result);
}

template <class Step>
bool runSteps(OctetSink &sink, TransformInput data, const talvo_arraylist *transforms,
              TransformFunc (*lookUp)(const Step *, void **, uint32_t *), XPathBudget *budget,
              uint32_t *error) noexcept {
  const auto steps = items<const Step>(transforms);
  for (int32_t i = 0; i < steps.size(); ++i) {
    void *block = nullptr;
    const TransformFunc function = lookUp(steps[i], &block, error);
    const TransformParameter parameter(block);
    if (function == nullptr) {
      return false;
    }
    if (i + 1 == steps.size()) {
      return writeLastStep(sink, *data, function, block, budget) ||
             refuse(error, TALVO_VERIFY_ERROR_TRANSFORM_FAILED);
    }
    data.reset(function(data.get(), 0, block));
    setBudget(data.get(), budget);
    if (data == nullptr) {
      return refuse(error, TALVO_VERIFY_ERROR_TRANSFORM_FAILED);
    }
  }
  return writeResult(sink, *data) || refuse(error, TALVO_VERIFY_ERROR_TRANSFORM_FAILED);
}

template <class Step>
bool digestThrough(TransformInput data, const talvo_arraylist *transforms,
                   TransformFunc (*lookUp)(const Step *, void **, uint32_t *), int32_t digestId,
                   Digest *digest, uint32_t *error) noexcept {
  if (data == nullptr) {
    return refuse(error, TALVO_VERIFY_ERROR_MISSING_ARGUMENT);
  }
  HashSink sink(digestId);
  if (!runSteps(sink, std::move(data), transforms, lookUp, nullptr, error)) {
    return false;
  }
  if (!sink.isSupported()) {
    return refuse(error, TALVO_VERIFY_ERROR_DIGEST_METHOD);
  }
  return sink.finish(digest) || refuse(error, TALVO_VERIFY_ERROR_NOT_A_REFERENCE);
}

// The digest of octets: 1, or -1 with 12 or `failure`.
int32_t digestOctets(int32_t digestId, Bytes octets, Digest *digest, uint32_t failure,
                     uint32_t *error) noexcept {
  HashSink sink(digestId);
  if (!sink.isSupported()) {
    fail(error, TALVO_VERIFY_ERROR_DIGEST_METHOD);
    return -1;
  }
  if (!sink.write(octets) || !sink.finish(digest)) {
    fail(error, failure);
    return -1;
  }
  return 1;
}

Bytes bytesAt(const void *bytes, size_t length) noexcept {
  return {static_cast<const uint8_t *>(bytes), length};
}

}  // namespace

HashSink::HashSink(int32_t digestId) noexcept
    : hashNumber_(hashNumberOf(digestId)), hash_(getHashHandle(digestId)) {
  hasFailed_ = isSupported() && hash_ == nullptr;
}

// An unsupported digest swallows octets: whether they can be made at all is reported first.
bool HashSink::write(Bytes octets) noexcept {
  if (hash_ != nullptr && !hasFailed_) {
    hasFailed_ = TalvoPKICryptoHashUpdate(hash_.get(), octets.data(), octets.size()) != 1;
  }
  return true;
}

bool HashSink::finish(Digest *digest) noexcept {
  return hash_ != nullptr && !hasFailed_ && finishHash(hash_.get(), digest);
}

bool digestReferenceData(TransformInput data, const talvo_arraylist *transforms, int32_t digestId,
                         Digest *digest, uint32_t *error) noexcept {
  return digestThrough<Transform>(std::move(data), transforms, talvo_xml_transformnode2func,
                                  digestId, digest, error);
}

bool writeReferenceData(OctetSink &sink, TransformInput data, const talvo_arraylist *transforms,
                        XPathBudget *budget, uint32_t *error) noexcept {
  if (data == nullptr) {
    return refuse(error, TALVO_VERIFY_ERROR_MISSING_ARGUMENT);
  }
  return runSteps<Transform>(sink, std::move(data), transforms, talvo_xml_transformnode2func,
                             budget, error);
}

bool digestContextData(TransformInput data, const talvo_arraylist *transforms, int32_t digestId,
                       Digest *digest, uint32_t *error) noexcept {
  return digestThrough<TransformCtx>(std::move(data), transforms, talvo_xml_transformctx2func,
                                     digestId, digest, error);
}

bool verifyReferenceData(TransformInput data, const talvo_arraylist *transforms, int32_t digestId,
                         Bytes expected, uint32_t *error) noexcept {
  Digest digest;
  uint32_t code = 0;
  if (!digestReferenceData(std::move(data), transforms, digestId, &digest, &code)) {
    const bool isHashFailure = code == TALVO_VERIFY_ERROR_NOT_A_REFERENCE;
    return isHashFailure ? refuse(error, TALVO_VERIFY_ERROR_INVALID_REFERENCE)
                         : refuse(error, code);
  }
  return equalOctets(digest.view(), expected) ||
         refuse(error, TALVO_VERIFY_ERROR_INVALID_REFERENCE);
}

bool equalOctets(Bytes first, Bytes second) noexcept {
  return first.size() == second.size() &&
         TalvoPKICryptoEqualMemory(first.data(), second.data(), first.size()) == 1;
}

UString digestText(const Digest &digest) noexcept {
  return encodeBase64(digest.view(), TALVO_BASE64_ONE_LINE);
}

}  // namespace talvo

using namespace talvo;

TalvoPKIHash *getHashHandle(int32_t digestId) noexcept {
  const int32_t number = hashNumberOf(digestId);
  return number == 0 ? nullptr : TalvoPKICryptoGetHashHandle(number);
}

int32_t calchash(int32_t digestId, const void *bytes, size_t length, uint8_t *digest,
                 uint32_t *error) noexcept {
  Digest result;
  if (digest == nullptr || digestOctets(digestId, bytesAt(bytes, length), &result,
                                        TALVO_VERIFY_ERROR_NOT_A_REFERENCE, error) != 1) {
    return -1;
  }
  std::memcpy(digest, result.bytes.data(), result.length);
  return static_cast<int32_t>(result.length);
}

int32_t calcdigestvalue(int32_t digestId, TransformData *data, talvo_ustring **text,
                        uint32_t *error) noexcept {
  TransformInput owned(data);
  Digest digest;
  if (text == nullptr ||
      !digestReferenceData(std::move(owned), nullptr, digestId, &digest, error)) {
    return 0;
  }
  *text = digestText(digest).release();
  return *text != nullptr ? 1 : fail(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY);
}

int32_t verifyhash(int32_t digestId, const void *bytes, size_t length, const void *expected,
                   size_t expectedLength, uint32_t *error) noexcept {
  Digest digest;
  if (digestOctets(digestId, bytesAt(bytes, length), &digest, TALVO_VERIFY_ERROR_INVALID_REFERENCE,
                   error) != 1) {
    return -1;
  }
  return equalOctets(digest.view(), bytesAt(expected, expectedLength))
             ? 1
             : fail(error, TALVO_VERIFY_ERROR_INVALID_REFERENCE);
}

int32_t verifyoutputhash(int32_t digestId, TransformData *data, const void *expected,
                         size_t expectedLength, uint32_t *error) noexcept {
  return verifyReferenceData(TransformInput(data), nullptr, digestId,
                             bytesAt(expected, expectedLength), error)
             ? 1
             : 0;
}

int32_t hash(int32_t hashNumber, const void *bytes, size_t length, uint8_t **digest,
             size_t *digestLength) noexcept {
  const HashOperation handle(TalvoPKICryptoGetHashHandle(hashNumber));
  return handle != nullptr && TalvoPKICryptoHashUpdate(handle.get(), bytes, length) == 1 &&
                 TalvoPKICryptoHashFinal(handle.get(), digest, digestLength) == 1
             ? 1
             : 0;
}
