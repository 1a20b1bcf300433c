// JSON over Jansson. A talvo_json is a small handle with its own reference to a Jansson value;
// Jansson's values stay on its own allocator, whose hooks belong to the whole process.
#include <algorithm>
#include <cassert>
#include <cstring>
#include <limits>
#include <string_view>
#include <unordered_map>

#include <jansson.h>

#include "base/boundary.h"
#include "base/memory.h"

namespace talvo::util {
namespace {

constexpr char kSource[] = "json";
constexpr int32_t kDepthLimit = 128;

void dropReference(json_t *value) noexcept {
  json_decref(value);
}

using JsonValue = Handle<json_t, dropReference>;

JsonValue share(json_t *value) noexcept {
  return JsonValue(json_incref(value));
}

}  // namespace
}  // namespace talvo::util

struct talvo_json {
  talvo::util::JsonValue value;
};

namespace talvo::util {
namespace {

talvo_json *wrap(JsonValue value) noexcept {
  return value ? make<talvo_json>(kSource, std::move(value)).release() : nullptr;
}

const json_t *valueOf(const talvo_json *json) noexcept {
  assert(json == nullptr || json->value);
  return json == nullptr ? nullptr : json->value.get();
}

// Where a text goes wrong.
struct Place {
  int32_t line = 1;
  int32_t column = 0;
  std::string_view message;
};

// Jansson's own limit is 2,048 levels, which it reaches by recursion; so brackets are counted
// before it starts. Text that is not JSON may be miscounted, and is then refused for one reason or
// the other.
class DepthScan {
 public:
  // True when the text stays within the limit; otherwise `place` is where it does not.
  bool passes(std::string_view text, Place &place) noexcept {
    for (const char character : text) {
      advance(character, place);
      if (inString_) {
        skipInString(character);
      } else if (!count(character)) {
        place.message = "nested deeper than 128 levels";
        return false;
      }
    }
    return true;
  }

 private:
  static void advance(char character, Place &place) noexcept {
    if (character == '\n') {
      ++place.line;
      place.column = 0;
    } else if ((static_cast<unsigned char>(character) & 0xC0U) != 0x80U) {
      ++place.column;  // counted in characters: bytes that continue one do not count
    }
  }

  void skipInString(char character) noexcept {
    if (isEscaped_) {
      isEscaped_ = false;
    } else if (character == '\\') {
      isEscaped_ = true;
    } else if (character == '"') {
      inString_ = false;
    }
  }

  bool count(char character) noexcept {
    switch (character) {
      case '"':
        inString_ = true;
        break;
      case '[':
      case '{':
        return ++depth_ <= kDepthLimit;
      case ']':
      case '}':
        --depth_;
        break;
      default:
        break;
    }
    return true;
  }

  int64_t depth_ = 0;
  bool inString_ = false;
  bool isEscaped_ = false;
};

JsonValue parse(std::string_view text, json_error_t &error, Place &place) noexcept {
  if (!DepthScan().passes(text, place)) {
    return nullptr;
  }
  JsonValue value(json_loadb(text.data(), text.size(),
                             JSON_REJECT_DUPLICATES | JSON_ALLOW_NUL | JSON_DECODE_ANY, &error));
  if (!value) {
    place = {std::max(error.line, 1), std::max(error.column, 1), error.text};
  }
  return value;
}

bool isContainer(const json_t *value) noexcept {
  return json_is_array(value) || json_is_object(value);
}

// How many levels a value has: 0 for a scalar, 1 for an empty container. Refuses (-1) what is
// deeper than the limit or holds `forbidden`, which would become part of itself. Values may be
// shared, so heights are remembered; the walk is recursive, but no deeper than the limit. May throw
// std::bad_alloc.
class HeightMeter {
 public:
  explicit HeightMeter(const json_t *forbidden) noexcept : forbidden_(forbidden) {}

  int32_t measure(json_t *value, int32_t level = 0) {
    assert(level <= kDepthLimit);
    if (!isContainer(value)) {
      return 0;
    }
    if (value == forbidden_ || level >= kDepthLimit) {
      return -1;
    }
    const auto known = heights_.find(value);
    if (known != heights_.end()) {
      return known->second;
    }
    const int32_t below =
        json_is_array(value) ? highestItem(value, level) : highestMember(value, level);
    const int32_t height = below < 0 ? -1 : below + 1;
    heights_.emplace(value, height);
    return height;
  }

