// Public keys from numbers and blobs, what keys tell about themselves, and DER signature halves.
#include <gtest/gtest.h>
#include <openssl/core_names.h>

#include "support/every_allocation_fails.h"
#include "support/keys.h"
#include "support/memory_test.h"

namespace talvo::test {
namespace {

class KeyTest : public MemoryTest {};
class EccSignatureTest : public MemoryTest {};

const uint8_t *bytesOf(const std::string &text) {
  return reinterpret_cast<const uint8_t *>(text.data());
}

PublicKey import(const std::string &bytes) {
  return PublicKey(
      TalvoPKICryptoImportPublicKey(TalvoPKICryptoGetPseudoDevice(), bytesOf(bytes), bytes.size()));
}

KeyPair open(KeyKind kind) {
  const std::string der = privateKeyDer(kind);
  return KeyPair(TalvoPKICryptoOpenKeyPair(der.data(), der.size(), nullptr));
}

// A number of the key as `length` big-endian octets, or as many as it has.
std::string numberOf(KeyKind kind, const char *name, int length = 0) {
  BIGNUM *number = nullptr;
  EXPECT_EQ(EVP_PKEY_get_bn_param(evpKey(kind), name, &number), 1);
  const Handle<BIGNUM, BN_free> owned(number);
  std::string octets(static_cast<size_t>(length == 0 ? BN_num_bytes(number) : length), '\0');
  BN_bn2binpad(number, reinterpret_cast<unsigned char *>(octets.data()),
               static_cast<int>(octets.size()));
  return octets;
}

std::string lengthOf(size_t length) {
  std::string octets;
  for (int shift = 24; shift >= 0; shift -= 8) {
    octets += static_cast<char>(length >> shift & 0xffU);
  }
  return octets;
}

struct DsaNumbers {
  std::string p, q, g, y;
};

DsaNumbers dsaNumbers() {
  const std::string p = numberOf(KeyKind::dsa, OSSL_PKEY_PARAM_FFC_P);
  const int length = static_cast<int>(p.size());
  return {p, numberOf(KeyKind::dsa, OSSL_PKEY_PARAM_FFC_Q),
          numberOf(KeyKind::dsa, OSSL_PKEY_PARAM_FFC_G, length),
          numberOf(KeyKind::dsa, OSSL_PKEY_PARAM_PUB_KEY, length)};
}

const std::string kBlobStart("_PUBKEY_\0\0\0\2", 12);

std::string dsaBlob(const DsaNumbers &numbers) {
  const std::string rest = lengthOf(numbers.p.size()) + numbers.p + lengthOf(numbers.q.size()) +
                           numbers.q + numbers.g + numbers.y;
  return kBlobStart + lengthOf(rest.size()) + rest;
}

std::string rsaKey(const std::string &modulus, const std::string &exponent) {
  uint8_t *bytes = nullptr;
  size_t length = 0;
  if (TalvoPKICryptoEncodeRSAPubKey(bytesOf(modulus), modulus.size(), bytesOf(exponent),
                                    exponent.size(), &bytes, &length) != 1) {
    return "";
  }
  const CryptoBytes owned(bytes);
  return {reinterpret_cast<char *>(bytes), length};
}

bool verifies(TalvoPKIPublicKey *key, KeyKind signer, int32_t algorithm) {
  const KeyPair keyPair = open(signer);
  const Handle<TalvoPKISign, TalvoPKICryptoFreeSign> sign(
      TalvoPKICryptoNewSign(keyPair.get(), algorithm));
  uint8_t *signature = nullptr;
  size_t length = 0;
  EXPECT_EQ(TalvoPKICryptoSignUpdate(sign.get(), "text", 4), 1);
  EXPECT_EQ(TalvoPKICryptoSignFinal(sign.get(), &signature, &length), 1);
  const CryptoBytes owned(signature);
  const Handle<TalvoPKIVerify, TalvoPKICryptoFreeVerify> verify(
      TalvoPKICryptoNewVerify(key, algorithm));
  return TalvoPKICryptoVerifyUpdate(verify.get(), "text", 4) == 1 &&
         TalvoPKICryptoVerifyFinal(verify.get(), signature, length) == 1;
}

TEST_F(KeyTest, TellsTypeCurveAndWidthOfASignatureHalf) {
  struct Row {
    KeyKind kind;
    int32_t type;
    int32_t bits;
  };
  for (const Row &row : {Row{KeyKind::rsa, 1, 2048},
                         {KeyKind::dsa, 2, 160},
                         {KeyKind::p224, 4, 224},
                         {KeyKind::p256, 4, 256},
                         {KeyKind::p384, 4, 384},
                         {KeyKind::p521, 4, 521},
                         {KeyKind::sm2, 4, 256}}) {
    SCOPED_TRACE(row.bits);
    const KeyPair key = open(row.kind);
    EXPECT_EQ(TalvoPKICryptoGetKeypairType(key.get()), row.type);
    EXPECT_EQ(TalvoPKICryptoGetKeypairBits(key.get()), row.bits);
    EXPECT_EQ(TalvoPKICryptoIsSM2KeyPair(key.get()), row.kind == KeyKind::sm2 ? 1 : 0);
    const PublicKey publicKey(TalvoPKICryptoGetKeypairPublicKey(key.get()));
    EXPECT_EQ(TalvoPKICryptoGetPublicKeyType(publicKey.get()), row.type);
  }
  EXPECT_EQ(TalvoPKICryptoGetKeypairBits(nullptr), -1);
  EXPECT_EQ(TalvoPKICryptoGetKeypairType(nullptr), 0);
}

TEST_F(KeyTest, PublicKeysFromNumbersVerify) {
  const std::string encoded = rsaKey(numberOf(KeyKind::rsa, OSSL_PKEY_PARAM_RSA_N),
                                     numberOf(KeyKind::rsa, OSSL_PKEY_PARAM_RSA_E));
  EXPECT_TRUE(verifies(import(encoded).get(), KeyKind::rsa, 4));
  EXPECT_TRUE(verifies(import(dsaBlob(dsaNumbers())).get(), KeyKind::dsa, 13));
  EXPECT_FALSE(verifies(import(encoded).get(), KeyKind::rsaOther, 4));
}

TEST_F(KeyTest, MalformedAndOversizedKeysAreRefused) {
  const std::string exponent("\1\0\1", 3);
  const DsaNumbers numbers = dsaNumbers();
  const std::string blob = dsaBlob(numbers);
  DsaNumbers large = numbers;
  for (std::string *number : {&large.p, &large.g, &large.y}) {
    *number = std::string(1251, '\xff');  // 10,008 bits
  }
  DsaNumbers empty = numbers;
  empty.q.clear();
  std::string otherType = blob;
  otherType[11] = 1;
  std::string hugeLength = blob;
  hugeLength.replace(16, 4, "\xff\xff\xff\xff");
  for (const auto &[name, bytes] :
       {std::pair{"nothing", std::string()},
        {"rubbish", std::string("x")},
        {"RSA of 16,385 bits", rsaKey('\1' + std::string(2048, '\xff'), exponent)},
        {"RSA and more", rsaKey(std::string(256, '\xff'), exponent) + "x"},
        {"DSA of 10,008 bits", dsaBlob(large)},
        {"DSA without Q", dsaBlob(empty)},
        {"blob of another type", otherType},
        {"blob with a length beyond its end", hugeLength},
        {"blob and more", blob + "x"},
        {"blob cut short", blob.substr(0, blob.size() - 1)},
        {"blob start alone", kBlobStart},
        {"SubjectPublicKeyInfo and more", publicKeyDer(KeyKind::p256) + "x"}}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(import(bytes), nullptr);
  }
  EXPECT_NE(import(rsaKey(std::string(2048, '\xff'), exponent)), nullptr);  // 16,384 bits
}

TEST_F(KeyTest, NonsenseNumbersOnlyFailToVerify) {
  DsaNumbers zero = dsaNumbers();
  zero.p = std::string(zero.p.size(), '\0');
  DsaNumbers even = dsaNumbers();
  even.p.back() = static_cast<char>(even.p.back() & '\xfe');
  for (const std::string &blob : {dsaBlob(zero), dsaBlob(even)}) {
    EXPECT_FALSE(verifies(import(blob).get(), KeyKind::dsa, 13));
  }
  for (const std::string &modulus :
       {std::string(1, '\0'), std::string(1, '\1'), std::string(256, '\xfe')}) {
    EXPECT_FALSE(verifies(import(rsaKey(modulus, "\3")).get(), KeyKind::rsa, 4));
  }
}

TEST_F(KeyTest, SurvivesExhaustedMemory) {
  const std::string blob = dsaBlob(dsaNumbers());
  const std::string der = privateKeyDer(KeyKind::p256);
  everyAllocationFails([&] {
    const PublicKey dsa = import(blob);
    const KeyPair key(TalvoPKICryptoOpenKeyPair(der.data(), der.size(), nullptr));
    const KeyPair copy(TalvoPKICryptoDupKeyPair(key.get()));
    const PublicKey publicKey(TalvoPKICryptoGetKeypairPublicKey(copy.get()));
    const Handle<TalvoPKISign, TalvoPKICryptoFreeSign> sign(TalvoPKICryptoNewSign(copy.get(), 18));
    uint8_t *signature = nullptr;
    size_t length = 0;
    const bool isSigned = TalvoPKICryptoSignFinal(sign.get(), &signature, &length) == 1;
    const CryptoBytes owned(signature);
    const Handle<TalvoPKIVerify, TalvoPKICryptoFreeVerify> verify(
        TalvoPKICryptoNewVerify(publicKey.get(), 18));
    return dsa && isSigned && TalvoPKICryptoVerifyFinal(verify.get(), signature, length) == 1;
  });
}

std::string encode(const std::string &r, const std::string &s) {
  uint8_t *der = nullptr;
  size_t length = 0;
  if (TalvoPKICryptoEncodeECCSignature(bytesOf(r), r.size(), bytesOf(s), s.size(), &der, &length) !=
      1) {
    return "";
  }
  const CryptoBytes owned(der);
  return {reinterpret_cast<char *>(der), length};
}

bool decodes(const std::string &der, std::string *r, std::string *s) {
  uint8_t *first = nullptr;
  uint8_t *second = nullptr;
  size_t firstLength = 0;
  size_t secondLength = 0;
  if (TalvoPKICryptoDecodeECCSignature(bytesOf(der), der.size(), &first, &firstLength, &second,
                                       &secondLength) != 1) {
    return false;
  }
  const CryptoBytes ownedFirst(first);
  const CryptoBytes ownedSecond(second);
  r->assign(reinterpret_cast<char *>(first), firstLength);
  s->assign(reinterpret_cast<char *>(second), secondLength);
  return true;
}

TEST_F(EccSignatureTest, HalvesGoInAndOutWithoutLeadingZeros) {
  struct Row {
    std::string r, s, der;
  };
  for (const Row &row :
       {Row{"\1", "\2", "\x30\6\2\1\1\2\1\2"},
        {std::string("\0\0\x81", 3), "\x7f", std::string("\x30\7\2\2\0\x81\2\1\x7f", 9)},
        {"", "\1", std::string("\x30\6\2\1\0\2\1\1", 8)}}) {
    EXPECT_EQ(encode(row.r, row.s), row.der);
    std::string r;
    std::string s;
    ASSERT_TRUE(decodes(row.der, &r, &s));
    EXPECT_EQ(r, row.r.substr(std::min(row.r.find_first_not_of('\0'), row.r.size())));
    EXPECT_EQ(s, row.s);
  }
  EXPECT_EQ(encode(std::string(70'000, 'x'), "\1"), "");
}

TEST_F(EccSignatureTest, AnythingButOneSequenceOfTwoUnsignedNumbersIsRefused) {
  for (const std::string &der :
       {std::string(), std::string("\x30"), std::string("\x30\3\2\1\1", 5),
        std::string("\x30\6\2\1\1\2\1\2x", 9), std::string("\x30\7\2\1\1\2\1\2", 8),
        std::string("\x30\6\2\1\xff\2\1\2", 8), std::string("\x30\7\2\2\0\1\2\1\2", 9)}) {
    std::string r;
    std::string s;
    EXPECT_FALSE(decodes(der, &r, &s)) << der.size();
  }
}

}  // namespace
}  // namespace talvo::test
