// From a URI to data. What a document may reach is decided on the text of the URI and its base,
// before anything is opened.
#include "transform/reference/dereference.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include <libxml/tree.h>

#include "base/utf8.h"
#include "crypto/handle.h"
#include "transform/reference/file.h"
#include "transform/reference/manifest_walk.h"
#include "transform/reference/uri.h"
#include "xml/native.h"
#include "xml/node.h"

namespace talvo {
namespace {

constexpr const char *kSource = "transform";
constexpr size_t kPathLength = 4096;
constexpr size_t kLongestUri = 65536;  // joining costs the square of a path with many ".."
constexpr int32_t kHttpOk = 200;

using Content = std::vector<uint8_t>;

// ---- parts of the same document ----

constexpr std::string_view kXPointerRoot = "#xpointer(/)";
constexpr std::string_view kXPointerId = "#xpointer(id(";
constexpr std::string_view kXPointerEnd = "))";

TransformData *newSubtree(XmlDoc *document, XmlNode *node, int32_t withComments) noexcept {
  return talvo_xml_transform_newnodeset(talvo_xml_nodeset_getsubtree(document, node, withComments),
                                        1);
}

// The identifier of what follows "#xpointer(id(": quoted, closed, and nothing behind. Without data
// for anything else.
std::string_view quotedId(std::string_view text) noexcept {
  if (text.empty() || (text.front() != '\'' && text.front() != '"')) {
    return {};
  }
  const size_t end = text.find(text.front(), 1);
  const bool isClosed = end != std::string_view::npos && text.substr(end + 1) == kXPointerEnd;
  return isClosed ? text.substr(1, end - 1) : std::string_view();
}

struct FragmentTarget {
  bool isWhole = false;
  bool withComments = false;
  std::string_view id;
};

// What a URI that begins with "#" names; false for a form that is not supported.
bool readFragment(std::string_view uri, FragmentTarget *target) noexcept {
  if (uri.starts_with(kXPointerRoot)) {
    *target = {true, true, {}};
    return uri.size() == kXPointerRoot.size();
  }
  if (uri.starts_with(kXPointerId)) {
    *target = {false, true, quotedId(uri.substr(kXPointerId.size()))};
    return target->id.data() != nullptr;
  }
  *target = {false, false, uri.substr(1)};
  return true;
}

// ---- files and the network ----

// Reads a file to its end. One that yields more than its size said has no end to rely on: some of
// the system's own files report no size and go on for ever.
bool readAll(RegularFile &file, Content *content) {
  constexpr size_t kMost = INT32_MAX;  // what the parser takes
  if (file.size() > kMost) {
    return false;
  }
  content->resize(static_cast<size_t>(file.size()) + 1);
  size_t length = 0;
  while (length < content->size()) {
    const int64_t count = file.read(content->data() + length, content->size() - length);
    if (count <= 0) {
      content->resize(length);
      return count == 0;
    }
    length += static_cast<size_t>(count);
  }
  return false;
}

TransformData *newExternal(Bytes octets) noexcept {
  return talvo_xml_transform_newocts(octets.data(), octets.size(), 0);
}

TransformData *fetchOrRefuse(const char *url, const Reach &reach, uint32_t *error) noexcept {
  return reach.mayUseNetwork() ? fetchhttp(url, error)
                               : failNull(error, TALVO_VERIFY_ERROR_NETWORK_REFUSED);
}

TransformData *fromDocument(const Reach &reach, const Utf8 &uri, uint32_t *error) noexcept {
  if (reach.document == nullptr) {
    return failNull(error, TALVO_VERIFY_ERROR_MISSING_ARGUMENT);
  }
  if (uri.length() > 0) {
    return getxpointer(reach, uri.get(), error);
  }
  TransformData *data = getwholedoc(reach.document, 0);
  return data != nullptr ? data : failNull(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY);
}

TransformData *fromElsewhere(const Reach &reach, const Utf8 &uri, uint32_t *error) noexcept {
  if (hasFragment(uri.view())) {
    return failNull(error, TALVO_VERIFY_ERROR_UNSUPPORTED_URI);
  }
  if (isHttpUri(uri.view())) {
    return fetchOrRefuse(uri.get(), reach, error);
  }
  if (isAbsolute(uri.view())) {
    return failNull(error, TALVO_VERIFY_ERROR_UNSUPPORTED_URI);
  }
  TextBuffer base;
  bool isOfDocument = false;
  return findBase(reach, &base, &isOfDocument, error)
             ? getdatafromrelpath(base.get(), uri.get(), reach, error)
             : nullptr;
}

TransformData *dereference(const Reach &reach, const talvo_ustring *uri, uint32_t *error) noexcept {
  const Utf8 text(uri);
  if (!text) {
    return failNull(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY);
  }
  if (text.length() > kLongestUri) {
    return failNull(error, TALVO_VERIFY_ERROR_UNSUPPORTED_URI);
  }
  return text.length() == 0 || text.view().starts_with('#') ? fromDocument(reach, text, error)
                                                            : fromElsewhere(reach, text, error);
}

// A copy of a base, or null with a code.
TextBuffer copyBase(std::string_view base, uint32_t *error) noexcept {
  if (base.size() > kLongestUri) {
    return failNull(error, TALVO_VERIFY_ERROR_UNSUPPORTED_URI);
  }
  TextBuffer copy = copyText(kSource, base);
  return copy != nullptr ? std::move(copy) : failNull(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY);
}

}  // namespace

bool findBase(const Reach &reach, TextBuffer *base, bool *isOfDocument, uint32_t *error) noexcept {
  const XmlChars own(xmlNodeGetBase(nativeDoc(reach.document), native(reach.element)));
  *isOfDocument = isAbsolute(viewOf(own.get()));
  if (*isOfDocument) {
    *base = copyBase(viewOf(own.get()), error);
    return *base != nullptr;
  }
  if (reach.basePath == nullptr) {
    base->reset(GetCurrentDir());
    return *base != nullptr || refuse(error, TALVO_VERIFY_ERROR_INVALID_REFERENCE);
  }
  const Utf8 path(reach.basePath);
  if (!path) {
    return refuse(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY);
  }
  *base = copyBase(path.view(), error);
  return *base != nullptr;
}

TextBuffer filePathFrom(const char *base, const char *uri) noexcept {
  if (isFileUri(base)) {
    const TextBuffer url = joinUri(uri, base);
    const bool isPlain = url != nullptr && !hasFragment(url.get());
    return TextBuffer(isPlain ? getfilenameformurl(url.get()) : nullptr);
  }
  char *path = nullptr;
  return TextBuffer(buildfilepath(base, uri, &path) == 1 ? path : nullptr);
}

}  // namespace talvo

