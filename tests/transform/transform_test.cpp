#include "transform/transform.h"

#include "support/contexts.h"
#include "transform/transform_support.h"

namespace talvo::test {
namespace {

class TransformTest : public LibraryTest {};

std::string algorithm(int32_t number) {
  const TransformAlgorithm *row = transformByNumber(number);
  return row == nullptr ? "urn:none" : std::string(viewOf(*row->uri));
}

// A ds:Signature with one Transform of this algorithm and content.
Document signatureWith(std::string_view uri, std::string_view content) {
  return parse(
      "<ds:Signature xmlns:ds='http://www.w3.org/2000/09/xmldsig#'>text<ds:Transform "
      "Algorithm='" +
      std::string(uri) + "'>" + std::string(content) + "</ds:Transform></ds:Signature>");
}

constexpr std::string_view kInclusive =
    "<e:InclusiveNamespaces xmlns:e='http://www.w3.org/2001/10/xml-exc-c14n#' PrefixList='p q'/>";

TEST_F(TransformTest, DecodedTransformsAreLookedUpByIdentifier) {
  const std::string xpath = "<ds:XPath>true()</ds:XPath>";
  const struct {
    std::string uri;
    std::string content;
    TransformFunc function;
    uint32_t error;
  } rows[] = {
      {algorithm(1), "", talvo_xml_siganture_c14n, 0},
      {algorithm(2), "", talvo_xml_siganture_c14n_with_comments, 0},
      {algorithm(3), "", talvo_xml_siganture_exc_c14n, 0},
      {algorithm(4), std::string(kInclusive), talvo_xml_siganture_exc_c14n_with_comments, 0},
      {algorithm(6), "", talvo_xml_siganture_c14nv1_1, 0},
      {algorithm(7), "", talvo_xml_siganture_c14nv1_1_with_comments, 0},
      {algorithm(16), "", talvo_xml_siganture_base64decode_transform, 0},
      {algorithm(32), xpath, talvo_xml_siganture_xpath_filtering_transform, 0},
      {algorithm(32), " <!--c-->" + xpath + " ", talvo_xml_siganture_xpath_filtering_transform, 0},
      {algorithm(48), "", talvo_xml_siganture_enveloped_signature_transform, 0},
      {algorithm(3), "\n", nullptr, 18},
      {algorithm(32), "", nullptr, 24},
      {algorithm(32), xpath + xpath, nullptr, 24},
      {algorithm(32), "<XPath>true()</XPath>", nullptr, 24},
      {algorithm(1) + "#", "", nullptr, 7},
      {"http://www.w3.org/2000/09/xmldsig#minimal", "", nullptr, 7},
      {"http://www.w3.org/TR/1999/REC-xslt-19991116", "", nullptr, 7},
      {"HTTP" + algorithm(1).substr(4), "", nullptr, 7},
  };
  for (const auto &row : rows) {
    const Document document = signatureWith(row.uri, row.content);
    const Owned<Transform> transform = transformOf(document.get(), "ds:Transform");
    void *block = nullptr;
    uint32_t error = 0;
    EXPECT_EQ(talvo_xml_transformnode2func(transform.get(), &block, &error), row.function);
    EXPECT_EQ(error, row.error) << row.uri << row.content;
    const TransformParameter parameter(block);
  }
}

TEST_F(TransformTest, ParametersCarryPrefixesAndElements) {
  const Document document = signatureWith(algorithm(4), kInclusive);
  Owned<Transform> transform = transformOf(document.get(), "ds:Transform");
  void *block = nullptr;
  uint32_t error = 0;
  ASSERT_NE(talvo_xml_transformnode2func(transform.get(), &block, &error), nullptr);
  const TransformParameter prefixes(block);
  char **texts = static_cast<char **>(block);
  EXPECT_STREQ(texts[0], "p");
  EXPECT_STREQ(texts[1], "q");
  EXPECT_EQ(texts[2], nullptr);

  transform->algorithm = str(algorithm(48));
  ASSERT_NE(talvo_xml_transformnode2func(transform.get(), &block, &error), nullptr);
  const TransformParameter element(block);
  EXPECT_EQ(*static_cast<XmlNode **>(block), transform->signatureElement);
}

TEST_F(TransformTest, ContextsAreLookedUpByNumber) {
  const List prefixes = stringList({"p"});
  const struct {
    int32_t number;
    const talvo_arraylist *prefixes;
    TransformFunc function;
    uint32_t error;
  } rows[] = {
      {1, nullptr, talvo_xml_siganture_c14n, 0},
      {3, prefixes.get(), talvo_xml_siganture_exc_c14n, 0},
      // Deliberate: exclusive canonicalisation cannot be signed without a list.
      {3, nullptr, nullptr, 3},
      {4, nullptr, nullptr, 3},
      {7, nullptr, talvo_xml_siganture_c14nv1_1_with_comments, 0},
      {16, nullptr, talvo_xml_siganture_base64decode_transform, 0},
      {32, nullptr, talvo_xml_siganture_xpath_filtering_transform, 0},
      {48, nullptr, talvo_xml_siganture_enveloped_signature_transform, 0},
      {0, nullptr, nullptr, 7},
      {5, nullptr, nullptr, 7},
      {17, nullptr, nullptr, 7},
      {49, nullptr, nullptr, 7},
      {-1, nullptr, nullptr, 7},
  };
  for (const auto &row : rows) {
    TransformCtx context;
    context.algorithm = row.number;
    context.prefixes = copyStrings(row.prefixes);
    void *block = nullptr;
    uint32_t error = 0;
    EXPECT_EQ(talvo_xml_transformctx2func(&context, &block, &error), row.function) << row.number;
    EXPECT_EQ(error, row.error) << row.number;
    const TransformParameter parameter(block);
  }
}

TEST_F(TransformTest, LookingUpNeedsItsArguments) {
  TransformCtx context;
  void *block = nullptr;
  uint32_t error = 0;
  EXPECT_EQ(talvo_xml_transformctx2func(nullptr, &block, &error), nullptr);
  EXPECT_EQ(error, 6U);
  error = 0;
  EXPECT_EQ(talvo_xml_transformctx2func(&context, nullptr, &error), nullptr);
  EXPECT_EQ(error, 6U);
  EXPECT_EQ(talvo_xml_transformctx2func(&context, &block, nullptr), nullptr);
  error = 0;
  EXPECT_EQ(talvo_xml_transformnode2func(nullptr, &block, &error), nullptr);
  EXPECT_EQ(error, 6U);
}

TEST_F(TransformTest, CanonicalisationParsesOctets) {
  EXPECT_EQ(take(talvo_xml_siganture_c14n(octetsInput("<a  b='1'><!--c--></a>").get(), 1, nullptr)),
            "<a b=\"1\"></a>");
  EXPECT_EQ(take(talvo_xml_siganture_c14n_with_comments(octetsInput("<a><!--c--></a>").get(), 0,
                                                        nullptr)),
            "<a><!--c--></a>");
  EXPECT_EQ(take(talvo_xml_siganture_c14n(octetsInput("<a>").get(), 1, nullptr)), "(null)");
  EXPECT_EQ(take(talvo_xml_siganture_c14n(octetsInput("").get(), 1, nullptr)), "(null)");
  EXPECT_EQ(take(talvo_xml_siganture_c14n(nullptr, 1, nullptr)), "(null)");
  EXPECT_EQ(take(talvo_xml_siganture_excute_c14n(5, octetsInput("<a/>").get(), 1, nullptr)),
            "(null)");
}

TEST_F(TransformTest, CommentsAreGoneWhereTheSelectionDropsThem) {
  const Document document = parse("<a><!--c--></a>");
  const TransformInput without = nodesInput(wholeDocument(document.get(), false));
  EXPECT_EQ(take(talvo_xml_siganture_c14n_with_comments(without.get(), 1, nullptr)), "<a></a>");
}

TEST_F(TransformTest, FlagsPassThrough) {
  const Document document = parse("<a>QUI=</a>");
  for (bool isSameDocument : {true, false}) {
    const TransformInput input = nodesInput(wholeDocument(document.get()), isSameDocument);
    void *block = find(document.get(), "/a");
    for (TransformFunc function :
         {talvo_xml_siganture_c14n, talvo_xml_siganture_base64decode_transform,
          talvo_xml_siganture_enveloped_signature_transform}) {
      const TransformInput result(function(input.get(), 0, &block));
      ASSERT_NE(result, nullptr);
      EXPECT_EQ(result->isSameDocument, isSameDocument);
    }
  }
}

TEST_F(TransformTest, Base64TakesTheSelectedText) {
  const Document document =
      parse("<?p QQ==?><a>QU<!--Qg==-->JD<b>\n R<![CDATA[EU]]>=\r\n</b>\n <c>*</c></a><!--QQ==-->");
  XmlDoc *doc = document.get();
  XmlNode *c = find(doc, "c");
  const OwnedNodeSet all = wholeDocument(doc);
  const struct {
    const char *name;
    OwnedNodeSet nodes;
    const char *octets;
  } rows[] = {
      {"all", wholeDocument(doc), "(null)"},
      {"without c", chained(wholeDocument(doc), talvo_xml_nodeset_enveloped_signature(doc, c)),
       "ABCDE"},
      {"b alone", subtreeOf(doc, find(doc, "b")), "DE"},
      {"no text", subtreeOf(doc, find(doc, "comment()")), ""},
  };
  for (const auto &row : rows) {
    const TransformInput input(
        talvo_xml_transform_newnodeset(talvo_xml_nodeset_dup(row.nodes.get()), 1));
    EXPECT_EQ(take(talvo_xml_siganture_base64decode_transform(input.get(), 1, nullptr)), row.octets)
        << row.name;
  }
}

TEST_F(TransformTest, Base64IsStrictButForWhiteSpace) {
  const std::pair<std::string_view, const char *> rows[] = {
      {"QUJD", "ABC"}, {" Q U\tJ\r\nD ", "ABC"}, {"QQ==", "A"},      {"QQ=\n=", "A"},
      {"", "(null)"},  {" \n", "(null)"},        {"QQ", "(null)"},   {"QQ=", "(null)"},
      {"Q", "(null)"}, {"QQ==QQ==", "(null)"},   {"QQ==\n", "A"},    {"QUJD-", "(null)"},
      {"=", "(null)"}, {"====", "(null)"},       {"QQ===", "(null)"}};
  for (const auto &[text, octets] : rows) {
    EXPECT_EQ(take(talvo_xml_siganture_base64decode_transform(octetsInput(text).get(), 1, nullptr)),
              octets)
        << text;
  }
  EXPECT_EQ(take(talvo_xml_siganture_base64decode_transform(nullptr, 1, nullptr)), "(null)");
}

TEST_F(TransformTest, LongBase64IsDecodedWhole) {
  // Padding that ends a piece must end the text too, wherever the pieces are cut.
  std::string text;
  std::string octets;
  for (int i = 0; i < 30000; ++i) {
    text += i % 19 == 18 ? "QUJD\r\n" : "QUJD";
    octets += "ABC";
  }
  EXPECT_EQ(take(talvo_xml_siganture_base64decode_transform(octetsInput(text + "QQ==").get(), 1,
                                                            nullptr)),
            octets + "A");
  const std::string padded = std::string(16380, 'Q') + "QQ==";
  EXPECT_EQ(take(talvo_xml_siganture_base64decode_transform(octetsInput(padded).get(), 1, nullptr))
                .size(),
            16380U / 4 * 3 + 1);
  for (const char *tail : {"QQ==", "=", "Q"}) {
    EXPECT_EQ(take(talvo_xml_siganture_base64decode_transform(octetsInput(padded + tail).get(), 1,
                                                              nullptr)),
              "(null)")
        << tail;
  }
}

class EnvelopedTest : public TransformTest {
 protected:
  // Runs the transform over an input for the Signature of a document.
  static std::string run(XmlDoc *document, const TransformInput &input, bool isLast) {
    void *block = find(document, "//ds:Signature");
    return take(
        talvo_xml_siganture_enveloped_signature_transform(input.get(), isLast ? 1 : 0, &block));
  }
};

TEST_F(EnvelopedTest, RemovesTheSignatureFromDataThatHoldsIt) {
  const std::string text =
      "<a xmlns:ds='http://www.w3.org/2000/09/xmldsig#'><b/><ds:Signature Id='s'/><!--c--></a>";
  const Document document = parse(text);
  XmlDoc *doc = document.get();
  const std::string whole =
      "<a xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\"><b></b>"
      "<ds:Signature Id=\"s\"></ds:Signature></a>";
  const std::string without = "<a xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\"><b></b></a>";
  EXPECT_EQ(run(doc, nodesInput(wholeDocument(doc)), true), without);
  EXPECT_EQ(run(doc, nodesInput(wholeDocument(doc)), false), "(nodes)");
  // Data from elsewhere, and a part that does not hold the signature, stay as they are.
  EXPECT_EQ(run(doc, nodesInput(wholeDocument(doc), false), true), whole);
  EXPECT_EQ(run(doc, octetsInput(text), true), whole);
  EXPECT_EQ(run(doc, nodesInput(subtreeOf(doc, find(doc, "b"))), true),
            "<b xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\"></b>");
}

TEST_F(EnvelopedTest, NeedsAnInputAndASignature) {
  const Document document = parse("<a/>");
  const TransformInput input = nodesInput(wholeDocument(document.get()));
  void *block = nullptr;
  EXPECT_EQ(talvo_xml_siganture_enveloped_signature_transform(nullptr, 0, &block), nullptr);
  EXPECT_EQ(talvo_xml_siganture_enveloped_signature_transform(input.get(), 0, nullptr), nullptr);
  EXPECT_EQ(talvo_xml_siganture_enveloped_signature_transform(input.get(), 0, &block), nullptr);
}

TEST_F(TransformTest, XPathNarrowsNodesAndParsedOctets) {
  const Document document = signatureWith(algorithm(32), "<ds:XPath>not(self::text())</ds:XPath>");
  void *block = find(document.get(), "//ds:XPath");
  const TransformInput input =
      nodesInput(subtreeOf(document.get(), find(document.get(), "//ds:XPath")));
  EXPECT_EQ(take(talvo_xml_siganture_xpath_filtering_transform(input.get(), 1, &block)),
            "<ds:XPath xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\"></ds:XPath>");
  EXPECT_EQ(take(talvo_xml_siganture_xpath_filtering_transform(input.get(), 0, &block)), "(nodes)");
  EXPECT_EQ(take(talvo_xml_siganture_xpath_filtering_transform(
                octetsInput("<a>text<!--c--></a>").get(), 1, &block)),
            "<a></a>");
  void *none = nullptr;
  EXPECT_EQ(talvo_xml_siganture_xpath_filtering_transform(input.get(), 0, &none), nullptr);
  EXPECT_EQ(talvo_xml_siganture_xpath_filtering_transform(nullptr, 0, &block), nullptr);
}

TEST_F(TransformTest, AnXPathThatDropsOnlyTheElementKeepsItsAttributes) {
  // What canonicalisation prescribes for a node set that lacks the element.
  const Document document = signatureWith(algorithm(32), "<ds:XPath>not(self::e)</ds:XPath>");
  void *block = find(document.get(), "//ds:XPath");
  EXPECT_EQ(take(talvo_xml_siganture_xpath_filtering_transform(
                octetsInput("<a><e k='v'>t</e></a>").get(), 1, &block)),
            "<a> k=\"v\"t</a>");
}

}  // namespace
}  // namespace talvo::test
