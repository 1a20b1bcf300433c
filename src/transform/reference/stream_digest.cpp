// Digests of files that a reference names without transforms: read in chunks, so that memory does
// not grow with the file.
#include <utility>

#include "base/utf8.h"
#include "transform/reference/dereference.h"
#include "transform/reference/file.h"
#include "transform/reference/uri.h"

namespace talvo {
namespace {

constexpr const char *kSource = "transform";
constexpr size_t kChunk = 65536;

bool feedFile(RegularFile &file, HashSink &sink) noexcept {
  const ByteBuffer chunk = makeBytes(kSource, kChunk);
  if (chunk == nullptr) {
    return false;
  }
  uint64_t rest = file.size();
  for (;;) {
    const int64_t count = file.read(chunk.get(), kChunk);
    if (count <= 0) {
      return count == 0;
    }
    if (static_cast<uint64_t>(count) > rest) {
      return false;  // more than its size said, so perhaps without end
    }
    rest -= static_cast<uint64_t>(count);
    sink.write({chunk.get(), static_cast<size_t>(count)});
  }
}

bool digestFile(const char *path, int32_t digestId, Digest *digest, uint32_t *error) noexcept {
  RegularFile file(path);
  if (!file) {
    return refuse(error, TALVO_VERIFY_ERROR_NOT_FOUND);
  }
  HashSink sink(digestId);
  const bool isDone = sink.isSupported() && feedFile(file, sink) && sink.finish(digest);
  return isDone || refuse(error, TALVO_VERIFY_ERROR_INVALID_REFERENCE);
}

// The file that a relative URI names. The network is never used here, whatever the flags; without
// leave the code is the caller's own.
TextBuffer pathOf(const char *base, const char *uri, const Reach &reach, uint32_t refused,
                  uint32_t *error) noexcept {
  if (isHttpUri(base)) {
    return reach.mayUseNetwork() ? failNull(error, TALVO_VERIFY_ERROR_INVALID_REFERENCE)
                                 : failNull(error, refused);
  }
  TextBuffer path = filePathFrom(base, uri);
  return path != nullptr ? std::move(path) : failNull(error, TALVO_VERIFY_ERROR_INVALID_REFERENCE);
}

// The base of the octet-stream road: one that the document gives is decoded first.
bool findFileBase(const Reach &reach, TextBuffer *base, uint32_t *error) noexcept {
  bool isOfDocument = false;
  if (!findBase(reach, base, &isOfDocument, error)) {
    return false;
  }
  if (isOfDocument) {
    base->reset(fileuri_a2utf8(base->get()));
  }
  return *base != nullptr || refuse(error, TALVO_VERIFY_ERROR_INVALID_REFERENCE);
}

int32_t encode(const Digest &digest, talvo_ustring **text, uint32_t *error) noexcept {
  UString encoded = digestText(digest);
  if (encoded == nullptr) {
    return fail(error, TALVO_VERIFY_ERROR_INVALID_REFERENCE);
  }
  *text = encoded.release();
  return 1;
}

int32_t compare(const Digest &digest, Bytes expected, uint32_t *error) noexcept {
  return equalOctets(digest.view(), expected) ? 1
                                              : fail(error, TALVO_VERIFY_ERROR_INVALID_REFERENCE);
}

}  // namespace
}  // namespace talvo

using namespace talvo;

int32_t calcOctstreamUriHash(const Reach &reach, int32_t digestId, const talvo_ustring *uri,
                             talvo_ustring **text, uint32_t *error) noexcept {
  if (text == nullptr) {
    return fail(error, TALVO_VERIFY_ERROR_MISSING_ARGUMENT);
  }
  if (isOctstreamUri(uri) != 1) {
    return fail(error, TALVO_VERIFY_ERROR_INVALID_REFERENCE);
  }
  TextBuffer base;
  if (!findFileBase(reach, &base, error)) {
    // While computing, a base path that is no plain text counts as a failed digest too.
    const bool isRefused = *error == TALVO_VERIFY_ERROR_UNSUPPORTED_URI;
    return isRefused ? 0 : fail(error, TALVO_VERIFY_ERROR_INVALID_REFERENCE);
  }
  return calchashfromrelpath(base.get(), talvo_ustring_getutf8(uri), reach, digestId, text, error);
}

int32_t verifyOctstreamUriHash(const Reach &reach, int32_t digestId, const talvo_ustring *uri,
                               Bytes expected, uint32_t *error) noexcept {
  TextBuffer base;
  if (isOctstreamUri(uri) != 1) {
    return fail(error, TALVO_VERIFY_ERROR_INVALID_REFERENCE);
  }
  return findFileBase(reach, &base, error)
             ? verifyhashfromrelpath(base.get(), talvo_ustring_getutf8(uri), reach, digestId,
                                     expected, error)
             : 0;
}

int32_t calchashfromrelpath(const char *base, const char *uri, const Reach &reach, int32_t digestId,
                            talvo_ustring **text, uint32_t *error) noexcept {
  const TextBuffer path = pathOf(base, uri, reach, TALVO_SIGN_ERROR_NETWORK_REFUSED, error);
  return path != nullptr ? calchashfromfromfile(path.get(), digestId, text, error) : 0;
}

int32_t verifyhashfromrelpath(const char *base, const char *uri, const Reach &reach,
                              int32_t digestId, Bytes expected, uint32_t *error) noexcept {
  const TextBuffer path = pathOf(base, uri, reach, TALVO_VERIFY_ERROR_NETWORK_REFUSED, error);
  return path != nullptr ? verifyhashfromfromfile(path.get(), digestId, expected, error) : 0;
}

int32_t calchashfromfromfile(const char *path, int32_t digestId, talvo_ustring **text,
                             uint32_t *error) noexcept {
  Digest digest;
  return digestFile(path, digestId, &digest, error) ? encode(digest, text, error) : 0;
}

int32_t verifyhashfromfromfile(const char *path, int32_t digestId, Bytes expected,
                               uint32_t *error) noexcept {
  Digest digest;
  return digestFile(path, digestId, &digest, error) ? compare(digest, expected, error) : 0;
}
