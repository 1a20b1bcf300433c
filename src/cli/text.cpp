#include "cli/text.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace talvo::cli {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// How many bytes the UTF-8 sequence takes that the lead byte announces; 0 for no lead byte.
size_t announcedLength(unsigned char lead) {
  if (lead < 0x80) {
    return 1;
  }
  if (lead >= 0xC2 && lead <= 0xDF) {
    return 2;
  }
  if (lead >= 0xE0 && lead <= 0xEF) {
    return 3;
  }
  return lead >= 0xF0 && lead <= 0xF4 ? 4 : 0;
}

bool isUtf8(std::string_view text) {
  return makeString(text) != nullptr;
}

char lower(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

void appendEscaped(std::string &text, unsigned char byte) {
  std::array<char, 8> escape{};
  std::snprintf(escape.data(), escape.size(), "\\x%02X", byte);
  text += escape.data();
}

}  // namespace

UString makeString(std::string_view text) {
  return UString(talvo_ustring_newutf8(text.data() == nullptr ? "" : text.data(), text.size()));
}

UString makeOptional(std::string_view text) {
  return text.empty() ? nullptr : makeString(text);
}

std::string_view view(const talvo_ustring *string) {
  const char *text = talvo_ustring_getutf8(string);
  return text == nullptr ? std::string_view()
                         : std::string_view(text, talvo_ustring_getlength(string));
}

std::string shown(std::string_view text) {
  std::string result;
  for (size_t at = 0; at < text.size(); ++at) {
    const auto byte = static_cast<unsigned char>(text[at]);
    const bool c1 =
        byte == 0xC2 && at + 1 < text.size() && static_cast<unsigned char>(text[at + 1]) < 0xA0;
    if (byte < 0x20 || byte == 0x7F) {
      appendEscaped(result, byte);
    } else if (c1) {
      appendEscaped(result, static_cast<unsigned char>(text[++at]));
    } else {
      result += text[at];
    }
  }
  return result;
}

std::string validUtf8(std::string_view text) {
  if (isUtf8(text)) {
    return std::string(text);
  }
  std::string result;
  while (!text.empty()) {
    const size_t length = announcedLength(static_cast<unsigned char>(text.front()));
    const bool valid = length > 0 && length <= text.size() && isUtf8(text.substr(0, length));
    result += valid ? text.substr(0, length) : kReplacement;
    text.remove_prefix(valid ? length : 1);
  }
  return result;
}

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  for (;;) {
    const size_t end = text.find(separator);
    parts.emplace_back(text.substr(0, end));
    if (end == std::string_view::npos) {
      return parts;
    }
    text.remove_prefix(end + 1);
  }
}

bool equalIgnoringCase(std::string_view first, std::string_view second) {
  return std::equal(first.begin(), first.end(), second.begin(), second.end(),
                    [](char a, char b) { return lower(a) == lower(b); });
}

bool startsWithIgnoringCase(std::string_view text, std::string_view start) {
  return equalIgnoringCase(text.substr(0, start.size()), start);
}

std::string isoTime(const talvo_time *time) {
  if (time == nullptr) {
    return {};
  }
  std::array<char, 96> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02dZ",
                talvo_time_getyear(time), talvo_time_getmonth(time), talvo_time_getday(time),
                talvo_time_gethour(time), talvo_time_getminute(time), talvo_time_getsecond(time));
  return text.data();
}

std::string freshId(std::string_view prefix) {
  std::array<uint8_t, 12> octets{};
  char *digits = nullptr;
  if (TalvoPKICryptoGenerateRandom(TalvoPKICryptoGetPseudoDevice(), octets.data(), octets.size()) !=
          1 ||
      talvo_hex_encode(octets.data(), octets.size(), &digits) != 1) {
    return {};
  }
  const TextBuffer owner(digits);
  return std::string(prefix) + digits;
}

}  // namespace talvo::cli
