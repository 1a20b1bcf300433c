#include "signature/xades/position.h"

#include "support/signature_namespace.h"

namespace talvo::test {
namespace {

class PositionTest : public LibraryTest {};

// A Signature with the given attributes and what follows its SignatureValue.
std::string signature(const std::string &attributes, const std::string &rest) {
  return "<ds:Signature xmlns:ds=\"" + textOf(g_xml_signature_nsuri) + "\"" + attributes +
         "><ds:SignatureValue/>" + rest + "</ds:Signature>";
}

std::string xades(const std::string &prefix, const std::string &content) {
  const std::string name = (prefix.empty() ? "" : prefix + ":") + "QualifyingProperties";
  return "<" + name + " xmlns" + (prefix.empty() ? "" : ":" + prefix) + "=\"" +
         textOf(g_xml_xadesv132_nsuri) + "\"" + content + "</" + name + ">";
}

XmlNode *signatureValue(const Document &doc) {
  return talvo_xml_node_getchildren(rootOf(doc));
}

std::string textOfRoot(const Document &doc) {
  return elementText(rootOf(doc));
}

TEST_F(PositionTest, WhatIsMissingIsMadeInTheNamespaceOfWhatIsThere) {
  const std::string empty =
      "<x:UnsignedProperties><x:UnsignedSignatureProperties>\n"
      "</x:UnsignedSignatureProperties></x:UnsignedProperties>";
  const auto made = [&](const std::string &prefix) { return replacedAll(empty, "x:", prefix); };
  const std::pair<std::string, std::string> rows[] = {
      {"", "<ds:Object>\n" + xades("xa", " Target=\"#s\">" + made("xa:")) + "\n</ds:Object>"},
      {"\n<ds:Object>data</ds:Object>", "\n<ds:Object>data</ds:Object><ds:Object>\n" +
                                            xades("xa", " Target=\"#s\">" + made("xa:")) +
                                            "\n</ds:Object>"},
      // Not only as the first child of the first Object.
      {"<ds:Object/><ds:Object><b/>" + xades("y", "><y:SignedProperties/>\n") + "</ds:Object>",
       "<ds:Object/><ds:Object><b/>" + xades("y", "><y:SignedProperties/>\n" + made("y:")) +
           "</ds:Object>"},
      {"<ds:Object>" + xades("", "><UnsignedProperties/>") + "</ds:Object>",
       "<ds:Object>" + xades("", ">" + made("")) + "</ds:Object>"},
  };
  for (const auto &[before, after] : rows) {
    SCOPED_TRACE(before);
    const Document doc = parse(signature(" Id=\"s\"", before));
    XmlNode *ns = nullptr;
    XmlNode *position = getUnsignedSignaturePropertiesLastChildPos(signatureValue(doc), &ns);
    EXPECT_EQ(textOfRoot(doc), signature(" Id=\"s\"", after));
    EXPECT_EQ(take(talvo_xml_node_getvalue(position)), "\n");
    EXPECT_EQ(take(talvo_xml_node_getnsuri(ns)), textOf(g_xml_xadesv132_nsuri));
    // The second time everything is there.
    EXPECT_EQ(getUnsignedSignaturePropertiesLastChildPos(signatureValue(doc), &ns), position);
  }
}

TEST_F(PositionTest, ASignatureWithoutIdGetsOneAndNoSecond) {
  const Document bare = parse(signature("", ""));
  XmlNode *ns = nullptr;
  ASSERT_NE(getUnsignedSignaturePropertiesLastChildPos(signatureValue(bare), &ns), nullptr);
  const std::string id = between(textOfRoot(bare), " Id=\"", "\"");
  EXPECT_EQ(id.size(), 37U);
  EXPECT_EQ(between(textOfRoot(bare), "Target=\"", "\""), "#" + id);

  const std::string attributes = " a=\"1\" Id=\"behind\"";
  const Document second = parse(signature(attributes, ""));
  ASSERT_NE(getUnsignedSignaturePropertiesLastChildPos(signatureValue(second), &ns), nullptr);
  const std::string text = textOfRoot(second);
  EXPECT_EQ(text.find(" Id=\""), text.rfind(" Id=\"")) << text;
  EXPECT_EQ(between(text, "Target=\"", "\""), "#behind");
}

TEST_F(PositionTest, ThePositionIsBehindEverythingThatIsThere) {
  const Document doc = parse(
      signature(" Id=\"s\"", "<ds:Object>" +
                                 xades("xa",
                                       "><xa:UnsignedProperties><xa:UnsignedSignatureProperties>"
                                       "<a/>\n<last/></xa:UnsignedSignatureProperties>"
                                       "</xa:UnsignedProperties>") +
                                 "</ds:Object>"));
  XmlNode *ns = nullptr;
  XmlNode *position = getUnsignedSignaturePropertiesLastChildPos(signatureValue(doc), &ns);
  EXPECT_EQ(take(talvo_xml_node_getname(position)), "last");
}

TEST_F(PositionTest, AnEmptyElementGetsALineFeed) {
  const Document doc = parse("<a><b/>text</a>");
  XmlNode *root = rootOf(doc);
  XmlNode *child = talvo_xml_node_getchildren(root);
  EXPECT_EQ(talvo_xml_signature_xades_getLastChildPos(doc.get(), root),
            talvo_xml_node_getnextsibling(child));
  EXPECT_NE(talvo_xml_signature_xades_getLastChildPos(doc.get(), child), nullptr);
  EXPECT_EQ(textOfRoot(doc), "<a><b>\n</b>text</a>");
  EXPECT_EQ(talvo_xml_signature_xades_getLastChildPos(doc.get(), nullptr), nullptr);
  EXPECT_EQ(getUnsignedSignaturePropertiesLastChildPos(nullptr, nullptr), nullptr);
}

}  // namespace
}  // namespace talvo::test
