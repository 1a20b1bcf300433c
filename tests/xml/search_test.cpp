#include "base/list.h"
#include "signature/vocabulary/vocabulary.h"
#include "xml/xml_support.h"

namespace talvo::test {
namespace {

class SearchTest : public LibraryTest {
 protected:
  static std::string names(const talvo_arraylist *list) {
    std::string names;
    for (XmlNode *node : items<XmlNode>(list)) {
      names += take(talvo_xml_node_getattributevalue(node, str("n").get(), nullptr)) + " ";
    }
    return names;
  }
  static std::string findAll(const XmlNode *node, const char *name, const char *uri) {
    talvo_arraylist *list = nullptr;
    const UString nsuri = uri == nullptr ? nullptr : str(uri);
    if (talvo_xml_node_findallelemnode(node, str(name).get(), nsuri.get(), &list) != 1) {
      return "failed";
    }
    const List owner(list);
    return names(list);
  }
  static std::string xpath(XmlNode *node, const char *expression) {
    talvo_arraylist *list = nullptr;
    if (talvo_xml_node_findxpath(node, str(expression).get(), &list) != 1) {
      return "failed";
    }
    const List owner(list);
    return names(list);
  }
};

TEST_F(SearchTest, ElementsAreFoundInDocumentOrder) {
  const Document document = parse(
      "<!--c--><e n='1'><e n='2'>t<f n='3'><e n='4'/></f></e><e xmlns='urn:x' n='5'/><e "
      "n='6'/></e>");
  XmlNode *root = talvo_xml_doc_getrootelement(document.get());
  EXPECT_EQ(findAll(document.get(), "e", nullptr), "1 2 4 6 ");
  EXPECT_EQ(findAll(document.get(), "e", "urn:x"), "5 ");
  EXPECT_EQ(findAll(find(root, "f"), "e", nullptr), "4 ") << "not beyond the node";
  EXPECT_EQ(findAll(root, "none", nullptr), "") << "an empty list is a success";
  EXPECT_EQ(talvo_xml_node_findelemnode(root, str("e").get(), nullptr), root);
  EXPECT_EQ(talvo_xml_node_findelemnode(document.get(), str("f").get(), nullptr), find(root, "f"));
  EXPECT_EQ(talvo_xml_node_findelemnode(root, str("E").get(), nullptr), nullptr);
  EXPECT_EQ(talvo_xml_node_findelemnode(talvo_xml_node_getattribute(root), str("n").get(), nullptr),
            nullptr)
      << "only elements";
}

TEST_F(SearchTest, FromADocumentTheSearchGoesOnBehindTheRoot) {
  const Document document = parse("<a><e n='1'/></a>");
  XmlNode *second = talvo_xml_node_newelem(nullptr, str("e").get());
  talvo_xml_node_newattr(second, nullptr, str("n").get(), str("2").get());
  EXPECT_EQ(talvo_xml_node_addchild(document.get(), second), second);
  EXPECT_EQ(findAll(document.get(), "e", nullptr), "1 2 ");
  EXPECT_EQ(findAll(talvo_xml_doc_getrootelement(document.get()), "e", nullptr), "1 ");
}

// Deliberate: navigation ends at an entity reference, and so does the search.
TEST_F(SearchTest, WhatFollowsAnEntityReferenceIsNotFound) {
  const Document document =
      parse("<!DOCTYPE a SYSTEM 'none.dtd'><a><b><e n='1'/>&x;<e n='2'/></b><e n='3'/></a>");
  EXPECT_EQ(findAll(document.get(), "e", nullptr), "1 3 ");
}

TEST_F(SearchTest, FailuresGiveNoList) {
  const Document document = parse("<a/>");
  talvo_arraylist *list = nullptr;
  EXPECT_EQ(talvo_xml_node_findallelemnode(document.get(), nullptr, nullptr, &list), 0);
  EXPECT_EQ(talvo_xml_node_findallelemnode(nullptr, str("a").get(), nullptr, &list), 0);
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(talvo_xml_node_findallelemnode(document.get(), str("a").get(), nullptr, nullptr), 0);
  EXPECT_EQ(talvo_xml_node_findallelemnodeinlist(document.get(), str("a").get(), nullptr, nullptr),
            0);
  const List own(talvo_arraylist_new(nullptr, nullptr));
  for (int round = 1; round <= 2; ++round) {
    EXPECT_EQ(
        talvo_xml_node_findallelemnodeinlist(document.get(), str("a").get(), nullptr, own.get()),
        1);
    EXPECT_EQ(talvo_arraylist_getcount(own.get()), round);
  }
}

TEST_F(SearchTest, MatchingDoesNotAskForTheKind) {
  const Document document = parse("<a k='v' xmlns:p='urn:p' p:l='w'/>");
  XmlNode *k = talvo_xml_node_getattribute(talvo_xml_doc_getrootelement(document.get()));
  XmlNode *l = talvo_xml_node_getnextsibling(k);
  EXPECT_EQ(talvo_xml_node_match(k, str("k").get(), nullptr), 1);
  EXPECT_EQ(talvo_xml_node_match(l, str("l").get(), str("urn:p").get()), 1);
  EXPECT_EQ(talvo_xml_node_match(l, str("l").get(), nullptr), 0);
  EXPECT_EQ(talvo_xml_node_match(k, str("k").get(), str("").get()), 0);
  EXPECT_EQ(talvo_xml_node_match(k, nullptr, nullptr), 0);
  EXPECT_EQ(talvo_xml_node_match(nullptr, str("k").get(), nullptr), 0);
}

TEST_F(SearchTest, SignaturesAndManifests) {
  const Document document = parse(
      "<a><Signature/><s:Signature xmlns:s='http://www.w3.org/2000/09/xmldsig#' n='1'>"
      "<s:Manifest/></s:Signature></a>");
  talvo_arraylist *list = nullptr;
  ASSERT_EQ(talvo_xml_node_findsignature(document.get(), &list), 1);
  const List owner(list);
  EXPECT_EQ(names(list), "1 ");
  XmlNode *signature = items<XmlNode>(list)[0];
  EXPECT_EQ(talvo_xml_signature_issignaturenode(signature), 1);
  EXPECT_EQ(talvo_xml_signature_ismanifestnode(signature), 0);
  EXPECT_EQ(talvo_xml_signature_ismanifestnode(find(signature, "Manifest")), 1);
  EXPECT_EQ(talvo_xml_signature_issignaturenode(find(document.get(), "Signature")), 0);
  EXPECT_EQ(talvo_xml_signature_issignaturenode(document.get()), 0);
}

// Deliberate: the first attribute, and no other.
TEST_F(SearchTest, OnlyTheFirstAttributeIsFound) {
  const Document document = parse("<a first='1' second='2'/>");
  XmlNode *root = talvo_xml_doc_getrootelement(document.get());
  EXPECT_EQ(talvo_xml_node_findattribute(root, str("first").get(), nullptr),
            talvo_xml_node_getattribute(root));
  EXPECT_EQ(talvo_xml_node_findattribute(root, str("second").get(), nullptr), nullptr);
  EXPECT_EQ(talvo_xml_node_findattribute(root, str("first").get(), str("").get()), nullptr);
  EXPECT_EQ(take(talvo_xml_node_getattributevalue(root, str("first").get(), nullptr)), "1");
  EXPECT_EQ(take(talvo_xml_node_getattributevalue(root, str("second").get(), nullptr)), "(null)");
  EXPECT_EQ(talvo_xml_node_findattribute(nullptr, str("first").get(), nullptr), nullptr);
}

TEST_F(SearchTest, XPathKnowsThePrefixesInScope) {
  const Document document =
      parse("<a xmlns:p='urn:p' n='1'><b n='2' xmlns:q='urn:q'><q:c n='3'/><p:c n='4'/></b></a>");
  XmlNode *b = find(document.get(), "b");
  EXPECT_EQ(xpath(b, "p:c | q:c | /a"), "1 3 4 ");
  EXPECT_EQ(xpath(b, "none"), "");
  EXPECT_EQ(xpath(b, "namespace::*"), "");
  for (const char *expression : {"", "r:c", "b[", "count(p:c)", "'text'", "unknown()"}) {
    EXPECT_EQ(xpath(b, expression), "failed") << expression;
  }
  EXPECT_EQ(xpath(nullptr, "a"), "failed");
  EXPECT_EQ(xpath(talvo_xml_node_getnsnode(b), "."), "failed");
  EXPECT_EQ(talvo_xml_node_findxpath(b, str("a").get(), nullptr), 0);
}

// libxml2 walks every axis up to a document.
TEST_F(SearchTest, XPathWorksWithoutDocumentAndWithoutElement) {
  const Document document = parse("<r><e n='1'><f n='2'/>t<f n='3'/></e><g n='4' m=''/></r>");
  XmlNode *e = find(document.get(), "e");
  XmlNode *f = find(e, "f");
  XmlNode *n = talvo_xml_node_getattribute(find(document.get(), "g"));
  talvo_xml_node_remove(e);
  talvo_xml_node_remove(n);
  XmlNode *m = talvo_xml_node_dup(talvo_xml_node_getattribute(find(document.get(), "g")));
  XmlNode *free = talvo_xml_node_newelem(nullptr, str("free").get());
  XmlNode *text = talvo_xml_node_newtext(document.get(), str("text").get());
  talvo_xml_node_addchild(free, talvo_xml_node_newelem(nullptr, str("inner").get()));
  for (XmlNode *node : {e, f, n, m, free, talvo_xml_node_getchildren(free), text}) {
    for (const char *axis : {"ancestor", "ancestor-or-self", "attribute", "child", "descendant",
                             "descendant-or-self", "following", "following-sibling", "namespace",
                             "parent", "preceding", "preceding-sibling", "self"}) {
      for (const char *rest : {"::node()", "::node()/../..", "::node() | / | //@*"}) {
        SCOPED_TRACE(std::string(axis) + rest);
        EXPECT_NE(xpath(node, (axis + std::string(rest)).c_str()), "failed");
      }
    }
  }
  EXPECT_EQ(xpath(e, "ancestor-or-self::*/f[2] | self::node()"), "1 3 ");
  EXPECT_EQ(xpath(f, "ancestor::e"), "1 ");
  EXPECT_EQ(xpath(n, "ancestor-or-self::node()[. = 4]"), "(null) ");
  EXPECT_EQ(xpath(e, "/e/f"), "2 3 ") << "the tree is a document of its own";
  EXPECT_EQ(talvo_xml_node_getparent(e), nullptr);
  EXPECT_EQ(talvo_xml_node_getparent(n), nullptr);
}

}  // namespace
}  // namespace talvo::test
