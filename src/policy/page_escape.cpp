#include <array>
#include <cstdio>

#include "policy/page.h"

namespace talvo::policy {
namespace {

struct Character {
  uint32_t code;
  size_t length;
};

// Of text that is UTF-8.
Character characterAt(std::string_view text, size_t at) noexcept {
  const auto lead = static_cast<unsigned char>(text[at]);
  const size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  uint32_t code = length == 1 ? lead : lead & (0xFFU >> (length + 1));
  for (size_t i = 1; i < length && at + i < text.size(); ++i) {
    code = code << 6U | (static_cast<unsigned char>(text[at + i]) & 0x3FU);
  }
  return {code, length};
}

struct Range {
  uint32_t first;
  uint32_t last;
};

// Controls, what turns the direction of text, what has no width, and what is no character.
constexpr std::array<Range, 13> kHidden = {{{0x00, 0x08},
                                            {0x0B, 0x1F},
                                            {0x7F, 0x9F},
                                            {0xAD, 0xAD},
                                            {0x61C, 0x61C},
                                            {0x180E, 0x180E},
                                            {0x200B, 0x200F},
                                            {0x2028, 0x202E},
                                            {0x2060, 0x206F},
                                            {0xFE00, 0xFE0F},
                                            {0xFEFF, 0xFEFF},
                                            {0xFFF0, 0xFFFF},
                                            {0xE0000, 0xE0FFF}}};

bool isHidden(uint32_t code) noexcept {
  for (const Range &range : kHidden) {
    if (code >= range.first && code <= range.last) {
      return true;
    }
  }
  return false;
}

const char *entityOf(char letter) noexcept {
  switch (letter) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    case '\'':
      return "&#39;";
    default:
      return nullptr;
  }
}

}  // namespace

void appendEscaped(std::string &page, std::string_view text) {
  for (size_t at = 0; at < text.size();) {
    const Character character = characterAt(text, at);
    if (const char *entity = entityOf(text[at])) {
      page += entity;
    } else if (isHidden(character.code)) {
      std::array<char, 48> number{};
      std::snprintf(number.data(), number.size(), "<span class=hidden>[U+%04X]</span>",
                    static_cast<unsigned>(character.code));
      page += number.data();
    } else {
      page += text.substr(at, character.length);
    }
    at += character.length;
  }
}

}  // namespace talvo::policy
