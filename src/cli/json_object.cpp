#include "cli/json_object.h"

#include "cli/text.h"

namespace talvo::cli {

namespace {

struct Label {
  std::string_view key;
  std::string_view label;
};

constexpr Label kLabels[] = {{"id", "Id"}, {"uri", "URI"}, {"c14n", "canonicalisation"}};

constexpr std::string_view kValid = "valid";
constexpr std::string_view kError = "error";
constexpr std::string_view kMessage = "message";

// "signedProperties" reads "signed properties".
std::string labelOf(std::string_view key) {
  for (const Label &label : kLabels) {
    if (label.key == key) {
      return std::string(label.label);
    }
  }
  std::string label;
  for (const char letter : key) {
    const bool upper = letter >= 'A' && letter <= 'Z';
    label +=
        upper ? std::string(" ") + static_cast<char>(letter - 'A' + 'a') : std::string(1, letter);
  }
  return label;
}

std::string singular(std::string label) {
  if (label.ends_with('s')) {
    label.pop_back();
  }
  return label;
}

Json member(const talvo_json *object, std::string_view key) {
  return Json(talvo_json_getmember(object, key.data(), key.size()));
}

// The text of a value that fits on one line; an algorithm, an object of name and number, does too.
// Empty for other objects, lists and null.
std::string scalar(const talvo_json *json) {
  const char *text = nullptr;
  size_t length = 0;
  int32_t flag = 0;
  int64_t number = 0;
  if (talvo_json_getstring(json, &text, &length) == 1) {
    return length == 0 ? "\"\"" : shown({text, length});
  }
  if (talvo_json_getboolean(json, &flag) == 1) {
    return flag != 0 ? "yes" : "no";
  }
  if (talvo_json_getinteger(json, &number) == 1) {
    return std::to_string(number);
  }
  const Json name = member(json, "name");
  const Json code = member(json, "number");
  if (talvo_json_getcount(json) == 2 && name != nullptr && code != nullptr) {
    return scalar(name.get()) + " (" + scalar(code.get()) + ")";
  }
  return {};
}

std::string line(size_t indent, const std::string &label, const std::string &value) {
  return std::string(indent, ' ') + label + (value.empty() ? ":" : ": ") + value + "\n";
}

bool isVerdict(std::string_view key) {
  return key == kValid || key == kError || key == kMessage;
}

// An error and its message say one thing with the claim of validity, and are one line for a person.
// Empty for a report without error.
std::string verdictOf(const talvo_json *report) {
  const std::string message = scalar(member(report, kMessage).get());
  const std::string error = scalar(member(report, kError).get());
  if (message.empty() || error.empty()) {
    return {};
  }
  return error == "0" ? message : "error " + error + ": " + message;
}

std::string valueLines(const std::string &label, const talvo_json *value, size_t indent);

std::string listLines(const std::string &label, const talvo_json *list, size_t indent) {
  std::string lines;
  for (int32_t index = 0; index < talvo_json_getcount(list); ++index) {
    const Json item(talvo_json_getitem(list, index));
    lines += valueLines(singular(label) + " " + std::to_string(index + 1), item.get(), indent);
  }
  return lines;
}

std::string valueLines(const std::string &label, const talvo_json *value, size_t indent) {
  if (const std::string text = scalar(value); !text.empty()) {
    return line(indent, label, text);
  }
  switch (talvo_json_gettype(value)) {
    case TALVO_JSON_ARRAY:
      return listLines(label, value, indent);
    case TALVO_JSON_OBJECT:
      return line(indent, label, "") + textLines(value, indent + 2);
    default:
      return {};
  }
}

}  // namespace

JsonObject &JsonObject::member(std::string_view key, talvo_json *value) {
  talvo_json_setmember(json_.get(), key.data(), key.size(), value);
  return *this;
}

JsonObject &JsonObject::text(std::string_view key, std::string_view value) {
  const std::string valid = validUtf8(value);
  return member(key, Json(talvo_json_newstring(valid.data(), valid.size())).get());
}

JsonObject &JsonObject::optionalText(std::string_view key, std::string_view value) {
  return value.empty() ? *this : text(key, value);
}

JsonObject &JsonObject::optionalText(std::string_view key, const UString &value) {
  return value == nullptr ? *this : text(key, view(value));
}

JsonObject &JsonObject::number(std::string_view key, int64_t value) {
  return member(key, Json(talvo_json_newinteger(value)).get());
}

JsonObject &JsonObject::flag(std::string_view key, bool value) {
  return member(key, Json(talvo_json_newboolean(value ? 1 : 0)).get());
}

JsonObject &JsonObject::null(std::string_view key) {
  return member(key, Json(talvo_json_newnull()).get());
}

JsonObject &JsonObject::object(std::string_view key, const JsonObject &value) {
  return member(key, value.json());
}

JsonArray &JsonArray::add(const JsonObject &value) {
  talvo_json_additem(json_.get(), value.json());
  return *this;
}

JsonArray &JsonArray::addText(std::string_view value) {
  const std::string valid = validUtf8(value);
  talvo_json_additem(json_.get(), Json(talvo_json_newstring(valid.data(), valid.size())).get());
  return *this;
}

std::string jsonLine(const talvo_json *json) {
  char *text = nullptr;
  if (talvo_json_dump(json, &text, nullptr) != 1) {
    return "null";
  }
  return TextBuffer(text).get();
}

std::string textLines(const talvo_json *json, size_t indent) {
  const std::string verdict = verdictOf(json);
  std::string lines;
  for (int32_t index = 0; index < talvo_json_getcount(json); ++index) {
    const UString key(talvo_json_getkey(json, index));
    if (verdict.empty() || !isVerdict(view(key))) {
      lines += valueLines(labelOf(view(key)), member(json, view(key)).get(), indent);
    } else if (view(key) == kMessage) {
      lines += line(indent, "verdict", verdict);
    }
  }
  return lines;
}

}  // namespace talvo::cli
