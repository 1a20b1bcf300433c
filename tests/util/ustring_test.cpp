#include <string>
#include <string_view>

#include "base/utf8.h"
#include "support/every_allocation_fails.h"
#include "support/memory_test.h"

namespace talvo::test {
namespace {

using namespace std::string_view_literals;

class UStringTest : public MemoryTest {};

// Sets the sequence behind 0 to 17 ASCII bytes and before another, so that it meets every step of
// the fast path.
bool isAcceptedAnywhere(std::string_view sequence, bool expected) {
  for (size_t before = 0; before < 18; ++before) {
    for (const size_t after : {size_t{0}, size_t{1}, size_t{9}}) {
      const std::string text =
          std::string(before, 'a') + std::string(sequence) + std::string(after, 'z');
      const UString string = makeString(text);
      if ((string != nullptr) != expected || (expected && viewOf(string.get()) != text)) {
        return false;
      }
    }
  }
  return true;
}

TEST_F(UStringTest, AcceptsExactlyWellFormedUtf8) {
  struct Row {
    std::string_view name;
    std::string_view bytes;
    bool valid;
  };
  const Row rows[] = {
      {"NUL", "\0"sv, true},
      {"first of two bytes", "\xC2\x80", true},
      {"last of two bytes", "\xDF\xBF", true},
      {"first of three bytes", "\xE0\xA0\x80", true},
      {"before the surrogates", "\xED\x9F\xBF", true},
      {"behind the surrogates", "\xEE\x80\x80", true},
      {"U+FFFF", "\xEF\xBF\xBF", true},
      {"first of four bytes", "\xF0\x90\x80\x80", true},
      {"U+10FFFF", "\xF4\x8F\xBF\xBF", true},
      {"continuation alone", "\x80", false},
      {"overlong two bytes", "\xC0\x80", false},
      {"overlong slash", "\xC1\xAF", false},
      {"overlong three bytes", "\xE0\x9F\xBF", false},
      {"overlong four bytes", "\xF0\x8F\xBF\xBF", false},
      {"high surrogate", "\xED\xA0\x80", false},
      {"low surrogate", "\xED\xBF\xBF", false},
      {"above U+10FFFF", "\xF4\x90\x80\x80", false},
      {"five bytes", "\xF8\x88\x80\x80\x80", false},
      {"FE", "\xFE", false},
      {"cut after one of two", "\xC3", false},
      {"cut after two of three", "\xE2\x82", false},
      {"cut after three of four", "\xF0\x9F\x98", false},
      {"third byte wrong", "\xE2\x82\x41", false},
      {"fourth byte wrong", "\xF0\x9F\x98\xC0", false},
  };
  for (const Row &row : rows) {
    EXPECT_TRUE(isAcceptedAnywhere(row.bytes, row.valid)) << row.name;
  }
}

TEST_F(UStringTest, NullTextIsAStringOnlyWithoutLength) {
  EXPECT_EQ(talvo_ustring_newutf8(nullptr, 1), nullptr);
  const UString empty(talvo_ustring_newutf8(nullptr, 0));
  ASSERT_NE(empty, nullptr);
  EXPECT_STREQ(talvo_ustring_getutf8(empty.get()), "");
}

TEST_F(UStringTest, TextWithNulCannotBeHandedOutTerminated) {
  char *text = nullptr;
  size_t length = 7;
  EXPECT_EQ(talvo_ustring_toutf8(makeString("a\0b"sv).get(), &text, &length), 0);
  EXPECT_EQ(talvo_ustring_toutf8(nullptr, &text, &length), 0);
  EXPECT_EQ(text, nullptr);
  EXPECT_EQ(length, 7U);
  ASSERT_EQ(talvo_ustring_toutf8(makeString("\xC3\xA9!").get(), &text, &length), 1);
  const TextBuffer owner(text);
  EXPECT_STREQ(text, "\xC3\xA9!");
  EXPECT_EQ(length, 3U);
}

TEST_F(UStringTest, OrdersByBytesWithNullBeforeTheEmptyString) {
  // In ascending order.
  const UString strings[] = {nullptr,          makeString(""),  makeString("\0"sv),
                             makeString("A"),  makeString("a"), makeString("a\0"sv),
                             makeString("aa"), makeString("b"), makeString("\xC3\xA9")};
  for (size_t i = 0; i < std::size(strings); ++i) {
    for (size_t j = 0; j < std::size(strings); ++j) {
      const int32_t expected = i < j ? -1 : (i > j ? 1 : 0);
      EXPECT_EQ(talvo_ustring_cmp(strings[i].get(), strings[j].get()), expected)
          << i << " and " << j;
    }
  }
  EXPECT_TRUE(equal(makeString("same").get(), makeString("same").get()));
}

TEST_F(UStringTest, JoinsAndCopies) {
  const UString joined(talvo_ustring_cat(makeString("a\0b"sv).get(), makeString("cd").get()));
  EXPECT_EQ(viewOf(joined.get()), "a\0bcd"sv);
  const UString copy(talvo_ustring_dup(joined.get()));
  EXPECT_NE(copy, joined);
  EXPECT_TRUE(equal(copy.get(), joined.get()));
  EXPECT_EQ(talvo_ustring_cat(joined.get(), nullptr), nullptr);
  EXPECT_EQ(talvo_ustring_dup(nullptr), nullptr);
}

TEST_F(UStringTest, FailsCleanlyWithoutMemory) {
  everyAllocationFails([] {
    const UString first = makeString("first");
    const UString second(talvo_ustring_dup(first.get()));
    const UString joined(talvo_ustring_cat(first.get(), second.get()));
    char *text = nullptr;
    const bool done = talvo_ustring_toutf8(joined.get(), &text, nullptr) == 1;
    const TextBuffer owner(text);
    return done;
  });
}

}  // namespace
}  // namespace talvo::test
