// The one place that lists the algorithms: other tests go by what the tables say.
#include "signature/vocabulary/algorithm.h"

#include <algorithm>
#include <cctype>

#include "talvo_xml.h"

#include "signature/vocabulary/vocabulary.h"
#include "support/library_test.h"
#include "support/text.h"

namespace talvo::test {
namespace {

class AlgorithmTest : public LibraryTest {};

constexpr uint32_t kC14n = 1;
constexpr uint32_t kDigest = 2;
constexpr uint32_t kSignature = 3;
constexpr uint32_t kTransform = 4;

std::string inOtherCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char letter) {
    return static_cast<char>(std::isupper(letter) ? std::tolower(letter) : std::toupper(letter));
  });
  return text;
}

// Number and JSON name of each row, "-" for those that cannot be chosen, "!" behind those without identifier. Number,
// identifier and name of a row lead to each other.
template <class Row>
std::string rows(uint32_t kind, const Row *(*byNumber)(int32_t) noexcept,
                 const Row *(*byUri)(const talvo_ustring *) noexcept,
                 const Row *(*byJsonName)(std::string_view) noexcept) {
  std::string text;
  for (int32_t number = -1; number <= 200; ++number) {
    const Row *row = byNumber(number);
    const UString uri(talvo_xml_algorithm_geturi(kind, number));
    EXPECT_EQ(talvo_xml_algorithm_getname(kind, number) != nullptr, row != nullptr) << number;
    if (row == nullptr) {
      EXPECT_EQ(uri, nullptr) << number;
      continue;
    }
    const std::string name(row->jsonName);
    text += std::to_string(number) + (uri ? " " : "! ") + (name.empty() ? "-" : name) + ", ";
    EXPECT_EQ(row->number, number);
    EXPECT_TRUE(!uri || byUri(uri.get()) == row) << number;
    EXPECT_TRUE(name.empty() || byJsonName(name) == row) << name;
    EXPECT_TRUE(name.empty() || byJsonName(inOtherCase(name)) == row) << name;
    EXPECT_EQ(byJsonName(name + " "), nullptr);
  }
  EXPECT_EQ(byUri(nullptr), nullptr);
  EXPECT_EQ(byUri(str("").get()), nullptr);
  EXPECT_EQ(byJsonName(""), nullptr);
  return text;
}

TEST_F(AlgorithmTest, TheseAreKnown) {
  EXPECT_EQ(rows(kC14n, c14nByNumber, c14nByUri, c14nByJsonName),
            "1 C14N, 2 C14NWithComments, 3 ExcC14N, 4 ExcC14NWithComments, 5 -, 6 C14N11, "
            "7 C14N11WithComments, ");
  EXPECT_EQ(rows(kDigest, digestByNumber, digestByUri, digestByJsonName),
            "1 Sha1, 2 -, 3 Sha224, 4 Sha256, 5 Sha384, 6 Sha512, 7 -, 8 SM3, ");
  EXPECT_EQ(rows(kSignature, signatureByNumber, signatureByUri, signatureByJsonName),
            "33 -, 34 -, 35 -, 36 -, 37 -, 38 -, 39 -, 65 Sha1WithRSA, 66 -, 67! Sha224WithRSA, "
            "68 Sha256WithRSA, 69 Sha384WithRSA, 70 Sha512WithRSA, 71 -, 72 DSAWithSha1, "
            "73 ECDSAWithSha1, 74 ECDSAWithSha224, 75 ECDSAWithSha256, 76 ECDSAWithSha384, "
            "77 ECDSAWithSha512, 78 -, 79 -, 80 -, 81 -, 82 -, 83 Sm3WithSM2, ");
  EXPECT_EQ(rows(kTransform, transformByNumber, transformByUri, transformByJsonName),
            "1 C14N, 2 C14NWithComments, 3 ExcC14N, 4 ExcC14NWithComments, 6 C14N11, "
            "7 C14N11WithComments, 16 Base64, 32 XPath, 48 EnvelopedSignature, ");
  for (const uint32_t kind : {0U, 5U}) {
    EXPECT_EQ(talvo_xml_algorithm_geturi(kind, 1), nullptr);
    EXPECT_EQ(talvo_xml_algorithm_getname(kind, 1), nullptr);
  }
}

TEST_F(AlgorithmTest, IdentifiersAreComparedExactly) {
  const std::string sha1 = textOf(g_xml_signature_algorithm_sha1);
  for (const std::string &text : {sha1 + " ", " " + sha1, sha1.substr(0, sha1.size() - 1),
                                  std::string("HTTP") + sha1.substr(4)}) {
    EXPECT_EQ(digestByUri(str(text).get()), nullptr) << text;
  }
}

TEST_F(AlgorithmTest, OddIdentifiersStandAsTheyAre) {
  for (const auto &[kind, number, end] : {std::tuple{kSignature, 71, "/xmldsig-more/rsa-ripemd160"},
                                          {kDigest, 3, "/xmldsig-more#sha224"},
                                          {kDigest, 4, "/xmlenc#sha256"},
                                          {kDigest, 5, "/xmldsig-more#sha384"},
                                          {kDigest, 6, "/xmlenc#sha512"}}) {
    const std::string uri = take(talvo_xml_algorithm_geturi(kind, number));
    EXPECT_TRUE(uri.ends_with(end)) << uri;
  }
}

TEST_F(AlgorithmTest, WhatCanBeChosenMayStandInAContext) {
  for (int32_t number = 0; number <= 100; ++number) {
    const SignatureAlgorithm *algorithm = signatureByNumber(number);
    EXPECT_TRUE(algorithm == nullptr || algorithm->inContext != algorithm->jsonName.empty());
  }
  EXPECT_STREQ(talvo_xml_algorithm_getname(kSignature, 67), "RSA-SHA224");
  EXPECT_EQ(signatureByNumber(67)->crypto, 0) << "accepted, and fails when it is written";
}

TEST_F(AlgorithmTest, DigestsThatAreNeverComputedHaveNoLength) {
  const size_t lengths[] = {20, 0, 28, 32, 48, 64, 0, 32};
  for (int32_t number = 1; number <= 8; ++number) {
    const DigestAlgorithm *digest = digestByNumber(number);
    EXPECT_EQ(digest->length, lengths[number - 1]) << number;
    EXPECT_EQ(digest->hash == 0, digest->length == 0) << number;
  }
}

TEST_F(AlgorithmTest, CertificateOptionsHaveNames) {
  const char *const names[] = {"", "None", "Self", "CertPath", "CertPathWithRoot", ""};
  for (int32_t option = 0; option <= 5; ++option) {
    const std::string name = names[option];
    EXPECT_EQ(includeCertOptionJsonName(option), name);
    EXPECT_EQ(includeCertOptionByJsonName(inOtherCase(name)), name.empty() ? -1 : option);
  }
  EXPECT_EQ(includeCertOptionByJsonName("Root"), -1);
}

}  // namespace
}  // namespace talvo::test
