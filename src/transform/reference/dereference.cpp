// From a URI to data. What a document may reach is decided on the text of the URI and its base,
// before anything is opened.
#include "transform/reference/dereference.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <unordered_set>
#include <vector>

#include <libxml/tree.h>

#include "base/list.h"
#include "base/utf8.h"
#include "signature/record/record.h"
#include "signature/vocabulary/error.h"
#include "transform/reference/file.h"
#include "transform/reference/uri.h"
#include "xml/native.h"
#include "xml/node.h"

namespace talvo {
namespace {

constexpr const char *kSource = "transform";
constexpr size_t kPathLength = 4096;
constexpr int32_t kHttpOk = 200;

using Content = std::vector<uint8_t>;
using HttpBody = Handle<uint8_t, TalvoPKICryptoFreeMemory>;

// ---- Manifests ----

constexpr size_t kMostManifests = 32;  // one inside the other

// The Manifests met below the outermost one that this thread verifies: each is verified once,
// however many references lead to it, and none may lead back to itself.
class ManifestWalk {
 public:
  // Whether the Manifest and its references hold; `error` as uri2input has it.
  bool verify(XmlNode *manifest, uint32_t flags, const talvo_ustring *basePath, uint32_t *error);

 private:
  std::vector<const XmlNode *> open_;
  std::unordered_set<const XmlNode *> done_;
};

// The walk of the outermost Manifest, on the stack of the call that verifies it.
thread_local ManifestWalk *currentWalk = nullptr;

class ReferenceList {
 public:
  explicit ReferenceList(XmlNode *manifest) noexcept
      : list_(talvo_xml_signature_decodemanifestnode(manifest)) {}
  ~ReferenceList() {
    for (Reference *reference : items<Reference>(list_)) {
      talvo_xml_free_signature_reference(reference);
    }
  }
  ReferenceList(const ReferenceList &) = delete;
  ReferenceList &operator=(const ReferenceList &) = delete;

  explicit operator bool() const noexcept { return list_ != nullptr; }
  ListView<Reference> references() const noexcept { return items<Reference>(list_); }

