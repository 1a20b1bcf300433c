// Files, standard input and standard output: whole or not at all.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "cli/result.h"

namespace talvo::cli {

using Octets = std::vector<char>;
using OctetView = std::span<const char>;

// The content of a file, or of standard input for "-". An empty file is a failure.
Result<Octets> readFile(const std::string &path);
// The same, where nothing is content too.
Result<Octets> readFileOrEmpty(const std::string &path);

// Writes to a file, or to standard output for "-" and "". A file is written beside its place and
// moved there when it is complete, so nobody ever sees half of it and a failure leaves what was
// there.
Check writeFile(const std::string &path, OctetView octets);

// The absolute folder in which the file lies; of "-" and "" the current one.
Result<std::string> folderOf(const std::string &path);
// The folder itself, absolute.
Result<std::string> absoluteFolder(const std::string &path);

// How messages call the file.
std::string fileLabel(const std::string &path);

}  // namespace talvo::cli
