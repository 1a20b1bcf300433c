// Values got from a JSON document are handles of their own, so each JsonValue owns its handle; the
// document itself is borrowed.
#include "signature/context/json_value.h"

#include "base/utf8.h"

namespace talvo {
namespace {

constexpr size_t kLongestQuote = 80;

}  // namespace

JsonValue::JsonValue(const JsonValue &parent, std::string_view key) noexcept
    : owned_(talvo_json_getmember(parent.value_, key.data(), key.size())),
      value_(owned_.get()),
      reading_(parent.reading_),
      parent_(&parent),
      key_(key) {
  if (value_ == nullptr && talvo_json_hasmember(parent.value_, key.data(), key.size())) {
    exhaust();
  }
}

JsonValue::JsonValue(const JsonValue &parent, int32_t index) noexcept
    : owned_(talvo_json_getitem(parent.value_, index)),
      value_(owned_.get()),
      reading_(parent.reading_),
      parent_(&parent),
      index_(index) {
  if (value_ == nullptr && index < parent.count()) {
    exhaust();
  }
}

int32_t JsonValue::count() const noexcept {
  return is(TALVO_JSON_ARRAY) ? talvo_json_getcount(value_) : -1;
}

std::string_view JsonValue::text() const noexcept {
  const char *text = nullptr;
  size_t length = 0;
  return talvo_json_getstring(value_, &text, &length) ? std::string_view(text, length)
                                                      : std::string_view();
}

int32_t JsonValue::boolean() const noexcept {
  int32_t value = 0;
  return talvo_json_getboolean(value_, &value) ? value : 0;
}

UString JsonValue::string() const noexcept {
  UString string = is(TALVO_JSON_STRING) ? makeString(text()) : nullptr;
  if (!string && is(TALVO_JSON_STRING)) {
    exhaust();
  }
  return string;
}

bool JsonValue::read(UString &out) const {
  if (!is(TALVO_JSON_STRING)) {
    return complain([] { return "expected a string"; });
  }
  out = string();
  return out != nullptr;
}

std::string JsonValue::place() const {
  if (parent_ == nullptr) {
    return "the document";
  }
  std::string way = parent_->parent_ == nullptr ? std::string() : parent_->place();
  if (index_ >= 0) {
    return way + "[" + std::to_string(index_) + "]";
  }
  return (way.empty() ? way : way + ".").append(key_);
}

std::string JsonValue::found() const {
  switch (talvo_json_gettype(value_)) {
    case TALVO_JSON_ARRAY:
      return count() == 0 ? "found an empty array" : "found an array";
    case TALVO_JSON_OBJECT:
      return "found an object";
    case -1:
      return "missing";
    default:
      break;
  }
  char *text = nullptr;
  size_t length = 0;
  if (!talvo_json_dump(value_, &text, &length)) {
    exhaust();
    return {};
  }
  const TextBuffer owned(text);
  return length > kLongestQuote ? "found a long text" : "found " + std::string(text, length);
}

}  // namespace talvo
