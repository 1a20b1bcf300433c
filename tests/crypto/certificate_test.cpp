// Certificates: the forms they come in, what they tell, and the paths they have.
#include <algorithm>
#include <atomic>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "base/utf8.h"
#include "support/every_allocation_fails.h"
#include "support/keys.h"
#include "support/memory_test.h"

namespace talvo::test {
namespace {

class CertificateTest : public MemoryTest {};

constexpr int32_t kSubject = 48;

Certificate read(std::string_view bytes) {
  return Certificate(TalvoPKICertNewCert(bytes.data(), bytes.size()));
}

std::string derOf(const TalvoPKICert *certificate) {
  uint8_t *bytes = nullptr;
  size_t length = 0;
  if (TalvoPKICertGetCertEncode(certificate, 1, &bytes, &length) != 1) {
    return "";
  }
  const CryptoBytes owned(bytes);
  return {reinterpret_cast<char *>(bytes), length};
}

std::string textAttribute(const TalvoPKICert *certificate, int32_t attribute) {
  const UString text(TalvoPKICertGetCertStringAttribute(certificate, attribute));
  return std::string(viewOf(text.get()));
}

// The Base64 text of PEM, without its first and last line.
std::string base64Of(const std::string &pem) {
  const size_t start = pem.find('\n') + 1;
  return pem.substr(start, pem.rfind("\n-----END") - start);
}

std::string spread(const std::string &text) {
  std::string result;
  for (char character : text) {
    result += character;
    result += " \t\r\n"[result.size() / 2 % 4];
  }
  return result;
}

TEST_F(CertificateTest, IsReadInEveryForm) {
  const Identity identity = makeIdentity();
  const std::string der = identity.der();
  const std::string pem = identity.pem();
  const std::string other = makeIdentity({.subject = "/CN=Other"}).pem();
  for (const auto &[name, bytes] : {std::pair{"DER", der},
                                    {"PEM", pem},
                                    {"PEM behind text", "Certificate:\n" + pem},
                                    {"first of two", pem + other},
                                    {"Base64", base64Of(pem)},
                                    {"Base64 with blanks", spread(base64Of(pem))}}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(derOf(read(bytes).get()), der);
    const Certificate opened(TalvoPKICertOpen(bytes.data(), bytes.size(), nullptr));
    EXPECT_EQ(derOf(opened.get()), der);
    EXPECT_EQ(TalvoPKICertHasKeyPair(opened.get()), 0);
  }
}

TEST_F(CertificateTest, AnythingElseIsRefused) {
  const Identity identity = makeIdentity();
  const std::string der = identity.der();
  const std::string pem = identity.pem();
  std::string damaged = pem;
  damaged[damaged.size() / 2] = '*';
  for (const auto &[name, bytes] :
       {std::pair{"nothing", std::string()},
        {"something behind the DER", der + '\0'},
        {"DER cut short", der.substr(0, der.size() - 1)},
        {"a key", privateKeyDer(KeyKind::rsa)},
        {"a key as PEM", privateKeyPem(KeyKind::rsa)},
        {"damaged PEM", damaged},
        {"PEM without end", pem.substr(0, pem.size() - 30)},
        {"Base64 with something behind", base64Of(pem) + "QQ=="},
        {"zeros", std::string(100, '0')},
        {"only the first line", std::string("-----BEGIN CERTIFICATE-----\n")}}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(read(bytes), nullptr);
  }
}

TEST_F(CertificateTest, KeyUsageBitsAreNumberedAsInTheStandard) {
  struct Row {
    const char *name;
    int bits;
    int32_t expected;
  };
  for (const Row &row : {Row{"none: unrestricted", kNoKeyUsage, 0x1FF},
                         {"no bit", 0, 0},
                         {"digital signature", kDigitalSignature, 0x01},
                         {"key encipherment", kKeyEncipherment, 0x04},
                         {"certificates and CRLs", kKeyCertSign | kCrlSign, 0x60},
                         {"decipher only", 0x100, 0x100}}) {
    SCOPED_TRACE(row.name);
    const Certificate certificate = makeIdentity({.keyUsage = row.bits}).publicCertificate();
    int32_t usage = -1;
    EXPECT_EQ(TalvoPKICertGetCertIntegerAttribute(certificate.get(), 6, &usage), 1);
    EXPECT_EQ(usage, row.expected);
  }
}

TEST_F(CertificateTest, UnreadableKeyUsageIsAFailure) {
  // The extension's BIT STRING becomes an OCTET STRING of the same length.
  std::string der = makeIdentity({.keyUsage = kDigitalSignature}).der();
  const std::string extension("\x04\x04\x03\x02\x07\x80", 6);
  const size_t at = der.find(extension);
  ASSERT_NE(at, std::string::npos);
  der[at + 2] = 4;
  int32_t usage = -1;
  EXPECT_EQ(TalvoPKICertGetCertIntegerAttribute(read(der).get(), 6, &usage), 0);
  EXPECT_EQ(usage, -1);
}

TEST_F(CertificateTest, TellsKeyTypeSerialNamesAndValidity) {
  for (const auto &[kind, type] :
       {std::pair{KeyKind::rsa, 1}, {KeyKind::dsa, 2}, {KeyKind::p521, 4}, {KeyKind::sm2, 4}}) {
    const Certificate certificate = makeIdentity({.kind = kind}).publicCertificate();
    int32_t answer = -1;
    EXPECT_EQ(TalvoPKICertGetCertIntegerAttribute(certificate.get(), 4, &answer), 1);
    EXPECT_EQ(answer, type);
  }
  const Certificate certificate = makeIdentity({.subject = "/C=DE/O=M\xC3\xBCller, Sohn/CN=A",
                                                .serial = "123456789012345678901234567890"})
                                      .publicCertificate();
  EXPECT_EQ(textAttribute(certificate.get(), 32), "123456789012345678901234567890");
  EXPECT_EQ(textAttribute(certificate.get(), kSubject), "CN=A,O=M\xC3\xBCller\\, Sohn,C=DE");
  EXPECT_EQ(textAttribute(certificate.get(), 49), textAttribute(certificate.get(), kSubject));
  EXPECT_EQ(TalvoPKICertGetCertStringAttribute(certificate.get(), 50), nullptr);
  const Time start(TalvoPKICertGetCertValidity(certificate.get(), 0));
  const Time expected(talvo_time_newutctime(2020, 1, 2, 3, 4, 5, 0));
  EXPECT_EQ(talvo_time_cmp(start.get(), expected.get()), 0);
  const Time end(TalvoPKICertGetCertValidity(certificate.get(), 1));
  EXPECT_EQ(talvo_time_getyear(end.get()), 2049);
}

TEST_F(CertificateTest, DigestIsThatOfTheDer) {
  const Certificate certificate = makeIdentity().publicCertificate();
  const std::string der = derOf(certificate.get());
  for (const auto &[hash, digest] : {std::pair{0x2000, EVP_sha1()},
                                     {0x4000, EVP_sha256()},
                                     {0x6000, EVP_sha512()},
                                     {0x7000, EVP_sm3()}}) {
    std::string expected(static_cast<size_t>(EVP_MD_get_size(digest)), '\0');
    EVP_Digest(der.data(), der.size(), reinterpret_cast<unsigned char *>(expected.data()), nullptr,
               digest, nullptr);
    uint8_t *bytes = nullptr;
    size_t length = 0;
    ASSERT_EQ(TalvoPKICertGetCertHashAttribute(certificate.get(), 44, hash, &bytes, &length), 1);
    const CryptoBytes owned(bytes);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(bytes), length), expected);
  }
}

