#include "signature/generate/signed_info.h"

#include <cctype>

#include "signature/generate/element_writer.h"
#include "signature/generate/reference.h"
#include "signature/vocabulary/algorithm.h"
#include "support/signature_namespace.h"

namespace talvo::test {
namespace {

class SignedInfoGenerationTest : public LibraryTest {};

TEST_F(SignedInfoGenerationTest, OnlyMethodsWithAnIdentifierAreWritten) {
  const SignatureHost host;
  const ReferenceContext context = reference("");
  const SignedInfoContext signedInfo = test::signedInfo(context.get());
  for (int32_t number = 0; number <= 128; ++number) {
    SCOPED_TRACE(number);
    const SignatureAlgorithm *method = signatureByNumber(number);
    const bool written =
        method != nullptr && method->uri != nullptr && method->family != KeyFamily::hmac;
    signedInfo->signatureMethod = number;
    const std::string text =
        host.textOf(generateSignedInfo(host.doc(), host.ns(), signedInfo.get()));
    EXPECT_EQ(count(text, "<ds:SignatureMethod Algorithm=\"" +
                              take(talvo_xml_algorithm_geturi(3, number)) + "\"/>"),
              written ? 1 : 0);
    EXPECT_EQ(text == "(null)", !written);
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
  EXPECT_EQ(count(host.content(), "<ds:Reference URI=\"#a\">"), 2);
  XmlNode *value = talvo_xml_signvaluenode_gen(host.doc(), host.ns(), str("v").get());
  EXPECT_EQ(elementText(value), "<ds:SignatureValue Id=\"v\"/>");
  talvo_xml_node_free(value);
  XmlNode *digest = talvo_xml_digestvalue_gen(host.doc(), host.ns(), "abc", 3);
  EXPECT_EQ(elementText(digest), "<ds:DigestValue>YWJj</ds:DigestValue>");
  talvo_xml_node_free(digest);
  // Left to the end of the library.
  EXPECT_NE(talvo_xml_refsnode_gen(host.doc(), references.get(), host.ns()), nullptr);
}

TEST_F(SignedInfoGenerationTest, NullArgumentsMakeNothing) {
  const SignatureHost host;
  const ReferenceContext context = reference("");
  const SignedInfoContext signedInfo = test::signedInfo(context.get());
  const List references = listOf({context.get()});
  const UString name = str("n");
  EXPECT_EQ(talvo_xml_signedinfonode_gen(nullptr, host.ns(), signedInfo.get()), nullptr);
  EXPECT_EQ(talvo_xml_signedinfonode_gen(host.doc(), nullptr, signedInfo.get()), nullptr);
  EXPECT_EQ(talvo_xml_signedinfonode_gen(host.doc(), host.ns(), nullptr), nullptr);
  EXPECT_EQ(talvo_xml_refsnode_gen(host.doc(), nullptr, host.ns()), nullptr);
  EXPECT_EQ(generateReferences(host.doc(), host.ns(), listOf<ReferenceCtx>({}).get()), nullptr);
  EXPECT_EQ(generateC14nMethod(host.ns(), 3, nullptr), nullptr);
  EXPECT_EQ(generateC14nMethod(host.ns(), 3, stringList({}).get()), nullptr);
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
  const std::string first = take(genId());
  std::string form = first;
  for (char &letter : form) {
    letter = std::isdigit(letter) || (letter >= 'A' && letter <= 'F') ? 'x' : letter;
  }
  EXPECT_EQ(form, "_xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx");
  EXPECT_NE(first, take(genId()));
}

}  // namespace
}  // namespace talvo::test
