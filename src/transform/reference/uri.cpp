// Reads URIs by hand, since libxml2's parser refuses what documents in the wild hold (blanks,
// characters outside ASCII), and leaves to it only what RFC 3986 makes hard: joining and escaping.
#include "transform/reference/uri.h"

#include <algorithm>
#include <cstring>
#include <string>

#include <libxml/uri.h>

#include "talvo_xml.h"

#include "base/boundary.h"
#include "base/utf8.h"
#include "xml/native.h"

namespace talvo {
namespace {

constexpr const char *kSource = "transform";
constexpr std::string_view kHttp = "http://";
constexpr std::string_view kHttps = "https://";
constexpr std::string_view kFile = "file://";

char lower(char letter) noexcept {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool beginsWithAnyCase(std::string_view text, std::string_view lowerPrefix) noexcept {
  return text.size() >= lowerPrefix.size() &&
         std::equal(lowerPrefix.begin(), lowerPrefix.end(), text.begin(),
                    [](char expected, char letter) { return expected == lower(letter); });
}

// -1 for a character that is no hexadecimal digit.
int hexValue(char digit) noexcept {
  const char folded = lower(digit);
  if (folded >= '0' && folded <= '9') {
    return folded - '0';
  }
  return folded >= 'a' && folded <= 'f' ? folded - 'a' + 10 : -1;
}

// Appends the decoded text; false for a bad escape.
bool decodeInto(std::string_view text, std::string *decoded) {
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      decoded->push_back(text[i]);
      continue;
    }
    const int high = i + 2 < text.size() ? hexValue(text[i + 1]) : -1;
    const int low = i + 2 < text.size() ? hexValue(text[i + 2]) : -1;
    if (high < 0 || low < 0 || high + low == 0) {
      return false;
    }
    decoded->push_back(static_cast<char>(high * 16 + low));
    i += 2;
  }
  return true;
}

bool isSeparator(char letter) noexcept {
  return letter == '/' || letter == '\\';
}

// Applies the items of a relative path to those of a folder; the first item, the root, stays.
void appendItems(const PathItems &reference, PathItems *items) {
  for (std::string_view item : reference) {
    if (item == "..") {
      items->resize(std::max<size_t>(items->size() - 1, 1));
    } else if (item != ".") {
      items->push_back(item);
    }
  }
}

// The root and the items behind it, decoded and joined; empty for a bad escape.
std::string joinItems(const PathItems &items) {
  std::string path = "/";
  for (size_t i = 1; i < items.size(); ++i) {
    if (i > 1) {
      path.push_back('/');
    }
    if (!decodeInto(items[i], &path)) {
      return {};
    }
  }
  return path;
}

std::string filePath(std::string_view base, std::string_view reference) {
  PathItems items;
  PathItems relative;
  if (getpathitems(base, true, &items) != 1) {
    return {};
  }
  if (!reference.empty() && isSeparator(reference.front())) {
    items.resize(1);
    reference.remove_prefix(1);
  }
  if (getpathitems(reference, false, &relative) != 1) {
    return {};
  }
  appendItems(relative, &items);
  return joinItems(items);
}

}  // namespace

bool isHttpUri(std::string_view uri) noexcept {
  return beginsWithAnyCase(uri, kHttp) || beginsWithAnyCase(uri, kHttps);
}

bool isFileUri(std::string_view uri) noexcept {
  return beginsWithAnyCase(uri, kFile);
}

bool hasScheme(std::string_view uri) noexcept {
  return uri.substr(0, uri.find('/')).find(':') != std::string_view::npos;
}

bool isAbsolute(std::string_view uri) noexcept {
  return uri.starts_with('/') || hasScheme(uri);
}

bool hasFragment(std::string_view uri) noexcept {
  const size_t slash = uri.rfind('/');
  return uri.find('#', slash == std::string_view::npos ? 0 : slash) != std::string_view::npos;
}

bool isPlainRelative(std::string_view uri) noexcept {
  // A URI of the network has a scheme and needs no test of its own.
  return !uri.empty() && !isAbsolute(uri) && !hasFragment(uri) && !uri.starts_with('#');
}

TextBuffer joinUri(const char *reference, const char *base) noexcept {
  const XmlChars joined(xmlBuildURI(xmlText(reference), xmlText(base)));
  return joined ? copyText(kSource, viewOf(joined.get())) : nullptr;
}

}  // namespace talvo

using namespace talvo;

int32_t isOctstreamUri(const talvo_ustring *uri) noexcept {
  const Utf8 text(uri);
  return text && isPlainRelative(text.view()) ? 1 : 0;
}

int32_t getpathitems(std::string_view path, bool absolute, PathItems *items) {
  if (absolute) {
    if (!path.starts_with('/')) {
      return 0;
    }
    items->push_back(path.substr(0, 1));
    path.remove_prefix(1);
    if (path.empty()) {
      return 1;
    }
    if (isSeparator(path.back())) {
      path.remove_suffix(1);
    }
  }
  for (;;) {
    const size_t end = path.find_first_of("/\\");
    if (path.empty() || end == 0) {
      return 0;
    }
    items->push_back(path.substr(0, end));
    if (end == std::string_view::npos) {
      return 1;
    }
    path.remove_prefix(end + 1);
  }
}

int32_t buildfilepath(const char *base, const char *reference, char **path) noexcept {
  return guard([&]() -> int32_t {
    if (base == nullptr || reference == nullptr || path == nullptr) {
      return 0;
    }
    const std::string built = filePath(base, reference);
    char *text = built.empty() ? nullptr : copyText(kSource, built).release();
    if (text == nullptr) {
      return 0;
    }
    *path = text;
    return 1;
  });
}

char *simpleuridecode(const char *bytes, size_t length) noexcept {
  return guard([&]() -> char * {
    std::string decoded;
    const bool isDecoded = bytes != nullptr && decodeInto({bytes, length}, &decoded);
    return isDecoded ? copyText(kSource, decoded).release() : nullptr;
  });
}

char *getfilenameformurl(const char *url) noexcept {
  if (url == nullptr || !isFileUri(url)) {
    return nullptr;
  }
  const char *path = url + kFile.size();
  return simpleuridecode(path, std::strlen(path));
}

char *fileuri_a2utf8(const char *uri) noexcept {
  const TextBuffer decoded(uri == nullptr ? nullptr : simpleuridecode(uri, std::strlen(uri)));
  if (decoded == nullptr || xmlCheckUTF8(reinterpret_cast<unsigned char *>(decoded.get())) != 1) {
    return nullptr;
  }
  const XmlChars path(xmlCanonicPath(xmlText(decoded.get())));
  return path ? copyText(kSource, viewOf(path.get())).release() : nullptr;
}

talvo_ustring *talvo_xml_uri_encode(const talvo_ustring *uri) noexcept {
  const Utf8 text(uri);
  if (!text) {
    return nullptr;
  }
  // With a ":" it is a URI already, or a path that looks like one; without, a file path.
  const bool isUri = text.view().find(':') != std::string_view::npos;
  const XmlChars encoded(isUri ? xmlCanonicPath(xmlText(text.get()))
                               : xmlPathToURI(xmlText(text.get())));
  return encoded ? makeString(viewOf(encoded.get())).release() : nullptr;
}
