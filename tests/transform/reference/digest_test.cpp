#include "transform/reference/digest.h"

#include "support/contexts.h"
#include "transform/transform_support.h"

namespace talvo::test {
namespace {

class DigestTest : public LibraryTest {};

// Digests of "abc" from the standards that define the algorithms.
constexpr const char *kSha1 = "qZk+NkcGgWq6PiVxeFDCbJzQ2J0=";
constexpr const char *kSha256 = "ungWv48Bz+pBQUDeXa4iI7ADYaOWF3qctBD/YfIAFa0=";
constexpr const char *kSm3 = "Zsfw9GLu7dnR8tRr3BDk4kFnxIdc8veiKX2gK49LqOA=";

std::string digestOf(TransformInput data, int32_t id, uint32_t *error) {
  talvo_ustring *text = nullptr;
  const int32_t result = calcdigestvalue(id, data.release(), &text, error);
  return result == 1 ? take(text) : "(failed)";
}

std::string plainDigest(std::string_view octets, int32_t id = 4) {
  uint32_t error = 0;
  return digestOf(octetsInput(octets), id, &error);
}

TEST_F(DigestTest, DigestsAreThoseOfTheStandards) {
  for (const auto &[id, digest] : {std::pair{1, kSha1}, {4, kSha256}, {8, kSm3}}) {
    EXPECT_EQ(plainDigest("abc", id), digest) << id;
  }
}

TEST_F(DigestTest, EachSupportedDigestHasItsLength) {
  for (int32_t id = -1; id <= 10; ++id) {
    SCOPED_TRACE(id);
    const DigestAlgorithm *method = digestByNumber(id);
    const int32_t length = method == nullptr ? 0 : static_cast<int32_t>(method->length);
    uint8_t digest[64];
    uint32_t error = 0;
    EXPECT_EQ(calchash(id, "abc", 3, digest, &error), length == 0 ? -1 : length);
    EXPECT_EQ(error, length == 0 ? 12U : 0U);
    error = 0;
    EXPECT_EQ(digestOf(octetsInput("abc"), id, &error) == "(failed)", length == 0);
    EXPECT_EQ(error, length == 0 ? 12U : 0U);
    TalvoPKIHash *handle = getHashHandle(id);
    EXPECT_EQ(handle != nullptr, length > 0);
    TalvoPKICryptoFreeHash(handle);
  }
  uint8_t *digest = nullptr;
  size_t length = 0;
  EXPECT_EQ(hash(0x2000, "abc", 3, &digest, &length), 1);
  EXPECT_EQ(length, 20U);
  TalvoPKICryptoFreeMemory(digest);
  EXPECT_EQ(hash(1, "abc", 3, &digest, &length), 0);
}

TEST_F(DigestTest, ComparisonNeedsEveryByteAndTheLength) {
  uint8_t sha1[64];
  uint32_t error = 0;
  ASSERT_EQ(calchash(1, "abc", 3, sha1, &error), 20);
  EXPECT_EQ(verifyhash(1, "abc", 3, sha1, 20, &error), 1);
  EXPECT_EQ(verifyoutputhash(1, octetsInput("abc").release(), sha1, 20, &error), 1);
  EXPECT_EQ(error, 0U);
  EXPECT_EQ(verifyhash(1, "abc", 3, sha1, 19, &error), 0);
  EXPECT_EQ(error, 2U);
  sha1[19] ^= 1;
  error = 0;
  EXPECT_EQ(verifyhash(1, "abc", 3, sha1, 20, &error), 0);
  EXPECT_EQ(error, 2U);
  error = 0;
  EXPECT_EQ(verifyoutputhash(1, octetsInput("abc").release(), sha1, 20, &error), 0);
  EXPECT_EQ(error, 2U);
  EXPECT_EQ(verifyhash(2, "abc", 3, sha1, 20, &error), -1);
  EXPECT_EQ(error, 12U);
}

TEST_F(DigestTest, ANodeSetIsDigestedAsC14n10) {
  const Document document = parse("<a  b='1'><!--c-->text</a>");
  const Document broken = parse("<a xmlns:r='rel'/>");
  uint32_t error = 0;
  EXPECT_EQ(digestOf(nodesInput(wholeDocument(document.get())), 4, &error),
            plainDigest("<a b=\"1\">text</a>"));
  EXPECT_EQ(digestOf(nodesInput(wholeDocument(broken.get())), 4, &error), "(failed)");
  EXPECT_EQ(error, 13U);
  // What cannot be canonicalised is reported before the digest that cannot be computed.
  error = 0;
  EXPECT_EQ(digestOf(nodesInput(wholeDocument(broken.get())), 2, &error), "(failed)");
  EXPECT_EQ(error, 13U);
}

class ChainTest : public DigestTest {
 protected:
  void SetUp() override {
    DigestTest::SetUp();
    document_ = parse(
        "<a xmlns:ds='http://www.w3.org/2000/09/xmldsig#' xmlns:p='urn:p'>\n<b>QUJD</b><!--c-->"
        "<ds:Signature><ds:XPath>not(ancestor-or-self::ds:Signature)</ds:XPath></ds:Signature></"
        "a>");
  }
  void TearDown() override {
    document_.reset();
    DigestTest::TearDown();
  }

