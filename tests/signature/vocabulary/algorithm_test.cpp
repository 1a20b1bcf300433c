#include "signature/vocabulary/algorithm.h"

#include <set>
#include <string>
#include <vector>

#include "talvo_xml.h"

#include "base/utf8.h"
#include "signature/vocabulary/vocabulary.h"
#include "support/library_test.h"

namespace talvo::test {
namespace {

class AlgorithmTest : public LibraryTest {};

constexpr uint32_t kC14n = 1;
constexpr uint32_t kDigest = 2;
constexpr uint32_t kSignature = 3;
constexpr uint32_t kTransform = 4;

UString uriOf(uint32_t kind, int32_t number) {
  return UString(talvo_xml_algorithm_geturi(kind, number));
}

int32_t numberOfUri(uint32_t kind, const talvo_ustring *uri) {
  switch (kind) {
    case kC14n:
      return numberOf(c14nByUri(uri));
    case kDigest:
      return numberOf(digestByUri(uri));
    case kSignature:
      return numberOf(signatureByUri(uri));
    default:
      return numberOf(transformByUri(uri));
  }
}

TEST_F(AlgorithmTest, IdentifiersLeadBackToTheirNumbers) {
  const std::vector<std::vector<int32_t>> known = {
      {1, 2, 3, 4, 5, 6, 7},
      {1, 2, 3, 4, 5, 6, 7, 8},
      {33, 34, 35, 36, 37, 38, 39, 65, 66, 68, 69, 70, 71,
       72, 73, 74, 75, 76, 77, 78, 79, 80, 81, 82, 83},
      {1, 2, 3, 4, 6, 7, 16, 32, 48}};
  for (uint32_t kind = kC14n; kind <= kTransform; ++kind) {
    const std::vector<int32_t> &numbers = known[kind - 1];
    std::set<int32_t> withUri;
    for (int32_t number = -1; number <= 100; ++number) {
      if (const UString uri = uriOf(kind, number)) {
        withUri.insert(number);
        EXPECT_EQ(numberOfUri(kind, uri.get()), number) << viewOf(uri.get());
        EXPECT_NE(talvo_xml_algorithm_getname(kind, number), nullptr);
      }
    }
    EXPECT_EQ(withUri, std::set<int32_t>(numbers.begin(), numbers.end())) << "kind " << kind;
    EXPECT_EQ(numberOfUri(kind, nullptr), -1);
    EXPECT_EQ(numberOfUri(kind, makeString("").get()), -1);
  }
  EXPECT_EQ(uriOf(5, 1), nullptr);
  EXPECT_EQ(talvo_xml_algorithm_getname(0, 1), nullptr);
}

TEST_F(AlgorithmTest, IdentifiersAreComparedExactly) {
  const std::string sha1(viewOf(g_xml_signature_algorithm_sha1));
  for (const std::string &text : {sha1 + " ", " " + sha1, sha1.substr(0, sha1.size() - 1),
                                  std::string("HTTP") + sha1.substr(4)}) {
    EXPECT_EQ(digestByUri(makeString(text).get()), nullptr) << text;
  }
}

TEST_F(AlgorithmTest, RsaSha224IsKnownWithoutIdentifier) {
  EXPECT_STREQ(talvo_xml_algorithm_getname(kSignature, 67), "RSA-SHA224");
  EXPECT_EQ(uriOf(kSignature, 67), nullptr);
  EXPECT_EQ(numberOf(signatureByJsonName("Sha224WithRSA")), 67);
  EXPECT_EQ(signatureByNumber(67)->crypto, 0);
  EXPECT_TRUE(signatureByNumber(67)->inContext);
}

TEST_F(AlgorithmTest, OddIdentifiersStandAsTheyAre) {
  const auto endsWith = [](std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
  };
  EXPECT_TRUE(endsWith(viewOf(uriOf(kSignature, 71).get()), "/xmldsig-more/rsa-ripemd160"));
  EXPECT_TRUE(endsWith(viewOf(uriOf(kDigest, 3).get()), "/xmldsig-more#sha224"));
  EXPECT_TRUE(endsWith(viewOf(uriOf(kDigest, 4).get()), "/xmlenc#sha256"));
  EXPECT_TRUE(endsWith(viewOf(uriOf(kDigest, 5).get()), "/xmldsig-more#sha384"));
  EXPECT_TRUE(endsWith(viewOf(uriOf(kDigest, 6).get()), "/xmlenc#sha512"));
}

TEST_F(AlgorithmTest, JsonNamesIgnoreCaseAndLeaveOutWhatCannotBeChosen) {
  const std::vector<std::pair<std::string_view, int32_t>> signatures = {
      {"Sha1WithRSA", 65},     {"sha256withrsa", 68},
      {"SHA384WITHRSA", 69},   {"Sha512WithRSA", 70},
      {"DSAWithSha1", 72},     {"ECDSAWithSha1", 73},
      {"ECDSAWithSha224", 74}, {"ECDSAWithSha256", 75},
      {"ECDSAWithSha384", 76}, {"ECDSAWithSha512", 77},
      {"sm3withsm2", 83},      {"HMACWithSha1", -1},
      {"MD5WithRSA", -1},      {"", -1},
      {"Sha256WithRSA ", -1}};
  for (const auto &[name, number] : signatures) {
    EXPECT_EQ(numberOf(signatureByJsonName(name)), number) << name;
  }
  const std::vector<std::pair<std::string_view, int32_t>> digests = {
      {"sha1", 1}, {"SHA224", 3}, {"Sha256", 4}, {"Sha384", 5},    {"Sha512", 6},
      {"Sm3", 8},  {"MD5", -1},   {"", -1},      {"RIPEMD160", -1}};
  for (const auto &[name, number] : digests) {
    EXPECT_EQ(numberOf(digestByJsonName(name)), number) << name;
  }
  const std::vector<std::pair<std::string_view, int32_t>> transforms = {
      {"c14n", 1},   {"C14NWithComments", 2},  {"ExcC14N", 3}, {"ExcC14NWithComments", 4},
      {"C14N11", 6}, {"C14N11WithComments", 7}};
  for (const auto &[name, number] : transforms) {
    EXPECT_EQ(numberOf(c14nByJsonName(name)), number) << name;
    EXPECT_EQ(numberOf(transformByJsonName(name)), number) << name;
  }
  EXPECT_EQ(numberOf(transformByJsonName("base64")), TALVO_TRANSFORM_BASE64);
  EXPECT_EQ(numberOf(transformByJsonName("XPath")), TALVO_TRANSFORM_XPATH);
  EXPECT_EQ(numberOf(transformByJsonName("ENVELOPEDSIGNATURE")), TALVO_TRANSFORM_ENVELOPED);
  EXPECT_EQ(numberOf(c14nByJsonName("")), -1);
  EXPECT_EQ(includeCertOptionByJsonName("certpathwithroot"), 4);
  EXPECT_EQ(includeCertOptionByJsonName("Root"), -1);
}

TEST_F(AlgorithmTest, ContextsTakeOnlyWhatCanBeAskedFor) {
  std::set<int32_t> accepted;
  for (int32_t number = 0; number <= 100; ++number) {
    const SignatureAlgorithm *algorithm = signatureByNumber(number);
    if (algorithm != nullptr && algorithm->inContext) {
      accepted.insert(number);
    }
  }
  EXPECT_EQ(accepted, (std::set<int32_t>{65, 67, 68, 69, 70, 72, 73, 74, 75, 76, 77, 83}));
}

TEST_F(AlgorithmTest, DigestsThatAreNeverComputedHaveNoLength) {
  const size_t lengths[] = {20, 0, 28, 32, 48, 64, 0, 32};
  for (int32_t number = 1; number <= 8; ++number) {
    const DigestAlgorithm *digest = digestByNumber(number);
    EXPECT_EQ(digest->length, lengths[number - 1]) << number;
    EXPECT_EQ(digest->hash == 0, digest->length == 0) << number;
  }
}

}  // namespace
}  // namespace talvo::test
