// Results as a tree of JSON values: printed as they are with --json, and as indented lines for a
// person. One tree serves both, so neither can say what the other does not.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "cli/handle.h"

namespace talvo::cli {

// A copy is another handle of the same object.
class JsonObject {
 public:
  JsonObject() : json_(talvo_json_newobject(), talvo_json_free) {}

  // Text that is not UTF-8 (a file name can be such) is made so.
  JsonObject &text(std::string_view key, std::string_view value);
  // Leaves the member out when the text is empty.
  JsonObject &optionalText(std::string_view key, std::string_view value);
  JsonObject &optionalText(std::string_view key, const UString &value);
  JsonObject &number(std::string_view key, int64_t value);
  JsonObject &flag(std::string_view key, bool value);
  JsonObject &null(std::string_view key);
  JsonObject &object(std::string_view key, const JsonObject &value);
  JsonObject &member(std::string_view key, talvo_json *value);

  talvo_json *json() const { return json_.get(); }

 private:
  std::shared_ptr<talvo_json> json_;
};

class JsonArray {
 public:
  JsonArray() : json_(talvo_json_newarray(), talvo_json_free) {}

  JsonArray &add(const JsonObject &value);
  JsonArray &addText(std::string_view value);
  bool empty() const { return talvo_json_getcount(json_.get()) < 1; }
  talvo_json *json() const { return json_.get(); }

 private:
  std::shared_ptr<talvo_json> json_;
};

// One line, without line feed.
std::string jsonLine(const talvo_json *json);

// The members of an object as lines, indented by `indent` blanks: "label: value"; the items of a
// list are numbered. Nulls and empty lists are left out.
std::string textLines(const talvo_json *json, size_t indent);

}  // namespace talvo::cli
