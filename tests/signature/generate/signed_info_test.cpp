#include "signature/generate/signed_info.h"

#include <cctype>

#include "signature/generate/element_writer.h"
#include "signature/generate/reference.h"
#include "support/every_allocation_fails.h"
#include "support/signature_namespace.h"

namespace talvo::test {
namespace {

class SignedInfoGenerationTest : public LibraryTest {};

std::string uriOf(uint32_t kind, int32_t number) {
  return test::textOf(UString(talvo_xml_algorithm_geturi(kind, number)));
}

std::string element(const std::string &name, const std::string &algorithm) {
  return "<ds:" + name + " Algorithm=\"" + algorithm + "\"/>";
}

const std::string kEmptyDigest = "<ds:DigestValue/>\n";

TEST_F(SignedInfoGenerationTest, EveryPartStandsOnItsOwnLine) {
  const SignatureHost host;
  const TransformContext enveloped = transform(48);
  const TransformContext c14n = transform(6);
  const ReferenceContext first(talvo_xml_signature_referencectx_new(
      4, makeString("r1").get(), makeString("").get(), makeString("urn:t").get(), nullptr,
      listOf({enveloped.get(), c14n.get()}).get()));
  const ReferenceContext second = reference("#b", 6);
  const SignedInfoContext context(talvo_xml_signature_signedinfoctx_new(
      makeString("si").get(), 2, nullptr, 75, listOf({first.get(), second.get()}).get()));
  EXPECT_EQ(host.textOf(generateSignedInfo(host.doc(), host.ns(), context.get())),
            "<ds:SignedInfo Id=\"si\">\n" + element("CanonicalizationMethod", uriOf(1, 2)) + "\n" +
                element("SignatureMethod", uriOf(3, 75)) + "\n" +
                "<ds:Reference Id=\"r1\" URI=\"\" Type=\"urn:t\">\n<ds:Transforms>\n" +
                element("Transform", uriOf(4, 48)) + "\n" + element("Transform", uriOf(4, 6)) +
                "\n</ds:Transforms>\n" + element("DigestMethod", uriOf(2, 4)) + "\n" +
                kEmptyDigest + "</ds:Reference>\n" + "<ds:Reference URI=\"#b\">\n" +
                element("DigestMethod", uriOf(2, 6)) + "\n" + kEmptyDigest +
                "</ds:Reference>\n</ds:SignedInfo>");
}

TEST_F(SignedInfoGenerationTest, AReferenceWithoutUriHasNoSuchAttribute) {
  const SignatureHost host;
  const Blob content(talvo_data_blob_new("x", 1));
  const ReferenceContext context(
      talvo_xml_signature_referencectx_new(1, nullptr, nullptr, nullptr, content.get(), nullptr));
  EXPECT_EQ(host.textOf(generateReferences(host.doc(), host.ns(), listOf({context.get()}).get())),
            "<ds:Reference>\n" + element("DigestMethod", uriOf(2, 1)) + "\n" + kEmptyDigest +
                "</ds:Reference>\n");
  EXPECT_EQ(generateReferences(host.doc(), host.ns(), listOf<ReferenceCtx>({}).get()), nullptr);
}

TEST_F(SignedInfoGenerationTest, AnXPathTransformRemembersWhereItsExpressionStands) {
  const SignatureHost host;
  const TransformContext xpath = transform(32, makeString("a < b").get());
  const ReferenceContext context = reference("", 1, listOf({xpath.get()}));
  const std::string text =
      host.textOf(generateReferences(host.doc(), host.ns(), listOf({context.get()}).get()));
  EXPECT_NE(text.find("<ds:Transform Algorithm=\"" + uriOf(4, 32) +
                      "\">\n<ds:XPath>a &lt; b</ds:XPath>\n</ds:Transform>"),
            std::string::npos)
      << text;
  EXPECT_EQ(
      xpath->xpathElement,
      talvo_xml_node_findelemnode(host.root(), g_xml_signature_xpath_name, g_xml_signature_nsuri));
}

// Verification takes a transform without content for one without list; a line feed would be a
// malformed list.
TEST_F(SignedInfoGenerationTest, ThePrefixListOfATransformIsNotWritten) {
  const SignatureHost host;
  for (const int32_t number : {3, 4}) {
    const TransformContext exclusive = transform(number, stringList({"p"}).get());
    const ReferenceContext context = reference("", 1, listOf({exclusive.get()}));
    const std::string text =
        host.textOf(generateReferences(host.doc(), host.ns(), listOf({context.get()}).get()));
    EXPECT_NE(text.find("<ds:Transforms>\n" + element("Transform", uriOf(4, number)) +
                        "\n</ds:Transforms>"),
              std::string::npos)
        << text;
  }
}

TEST_F(SignedInfoGenerationTest, ThePrefixListOfSignedInfoIsWritten) {
  const SignatureHost host;
  const List prefixes = stringList({"p", "#default", "q"});
  const std::string inside =
      "<ec:InclusiveNamespaces xmlns:ec=\"" + uriOf(1, 3) + "\" PrefixList=\"p #default q\"/>";
  EXPECT_EQ(host.textOf(generateC14nMethod(host.ns(), 4, prefixes.get())),
            "<ds:CanonicalizationMethod Algorithm=\"" + uriOf(1, 4) + "\">" + inside +
                "</ds:CanonicalizationMethod>");
  EXPECT_EQ(generateC14nMethod(host.ns(), 3, nullptr), nullptr);
  EXPECT_EQ(generateC14nMethod(host.ns(), 3, stringList({}).get()), nullptr);
}

TEST_F(SignedInfoGenerationTest, OnlyMethodsWithAnIdentifierAreWritten) {
  const SignatureHost host;
  const ReferenceContext context = reference("");
  const SignedInfoContext signedInfo = test::signedInfo(context.get());
  for (int32_t number = 30; number <= 90; ++number) {
    signedInfo->signatureMethod = number;
    const bool written = number >= 65 && number <= 83 && number != 67;
    const std::string text =
        host.textOf(generateSignedInfo(host.doc(), host.ns(), signedInfo.get()));
    EXPECT_EQ(text.find(element("SignatureMethod", uriOf(3, number))) != std::string::npos, written)
        << number;
    EXPECT_EQ(text == "(null)", !written) << number;
  }
  for (const uint32_t number : {0U, 8U, 0xFFFFFFFFU}) {
    EXPECT_EQ(talvo_xml_c14nmethodnode_gen(number, nullptr, host.ns()), nullptr);
    EXPECT_EQ(talvo_xml_digestmethodnode_gen(number == 8 ? 9 : number, host.ns()), nullptr);
  }
}

TEST_F(SignedInfoGenerationTest, WhatAnApplicationGetsCanBeLinkedOrFreed) {
  const SignatureHost host;
  const ReferenceContext context = reference("#a", 1);
  const List references = listOf({context.get(), context.get()});
  XmlNode *run = talvo_xml_refsnode_gen(host.doc(), references.get(), host.ns());
  ASSERT_NE(talvo_xml_node_addchild(host.root(), run), nullptr);
  const std::string one =
      "<ds:Reference URI=\"#a\">\n<ds:DigestMethod Algorithm=\"\"/>\n<ds:DigestValue/>\n"
      "</ds:Reference>\n";
  EXPECT_EQ(withoutAlgorithms(host.content()), one + one);
  XmlNode *value = talvo_xml_signvaluenode_gen(host.doc(), host.ns(), makeString("v").get());
  EXPECT_EQ(test::textOf(Blob(talvo_xml_element_dump(value))), "<ds:SignatureValue Id=\"v\"/>");
  talvo_xml_node_free(value);
  XmlNode *digest = talvo_xml_digestvalue_gen(host.doc(), host.ns(), "abc", 3);
  EXPECT_EQ(test::textOf(Blob(talvo_xml_element_dump(digest))),
            "<ds:DigestValue>YWJj</ds:DigestValue>");
  talvo_xml_node_free(digest);
  // Left to the end of the library.
  EXPECT_NE(talvo_xml_refsnode_gen(host.doc(), references.get(), host.ns()), nullptr);
}

TEST_F(SignedInfoGenerationTest, NullArgumentsMakeNothing) {
  const SignatureHost host;
  const ReferenceContext context = reference("");
  const SignedInfoContext signedInfo = test::signedInfo(context.get());
  const List references = listOf({context.get()});
  const UString name = makeString("n");
  EXPECT_EQ(talvo_xml_signedinfonode_gen(nullptr, host.ns(), signedInfo.get()), nullptr);
  EXPECT_EQ(talvo_xml_signedinfonode_gen(host.doc(), nullptr, signedInfo.get()), nullptr);
  EXPECT_EQ(talvo_xml_signedinfonode_gen(host.doc(), host.ns(), nullptr), nullptr);
  EXPECT_EQ(talvo_xml_refsnode_gen(host.doc(), nullptr, host.ns()), nullptr);
  EXPECT_EQ(talvo_xml_refsnode_gen(nullptr, references.get(), host.ns()), nullptr);
  EXPECT_EQ(talvo_xml_signvaluenode_gen(host.doc(), nullptr, nullptr), nullptr);
  EXPECT_EQ(talvo_xml_digestvalue_gen(host.doc(), host.ns(), nullptr, 0), nullptr);
  EXPECT_EQ(talvo_xml_node_gen(host.doc(), host.ns(), name.get(), nullptr), nullptr);
  EXPECT_EQ(talvo_xml_node_gen(host.doc(), host.ns(), nullptr, name.get()), nullptr);
  EXPECT_EQ(talvo_xml_signature_inclusivenamespaces_gen(nullptr), nullptr);
}

TEST_F(SignedInfoGenerationTest, LineFeedsNeverStandBesideText) {
  const SignatureHost host;
  XmlNode *first = addlfchild(host.doc(), host.root());
  EXPECT_EQ(addlfsibling(host.doc(), first), first);
  OwnedNode value = generateSignatureValue(host.doc(), host.ns(), nullptr);
  XmlNode *last = addPart(host.doc(), first, std::move(value));
  ASSERT_NE(last, nullptr);
  EXPECT_EQ(addlfsibling(host.doc(), last), last);
  EXPECT_EQ(host.content(), "\n<ds:SignatureValue/>\n");
  EXPECT_EQ(addPart(host.doc(), last, nullptr), nullptr);
}

TEST_F(SignedInfoGenerationTest, IdsAreRandomNames) {
  const std::string first = test::textOf(UString(genId()));
  std::string form = first;
  for (char &letter : form) {
    letter = std::isdigit(letter) || (letter >= 'A' && letter <= 'F') ? 'x' : letter;
  }
  EXPECT_EQ(form, "_xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx");
  EXPECT_NE(first, test::textOf(UString(genId())));
}

TEST_F(SignedInfoGenerationTest, EveryFailedAllocationIsAFailure) {
  const SignatureHost host;
  const TransformContext xpath = transform(32, makeString("true()").get());
  const ReferenceContext context = reference("", 1, listOf({xpath.get()}));
  const SignedInfoContext signedInfo =
      test::signedInfo(context.get(), 68, 3, stringList({"p", "q"}));
  everyAllocationFails([&] {
    XmlNode *made = talvo_xml_signedinfonode_gen(host.doc(), host.ns(), signedInfo.get());
    talvo_xml_node_free(made);
    return made != nullptr;
  });
}

}  // namespace
}  // namespace talvo::test
