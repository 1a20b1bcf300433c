#include "transform/canonical/block_output.h"

namespace talvo {
namespace {

constexpr uint8_t kInText = 1;
constexpr uint8_t kInValue = 2;
constexpr uint8_t kInMarkup = 4;

struct Escape {
  char letter;
  uint8_t where;
  std::string_view text;
};

constexpr std::array<Escape, 7> kEscapes = {{
    {'&', kInText | kInValue, "&amp;"},
    {'<', kInText | kInValue, "&lt;"},
    {'>', kInText, "&gt;"},
    {'"', kInValue, "&quot;"},
    {'\t', kInValue, "&#x9;"},
    {'\n', kInValue, "&#xA;"},
    {'\r', kInText | kInValue | kInMarkup, "&#xD;"},
}};

constexpr std::array<uint8_t, 256> whereEscaped() {
  std::array<uint8_t, 256> where{};
  for (const Escape &escape : kEscapes) {
    where[static_cast<uint8_t>(escape.letter)] = escape.where;
  }
  return where;
}

constexpr std::array<uint8_t, 256> kWhereEscaped = whereEscaped();

std::string_view escaped(char letter) noexcept {
  for (const Escape &escape : kEscapes) {
    if (escape.letter == letter) {
      return escape.text;
    }
  }
  return {};
}

}  // namespace

// Most characters stand for themselves, so what is copied is the runs between the others.
template <uint8_t Kind>
void BlockOutput::putEscaped(std::string_view text) noexcept {
  size_t start = 0;
  for (size_t at = 0; at < text.size(); ++at) {
    if ((kWhereEscaped[static_cast<uint8_t>(text[at])] & Kind) != 0) {
      put(text.substr(start, at - start));
      put(escaped(text[at]));
      start = at + 1;
    }
  }
  put(text.substr(start));
}

void BlockOutput::putText(std::string_view text) noexcept {
  putEscaped<kInText>(text);
}

void BlockOutput::putValue(std::string_view value) noexcept {
  putEscaped<kInValue>(value);
}

void BlockOutput::putMarkup(std::string_view content) noexcept {
  putEscaped<kInMarkup>(content);
}

// Deliberate: the URI of a namespace is not escaped, so "&" stands as it is, where the standard has
// "&amp;". Signatures over such documents were made and are verified in this way. A quotation mark
// is seen only where a caller bound a name to a declaration outside of the document: the others
// were refused as no URI.
void BlockOutput::putUri(std::string_view uri) noexcept {
  const bool hasQuote = uri.find('"') != std::string_view::npos;
  if (hasQuote && uri.find('\'') == std::string_view::npos) {
    put('\'');
    put(uri);
    put('\'');
    return;
  }
  put('"');
  for (size_t end = uri.find('"'); end != std::string_view::npos; end = uri.find('"')) {
    put(uri.substr(0, end));
    put("&quot;");
    uri.remove_prefix(end + 1);
  }
  put(uri);
  put('"');
}

bool BlockOutput::finish() noexcept {
  flush();
  return !hasFailed_;
}

// Runs that do not fit go to the sink from where they lie, when they are long.
void BlockOutput::putBeyond(std::string_view text) noexcept {
  flush();
  if (text.size() >= kRoom) {
    send(text);
    return;
  }
  put(text);
}

void BlockOutput::flush() noexcept {
  if (used_ != 0) {
    send({block_.data(), used_});
    used_ = 0;
  }
}

void BlockOutput::send(std::string_view octets) noexcept {
  const Bytes piece(reinterpret_cast<const uint8_t *>(octets.data()), octets.size());
  hasFailed_ = hasFailed_ || !sink_.write(piece);
}

}  // namespace talvo
