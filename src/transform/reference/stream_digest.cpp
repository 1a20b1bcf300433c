// Digests of files that a reference names without transforms: read in chunks, so that memory does
// not grow with the file.
#include "base/utf8.h"
#include "signature/vocabulary/error.h"
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
  for (;;) {
    const int64_t count = file.read(chunk.get(), kChunk);
    if (count <= 0) {
      return count == 0;
    }
    sink.write({chunk.get(), static_cast<size_t>(count)});
  }
}

bool digestFile(const char *path, int32_t digestId, Digest *digest, uint32_t *error) noexcept {
  RegularFile file(path);
  if (!file) {
    return refuse(error, DereferenceError::notFound);
  }
  HashSink sink(digestId);
  const bool isDone = sink.isSupported() && feedFile(file, sink) && sink.finish(digest);
  return isDone || refuse(error, DereferenceError::digestFailed);
}

// The network is never used here, whatever the flags; without leave the code is the caller's own.
bool digestRelative(const char *base, const char *uri, uint32_t flags, int32_t digestId,
                    DereferenceError refused, Digest *digest, uint32_t *error) noexcept {
  if (isHttpUri(base)) {
    const bool isAllowed = (flags & kAllowNetwork) != 0;
    return refuse(error, isAllowed ? DereferenceError::digestFailed : refused);
  }
  const TextBuffer path = filePathFrom(base, uri);
  return path == nullptr ? refuse(error, DereferenceError::digestFailed)
                         : digestFile(path.get(), digestId, digest, error);
}

// The base of the octet-stream road: one that the document gives is decoded first.
bool findFileBase(const XmlDoc *document, const XmlNode *element, const talvo_ustring *basePath,
                  TextBuffer *base, uint32_t *error) noexcept {
  bool isOfDocument = false;
  if (!findBase(document, element, basePath, base, &isOfDocument, error)) {
    return false;
  }
  if (isOfDocument) {
    base->reset(fileuri_a2utf8(base->get()));
  }
  return *base != nullptr || refuse(error, DereferenceError::digestFailed);
}

int32_t encode(const Digest &digest, talvo_ustring **text, uint32_t *error) noexcept {
  UString encoded = digestText(digest);
  if (encoded == nullptr) {
    return fail(error, DereferenceError::digestFailed);
  }
  *text = encoded.release();
  return 1;
}

int32_t compare(const Digest &digest, const void *expected, size_t length,
                uint32_t *error) noexcept {
  const Bytes octets(static_cast<const uint8_t *>(expected), length);
  return equalOctets(digest.view(), octets) ? 1 : fail(error, DereferenceError::digestFailed);
}

}  // namespace
}  // namespace talvo

using namespace talvo;

int32_t calcOctstreamUriHash(XmlDoc *document, XmlNode *referenceElement,
                             const talvo_ustring *basePath, int32_t digestId,
                             const talvo_ustring *uri, uint32_t flags, talvo_ustring **text,
                             uint32_t *error) noexcept {
  TextBuffer base;
  uint32_t baseError = 0;
  if (text == nullptr) {
    return fail(error, DereferenceError::missingArgument);
  }
  // While computing, a base path that is no plain text counts as a failed digest too.
  if (isOctstreamUri(uri) != 1 ||
      !findFileBase(document, referenceElement, basePath, &base, &baseError)) {
    return fail(error, DereferenceError::digestFailed);
  }
  return calchashfromrelpath(base.get(), talvo_ustring_getutf8(uri), flags, digestId, text, error);
}

int32_t verifyOctstreamUriHash(XmlDoc *document, XmlNode *referenceElement,
                               const talvo_ustring *basePath, int32_t digestId,
                               const talvo_ustring *uri, const void *expected,
                               size_t expectedLength, uint32_t flags, uint32_t *error) noexcept {
  TextBuffer base;
  if (isOctstreamUri(uri) != 1) {
    return fail(error, DereferenceError::digestFailed);
  }
  return findFileBase(document, referenceElement, basePath, &base, error)
             ? verifyhashfromrelpath(base.get(), talvo_ustring_getutf8(uri), flags, digestId,
                                     expected, expectedLength, error)
             : 0;
}

int32_t calchashfromrelpath(const char *base, const char *uri, uint32_t flags, int32_t digestId,
                            talvo_ustring **text, uint32_t *error) noexcept {
  Digest digest;
  return digestRelative(base, uri, flags, digestId, DereferenceError::networkRefusedWhileDigesting,
                        &digest, error)
             ? encode(digest, text, error)
             : 0;
}

int32_t verifyhashfromrelpath(const char *base, const char *uri, uint32_t flags, int32_t digestId,
                              const void *expected, size_t expectedLength,
                              uint32_t *error) noexcept {
  Digest digest;
  return digestRelative(base, uri, flags, digestId, DereferenceError::networkRefused, &digest,
                        error)
             ? compare(digest, expected, expectedLength, error)
             : 0;
}

int32_t calchashfromfromfile(const char *path, int32_t digestId, talvo_ustring **text,
                             uint32_t *error) noexcept {
  Digest digest;
  return digestFile(path, digestId, &digest, error) ? encode(digest, text, error) : 0;
}

int32_t verifyhashfromfromfile(const char *path, int32_t digestId, const void *expected,
                               size_t expectedLength, uint32_t *error) noexcept {
  Digest digest;
  return digestFile(path, digestId, &digest, error)
             ? compare(digest, expected, expectedLength, error)
             : 0;
}