 private:
  List list_;  // does not own its items
};

bool ManifestWalk::verify(XmlNode *manifest, uint32_t flags, const talvo_ustring *basePath,
                          uint32_t *error) {
  if (done_.contains(manifest)) {
    return true;
  }
  const bool isOpen = std::find(open_.begin(), open_.end(), manifest) != open_.end();
  const ReferenceList list(isOpen || open_.size() >= kMostManifests ? nullptr : manifest);
  if (!list) {
    return refuse(error, DereferenceError::manifest);
  }
  open_.push_back(manifest);
  for (const Reference *reference : list.references()) {
    if (talvo_xml_signature_verifyref_ex(reference->element, flags, basePath, nullptr, 0, error) !=
        1) {
      return false;  // the outermost call fails with it, so nothing need be put back
    }
  }
  open_.pop_back();
  done_.insert(manifest);
  return true;
}

bool verifyManifest(XmlNode *manifest, uint32_t flags, const talvo_ustring *basePath,
                    uint32_t *error) {
  if (currentWalk != nullptr) {
    return currentWalk->verify(manifest, flags, basePath, error);
  }
  ManifestWalk walk;
  currentWalk = &walk;
  const bool holds = guardWithError(error, DereferenceError::outOfMemory,
                                    [&] { return walk.verify(manifest, flags, basePath, error); });
  currentWalk = nullptr;
  return holds;
}

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

// Reads a file to its end, whatever its size was said to be.
bool readAll(RegularFile &file, Content *content) {
  constexpr size_t kMost = INT32_MAX;  // what the parser takes
  constexpr size_t kStep = 65536;
  if (file.size() > kMost) {
    return false;
  }
  content->reserve(static_cast<size_t>(file.size()) + 1);
  for (size_t length = 0; length <= kMost;) {
    content->resize(std::max(content->capacity(), length + kStep));
    const int64_t count = file.read(content->data() + length, content->size() - length);
    if (count < 0) {
      return false;
    }
    length += static_cast<size_t>(count);
    if (count == 0) {
      content->resize(length);
      return true;
    }
  }
  return false;
}

TransformData *newExternal(Bytes octets) noexcept {
  return talvo_xml_transform_newocts(octets.data(), octets.size(), 0);
}

TransformData *fetchOrRefuse(const char *url, uint32_t flags, uint32_t *error) noexcept {
  return (flags & kAllowNetwork) != 0 ? fetchhttp(url, error)
                                      : failNull(error, DereferenceError::networkRefused);
}

TransformData *fromDocument(XmlDoc *document, uint32_t flags, const Utf8 &uri,
                            const talvo_ustring *basePath, uint32_t *error) noexcept {
  if (document == nullptr) {
    return failNull(error, DereferenceError::missingArgument);
  }
  if (uri.length() > 0) {
    return getxpointer(document, flags, basePath, uri.get(), error);
  }
  TransformData *data = getwholedoc(document, 0);
  return data != nullptr ? data : failNull(error, DereferenceError::outOfMemory);
}

TransformData *fromElsewhere(XmlDoc *document, uint32_t flags, XmlNode *referenceElement,
                             const Utf8 &uri, const talvo_ustring *basePath,
                             uint32_t *error) noexcept {
  if (hasFragment(uri.view())) {
    return failNull(error, DereferenceError::unsupportedUri);
  }
  if (isHttpUri(uri.view())) {
    return fetchOrRefuse(uri.get(), flags, error);
  }
  if (isAbsolute(uri.view())) {
    return failNull(error, DereferenceError::unsupportedUri);
  }
  TextBuffer base;
  bool isOfDocument = false;
  return findBase(document, referenceElement, basePath, &base, &isOfDocument, error)
             ? getdatafromrelpath(base.get(), uri.get(), flags, error)
             : nullptr;
}

TextBuffer copyText(std::string_view text) noexcept {
  TextBuffer copy = makeText(kSource, text.size() + 1);
  if (copy != nullptr) {
    text.copy(copy.get(), text.size());
    copy.get()[text.size()] = '\0';
  }
  return copy;
}

TransformData *dereference(XmlDoc *document, uint32_t flags, XmlNode *referenceElement,
                           const talvo_ustring *uri, const talvo_ustring *basePath,
                           uint32_t *error) noexcept {
  const Utf8 text(uri);
  if (!text) {
    return failNull(error, DereferenceError::outOfMemory);
  }
  return text.length() == 0 || text.view().starts_with('#')
             ? fromDocument(document, flags, text, basePath, error)
             : fromElsewhere(document, flags, referenceElement, text, basePath, error);
}

}  // namespace

bool findBase(const XmlDoc *document, const XmlNode *element, const talvo_ustring *basePath,
              TextBuffer *base, bool *isOfDocument, uint32_t *error) noexcept {
  const XmlChars own(xmlNodeGetBase(nativeDoc(document), native(element)));
  *isOfDocument = isAbsolute(viewOf(own.get()));
  if (*isOfDocument) {
    *base = copyText(viewOf(own.get()));
    return *base != nullptr || refuse(error, DereferenceError::outOfMemory);
  }
  if (basePath == nullptr) {
    base->reset(GetCurrentDir());
    return *base != nullptr || refuse(error, DereferenceError::digestFailed);
  }
  const Utf8 path(basePath);
  *base = path ? copyText(path.view()) : nullptr;
  return *base != nullptr || refuse(error, DereferenceError::outOfMemory);
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

int32_t talvo_xml_siganture_uri2input(XmlDoc *document, uint32_t flags, XmlNode *referenceElement,
                                      const talvo_ustring *uri, const talvo_ustring *basePath,
                                      TransformData **data, uint32_t *error) noexcept {
  return guardWithError(error, DereferenceError::outOfMemory, [&]() -> int32_t {
    if (uri == nullptr || data == nullptr) {
      return fail(error, DereferenceError::missingArgument);
    }
    *data = dereference(document, flags, referenceElement, uri, basePath, error);
    return *data == nullptr ? 0 : 1;
  });
}

TransformData *getwholedoc(XmlDoc *document, int32_t withComments) noexcept {
  return newSubtree(document, nullptr, withComments);
}

TransformData *getxpointer(XmlDoc *document, uint32_t flags, const talvo_ustring *basePath,
                           const char *uri, uint32_t *error) noexcept {
  FragmentTarget target;
  if (!readFragment(uri, &target)) {
    return failNull(error, DereferenceError::unsupportedUri);
  }
  if (target.isWhole) {
    TransformData *data = getwholedoc(document, 1);
    return data != nullptr ? data : failNull(error, DereferenceError::outOfMemory);
  }
  const UString id = makeString(target.id);
  return id == nullptr ? failNull(error, DereferenceError::outOfMemory)
                       : getxpointerid(document, flags, basePath, id.get(),
                                       target.withComments ? 1 : 0, error);
}

TransformData *getxpointerid(XmlDoc *document, uint32_t flags, const talvo_ustring *basePath,
                             const talvo_ustring *id, int32_t withComments,
                             uint32_t *error) noexcept {
  return guardWithError(error, DereferenceError::outOfMemory, [&]() -> TransformData * {
    if (!Utf8(id)) {
      return failNull(error, DereferenceError::outOfMemory);
    }
    XmlNode *target = talvo_xml_getidelemnode(document, id);
    if (kindOf(target) != NodeKind::element) {
      return failNull(error, DereferenceError::notFound);
    }
    TransformInput data(newSubtree(document, target, withComments));
    if (data == nullptr) {
      return failNull(error, DereferenceError::outOfMemory);
    }
    const bool isFollowed =
        (flags & kVerifyManifests) != 0 && talvo_xml_signature_ismanifestnode(target) == 1;
    if (isFollowed && !verifyManifest(target, flags, basePath, error)) {
      return nullptr;
    }
    return data.release();
  });
}

TransformData *getdatafromrelpath(const char *base, const char *uri, uint32_t flags,
                                  uint32_t *error) noexcept {
  if (isHttpUri(base)) {
    if ((flags & kAllowNetwork) == 0) {
      return failNull(error, DereferenceError::networkRefused);
    }
    const TextBuffer url = joinUri(uri, base);
    const bool isPlain = url != nullptr && !hasFragment(url.get());
    return isPlain ? fetchhttp(url.get(), error)
                   : failNull(error, DereferenceError::unsupportedUri);
  }
  const TextBuffer path = filePathFrom(base, uri);
  if (path == nullptr) {
    return failNull(error, DereferenceError::unsupportedUri);
  }
  TransformData *data = getdatafromfile(path.get());
  return data != nullptr ? data : failNull(error, DereferenceError::notFound);
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
  const HttpBody body(bytes);
  if (!isAnswered || status != kHttpOk) {
    return failNull(error, DereferenceError::notFound);
  }
  TransformData *data = newExternal({body.get(), length});
  return data != nullptr ? data : failNull(error, DereferenceError::notFound);
}

char *GetCurrentDir() noexcept {
  std::array<char, kPathLength> path;
  return getcwd(path.data(), path.size()) == nullptr ? nullptr : copyText(path.data()).release();
}