std::vector<std::string> pathOf(const TalvoPKICert *certificate) {
  TalvoPKICert **path = nullptr;
  int32_t count = 0;
  std::vector<std::string> subjects;
  if (TalvoPKICertGetCertPath(certificate, &path, &count) == 1) {
    for (int32_t i = 0; i < count; ++i) {
      const std::string subject = textAttribute(path[i], kSubject);
      subjects.push_back(subject.substr(0, subject.find(',')));
    }
    TalvoPKICertFreeCertPath(path, count);
  }
  return subjects;
}

TEST_F(CertificateTest, PathLeadsFromTheAnchorToTheCertificate) {
  const std::vector<std::string> expected = {"CN=Root", "CN=Intermediate", "CN=Leaf"};
  for (KeyKind kind : {KeyKind::rsa, KeyKind::p256, KeyKind::sm2}) {
    const Chain chain = makeChain(kind);
    EXPECT_EQ(pathOf(chain.certificate().get()), expected);
    const Certificate leaf = chain.leaf.publicCertificate();
    EXPECT_EQ(TalvoPKICertAddChainCert(leaf.get(), chain.root.publicCertificate().get()), 1);
    EXPECT_TRUE(pathOf(leaf.get()).empty());  // the intermediate is missing
    EXPECT_EQ(TalvoPKICertAddChainCert(leaf.get(), chain.intermediate.publicCertificate().get()),
              1);
    EXPECT_EQ(pathOf(leaf.get()), expected);
    const Certificate copy(TalvoPKICertDupCert(leaf.get()));
    EXPECT_EQ(pathOf(copy.get()), expected);
    EXPECT_EQ(pathOf(chain.root.publicCertificate().get()), std::vector{expected.front()});
  }
}

