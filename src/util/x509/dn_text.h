// Distinguished names as text (RFC 4514, read liberally) taken apart into attributes.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace talvo::util {

struct DnAttribute {
  std::string_view type;  // a name or an OID, as written
  std::string value;      // text in UTF-8, or the DER of the value
  bool isDer = false;     // whether the value was given as "#" and hexadecimal digits
};

// The attributes that share one part of the name ("+" between them).
using DnPart = std::vector<DnAttribute>;

// The parts in the order of the text, into which the types point. False when the text is malformed.
// May throw std::bad_alloc.
bool parseDnText(std::string_view text, std::vector<DnPart> &parts);

}  // namespace talvo::util
