// URIs of references and the paths they become: text in, text out, no file is touched.
#pragma once

#include <string_view>
#include <vector>

#include "talvo_util.h"

#include "base/handle.h"
#include "base/memory.h"

namespace talvo {

using PathItems = std::vector<std::string_view>;

bool isHttpUri(std::string_view uri) noexcept;
bool isFileUri(std::string_view uri) noexcept;
// Whether ":" stands before the first "/": a scheme, or a drive letter.
bool hasScheme(std::string_view uri) noexcept;
// Whether it begins with "/" or has a scheme, so that nothing can be resolved against something
// else.
bool isAbsolute(std::string_view uri) noexcept;
// Whether a "#" stands behind the last "/".
bool hasFragment(std::string_view uri) noexcept;
// The text test behind isOctstreamUri.
bool isPlainRelative(std::string_view uri) noexcept;
// The reference resolved against the base as RFC 3986 has it; null when either cannot be parsed
// (blanks, characters outside ASCII) or memory is exhausted.
TextBuffer joinUri(const char *reference, const char *base) noexcept;

}  // namespace talvo

extern "C" {

// isOctstreamUri returns 1 for a plain relative file reference, whose file can be digested without
// loading it.
int32_t isOctstreamUri(const talvo_ustring *uri) noexcept;

// getpathitems splits a path at "/" and "\" into items that borrow from it. An absolute path begins
// with "/", which is its first item, and may end in a separator; a relative one may neither begin
// nor end in one. 0 for an empty item. It may throw when memory is exhausted.
int32_t getpathitems(std::string_view path, bool absolute, talvo::PathItems *items);

// buildfilepath appends a relative reference to an absolute path, which is taken as a folder, folds
// "." and "..", decodes the escapes and hands out the new path. ".." never climbs above the root.
int32_t buildfilepath(const char *base, const char *reference, char **path) noexcept;

// simpleuridecode returns new text in which "%" and two hexadecimal digits are one byte. Null for
// an incomplete escape, and for one that stands for NUL, which would cut the text.
char *simpleuridecode(const char *bytes, size_t length) noexcept;

// getfilenameformurl returns the new, decoded path of a "file://" URL: what stands behind the two
// slashes. Null for another URL or a bad escape.
char *getfilenameformurl(const char *url) noexcept;

// fileuri_a2utf8 returns the base URI decoded, checked to be UTF-8 and brought into libxml2's form
// of a path, as new text; or null.
char *fileuri_a2utf8(const char *uri) noexcept;
}
