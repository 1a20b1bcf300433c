#include "cli/base_path.h"

#include "cli/file.h"
#include "cli/text.h"

namespace talvo::cli {

namespace {

// The library takes the backslash for a separator and decodes percent escapes.
std::string escaped(const std::string &folder) {
  std::string result;
  for (const char letter : folder) {
    result += letter == '%' ? "%25" : letter == '\\' ? "%5C" : std::string(1, letter);
  }
  return result;
}

}  // namespace

Result<UString> basePathFor(const std::string &chosen, const std::string &document) {
  const Result<std::string> folder = chosen.empty() ? folderOf(document) : absoluteFolder(chosen);
  if (!folder) {
    return folder.failure();
  }
  UString basePath = makeString(escaped(*folder));
  if (basePath == nullptr) {
    return badInput(shown(*folder) + ": the name of the folder is not UTF-8");
  }
  return basePath;
}

}  // namespace talvo::cli
