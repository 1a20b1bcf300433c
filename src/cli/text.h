// Text between the libraries' strings, std::string and what may be shown to a person.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli/handle.h"

namespace talvo::cli {

// Null for text that is not UTF-8.
UString makeString(std::string_view text);
// Null for empty text, which is how the library says "none".
UString makeOptional(std::string_view text);

std::string_view view(const talvo_ustring *string);
inline std::string_view view(const UString &string) {
  return view(string.get());
}

// The text with control characters written as \xNN, so that a name out of a document or a
// certificate can neither forge a line of output nor command the terminal.
std::string shown(std::string_view text);

// The text with everything that is not UTF-8 replaced by U+FFFD.
std::string validUtf8(std::string_view text);

// Splits at `separator`; empty parts stay.
std::vector<std::string> split(std::string_view text, char separator);

bool equalIgnoringCase(std::string_view first, std::string_view second);
bool startsWithIgnoringCase(std::string_view text, std::string_view start);

// "2024-03-01T09:05:00Z"
std::string isoTime(const talvo_time *time);

// A fresh identifier: the prefix and random hexadecimal digits. Empty when there is no randomness.
std::string freshId(std::string_view prefix);

}  // namespace talvo::cli
