// Hashes and MACs against OpenSSL's one-call forms, and what fed objects refuse.
#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>

#include "support/every_allocation_fails.h"
#include "support/keys.h"
#include "support/memory_test.h"

namespace talvo::test {
namespace {

using Hash = Handle<TalvoPKIHash, TalvoPKICryptoFreeHash>;
using Mac = Handle<TalvoPKIMac, TalvoPKICryptoFreeMac>;

class HashTest : public MemoryTest {};
class MacTest : public MemoryTest {};

constexpr std::string_view kText = "The quick brown fox";

template <class Final, class Object>
std::string finish(Final final, Object *object) {
  uint8_t *bytes = nullptr;
  size_t length = 0;
  if (final(object, &bytes, &length) != 1) {
    return "";
  }
  const CryptoBytes owned(bytes);
  return {reinterpret_cast<char *>(bytes), length};
}

TEST_F(HashTest, DigestsInPiecesAsInOne) {
  for (const auto &[number, method] : {std::pair{0x1000, EVP_md5()},
                                       {0x2000, EVP_sha1()},
                                       {0x3000, EVP_sha224()},
                                       {0x4000, EVP_sha256()},
                                       {0x5000, EVP_sha384()},
                                       {0x6000, EVP_sha512()},
                                       {0x7000, EVP_sm3()},
                                       {0x8000, EVP_sha3_224()},
                                       {0x9000, EVP_sha3_256()},
                                       {0xa000, EVP_sha3_384()},
                                       {0xb000, EVP_sha3_512()}}) {
    SCOPED_TRACE(number);
    unsigned char expected[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    ASSERT_EQ(EVP_Digest(kText.data(), kText.size(), expected, &length, method, nullptr), 1);
    const Hash hash(TalvoPKICryptoGetHashHandle(number));
    EXPECT_EQ(TalvoPKICryptoHashUpdate(hash.get(), kText.data(), 5), 1);
    EXPECT_EQ(TalvoPKICryptoHashUpdate(hash.get(), nullptr, 0), 1);
    EXPECT_EQ(TalvoPKICryptoHashUpdate(hash.get(), kText.data() + 5, kText.size() - 5), 1);
    EXPECT_EQ(finish(TalvoPKICryptoHashFinal, hash.get()),
              std::string(reinterpret_cast<char *>(expected), length));
    EXPECT_EQ(TalvoPKICryptoHashUpdate(hash.get(), "x", 1), 0);
    EXPECT_EQ(finish(TalvoPKICryptoHashFinal, hash.get()), "");
  }
}

TEST_F(HashTest, UnknownNumbersAreRefused) {
  for (const int32_t number : {0, 1, 0xc000, 0x2001, -1}) {
    EXPECT_EQ(TalvoPKICryptoGetHashHandle(number), nullptr) << number;
  }
}

TEST_F(HashTest, SurvivesExhaustedMemory) {
  everyAllocationFails([] {
    const Hash hash(TalvoPKICryptoGetHashHandle(0x4000));
    uint8_t *digest = nullptr;
    size_t length = 0;
    const bool done = TalvoPKICryptoHashFinal(hash.get(), &digest, &length) == 1;
    TalvoPKICryptoFreeMemory(digest);
    return done;
  });
}

TEST_F(MacTest, AgreesWithOpensslForKeysOfEveryLength) {
  for (const auto &[number, method] : {std::pair{0x20000, EVP_md5()},
                                       {0x40000, EVP_sha1()},
                                       {0x60000, EVP_sha224()},
                                       {0x80000, EVP_sha256()},
                                       {0xa0000, EVP_sha384()},
                                       {0xc0000, EVP_sha512()}}) {
    for (const size_t keyLength : {0, 1, 64, 200}) {
      SCOPED_TRACE(std::to_string(number) + " with " + std::to_string(keyLength));
      const std::string key(keyLength, 'k');
      unsigned char expected[EVP_MAX_MD_SIZE];
      unsigned int length = 0;
      ASSERT_NE(HMAC(method, key.data(), static_cast<int>(keyLength),
                     reinterpret_cast<const unsigned char *>(kText.data()), kText.size(), expected,
                     &length),
                nullptr);
      const Mac mac(TalvoPKICryptoNewMac(number, keyLength == 0 ? nullptr : key.data(), keyLength));
      EXPECT_EQ(TalvoPKICryptoMacUpdate(mac.get(), kText.data(), kText.size()), 1);
      EXPECT_EQ(finish(TalvoPKICryptoMacFinal, mac.get()),
                std::string(reinterpret_cast<char *>(expected), length));
      EXPECT_EQ(TalvoPKICryptoMacUpdate(mac.get(), "x", 1), 0);
    }
  }
  EXPECT_EQ(TalvoPKICryptoNewMac(0x4000, "k", 1), nullptr);
}

TEST_F(MacTest, ComparisonIsExact) {
  EXPECT_EQ(TalvoPKICryptoEqualMemory("abc", "abd", 2), 1);
  EXPECT_EQ(TalvoPKICryptoEqualMemory("abc", "abd", 3), 0);
  EXPECT_EQ(TalvoPKICryptoEqualMemory(nullptr, "abd", 3), 0);
  EXPECT_EQ(TalvoPKICryptoEqualMemory(nullptr, nullptr, 0), 1);
}

TEST_F(HashTest, RandomOctetsFillTheBufferAndDiffer) {
  uint8_t first[64] = {};
  uint8_t second[64] = {};
  TalvoPKIDevice *device = TalvoPKICryptoGetPseudoDevice();
  EXPECT_EQ(TalvoPKICryptoGenerateRandom(device, first, sizeof first), 1);
  EXPECT_EQ(TalvoPKICryptoGenerateRandom(device, second, sizeof second), 1);
  EXPECT_EQ(TalvoPKICryptoEqualMemory(first, second, sizeof first), 0);
  EXPECT_EQ(TalvoPKICryptoGenerateRandom(nullptr, first, sizeof first), 0);
}

TEST_F(HashTest, TheErrorQueueOfTheApplicationStaysAsItWas) {
  ERR_clear_error();
  ERR_raise(ERR_LIB_USER, 42);
  const unsigned long mine = ERR_peek_last_error();
  EXPECT_EQ(TalvoPKICertNewCert("rubbish", 7), nullptr);
  EXPECT_EQ(TalvoPKICryptoOpenKeyPair("rubbish", 7, "x"), nullptr);
  EXPECT_EQ(ERR_peek_last_error(), mine);
  EXPECT_EQ(ERR_get_error(), mine);
  EXPECT_EQ(ERR_get_error(), 0U);
}

}  // namespace
}  // namespace talvo::test
