#include "support/sample_signature.h"

namespace talvo::test {
namespace {

class IdRegistrationTest : public LibraryTest {};

bool isDeclared(const Document &document, const char *id) {
  return talvo_xml_getidelemnode(document.get(), str(id).get()) != nullptr;
}

std::string declared(const Document &document, std::initializer_list<const char *> ids) {
  std::string found;
  for (const char *id : ids) {
    found += isDeclared(document, id) ? std::string(id) + " " : "";
  }
  return found;
}

TEST_F(IdRegistrationTest, DeclaresEverythingInsideSignaturesAndNothingOutside) {
  const Document document = parse(expand(richDocument()));
  EXPECT_EQ(talvo_xml_signature_setid(document.get()), 1);
  EXPECT_EQ(declared(document,
                     {"outside", "S", "SI", "R1", "KI", "O1", "QP", "CV", "CS", "MR", "N", "P1"}),
            "S SI R1 KI O1 QP CV CS MR N P1 ");
  EXPECT_EQ(talvo_xml_signature_setid(document.get()), 1) << "once more changes nothing";
}

TEST_F(IdRegistrationTest, FindsEverySignature) {
  const Document document = parse(expand(
      "<doc xmlns:ds='{ds}'><a><ds:Signature Id='1'><ds:Signature Id='2'/><x "
      "Id='3'/></ds:Signature>"
      "<x Id='4'/></a><ds:Signature Id='5'/><b><c><ds:Signature><y Id='6'/></ds:Signature></c></b>"
      "</doc>"));
  EXPECT_EQ(talvo_xml_signature_setid(document.get()), 1);
  EXPECT_EQ(declared(document, {"1", "2", "3", "4", "5", "6"}), "1 2 3 5 6 ");
}

// What was declared is remembered while no document is edited, and no longer.
TEST_F(IdRegistrationTest, NoticesEveryEdit) {
  const Document document =
      parse(expand("<doc xmlns:ds='{ds}'><ds:Signature><a/></ds:Signature></doc>"));
  XmlNode *signature = findSignature(document.get());
  XmlNode *a = talvo_xml_node_getelemchildren(signature);
  EXPECT_EQ(talvo_xml_signature_setid(document.get()), 1);
  XmlNode *attribute = talvo_xml_node_newattr(a, nullptr, g_xml_signature_id, str("1").get());
  EXPECT_EQ(talvo_xml_signature_setid(document.get()), 1);
  EXPECT_EQ(declared(document, {"1", "2"}), "1 ") << "a new attribute";
  EXPECT_EQ(talvo_xml_node_setvalue(attribute, str("2").get()), 1);
  EXPECT_EQ(talvo_xml_signature_setid(document.get()), 1);
  EXPECT_EQ(declared(document, {"1", "2"}), "2 ") << "a new value";
  XmlNode *copy = talvo_xml_node_dup(a);
  talvo_xml_node_setvalue(talvo_xml_node_getattribute(copy), str("3").get());
  EXPECT_NE(talvo_xml_node_addchild(signature, copy), nullptr);
  EXPECT_EQ(talvo_xml_signature_setid(document.get()), 1);
  EXPECT_EQ(declared(document, {"1", "2", "3"}), "2 3 ") << "a new element";
  talvo_xml_node_remove(signature);
  EXPECT_EQ(talvo_xml_signature_setid(document.get()), 0) << "no signature any more";
}

TEST_F(IdRegistrationTest, ASignatureInPlaceOfARemovedOneIsDeclared) {
  const Document document =
      parse(expand("<doc xmlns:ds='{ds}'><ds:Signature Id='S'><a Id='1'/></ds:Signature></doc>"));
  XmlNode *signature = findSignature(document.get());
  EXPECT_EQ(talvo_xml_signature_setid(document.get()), 1);
  XmlNode *copy = talvo_xml_node_dup(signature);
  talvo_xml_node_remove(signature);
  talvo_xml_node_addchild(talvo_xml_doc_getrootelement(document.get()), copy);
  EXPECT_EQ(talvo_xml_signature_setid(document.get()), 1);
  EXPECT_EQ(talvo_xml_getidelemnode(document.get(), makeString("S").get()), copy);
  EXPECT_EQ(declared(document, {"S", "1"}), "S 1 ");
}

TEST_F(IdRegistrationTest, NeedsASignature) {
  EXPECT_EQ(talvo_xml_signature_setid(nullptr), 0);
  EXPECT_EQ(talvo_xml_signature_setid(parse("<doc Id='x'/>").get()), 0);
  EXPECT_EQ(talvo_xml_signature_setid(Document(talvo_xml_doc_new(1)).get()), 0);
  EXPECT_EQ(talvo_xml_signature_setid(parse("<Signature/>").get()), 0);
}

TEST_F(IdRegistrationTest, LooksOnlyAtAttributesWithoutNamespace) {
  const Document document = parse(
      "<doc xmlns:n='urn:n'><a n:Id='1'/><b n:Id='2' Id='3'/><c id='4'/><d x='' Id='5'/></doc>");
  XmlNode *root = rootOf(document);
  EXPECT_EQ(talvo_xml_node_setsubtreeidattr(document.get(), root, g_xml_signature_id), 1);
  EXPECT_EQ(declared(document, {"1", "2", "3", "4", "5"}), "3 5 ");
  EXPECT_EQ(talvo_xml_node_setsubtreeidattr(document.get(), root, str("id").get()), 1);
  EXPECT_TRUE(isDeclared(document, "4"));
}

TEST_F(IdRegistrationTest, FirstOfTwoEqualIdsWins) {
  const Document document = parse(
      expand("<doc xmlns:ds='{ds}'><ds:Signature><a Id='1'/><b Id='1'/></ds:Signature></doc>"));
  EXPECT_EQ(talvo_xml_signature_setid(document.get()), 1);
  EXPECT_EQ(take(talvo_xml_node_getname(talvo_xml_getidelemnode(document.get(), str("1").get()))),
            "a");
}

TEST_F(IdRegistrationTest, EmptyValueEndsTheWalk) {
  const Document document = parse(expand(
      "<doc xmlns:ds='{ds}'><ds:Signature><a Id='1'/><b Id=''/><c Id='2'/></ds:Signature></doc>"));
  EXPECT_EQ(talvo_xml_signature_setid(document.get()), 0);
  EXPECT_EQ(declared(document, {"1", "2"}), "1 ");
}

TEST_F(IdRegistrationTest, OneNodeIsNotItsSubtree) {
  const Document document = parse("<doc Id='1'><a Id='2'/>text</doc>");
  XmlNode *root = rootOf(document);
  EXPECT_EQ(talvo_xml_node_findsetidattr(document.get(), root, g_xml_signature_id), 1);
  EXPECT_EQ(declared(document, {"1", "2"}), "1 ");
  XmlNode *text = talvo_xml_node_getnextsibling(talvo_xml_node_getchildren(root));
  EXPECT_EQ(talvo_xml_node_findsetidattr(document.get(), text, g_xml_signature_id), 1);
  EXPECT_EQ(talvo_xml_node_setsubtreeidattr(document.get(), document.get(), g_xml_signature_id), 1);
  EXPECT_TRUE(isDeclared(document, "2"));
  EXPECT_EQ(talvo_xml_node_findsetidattr(document.get(), nullptr, g_xml_signature_id), 0);
  EXPECT_EQ(talvo_xml_node_findsetidattr(document.get(), root, nullptr), 0);
  EXPECT_EQ(talvo_xml_node_setsubtreeidattr(nullptr, root, g_xml_signature_id), 0);
}

TEST_F(IdRegistrationTest, ARecordDeclaresItsOwnElements) {
  // Ends with KeyInfo, so that decoding declares nothing.
  const std::string text = replaced(replaced(replaced(plainSignature("<ds:KeyInfo Id='KI'/>"),
                                                      "SignedInfo>", "SignedInfo Id='SI'>"),
                                             "<ds:Reference ", "<ds:Reference Id='R' "),
                                    "<ds:SignatureValue>", "<ds:SignatureValue Id='SV'>");
  const Decoded decoded = decode(text);
  ASSERT_NE(decoded.record, nullptr);
  EXPECT_EQ(declared(decoded.document, {"S"}), "");
  EXPECT_EQ(talvo_xml_signature_setidattr(decoded.record.get()), 1);
  EXPECT_EQ(declared(decoded.document, {"S", "SI", "R", "SV", "KI"}), "S SI R SV ");
  EXPECT_EQ(talvo_xml_signature_setidattr(nullptr), 0);
}

}  // namespace
}  // namespace talvo::test
