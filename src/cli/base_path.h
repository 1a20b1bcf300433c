// The folder against which relative references resolve.
#pragma once

#include <string>

#include "cli/handle.h"
#include "cli/result.h"

namespace talvo::cli {

// The chosen folder, or that of the document when none was chosen; absolute, in the form that the
// library reads.
Result<UString> basePathFor(const std::string &chosen, const std::string &document);

}  // namespace talvo::cli
