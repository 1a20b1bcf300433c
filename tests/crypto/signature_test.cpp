// Every signature algorithm makes signatures that it accepts itself and that the openssl program
// accepts, and no key does another's work.
#include <gtest/gtest.h>

#include "crypto/handle.h"
#include "crypto/key.h"
#include "support/every_allocation_fails.h"
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
  const char *options;  // of `openssl dgst`; null where that is no digest
};

#define PSS " -sigopt rsa_padding_mode:pss -sigopt rsa_pss_saltlen:-1"

constexpr Method kMethods[] = {
    {"RSA-MD5", TALVO_CRYPTO_RSA_MD5, KeyKind::rsa, "-md5"},
    {"RSA-SHA1", TALVO_CRYPTO_RSA_SHA1, KeyKind::rsa, "-sha1"},
    {"RSA-SHA224", TALVO_CRYPTO_RSA_SHA224, KeyKind::rsa, "-sha224"},
    {"RSA-SHA256", TALVO_CRYPTO_RSA_SHA256, KeyKind::rsa, "-sha256"},
    {"RSA-SHA384", TALVO_CRYPTO_RSA_SHA384, KeyKind::rsa, "-sha384"},
    {"RSA-SHA512", TALVO_CRYPTO_RSA_SHA512, KeyKind::rsa, "-sha512"},
    {"DSA-SHA1", TALVO_CRYPTO_DSA_SHA1, KeyKind::dsa, "-sha1"},
    {"DSA-SHA256", TALVO_CRYPTO_DSA_SHA256, KeyKind::dsa, "-sha256"},
    {"ECDSA-SHA1", TALVO_CRYPTO_ECDSA_SHA1, KeyKind::p256, "-sha1"},
    {"ECDSA-SHA224", TALVO_CRYPTO_ECDSA_SHA224, KeyKind::p224, "-sha224"},
    {"ECDSA-SHA256", TALVO_CRYPTO_ECDSA_SHA256, KeyKind::p256, "-sha256"},
    {"ECDSA-SHA384", TALVO_CRYPTO_ECDSA_SHA384, KeyKind::p384, "-sha384"},
    {"ECDSA-SHA512", TALVO_CRYPTO_ECDSA_SHA512, KeyKind::p521, "-sha512"},
    {"ECDSA-SHA3-224", TALVO_CRYPTO_ECDSA_SHA3_224, KeyKind::p224, "-sha3-224"},
    {"ECDSA-SHA3-256", TALVO_CRYPTO_ECDSA_SHA3_256, KeyKind::p256, "-sha3-256"},
    {"ECDSA-SHA3-384", TALVO_CRYPTO_ECDSA_SHA3_384, KeyKind::p384, "-sha3-384"},
    {"ECDSA-SHA3-512", TALVO_CRYPTO_ECDSA_SHA3_512, KeyKind::p521, "-sha3-512"},
    {"SM2-SM3", TALVO_CRYPTO_SM2_SM3, KeyKind::sm2, "-sm3 -sigopt distid:1234567812345678"},
    {"Ed25519", TALVO_CRYPTO_ED25519, KeyKind::ed25519, nullptr},
    {"Ed448", TALVO_CRYPTO_ED448, KeyKind::ed448, nullptr},
    {"RSA-PSS-SHA1", TALVO_CRYPTO_RSA_PSS_SHA1, KeyKind::rsa, "-sha1" PSS},
    {"RSA-PSS-SHA224", TALVO_CRYPTO_RSA_PSS_SHA224, KeyKind::rsa, "-sha224" PSS},
    {"RSA-PSS-SHA256", TALVO_CRYPTO_RSA_PSS_SHA256, KeyKind::rsaPss, "-sha256" PSS},
    {"RSA-PSS-SHA384", TALVO_CRYPTO_RSA_PSS_SHA384, KeyKind::rsa, "-sha384" PSS},
    {"RSA-PSS-SHA512", TALVO_CRYPTO_RSA_PSS_SHA512, KeyKind::rsaPss, "-sha512" PSS},
    {"RSA-PSS-SHA3-224", TALVO_CRYPTO_RSA_PSS_SHA3_224, KeyKind::rsa, "-sha3-224" PSS},
    {"RSA-PSS-SHA3-256", TALVO_CRYPTO_RSA_PSS_SHA3_256, KeyKind::rsa, "-sha3-256" PSS},
    {"RSA-PSS-SHA3-384", TALVO_CRYPTO_RSA_PSS_SHA3_384, KeyKind::rsa, "-sha3-384" PSS},
    {"RSA-PSS-SHA3-512", TALVO_CRYPTO_RSA_PSS_SHA3_512, KeyKind::rsa, "-sha3-512" PSS},
};