 private:
  int32_t highestItem(json_t *array, int32_t level) {
    int32_t highest = 0;
    for (size_t i = 0; i < json_array_size(array) && highest >= 0; ++i) {
      highest = higher(highest, measure(json_array_get(array, i), level + 1));
    }
    return highest;
  }

  int32_t highestMember(json_t *object, int32_t level) {
    int32_t highest = 0;
    for (void *at = json_object_iter(object); at != nullptr && highest >= 0;
         at = json_object_iter_next(object, at)) {
      highest = higher(highest, measure(json_object_iter_value(at), level + 1));
    }
    return highest;
  }

  static int32_t higher(int32_t first, int32_t second) noexcept {
    return second < 0 ? -1 : std::max(first, second);
  }

  const json_t *forbidden_;
  std::unordered_map<const json_t *, int32_t> heights_;
};

bool fitsInto(const talvo_json *container, const talvo_json *value) noexcept {
  return guard([&] {
    const int32_t height = HeightMeter(container->value.get()).measure(value->value.get());
    return height >= 0 && height < kDepthLimit;
  });
}

bool isWithinLimit(const talvo_json *json) noexcept {
  assert(json != nullptr);
  return guard([&] {
    const int32_t height = HeightMeter(nullptr).measure(json->value.get());
    return height >= 0 && height <= kDepthLimit;
  });
}

}  // namespace
}  // namespace talvo::util

using namespace talvo;
using namespace talvo::util;

talvo_json *talvo_json_parse(const char *text, size_t length) noexcept {
  return talvo_json_parse_ex(text, length, nullptr, nullptr, nullptr);
}

talvo_json *talvo_json_parse_ex(const char *text, size_t length, int32_t *line, int32_t *column,
                                char **message) noexcept {
  if (text == nullptr) {
    return nullptr;
  }
  json_error_t error{};
  Place place;
  JsonValue value = parse(std::string_view(text, length), error, place);
  if (value) {
    return wrap(std::move(value));
  }
  if (line != nullptr) {
    *line = place.line;
  }
  if (column != nullptr) {
    *column = place.column;
  }
  if (message != nullptr) {
    *message = copyText(kSource, place.message).release();
  }
  return nullptr;
}

talvo_json *talvo_json_newobject() noexcept {
  return wrap(JsonValue(json_object()));
}

talvo_json *talvo_json_newarray() noexcept {
  return wrap(JsonValue(json_array()));
}

talvo_json *talvo_json_newstring(const char *text, size_t length) noexcept {
  if (text == nullptr && length > 0) {
    return nullptr;
  }
  return wrap(JsonValue(json_stringn(text == nullptr ? "" : text, length)));
}

talvo_json *talvo_json_newboolean(int32_t value) noexcept {
  return wrap(JsonValue(json_boolean(value != 0)));
}

talvo_json *talvo_json_newinteger(int64_t value) noexcept {
  return wrap(JsonValue(json_integer(value)));
}

talvo_json *talvo_json_newnull() noexcept {
  return wrap(JsonValue(json_null()));
}

talvo_json *talvo_json_dup(const talvo_json *json) noexcept {
  if (json == nullptr || !isWithinLimit(json)) {
    return nullptr;
  }
  return wrap(JsonValue(json_deep_copy(json->value.get())));
}

void talvo_json_free(talvo_json *json) noexcept {
  destroy(json);
}

int32_t talvo_json_gettype(const talvo_json *json) noexcept {
  if (json == nullptr) {
    return -1;
  }
  switch (json_typeof(json->value.get())) {
    case JSON_OBJECT:
      return TALVO_JSON_OBJECT;
    case JSON_ARRAY:
      return TALVO_JSON_ARRAY;
    case JSON_STRING:
      return TALVO_JSON_STRING;
    case JSON_INTEGER:
    case JSON_REAL:
      return TALVO_JSON_NUMBER;
    case JSON_TRUE:
    case JSON_FALSE:
      return TALVO_JSON_BOOLEAN;
    case JSON_NULL:
      return TALVO_JSON_NULL;
  }
  return -1;
}

