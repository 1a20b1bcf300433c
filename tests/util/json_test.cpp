#include <string>
#include <string_view>

#include "base/utf8.h"
#include "support/every_allocation_fails.h"
#include "support/memory_test.h"

namespace talvo::test {
namespace {

using namespace std::string_view_literals;

class JsonTest : public MemoryTest {};

Json parseJson(std::string_view text) {
  return Json(talvo_json_parse(text.data(), text.size()));
}

std::string dump(const Json &json) {
  char *text = nullptr;
  size_t length = 0;
  if (talvo_json_dump(json.get(), &text, &length) != 1) {
    return "(failed)";
  }
  const TextBuffer owner(text);
  EXPECT_EQ(std::string_view(text).size(), length);
  return text;
}

Json member(const Json &object, std::string_view key) {
  return Json(talvo_json_getmember(object.get(), key.data(), key.size()));
}

bool set(const Json &object, std::string_view key, const Json &value) {
  return talvo_json_setmember(object.get(), key.data(), key.size(), value.get()) == 1;
}

std::string nested(int levels) {
  return std::string(static_cast<size_t>(levels), '[') +
         std::string(static_cast<size_t>(levels), ']');
}

TEST_F(JsonTest, WritesBackWhatItReads) {
  const std::string_view texts[] = {
      "null", "true",         "false",
      "0",    "-1",           "9223372036854775807",
      "\"\"", "\"\\u0000a\"", "\"\xC3\xA9\"",
      "[]",   "{}",           "{\"z\":1,\"a\":[1.5,\"x\",{}],\"m\":null}"};
  for (const std::string_view text : texts) {
    const Json json = parseJson(text);
    EXPECT_EQ(dump(json), text);
    EXPECT_EQ(dump(Json(talvo_json_dup(json.get()))), text);
  }
}

TEST_F(JsonTest, RefusesWhatIsNotOneStrictValue) {
  const std::string deep = nested(129);
  const std::string_view texts[] = {"",
                                    " ",
                                    "{",
                                    "[1,]",
                                    "{\"a\":1,}",
                                    "{\"a\":1,\"a\":2}",
                                    "1 2",
                                    "[]x",
                                    "'a'",
                                    "{a:1}",
                                    "\"\xC3\"",
                                    "\"\xED\xA0\x80\"",
                                    "\"\\uD800\"",
                                    "\"\n\"",
                                    "01",
                                    "+1",
                                    "NaN",
                                    "1e999",
                                    "9223372036854775808",
                                    "\xEF\xBB\xBF{}",
                                    "[]\0"sv,
                                    deep,
                                    "{\"a\\u0000\":1}"};
  for (const std::string_view text : texts) {
    EXPECT_EQ(parseJson(text), nullptr) << text;
  }
  EXPECT_EQ(talvo_json_parse(nullptr, 0), nullptr);
}

TEST_F(JsonTest, CountsLevelsOutsideStringsOnly) {
  EXPECT_NE(parseJson(nested(128)), nullptr);
  EXPECT_NE(parseJson("\"" + std::string(500, '[') + "\""), nullptr);
  EXPECT_NE(parseJson("[\"\\\"" + std::string(500, '[') + "\",\"\\\\\"]"), nullptr);
  std::string sideBySide = "[";
  for (int i = 0; i < 500; ++i) {
    sideBySide += "{},";
  }
  EXPECT_NE(parseJson(sideBySide + "0]"), nullptr);
}

TEST_F(JsonTest, TellsWhereATextGoesWrong) {
  struct Row {
    std::string text;
    int32_t line;
    int32_t column;
    std::string_view message;
  };
  const Row rows[] = {{"{\n \"a\": x}", 2, 7, "x"},
                      {"{\"a\":1,\n\"a\":2}", 2, 3, "duplicate"},
                      {"", 1, 1, "end of file"},
                      {"\n\"\xC3\xA9\"" + nested(129), 2, 132, "nested deeper than 128 levels"},
                      {"\xC3\xA9", 1, 1, "\xC3\xA9"}};
  for (const Row &row : rows) {
    int32_t line = 0;
    int32_t column = 0;
    char *message = nullptr;
    EXPECT_EQ(talvo_json_parse_ex(row.text.data(), row.text.size(), &line, &column, &message),
              nullptr);
    const TextBuffer owner(message);
    ASSERT_NE(message, nullptr);
    EXPECT_EQ(line, row.line) << message;
    EXPECT_EQ(column, row.column) << message;
    EXPECT_NE(std::string_view(message).find(row.message), std::string_view::npos) << message;
  }
}

TEST_F(JsonTest, MembersAreFoundByTheirExactKey) {
  const Json object = parseJson("{\"Key\":1,\"KeyLonger\":2,\"\":3}");
  EXPECT_EQ(dump(member(object, "Key")), "1");
  EXPECT_EQ(dump(member(object, "KeyLonger"sv.substr(0, 3))), "1");
  EXPECT_EQ(dump(member(object, "")), "3");
  for (const std::string_view key : {"key"sv, "Ke"sv, "Key\0"sv, "Key\0xx"sv, "KeyLonge"sv}) {
    EXPECT_EQ(member(object, key), nullptr) << key;
  }
  EXPECT_EQ(member(parseJson("[1]"), "Key"), nullptr);
}

TEST_F(JsonTest, AnswersTypeAndValueOnlyWhereTheyFit) {
  struct Row {
    std::string_view text;
    int32_t type;
    int32_t count;
    bool isInteger;
  };
  const Row rows[] = {
      {"null", TALVO_JSON_NULL, -1, false},      {"true", TALVO_JSON_BOOLEAN, -1, false},
      {"12", TALVO_JSON_NUMBER, -1, true},       {"1.5", TALVO_JSON_NUMBER, -1, false},
      {"\"s\"", TALVO_JSON_STRING, -1, false},   {"[1,2]", TALVO_JSON_ARRAY, 2, false},
      {"{\"a\":1}", TALVO_JSON_OBJECT, 1, false}};
  for (const Row &row : rows) {
    const Json json = parseJson(row.text);
    int64_t integer = 0;
    int32_t boolean = 0;
    const char *text = nullptr;
    size_t length = 0;
    EXPECT_EQ(talvo_json_gettype(json.get()), row.type) << row.text;
    EXPECT_EQ(talvo_json_getcount(json.get()), row.count) << row.text;
    EXPECT_EQ(talvo_json_getinteger(json.get(), &integer), row.isInteger ? 1 : 0) << row.text;
    EXPECT_EQ(talvo_json_getboolean(json.get(), &boolean), row.type == TALVO_JSON_BOOLEAN ? 1 : 0);
    EXPECT_EQ(talvo_json_getstring(json.get(), &text, &length),
              row.type == TALVO_JSON_STRING ? 1 : 0);
  }
  EXPECT_EQ(talvo_json_gettype(nullptr), -1);
  EXPECT_EQ(talvo_json_getcount(nullptr), -1);
}

TEST_F(JsonTest, StringsKeepTheirNulBytes) {
  const Json json = parseJson("\"a\\u0000b\"");
  const char *text = nullptr;
  size_t length = 0;
  ASSERT_EQ(talvo_json_getstring(json.get(), &text, &length), 1);
  EXPECT_EQ(std::string_view(text, length), "a\0b"sv);
  EXPECT_EQ(talvo_json_newstring("\xFF", 1), nullptr);
}

TEST_F(JsonTest, BuildsInTheOrderInWhichMembersAreSet) {
  const Json object(talvo_json_newobject());
  const Json array(talvo_json_newarray());
  EXPECT_TRUE(set(object, "z", array));
  EXPECT_TRUE(set(object, "a", Json(talvo_json_newstring("x", 1))));
  EXPECT_TRUE(set(object, "b", Json(talvo_json_newboolean(1))));
  EXPECT_TRUE(set(object, "a", Json(talvo_json_newnull())));
  EXPECT_EQ(talvo_json_additem(array.get(), Json(talvo_json_newinteger(-5)).get()), 1)
      << "shared with the object";
  EXPECT_EQ(dump(object), "{\"z\":[-5],\"a\":null,\"b\":true}");
  EXPECT_EQ(viewOf(UString(talvo_json_getkey(object.get(), 1)).get()), "a");
  EXPECT_EQ(talvo_json_getkey(object.get(), 3), nullptr);
  EXPECT_EQ(dump(Json(talvo_json_getitem(array.get(), 0))), "-5");
  EXPECT_EQ(talvo_json_getitem(array.get(), 1), nullptr);
  EXPECT_FALSE(set(object, "nul\0"sv, array));
  EXPECT_FALSE(set(object, "\xFF", array));
  EXPECT_FALSE(set(array, "a", array));
  EXPECT_EQ(talvo_json_additem(object.get(), array.get()), 0);
}

TEST_F(JsonTest, AnItemOutlivesItsContainer) {
  Json array = parseJson("[[1]]");
  const Json item(talvo_json_getitem(array.get(), 0));
  array.reset();
  EXPECT_EQ(dump(item), "[1]");
}

TEST_F(JsonTest, RefusesCyclesOfAnyLength) {
  const Json outer = parseJson("{\"a\":[{\"b\":[]}]}");
  const Json middle = member(outer, "a");
  const Json object(talvo_json_getitem(middle.get(), 0));
  const Json inner = member(object, "b");
  for (const Json *value : {&outer, &middle, &object, &inner}) {
    EXPECT_EQ(talvo_json_additem(inner.get(), value->get()), 0);
  }
  EXPECT_EQ(dump(outer), "{\"a\":[{\"b\":[]}]}");
}

TEST_F(JsonTest, RefusesToNestDeeperThanItReads) {
  const Json deepest = parseJson(nested(127));
  const Json array(talvo_json_newarray());
  EXPECT_EQ(talvo_json_additem(array.get(), deepest.get()), 1);
  EXPECT_EQ(talvo_json_additem(Json(talvo_json_newarray()).get(), array.get()), 0);
  // From the inside nobody sees the depth; what is too deep then cannot be written or copied.
  const Json top(talvo_json_newarray());
  Json last(talvo_json_newarray());
  ASSERT_EQ(talvo_json_additem(top.get(), last.get()), 1);
  for (int levels = 2; levels < 128; ++levels) {
    Json next(talvo_json_newarray());
    ASSERT_EQ(talvo_json_additem(last.get(), next.get()), 1);
    last = std::move(next);
  }
  EXPECT_EQ(dump(top), nested(128));
  ASSERT_EQ(talvo_json_additem(last.get(), Json(talvo_json_newarray()).get()), 1);
  EXPECT_EQ(dump(top), "(failed)");
  EXPECT_EQ(talvo_json_dup(top.get()), nullptr);
}

TEST_F(JsonTest, SharedValuesAreWalkedOnce) {
  Json pair(talvo_json_newarray());
  for (int levels = 2; levels < 100; ++levels) {
    Json next(talvo_json_newarray());
    ASSERT_EQ(talvo_json_additem(next.get(), pair.get()), 1);
    ASSERT_EQ(talvo_json_additem(next.get(), pair.get()), 1);  // there are 2^98 ways to the bottom
    pair = std::move(next);
  }
}

TEST_F(JsonTest, FailsCleanlyWithoutMemory) {
  everyAllocationFails([] {
    const Json object = parseJson("{\"a\":[1,{\"b\":[]}]}");
    const Json inner = member(object, "a");
    const Json copy(talvo_json_dup(inner.get()));
    const UString key(talvo_json_getkey(object.get(), 0));
    char *text = nullptr;
    const bool done = key && copy && inner && set(object, "copy", copy) &&
                      talvo_json_dump(object.get(), &text, nullptr) == 1;
    const TextBuffer owner(text);
    return done;
  });
}

}  // namespace
}  // namespace talvo::test
