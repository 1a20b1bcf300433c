// The reader of distinguished-name text: a position in the text and one function for each
// construct.
#include "util/x509/dn_text.h"

#include <cassert>

#include "base/memory.h"

namespace talvo::util {
namespace {

bool isBlank(char character) noexcept {
  return character == ' ' || character == '\t' || character == '\r' || character == '\n';
}

bool isTypeCharacter(char character) noexcept {
  const char lower = static_cast<char>(character | 0x20);
  return (lower >= 'a' && lower <= 'z') || (character >= '0' && character <= '9') ||
         character == '.' || character == '-';
}

bool decodeHex(std::string_view digits, std::string &out) {
  uint8_t *bytes = nullptr;
  size_t length = 0;
  if (talvo_hex_decode(digits.data(), digits.size(), &bytes, &length) != 1) {
    return false;
  }
  const ByteBuffer owner(bytes);
  out.append(reinterpret_cast<const char *>(bytes), length);
  return true;
}

class Reader {
 public:
  explicit Reader(std::string_view text) noexcept : text_(text) {}

  bool readName(std::vector<DnPart> &parts) {
    skipBlanks();
    if (atEnd()) {
      return true;  // the empty name
    }
    do {
      parts.emplace_back();
      do {
        if (!readAttribute(parts.back().emplace_back())) {
          return false;
        }
      } while (takeOneOf("+"));
    } while (takeOneOf(",;"));
    return atEnd();
  }

 private:
  bool atEnd() const noexcept { return position_ == text_.size(); }
  char current() const noexcept {
    assert(!atEnd());
    return text_[position_];
  }

  void skipBlanks() noexcept {
    while (!atEnd() && isBlank(current())) {
      ++position_;
    }
  }

  bool takeOneOf(std::string_view characters) noexcept {
    if (atEnd() || characters.find(current()) == std::string_view::npos) {
      return false;
    }
    ++position_;
    return true;
  }

  template <class Predicate>
  std::string_view takeWhile(Predicate belongs) noexcept {
    const size_t start = position_;
    while (!atEnd() && belongs(current())) {
      ++position_;
    }
    return text_.substr(start, position_ - start);
  }

  bool readAttribute(DnAttribute &attribute) {
    skipBlanks();
    attribute.type = takeWhile(isTypeCharacter);
    skipBlanks();
    if (attribute.type.empty() || !takeOneOf("=")) {
      return false;
    }
    skipBlanks();
    if (!readValue(attribute)) {
      return false;
    }
    skipBlanks();
    return true;
  }

  bool readValue(DnAttribute &attribute) {
    if (takeOneOf("#")) {
      attribute.isDer = true;
      const auto isDigit = [](char c) { return !isBlank(c) && c != ',' && c != ';' && c != '+'; };
      return decodeHex(takeWhile(isDigit), attribute.value);
    }
    return takeOneOf("\"") ? readQuoted(attribute.value) : readPlain(attribute.value);
  }

  bool readQuoted(std::string &value) {
    while (!takeOneOf("\"")) {
      if (atEnd() || !readCharacter(value)) {
        return false;
      }
    }
    return true;
  }

  bool readPlain(std::string &value) {
    size_t significant = 0;  // blanks at the end count only when they are escaped
    while (!atEnd() && current() != ',' && current() != ';' && current() != '+') {
      const bool countsAlways = !isBlank(current());
      if (current() == '"' || !readCharacter(value)) {
        return false;
      }
      if (countsAlways) {
        significant = value.size();
      }
    }
    value.resize(significant);
    return true;
  }

  // One character, or an escape: "\" before two hexadecimal digits is a byte, before anything else
  // that character.
  bool readCharacter(std::string &value) {
    assert(!atEnd());
    if (!takeOneOf("\\")) {
      value.push_back(text_[position_++]);
      return true;
    }
    if (text_.size() - position_ >= 2 && decodeHex(text_.substr(position_, 2), value)) {
      position_ += 2;
      return true;
    }
    if (atEnd()) {
      return false;
    }
    value.push_back(text_[position_++]);
    return true;
  }

  std::string_view text_;
  size_t position_ = 0;
};

}  // namespace

bool parseDnText(std::string_view text, std::vector<DnPart> &parts) {
  return Reader(text).readName(parts);
}

}  // namespace talvo::util
