// A value of a JSON document together with the way to it ("References[1].HashAlgo"), so that one
// reader serves both a caller who only wants to know whether the document is right and one who
// wants to be told what is wrong. The way is spelt out only for the second.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/handle.h"

namespace talvo {

// Member functions that complain may throw std::bad_alloc, and only where there is a complaint to
// keep.
class JsonValue {
 public:
  // The whole document. `complaint` receives the first complaint; null when nobody asks.
  JsonValue(const talvo_json *document, std::string *complaint) noexcept
      : value_(document), complaint_(complaint) {}
  // Values refer to the one that they are part of, which must outlive them and stay where it is.
  JsonValue(const JsonValue &) = delete;
  JsonValue &operator=(const JsonValue &) = delete;

  JsonValue member(std::string_view key) const noexcept { return {*this, key}; }
  JsonValue item(int32_t index) const noexcept { return {*this, index}; }
  // The same value for a reader whose complaints nobody shall hear.
  JsonValue quiet() const noexcept { return {value_, nullptr}; }

  bool isPresent() const noexcept { return value_ != nullptr; }
  bool is(int32_t type) const noexcept { return talvo_json_gettype(value_) == type; }
  // Items of an array; -1 for anything else.
  int32_t count() const noexcept;
  // The text of a string, which may hold NUL bytes, and the value of a boolean; empty or 0 for
  // anything else.
  std::string_view text() const noexcept;
  int32_t boolean() const noexcept;
  // A new string; null for anything else and when memory is exhausted.
  UString string() const noexcept;

  // Keeps a complaint: what was found here, and `expected()`, a clause such as "expected a string".
  // Answers false, as every reader does that fails.
  template <class Expected>
  bool complain(Expected &&expected) const {
    if (complaint_ != nullptr && complaint_->empty()) {
      *complaint_ = place() + ": " + found() + ", " + std::string(expected());
    }
    return false;
  }

  // Reads a string; complains about anything else.
  bool read(UString &out) const;
  // The same, but an absent value leaves `out` null.
  bool readOptional(UString &out) const { return !isPresent() || read(out); }

 private:
  JsonValue(const JsonValue &parent, std::string_view key) noexcept;
  JsonValue(const JsonValue &parent, int32_t index) noexcept;

  std::string place() const;
  std::string found() const;

  Json owned_;
  const talvo_json *value_;
  std::string *complaint_;
  const JsonValue *parent_ = nullptr;
  std::string_view key_;
  int32_t index_ = -1;
};

}  // namespace talvo