int32_t talvo_json_getstring(const talvo_json *json, const char **text, size_t *length) noexcept {
  const json_t *value = valueOf(json);
  if (!json_is_string(value) || text == nullptr || length == nullptr) {
    return 0;
  }
  *text = json_string_value(value);
  *length = json_string_length(value);
  return 1;
}

int32_t talvo_json_getboolean(const talvo_json *json, int32_t *value) noexcept {
  const json_t *boolean = valueOf(json);
  if (!json_is_boolean(boolean) || value == nullptr) {
    return 0;
  }
  *value = json_is_true(boolean) ? 1 : 0;
  return 1;
}

int32_t talvo_json_getinteger(const talvo_json *json, int64_t *value) noexcept {
  const json_t *integer = valueOf(json);
  if (!json_is_integer(integer) || value == nullptr) {
    return 0;
  }
  *value = json_integer_value(integer);
  return 1;
}

int32_t talvo_json_getcount(const talvo_json *json) noexcept {
  const json_t *value = valueOf(json);
  if (!isContainer(value)) {
    return -1;
  }
  const size_t count = json_is_array(value) ? json_array_size(value) : json_object_size(value);
  return count > static_cast<size_t>(std::numeric_limits<int32_t>::max())
             ? -1
             : static_cast<int32_t>(count);
}

talvo_json *talvo_json_getitem(const talvo_json *json, int32_t index) noexcept {
  // Jansson answers null for anything but an array.
  return index < 0 ? nullptr
                   : wrap(share(json_array_get(valueOf(json), static_cast<size_t>(index))));
}

talvo_json *talvo_json_getmember(const talvo_json *json, const char *key, size_t length) noexcept {
  return key == nullptr ? nullptr : wrap(share(json_object_getn(valueOf(json), key, length)));
}

int32_t talvo_json_hasmember(const talvo_json *json, const char *key, size_t length) noexcept {
  return key != nullptr && json_object_getn(valueOf(json), key, length) != nullptr;
}

talvo_ustring *talvo_json_getkey(const talvo_json *json, int32_t index) noexcept {
  if (index < 0 || index >= talvo_json_getcount(json) || !json_is_object(valueOf(json))) {
    return nullptr;
  }
  json_t *object = json->value.get();
  void *member = json_object_iter(object);
  for (int32_t i = 0; i < index; ++i) {
    member = json_object_iter_next(object, member);
  }
  return talvo_ustring_newutf8(json_object_iter_key(member), json_object_iter_key_len(member));
}

int32_t talvo_json_setmember(talvo_json *json, const char *key, size_t length,
                             talvo_json *value) noexcept {
  // Jansson would take a NUL into a key here, but reads none back.
  if (!json_is_object(valueOf(json)) || key == nullptr || value == nullptr ||
      std::memchr(key, 0, length) != nullptr || !fitsInto(json, value)) {
    return 0;
  }
  return json_object_setn(json->value.get(), key, length, value->value.get()) == 0 ? 1 : 0;
}

int32_t talvo_json_additem(talvo_json *json, talvo_json *value) noexcept {
  if (!json_is_array(valueOf(json)) || value == nullptr || !fitsInto(json, value)) {
    return 0;
  }
  return json_array_append(json->value.get(), value->value.get()) == 0 ? 1 : 0;
}

int32_t talvo_json_dump(const talvo_json *json, char **text, size_t *length) noexcept {
  if (json == nullptr || text == nullptr || !isWithinLimit(json)) {
    return 0;
  }
  constexpr size_t kFlags = JSON_COMPACT | JSON_ENCODE_ANY;
  const size_t size = json_dumpb(json->value.get(), nullptr, 0, kFlags);
  TextBuffer dumped = size == 0 ? nullptr : makeChars(kSource, size + 1);
  if (!dumped || json_dumpb(json->value.get(), dumped.get(), size, kFlags) != size) {
    return 0;
  }
  dumped.get()[size] = '\0';
  *text = dumped.release();
  if (length != nullptr) {
    *length = size;
  }
  return 1;
}