KeyPair openKey(const std::string &bytes) {
  return KeyPair(TalvoPKICryptoOpenKeyPair(bytes.data(), bytes.size(), nullptr));
}

PublicKey openPublicKey(KeyKind kind) {
  const std::string der = publicKeyDer(kind);
  return PublicKey(TalvoPKICryptoImportPublicKey(
      TalvoPKICryptoGetPseudoDevice(), reinterpret_cast<const uint8_t *>(der.data()), der.size()));
}

std::string sign(SignOperation operation, std::string_view text) {
  TalvoPKICryptoSignUpdate(operation.get(), text.data(), text.size());
  const CryptoOctets value = octetsFrom(TalvoPKICryptoSignFinal, operation.get());
  return std::string(textOf(value.view()));
}

bool verifies(VerifyOperation operation, std::string_view text, std::string_view signature) {
  return TalvoPKICryptoVerifyUpdate(operation.get(), text.data(), text.size()) == 1 &&
         TalvoPKICryptoVerifyFinal(operation.get(),
                                   reinterpret_cast<const uint8_t *>(signature.data()),
                                   signature.size()) == 1;
}

std::string sign(const KeyPair &key, int32_t algorithm, std::string_view text) {
  return sign(SignOperation(TalvoPKICryptoNewSign(key.get(), algorithm)), text);
}

bool verifies(const PublicKey &key, int32_t algorithm, std::string_view text,
              std::string_view signature) {
  return verifies(VerifyOperation(TalvoPKICryptoNewVerify(key.get(), algorithm)), text, signature);
}

TEST_F(SignatureTest, EveryMethodVerifiesItsOwnAndNothingElse) {
  for (const Method &method : kMethods) {
    SCOPED_TRACE(method.name);
    const KeyPair key = openKey(privateKeyDer(method.kind));
    const PublicKey publicKey(TalvoPKICryptoGetKeypairPublicKey(key.get()));
    std::string signature = sign(key, method.algorithm, "text");
    ASSERT_FALSE(signature.empty());
    EXPECT_TRUE(verifies(publicKey, method.algorithm, "text", signature));
    EXPECT_FALSE(verifies(publicKey, method.algorithm, "tex", signature));
    EXPECT_FALSE(verifies(publicKey, method.algorithm, "text", signature + "x"));
    EXPECT_FALSE(verifies(publicKey, method.algorithm, "text", ""));
    signature[signature.size() / 2] = static_cast<char>(signature[signature.size() / 2] ^ 1);
    EXPECT_FALSE(verifies(publicKey, method.algorithm, "text", signature));
  }
}

struct KindOfKey {
  KeyKind kind;
  std::string_view methods;  // how the names of the methods begin that it is for
};

constexpr KindOfKey kKinds[] = {
    {KeyKind::rsa, "RSA"},     {KeyKind::rsaPss, "RSA-PSS"}, {KeyKind::dsa, "DSA"},
    {KeyKind::p224, "ECDSA"},  {KeyKind::p256, "ECDSA"},     {KeyKind::p384, "ECDSA"},
    {KeyKind::p521, "ECDSA"},  {KeyKind::sm2, "SM2"},        {KeyKind::ed25519, "Ed25519"},
    {KeyKind::ed448, "Ed448"},
};

TEST_F(SignatureTest, NoKeyDoesTheWorkOfAnotherKind) {
  for (const KindOfKey &row : kKinds) {
    const KeyPair key = openKey(privateKeyDer(row.kind));
    const PublicKey publicKey = openPublicKey(row.kind);
    for (const Method &method : kMethods) {
      SCOPED_TRACE(std::string(method.name) + " with a key for " + std::string(row.methods));
      const bool fits = std::string_view(method.name).starts_with(row.methods);
      const SignOperation signing(TalvoPKICryptoNewSign(key.get(), method.algorithm));
      EXPECT_EQ(signing != nullptr, fits);
      const VerifyOperation verifying(TalvoPKICryptoNewVerify(publicKey.get(), method.algorithm));
      EXPECT_EQ(verifying != nullptr, fits);
    }
  }
}