  TransformContext step(int32_t number) const {
    const List prefixes = stringList({"p"});
    TransformContext context(talvo_xml_signature_transformctx_new(
        number, isExclusive(number) ? static_cast<const void *>(prefixes.get())
                                    : static_cast<const void *>(str("x").get())));
    context->signatureElement = find(document_.get(), "//ds:Signature");
    context->xpathElement = find(document_.get(), "//ds:XPath");
    return context;
  }

  // The digest of the chain over the whole document, as text, or "error N".
  std::string run(std::initializer_list<int32_t> numbers, int32_t digestId = 4) const {
    List steps(talvo_arraylist_new(nullptr, releaseContext));
    for (int32_t number : numbers) {
      append(steps, step(number));
    }
    Digest digest;
    uint32_t error = 0;
    return digestContextData(nodesInput(wholeDocument(document_.get())), steps.get(), digestId,
                             &digest, &error)
               ? take(digestText(digest).release())
               : "error " + std::to_string(error);
  }

  Document document_;

 private:
  static void releaseContext(void *context) {
    talvo_xml_signature_transformctx_free(static_cast<TransformCtx *>(context));
  }
};

TEST_F(ChainTest, StreamedChainsDigestWhatTheStepsYield) {
  const std::string open =
      "<a xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\" xmlns:p=\"urn:p\">\n";
  const std::string inclusive = open + "<b>QUJD</b></a>";
  const std::string exclusive = "<a xmlns:p=\"urn:p\">\n<b>QUJD</b></a>";
  const struct {
    std::initializer_list<int32_t> steps;
    std::string octets;
  } rows[] = {
      {{48}, inclusive},
      {{32}, inclusive},
      {{48, 1}, inclusive},
      {{48, 3}, exclusive},
      {{48, 16}, "ABC"},
      {{48, 1, 48}, inclusive},
      {{48, 3, 3}, exclusive},
      {{48, 4, 1}, exclusive},
      {{48, 32, 6}, inclusive},
      {{48, 2}, open + "<b>QUJD</b><!--c--></a>"},
      {{48, 7}, open + "<b>QUJD</b><!--c--></a>"},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(run(row.steps), plainDigest(row.octets)) << row.octets;
  }
}

TEST_F(ChainTest, FailuresSayWhichStepFailed) {
  EXPECT_EQ(run({48, 1}, 2), "error 12");
  EXPECT_EQ(run({16}), "error 13");         // the text of XPath is no Base64
  EXPECT_EQ(run({48, 16, 1}), "error 13");  // "ABC" is no document
  EXPECT_EQ(run({16, 1}), "error 13");
  const Document broken = parse("<a xmlns:r='rel'>text</a>");
  for (int32_t last : {1, 3, 6}) {
    List steps(talvo_arraylist_new(nullptr, nullptr));
    const TransformContext context = step(last);
    talvo_arraylist_pushback(steps.get(), context.get());
    Digest digest;
    uint32_t error = 0;
    EXPECT_FALSE(digestContextData(nodesInput(wholeDocument(broken.get())), steps.get(), 4, &digest,
                                   &error));
    EXPECT_EQ(error, 13U);
    EXPECT_EQ(digest.length, 0U);
  }
  Digest digest;
  uint32_t error = 0;
  EXPECT_FALSE(digestReferenceData(nullptr, nullptr, 4, &digest, &error));
  EXPECT_EQ(error, 6U);
}

}  // namespace
}  // namespace talvo::test
