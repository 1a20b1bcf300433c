// The page of a report: text that is always escaped, and the pieces that it is put together from.
#pragma once

#include <string>
#include <string_view>

#include "policy/report.h"

namespace talvo::policy {

// Appends text so that none of it is markup and all of it can be seen: characters that turn or hide
// text are written as their numbers.
void appendEscaped(std::string &page, std::string_view text);

// The document as its source, with what is signed and what is not told apart.
void appendDocument(std::string &page, const TalvoXmlReport &report);

}  // namespace talvo::policy
