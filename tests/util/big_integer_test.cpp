#include <string>
#include <string_view>

#include "base/memory.h"
#include "support/every_allocation_fails.h"
#include "support/memory_test.h"

namespace talvo::test {
namespace {

using namespace std::string_view_literals;

class BigIntegerTest : public MemoryTest {};

std::string decimal(const BigInteger &number) {
  char *text = nullptr;
  if (talvo_biginteger_todec(number.get(), &text) != 1) {
    return "(none)";
  }
  const TextBuffer owner(text);
  return text;
}

TEST_F(BigIntegerTest, ReadsBigEndianBytesWithAndWithoutSign) {
  struct Row {
    std::string_view bytes;
    std::string_view unsignedValue;
    std::string_view signedValue;
  };
  const Row rows[] = {
      {"", "0", "(none)"},
      {"\0"sv, "0", "0"},
      {"\x7F", "127", "127"},
      {"\x80", "128", "-128"},
      {"\xFF", "255", "-1"},
      {"\0\xFF"sv, "255", "255"},
      {"\0\0\x01"sv, "1", "1"},
      {"\xFF\x7F", "65407", "-129"},
      {"\x80\0\0\0\0\0\0\0\0"sv, "2361183241434822606848", "-2361183241434822606848"}};
  for (const Row &row : rows) {
    const BigInteger magnitude(
        talvo_biginteger_newunsigneddata(row.bytes.data(), row.bytes.size()));
    const BigInteger number(talvo_biginteger_newsigneddata(row.bytes.data(), row.bytes.size()));
    EXPECT_EQ(decimal(magnitude), row.unsignedValue);
    EXPECT_EQ(decimal(number), row.signedValue);
  }
  EXPECT_EQ(talvo_biginteger_newunsigneddata(nullptr, 1), nullptr);
}

TEST_F(BigIntegerTest, ReadsNothingButDecimalDigits) {
  const std::string longest(19728, '9');
  for (const std::string &text : {std::string("0"), std::string("-17"),
                                  std::string("123456789012345678901234567890"), longest}) {
    EXPECT_EQ(decimal(BigInteger(talvo_biginteger_newdec(text.c_str()))), text);
  }
  EXPECT_EQ(decimal(BigInteger(talvo_biginteger_newdec("-007"))), "-7");
  EXPECT_EQ(decimal(BigInteger(talvo_biginteger_newdec("-0"))), "0");
  for (const char *text : {"", "-", "--1", "+1", " 1", "1 ", "12a", "0x1", "1.0"}) {
    EXPECT_EQ(talvo_biginteger_newdec(text), nullptr) << text;
  }
  EXPECT_EQ(talvo_biginteger_newdec((longest + "9").c_str()), nullptr);
  EXPECT_EQ(talvo_biginteger_newdec(nullptr), nullptr);
}

TEST_F(BigIntegerTest, TellsSignBitsAndOrder) {
  const char *ascending[] = {"-256", "-1", "0", "1", "255", "256"};
  const int32_t bits[] = {9, 1, 0, 1, 8, 9};
  for (size_t i = 0; i < std::size(ascending); ++i) {
    const BigInteger number(talvo_biginteger_newdec(ascending[i]));
    EXPECT_EQ(talvo_biginteger_getsign(number.get()), i < 2 ? -1 : (i == 2 ? 0 : 1));
    EXPECT_EQ(talvo_biginteger_getbits(number.get()), bits[i]);
    for (size_t j = 0; j < std::size(ascending); ++j) {
      const BigInteger other(talvo_biginteger_newdec(ascending[j]));
      EXPECT_EQ(talvo_biginteger_cmp(number.get(), other.get()), i < j ? -1 : (i > j ? 1 : 0));
    }
    EXPECT_EQ(talvo_biginteger_cmp(nullptr, number.get()), -1);
  }
  EXPECT_EQ(talvo_biginteger_getbits(nullptr), -1);
}

TEST_F(BigIntegerTest, WritesItsMagnitudePaddedOrNotAtAll) {
  const BigInteger number(talvo_biginteger_newdec("-258"));
  uint8_t bytes[4] = {9, 9, 9, 9};
  EXPECT_EQ(talvo_biginteger_getunsigneddata(number.get(), bytes, 1), 0);
  EXPECT_EQ(bytes[0], 9);
  ASSERT_EQ(talvo_biginteger_getunsigneddata(number.get(), bytes, 4), 1);
  EXPECT_EQ(std::string(bytes, bytes + 4), "\0\0\1\2"sv);
}

TEST_F(BigIntegerTest, FailsCleanlyWithoutMemory) {
  everyAllocationFails([] {
    const BigInteger number(talvo_biginteger_newdec("-12"));
    const BigInteger copy(talvo_biginteger_dup(number.get()));
    char *text = nullptr;
    const bool done = talvo_biginteger_todec(copy.get(), &text) == 1;
    const TextBuffer owner(text);
    return done && std::string_view(text) == "-12";
  });
}

}  // namespace
}  // namespace talvo::test