class JudgedSignatureTest : public SignatureTest {
 protected:
  JudgedSignatureTest() { workshop_.write("text", "text"); }

  // Whether openssl accepts the file "ours".
  void expectAccepted(KeyKind kind, const std::string &signature, const char *options) {
    workshop_.write("public", publicKeyPem(kind));
    workshop_.write("ours", signature);
    run(options == nullptr
            ? "pkeyutl -verify -rawin -pubin -inkey public -in text -sigfile ours"
            : std::string("dgst ") + options + " -verify public -signature ours text");
  }

  std::string signedByOpenssl(KeyKind kind, const char *options) {
    workshop_.write("private", privateKeyPem(kind));
    run(options == nullptr ? "pkeyutl -sign -rawin -inkey private -in text -out theirs"
                           : std::string("dgst ") + options + " -sign private -out theirs text");
    return workshop_.read("theirs");
  }

  void run(const std::string &arguments) {
    EXPECT_TRUE(workshop_.run("openssl " + arguments)) << arguments << "\n"
                                                       << workshop_.read("log");
  }

  Workshop workshop_;
};

TEST_F(JudgedSignatureTest, OpensslAcceptsWhatIsSignedHereAndTheOtherWayRound) {
  for (const Method &method : kMethods) {
    SCOPED_TRACE(method.name);
    const KeyPair key = openKey(privateKeyDer(method.kind));
    expectAccepted(method.kind, sign(key, method.algorithm, "text"), method.options);
    EXPECT_TRUE(verifies(openPublicKey(method.kind), method.algorithm, "text",
                         signedByOpenssl(method.kind, method.options)));
  }
}

struct PssParameters {
  int32_t hash;
  int32_t maskHash;
  int32_t saltLength;
  const char *options = nullptr;
};

SignOperation newSign(const KeyPair &key, const PssParameters &pss) {
  return SignOperation(TalvoPKICryptoNewSignPSS(key.get(), pss.hash, pss.maskHash, pss.saltLength));
}

VerifyOperation newVerify(const PublicKey &key, const PssParameters &pss) {
  return VerifyOperation(
      TalvoPKICryptoNewVerifyPSS(key.get(), pss.hash, pss.maskHash, pss.saltLength));
}

TEST_F(JudgedSignatureTest, RsaPssTakesParametersOfItsOwn) {
  const PssParameters rows[] = {
      {TALVO_HASH_SHA256, TALVO_HASH_SHA1, 20,
       "-sha256 -sigopt rsa_padding_mode:pss -sigopt rsa_mgf1_md:sha1 -sigopt rsa_pss_saltlen:20"},
      {TALVO_HASH_SHA512, TALVO_HASH_SHA3_256, 0,
       "-sha512 -sigopt rsa_padding_mode:pss -sigopt rsa_mgf1_md:sha3-256 "
       "-sigopt rsa_pss_saltlen:0"},
      {TALVO_HASH_SHA1, TALVO_HASH_SHA1, 234,
       "-sha1 -sigopt rsa_padding_mode:pss -sigopt rsa_pss_saltlen:234"}};
  const KeyPair key = openKey(privateKeyDer(KeyKind::rsa));
  const PublicKey publicKey = openPublicKey(KeyKind::rsa);
  for (const PssParameters &row : rows) {
    SCOPED_TRACE(row.options);
    const std::string ours = sign(newSign(key, row), "text");
    expectAccepted(KeyKind::rsa, ours, row.options);
    EXPECT_TRUE(
        verifies(newVerify(publicKey, row), "text", signedByOpenssl(KeyKind::rsa, row.options)));
    const PssParameters otherSalt{row.hash, row.maskHash, row.saltLength + 1};
    EXPECT_FALSE(verifies(newVerify(publicKey, otherSalt), "text", ours));
    const PssParameters otherMask{row.hash, TALVO_HASH_SHA384, row.saltLength};
    EXPECT_FALSE(verifies(newVerify(publicKey, otherMask), "text", ours));
  }
  EXPECT_EQ(newSign(key, {0, TALVO_HASH_SHA1, 20}), nullptr);
  EXPECT_EQ(newSign(key, {TALVO_HASH_SHA1, 0, 20}), nullptr);
  EXPECT_EQ(newSign(key, {TALVO_HASH_SHA1, TALVO_HASH_SHA1, -1}), nullptr);
  EXPECT_EQ(newSign(openKey(privateKeyDer(KeyKind::p256)), rows[0]), nullptr);
  EXPECT_EQ(sign(newSign(key, {TALVO_HASH_SHA1, TALVO_HASH_SHA1, 235}), "text"), "") << "too long";
}