using namespace talvo;

int32_t talvo_xml_siganture_uri2input(const Reach &reach, const talvo_ustring *uri,
                                      TransformData **data, uint32_t *error) noexcept {
  return guardWithError(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY, [&]() -> int32_t {
    if (uri == nullptr || data == nullptr) {
      return fail(error, TALVO_VERIFY_ERROR_MISSING_ARGUMENT);
    }
    *data = dereference(reach, uri, error);
    return *data == nullptr ? 0 : 1;
  });
}

TransformData *getwholedoc(XmlDoc *document, int32_t withComments) noexcept {
  return newSubtree(document, nullptr, withComments);
}

TransformData *getxpointer(const Reach &reach, const char *uri, uint32_t *error) noexcept {
  FragmentTarget target;
  if (!readFragment(uri, &target)) {
    return failNull(error, TALVO_VERIFY_ERROR_UNSUPPORTED_URI);
  }
  if (target.isWhole) {
    TransformData *data = getwholedoc(reach.document, 1);
    return data != nullptr ? data : failNull(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY);
  }
  const UString id = makeString(target.id);
  return id == nullptr ? failNull(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY)
                       : getxpointerid(reach, id.get(), target.withComments ? 1 : 0, error);
}

TransformData *getxpointerid(const Reach &reach, const talvo_ustring *id, int32_t withComments,
                             uint32_t *error) noexcept {
  if (!Utf8(id)) {
    return failNull(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY);
  }
  XmlNode *target = talvo_xml_getidelemnode(reach.document, id);
  if (kindOf(target) != NodeKind::element) {
    return failNull(error, TALVO_VERIFY_ERROR_NOT_FOUND);
  }
  TransformInput data(newSubtree(reach.document, target, withComments));
  if (data == nullptr) {
    return failNull(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY);
  }
  const bool isFollowed =
      reach.followsManifests() && talvo_xml_signature_ismanifestnode(target) == 1;
  return isFollowed && !verifyManifest(target, reach, error) ? nullptr : data.release();
}

TransformData *getdatafromrelpath(const char *base, const char *uri, const Reach &reach,
                                  uint32_t *error) noexcept {
  if (isHttpUri(base)) {
    if (!reach.mayUseNetwork()) {
      return failNull(error, TALVO_VERIFY_ERROR_NETWORK_REFUSED);
    }
    const TextBuffer url = joinUri(uri, base);
    const bool isPlain = url != nullptr && !hasFragment(url.get());
    return isPlain ? fetchhttp(url.get(), error)
                   : failNull(error, TALVO_VERIFY_ERROR_UNSUPPORTED_URI);
  }
  const TextBuffer path = filePathFrom(base, uri);
  if (path == nullptr) {
    return failNull(error, TALVO_VERIFY_ERROR_UNSUPPORTED_URI);
  }
  TransformData *data = getdatafromfile(path.get());
  return data != nullptr ? data : failNull(error, TALVO_VERIFY_ERROR_NOT_FOUND);
}

TransformData *getdatafromfile(const char *path) noexcept {
  return guard([&]() -> TransformData * {
    RegularFile file(path);
    Content content;
    return file && readAll(file, &content) ? newExternal(content) : nullptr;
  });
}

TransformData *fetchhttp(const char *url, uint32_t *error) noexcept {
  uint8_t *bytes = nullptr;
  size_t length = 0;
  int32_t status = 0;
  const bool isAnswered = TalvoPKICryptoHttpGet(url, &bytes, &length, &status) == 1;
  const CryptoBytes body(bytes);
  if (!isAnswered || status != kHttpOk) {
    return failNull(error, TALVO_VERIFY_ERROR_NOT_FOUND);
  }
  TransformData *data = newExternal({body.get(), length});
  return data != nullptr ? data : failNull(error, TALVO_VERIFY_ERROR_NOT_FOUND);
}

char *GetCurrentDir() noexcept {
  std::array<char, kPathLength> path;
  return getcwd(path.data(), path.size()) == nullptr ? nullptr
                                                     : copyText(kSource, path.data()).release();
}
