// Base64 and hexadecimal text.
#include <optional>
#include <random>
#include <string>
#include <string_view>

#include <openssl/evp.h>

#include "base/memory.h"
#include "support/every_allocation_fails.h"
#include "support/memory_test.h"

namespace talvo::test {
namespace {

using namespace std::string_view_literals;

class Base64Test : public MemoryTest {};
class HexTest : public MemoryTest {};

constexpr int32_t kLines = 3;
constexpr int32_t kOneLine = 4;

std::string encode(std::string_view bytes, int32_t mode) {
  char *text = nullptr;
  size_t length = 0;
  if (talvo_base64_encode(bytes.data(), bytes.size(), mode, &text, &length) != 1) {
    return "(failed)";
  }
  const TextBuffer owner(text);
  EXPECT_EQ(std::string_view(text).size(), length);
  return {text, length};
}

std::optional<std::string> decode(std::string_view text, int32_t mode = kLines) {
  uint8_t *bytes = nullptr;
  size_t length = 0;
  if (talvo_base64_decode(text.data(), text.size(), mode, &bytes, &length) != 1) {
    EXPECT_EQ(bytes, nullptr);
    return std::nullopt;
  }
  const ByteBuffer owner(bytes);
  return std::string(reinterpret_cast<const char *>(bytes), length);
}

std::string opensslEncode(std::string_view bytes) {
  std::string text(bytes.size() / 3 * 4 + 5, '\0');
  const int length = EVP_EncodeBlock(reinterpret_cast<uint8_t *>(text.data()),
                                     reinterpret_cast<const uint8_t *>(bytes.data()),
                                     static_cast<int>(bytes.size()));
  text.resize(static_cast<size_t>(length));
  return text;
}

TEST_F(Base64Test, AgreesWithOpensslAtEveryLength) {
  std::mt19937 random(1);
  std::string bytes;
  for (size_t length = 0; length < 300; ++length) {
    const std::string line = encode(bytes, kOneLine);
    ASSERT_EQ(line, opensslEncode(bytes)) << length;
    std::string wrapped;
    for (size_t i = 0; i < line.size(); i += 64) {
      wrapped += (i == 0 ? "" : "\n") + line.substr(i, 64);
    }
    ASSERT_EQ(encode(bytes, kLines), wrapped) << length;
    if (length > 0) {
      ASSERT_EQ(decode(line), bytes) << length;
      ASSERT_EQ(decode(wrapped), bytes) << length;
    }
    bytes.push_back(static_cast<char>(random()));
  }
}

TEST_F(Base64Test, EveryModeDecodesAlikeAndTwoEncode) {
  for (const int32_t mode : {2, 3, 4}) {
    EXPECT_EQ(decode("QUJD", mode), "ABC") << mode;
  }
  for (const int32_t mode : {0, 1, 5}) {
    EXPECT_EQ(decode("QUJD", mode), std::nullopt) << mode;
    EXPECT_EQ(encode("ABC", mode), "(failed)") << mode;
  }
  EXPECT_EQ(encode("ABC", 2), "(failed)");
}

TEST_F(Base64Test, DecodesStrictlyButForWhiteSpace) {
  struct Row {
    std::string_view text;
    std::optional<std::string> bytes;
  };
  const Row rows[] = {
      {"QQ==", "A"},
      {"QUI=", "AB"},
      {"QUJD", "ABC"},
      {" \t\r\nQ\nU\rJ\tD \r\n", "ABC"},
      {"Q Q = =\n", "A"},
      {"++//", "\xFB\xEF\xFF"},
      // The bits behind the last byte are not looked at.
      {"QR==", "A"},
      {"", std::nullopt},
      {" \n", std::nullopt},
      {"=", std::nullopt},
      {"Q", std::nullopt},
      {"QQ", std::nullopt},
      {"QQ=", std::nullopt},
      {"QUI", std::nullopt},
      {"Q===", std::nullopt},
      {"QUI==", std::nullopt},
      {"QUJD=", std::nullopt},
      {"QUJD====", std::nullopt},
      {"QQ===", std::nullopt},
      {"QQ=Q", std::nullopt},
      {"QQ==QUJD", std::nullopt},
      {"QUI=QUJD", std::nullopt},
      {"-_-_", std::nullopt},
      {"QUJD\0"sv, std::nullopt},
      {"QUJD\v", std::nullopt},
      {"QUJ\xC3\x84", std::nullopt},
  };
  for (const Row &row : rows) {
    EXPECT_EQ(decode(row.text), row.bytes) << row.text;
  }
}

TEST_F(Base64Test, EveryOtherCharacterIsRefusedInEveryPlace) {
  constexpr auto kAllowed =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/ \t\r\n"sv;
  for (int code = 0; code < 256; ++code) {
    const char character = static_cast<char>(code);
    if (kAllowed.find(character) != std::string_view::npos) {
      continue;
    }
    for (size_t place = 0; place < 8; ++place) {
      std::string text = "QUJDQUJD";
      text[place] = character;
      const bool isLastPadding = character == '=' && place == 7;
      EXPECT_EQ(decode(text).has_value(), isLastPadding) << code << " at " << place;
    }
  }
}

TEST_F(HexTest, EncodesInUpperCase) {
  char *text = nullptr;
  ASSERT_EQ(talvo_hex_encode("\x00\x9f\xff", 3, &text), 1);
  const TextBuffer owner(text);
  EXPECT_STREQ(text, "009FFF");
}

TEST_F(HexTest, DecodesBothCasesAndCompletePairsOnly) {
  struct Row {
    std::string_view text;
    std::optional<std::string> bytes;
  };
  const Row rows[] = {{"aBfF09", "\xAB\xFF\x09"}, {"", std::nullopt},   {"a", std::nullopt},
                      {"abc", std::nullopt},      {"ag", std::nullopt}, {"g0", std::nullopt},
                      {" 0", std::nullopt},       {"0x", std::nullopt}, {"@A", std::nullopt},
                      {"1\x10", std::nullopt},    {"[a", std::nullopt}};
  for (const Row &row : rows) {
    uint8_t *bytes = nullptr;
    size_t length = 0;
    const bool decoded = talvo_hex_decode(row.text.data(), row.text.size(), &bytes, &length) == 1;
    const ByteBuffer owner(bytes);
    ASSERT_EQ(decoded, row.bytes.has_value()) << row.text;
    if (decoded) {
      EXPECT_EQ(std::string(reinterpret_cast<const char *>(bytes), length), *row.bytes);
    }
  }
}

TEST_F(Base64Test, FailsCleanlyWithoutMemory) {
  everyAllocationFails([] {
    char *text = nullptr;
    char *hex = nullptr;
    uint8_t *bytes = nullptr;
    size_t length = 0;
    const bool done = talvo_base64_encode("ABC", 3, kLines, &text, nullptr) == 1 &&
                      talvo_base64_decode("QUJD", 4, kLines, &bytes, &length) == 1 &&
                      talvo_hex_encode("ABC", 3, &hex) == 1;
    const TextBuffer textOwner(text);
    const TextBuffer hexOwner(hex);
    const ByteBuffer byteOwner(bytes);
    return done;
  });
}

}  // namespace
}  // namespace talvo::test
