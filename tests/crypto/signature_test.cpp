// Every signature algorithm makes signatures that it accepts itself, and no key does another's
// work.
#include <gtest/gtest.h>

#include "crypto/key.h"
#include "support/keys.h"
#include "support/memory_test.h"
#include "support/workshop.h"

namespace talvo::test {
namespace {

using namespace crypto;

class SignatureTest : public MemoryTest {};

struct Method {
  const char *name;
  int32_t algorithm;
  KeyKind kind;
};

constexpr Method kMethods[] = {
    {"RSA-MD5", 1, KeyKind::rsa},        {"RSA-SHA1", 2, KeyKind::rsa},
    {"RSA-SHA256", 4, KeyKind::rsa},     {"RSA-SHA384", 5, KeyKind::rsa},
    {"RSA-SHA512", 6, KeyKind::rsa},     {"DSA-SHA1", 13, KeyKind::dsa},
    {"ECDSA-SHA1", 16, KeyKind::p256},   {"ECDSA-SHA224", 17, KeyKind::p224},
    {"ECDSA-SHA256", 18, KeyKind::p256}, {"ECDSA-SHA384", 19, KeyKind::p384},
    {"ECDSA-SHA512", 20, KeyKind::p521}, {"SM2-SM3", 25, KeyKind::sm2},
};

using Sign = Handle<TalvoPKISign, TalvoPKICryptoFreeSign>;
using Verify = Handle<TalvoPKIVerify, TalvoPKICryptoFreeVerify>;

KeyPair openKey(KeyKind kind) {
  const std::string der = privateKeyDer(kind);
  return KeyPair(TalvoPKICryptoOpenKeyPair(der.data(), der.size(), nullptr));
}

PublicKey openPublicKey(KeyKind kind) {
  const std::string der = publicKeyDer(kind);
  return PublicKey(TalvoPKICryptoImportPublicKey(
      TalvoPKICryptoGetPseudoDevice(), reinterpret_cast<const uint8_t *>(der.data()), der.size()));
}

std::string sign(TalvoPKIKeyPair *key, int32_t algorithm, std::string_view text) {
  const Sign object(TalvoPKICryptoNewSign(key, algorithm));
  uint8_t *bytes = nullptr;
  size_t length = 0;
  if (TalvoPKICryptoSignUpdate(object.get(), text.data(), text.size()) != 1 ||
      TalvoPKICryptoSignFinal(object.get(), &bytes, &length) != 1) {
    return "";
  }
  const CryptoBytes owned(bytes);
  return {reinterpret_cast<char *>(bytes), length};
}

bool verifies(TalvoPKIPublicKey *key, int32_t algorithm, std::string_view text,
              std::string_view signature) {
  const Verify object(TalvoPKICryptoNewVerify(key, algorithm));
  return TalvoPKICryptoVerifyUpdate(object.get(), text.data(), text.size()) == 1 &&
         TalvoPKICryptoVerifyFinal(object.get(),
                                   reinterpret_cast<const uint8_t *>(signature.data()),
                                   signature.size()) == 1;
}

TEST_F(SignatureTest, EveryMethodVerifiesItsOwnAndNothingElse) {
  for (const Method &method : kMethods) {
    SCOPED_TRACE(method.name);
    const KeyPair key = openKey(method.kind);
    const PublicKey publicKey(TalvoPKICryptoGetKeypairPublicKey(key.get()));
    std::string signature = sign(key.get(), method.algorithm, "text");
    ASSERT_FALSE(signature.empty());
    EXPECT_TRUE(verifies(publicKey.get(), method.algorithm, "text", signature));
    EXPECT_FALSE(verifies(publicKey.get(), method.algorithm, "tex", signature));
    EXPECT_FALSE(verifies(publicKey.get(), method.algorithm, "text", signature + "x"));
    EXPECT_FALSE(verifies(publicKey.get(), method.algorithm, "text", ""));
    signature[signature.size() / 2] = static_cast<char>(signature[signature.size() / 2] ^ 1);
    EXPECT_FALSE(verifies(publicKey.get(), method.algorithm, "text", signature));
  }
}

TEST_F(SignatureTest, NoKeyDoesTheWorkOfAnotherKind) {
  for (const Method &method : kMethods) {
    for (const Method &other : kMethods) {
      const bool fits = publicKeyDer(method.kind) == publicKeyDer(other.kind) ||
                        (method.algorithm >= 16 && method.algorithm <= 20 &&
                         other.algorithm >= 16 && other.algorithm <= 20);
      SCOPED_TRACE(std::string(method.name) + " with the key of " + other.name);
      const KeyPair key = openKey(other.kind);
      const Sign signing(TalvoPKICryptoNewSign(key.get(), method.algorithm));
      EXPECT_EQ(signing != nullptr, fits);
      const PublicKey publicKey = openPublicKey(other.kind);
      const Verify verifying(TalvoPKICryptoNewVerify(publicKey.get(), method.algorithm));
      EXPECT_EQ(verifying != nullptr, fits);
    }
  }
}

// How the openssl program names the digest, and what else it must be told.
struct Judge {
  int32_t algorithm;
  KeyKind kind;
  const char *options;
};

TEST_F(SignatureTest, OpensslAcceptsWhatIsSignedHereAndTheOtherWayRound) {
  const Workshop workshop;
  workshop.write("text", "text");
  for (const Judge &judge : {Judge{1, KeyKind::rsa, "-md5"},
                             {6, KeyKind::rsa, "-sha512"},
                             {13, KeyKind::dsa, "-sha1"},
                             {17, KeyKind::p224, "-sha224"},
                             {20, KeyKind::p521, "-sha512"},
                             {25, KeyKind::sm2, "-sm3 -sigopt distid:1234567812345678"}}) {
    SCOPED_TRACE(judge.algorithm);
    const std::string dgst = std::string("openssl dgst ") + judge.options;
    workshop.write("public", publicKeyPem(judge.kind));
    workshop.write("private", privateKeyPem(judge.kind));
    workshop.write("ours", sign(openKey(judge.kind).get(), judge.algorithm, "text"));
    EXPECT_TRUE(workshop.run(dgst + " -verify public -signature ours text"))
        << workshop.read("log");
    EXPECT_TRUE(workshop.run(dgst + " -sign private -out theirs text")) << workshop.read("log");
    EXPECT_TRUE(verifies(openPublicKey(judge.kind).get(), judge.algorithm, "text",
                         workshop.read("theirs")));
  }
}

// The same key comes out of a certificate, whatever OpenSSL calls it there.
TEST_F(SignatureTest, KeysOfCertificatesVerify) {
  for (const Method &method : kMethods) {
    SCOPED_TRACE(method.name);
    const Certificate certificate = makeIdentity({.kind = method.kind}).certificate();
    const KeyPair key(TalvoPKICertGetCertKeyPair(certificate.get(), 0, 2, nullptr));
    const PublicKey publicKey(TalvoPKICertGetCertPublicKey(certificate.get(), 0x10000002));
    const std::string signature = sign(key.get(), method.algorithm, "text");
    EXPECT_TRUE(verifies(publicKey.get(), method.algorithm, "text", signature));
  }
}

// As when an application makes the key by the curve's name alone.
TEST_F(SignatureTest, Sm2KeysMadeAsPlainCurveKeysWorkToo) {
  const EvpKeyHandle plain(EVP_EC_gen("SM2"));
  ASSERT_EQ(EVP_PKEY_is_a(plain.get(), "SM2"), 0);
  const KeyPair key(newKeyPair(makeKey(share(plain.get()))));
  const PublicKey publicKey(TalvoPKICryptoGetKeypairPublicKey(key.get()));
  EXPECT_TRUE(verifies(publicKey.get(), 25, "text", sign(key.get(), 25, "text")));
  EXPECT_EQ(TalvoPKICryptoNewSign(key.get(), 18), nullptr);
}

}  // namespace
}  // namespace talvo::test
