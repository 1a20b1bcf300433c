// Lists of inclusive namespace prefixes as the command line gives them.
#pragma once

#include <string_view>

#include "cli/handle.h"
#include "cli/result.h"

namespace talvo::cli {

// A list of strings from prefixes separated by blanks or commas; null for empty text.
Result<List> parsePrefixes(std::string_view text);

}  // namespace talvo::cli