// Certificates that were read before are found again; a near miss must not be.
TEST_F(CertificateTest, RememberedCertificatesAreNeverMixedUp) {
  std::vector<std::string> ders;
  for (int serial = 1; serial <= 300; ++serial) {
    ders.push_back(makeIdentity({.kind = KeyKind::p256, .serial = std::to_string(serial)}).der());
  }
  for (int round = 0; round < 2; ++round) {
    for (const std::string &der : ders) {
      EXPECT_EQ(derOf(read(der).get()), der);
    }
  }
}

TEST_F(CertificateTest, AreReadInManyThreadsAtOnce) {
  const std::vector<std::string> ders = {makeIdentity().der(), makeIdentity({.serial = "2"}).der()};
  std::atomic<int> wrong = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 50; ++round) {
        const std::string &der = ders[static_cast<size_t>(round) % 2];
        const Certificate certificate = read(der);
        const PublicKey key(TalvoPKICertGetCertPublicKey(certificate.get(), 2));
        wrong += key == nullptr || derOf(certificate.get()) != der ? 1 : 0;
      }
    });
  }
  for (std::thread &thread : threads) {
    thread.join();
  }
  EXPECT_EQ(wrong, 0);
}

TEST_F(CertificateTest, SurvivesExhaustedMemory) {
  const Chain chain = makeChain();
  const std::string bundle = chain.leaf.pem() + encryptedKeyPem(KeyKind::rsa, "secret") +
                             chain.intermediate.pem() + chain.root.pem();
  everyAllocationFails([&] {
    const Certificate opened(TalvoPKICertOpen(bundle.data(), bundle.size(), nullptr));
    const Certificate copy(TalvoPKICertDupCert(opened.get()));
    const KeyPair key(TalvoPKICertGetCertKeyPair(copy.get(), 0x40000000, 2, "secret"));
    TalvoPKICert **path = nullptr;
    int32_t count = 0;
    if (TalvoPKICertGetCertPath(copy.get(), &path, &count) != 1) {
      return false;
    }
    TalvoPKICertFreeCertPath(path, count);
    const UString subject(TalvoPKICertGetCertStringAttribute(copy.get(), kSubject));
    const UString serial(TalvoPKICertGetCertStringAttribute(copy.get(), 32));
    const Time start(TalvoPKICertGetCertValidity(copy.get(), 0));
    uint8_t *der = nullptr;
    size_t length = 0;
    const bool encoded = TalvoPKICertGetCertEncode(copy.get(), 1, &der, &length) == 1;
    const CryptoBytes owned(der);
    return key && subject && serial && start && encoded;
  });
}

}  // namespace
}  // namespace talvo::test
