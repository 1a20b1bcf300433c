#include "cli/prefixes.h"

#include <algorithm>
#include <string>

#include "cli/list.h"
#include "cli/text.h"

namespace talvo::cli {

Result<List> parsePrefixes(std::string_view text) {
  std::string blanks(text);
  std::replace(blanks.begin(), blanks.end(), ',', ' ');
  List list = makeList<talvo_ustring, talvo_ustring_free>();
  for (const std::string &prefix : split(blanks, ' ')) {
    if (!prefix.empty() && !append(list, makeString(prefix))) {
      return badInput(shown(prefix) + ": is no prefix");
    }
  }
  return items<talvo_ustring>(list).empty() ? List() : std::move(list);
}

}  // namespace talvo::cli