TEST_F(JudgedSignatureTest, KeysBoundToParametersAllowNoOthers) {
  run("genpkey -algorithm RSA-PSS -pkeyopt rsa_keygen_bits:2048 -pkeyopt rsa_pss_keygen_md:sha256 "
      "-pkeyopt rsa_pss_keygen_mgf1_md:sha256 -pkeyopt rsa_pss_keygen_saltlen:32 -out bound");
  const KeyPair key = openKey(workshop_.read("bound"));
  for (const auto &[row, allowed] :
       {std::pair{PssParameters{TALVO_HASH_SHA256, TALVO_HASH_SHA256, 32}, true},
        {PssParameters{TALVO_HASH_SHA256, TALVO_HASH_SHA256, 40}, true},
        {PssParameters{TALVO_HASH_SHA512, TALVO_HASH_SHA256, 32}, false},
        {PssParameters{TALVO_HASH_SHA256, TALVO_HASH_SHA1, 32}, false},
        {PssParameters{TALVO_HASH_SHA256, TALVO_HASH_SHA256, 20}, false}}) {
    EXPECT_EQ(newSign(key, row) != nullptr, allowed) << row.hash << " " << row.saltLength;
  }
}

// The same key comes out of a certificate, whatever OpenSSL calls it there.
TEST_F(SignatureTest, KeysOfCertificatesVerify) {
  for (const Method &method : kMethods) {
    SCOPED_TRACE(method.name);
    const Certificate certificate = makeIdentity({.kind = method.kind}).certificate();
    const KeyPair key(TalvoPKICertGetCertKeyPair(certificate.get(), 0, TALVO_USE_SIGN, nullptr));
    const PublicKey publicKey(TalvoPKICertGetCertPublicKey(certificate.get(), TALVO_USE_VERIFY));
    EXPECT_TRUE(verifies(publicKey, method.algorithm, "text", sign(key, method.algorithm, "text")));
  }
}

// As when an application makes the key by the curve's name alone.
TEST_F(SignatureTest, Sm2KeysMadeAsPlainCurveKeysWorkToo) {
  const EvpKeyHandle plain(EVP_EC_gen("SM2"));
  ASSERT_EQ(EVP_PKEY_is_a(plain.get(), "SM2"), 0);
  const KeyPair key(newKeyPair(makeKey(share(plain.get()))));
  const PublicKey publicKey(TalvoPKICryptoGetKeypairPublicKey(key.get()));
  EXPECT_TRUE(
      verifies(publicKey, TALVO_CRYPTO_SM2_SM3, "text", sign(key, TALVO_CRYPTO_SM2_SM3, "text")));
  EXPECT_EQ(TalvoPKICryptoNewSign(key.get(), TALVO_CRYPTO_ECDSA_SHA256), nullptr);
}

// EdDSA signs alike each time, so that the pieces must not matter.
TEST_F(SignatureTest, TextsOfEdDsaArriveInPieces) {
  const KeyPair key = openKey(privateKeyDer(KeyKind::ed25519));
  const std::string text(10'000, 'x');
  const std::string expected = sign(key, TALVO_CRYPTO_ED25519, text);
  EXPECT_NE(sign(key, TALVO_CRYPTO_ED25519, ""), "");
  everyAllocationFails([&] {
    const SignOperation operation(TalvoPKICryptoNewSign(key.get(), TALVO_CRYPTO_ED25519));
    for (size_t at = 0; at < text.size(); at += 2'500) {
      if (TalvoPKICryptoSignUpdate(operation.get(), text.data() + at, 2'500) != 1) {
        return false;
      }
    }
    const CryptoOctets value = octetsFrom(TalvoPKICryptoSignFinal, operation.get());
    return value && textOf(value.view()) == expected;
  });
}

}  // namespace
}  // namespace talvo::test
