// A value of a JSON document together with the way to it ("References[1].HashAlgo"), so that one
// reader serves both a caller who only wants to know whether the document is right and one who
// wants to be told what is wrong. The way is spelt out only for the second.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/handle.h"

namespace talvo {

// What comes out of reading one document, beside the values.
struct JsonReading {
  std::string *complaint = nullptr;  // receives the first complaint; null when nobody asks
  // Memory ran out, so that something may have seemed absent or malformed: nothing that was read
  // counts.
  bool isExhausted = false;
};

// Member functions that complain may throw std::bad_alloc, and only where there is a complaint to
// keep.
class JsonValue {
 public:
  // The whole document.
  JsonValue(const talvo_json *document, JsonReading &reading) noexcept
      : value_(document), reading_(reading) {}
  // Values refer to the one that they are part of, which must outlive them and stay where it is.
  JsonValue(const JsonValue &) = delete;
  JsonValue &operator=(const JsonValue &) = delete;

  JsonValue member(std::string_view key) const noexcept { return {*this, key}; }
  JsonValue item(int32_t index) const noexcept { return {*this, index}; }
  // The same value as a document of its own, for a reader whose complaints do not count.
  JsonValue as(JsonReading &reading) const noexcept { return {value_, reading}; }

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
    std::string *complaint = reading_.complaint;
    if (complaint != nullptr && complaint->empty()) {
      *complaint = place() + ": " + found() + ", " + std::string(expected());
    }
    return false;
  }
  // Answers false too.
  bool exhaust() const noexcept {
    reading_.isExhausted = true;
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
  JsonReading &reading_;
  const JsonValue *parent_ = nullptr;
  std::string_view key_;
  int32_t index_ = -1;
};

}  // namespace talvo
