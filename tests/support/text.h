// The text of results, and small edits of texts.
#pragma once

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "talvo_xml.h"

#include "base/bytes.h"
#include "base/utf8.h"

namespace talvo::test {

inline UString str(std::string_view text) {
  return makeString(text);
}

inline std::string textOf(Bytes bytes) {
  return {bytes.begin(), bytes.end()};
}

inline std::string textOf(const talvo_ustring *string) {
  return string == nullptr ? "(null)" : std::string(viewOf(string));
}

inline std::string textOf(const UString &string) {
  return textOf(string.get());
}

inline std::string textOf(const Blob &blob) {
  return blob == nullptr ? "(null)" : textOf(bytesOf(blob.get()));
}

// The same of a result that the caller owns; it is released.
inline std::string take(talvo_ustring *string) {
  return textOf(UString(string));
}

inline std::string take(talvo_data_blob *blob) {
  return textOf(Blob(blob));
}

inline std::string take(char *text) {
  const TextBuffer owner(text);
  return owner ? std::string(text) : "(null)";
}

inline std::string elementText(XmlNode *element) {
  return take(talvo_xml_element_dump(element));
}

// On one line.
inline std::string base64(std::string_view octets) {
  char *encoded = nullptr;
  EXPECT_EQ(talvo_base64_encode(octets.data(), octets.size(), 4, &encoded, nullptr), 1);
  return take(encoded);
}

inline int count(const std::string &in, const std::string &what) {
  int found = 0;
  for (size_t at = in.find(what); at != std::string::npos; at = in.find(what, at + 1)) {
    ++found;
  }
  return found;
}

// With the first `from` replaced, which has to be there; what stands before `start` is left alone.
inline std::string replaced(std::string in, std::string_view from, std::string_view to,
                            size_t start = 0) {
  const size_t at = in.find(from, start);
  EXPECT_NE(at, std::string::npos) << "there is no " << from << " in " << in;
  return at == std::string::npos ? in : in.replace(at, from.size(), to);
}

inline std::string replacedAll(std::string in, std::string_view from, std::string_view to) {
  for (size_t at = in.find(from); at != std::string::npos; at = in.find(from, at + to.size())) {
    in.replace(at, from.size(), to);
  }
  return in;
}

// What stands between two marks, from the first one on; empty when one is missing.
inline std::string between(const std::string &text, std::string_view start, std::string_view end) {
  const size_t from = text.find(start);
  const size_t to = from == std::string::npos ? from : text.find(end, from + start.size());
  return to == std::string::npos ? "" : text.substr(from + start.size(), to - from - start.size());
}

// With other content between the first `begin` and the next `end`.
inline std::string withContent(const std::string &in, const std::string &begin,
                               const std::string &end, const std::string &content,
                               size_t start = 0) {
  const size_t from = in.find(begin, start);
  const std::string old = in.substr(from, in.find(end, from + begin.size()) - from);
  return replaced(in, old, begin + content, start);
}

// Without anything from the first `begin` to the next `end`, these two included.
inline std::string without(const std::string &in, const std::string &begin,
                           const std::string &end) {
  const size_t from = in.find(begin);
  const size_t to = in.find(end, from + begin.size()) + end.size();
  return replaced(in, in.substr(from, to - from), "");
}

}  // namespace talvo::test
