#include "support/libxml_fault.h"
#include "xml/xml_support.h"

namespace talvo::test {
namespace {

class BuildTest : public LibraryTest {
 protected:
  BuildTest() : name_(str("name")), text_(str("a&b")) {}

  const UString name_;
  const UString text_;
};

TEST_F(BuildTest, DocumentVersions) {
  const Document one(talvo_xml_doc_new(0));
  const Document oneOne(talvo_xml_doc_new(1));
  EXPECT_EQ(talvo_xml_doc_new(2), nullptr);
  talvo_xml_doc_setrootelement(oneOne.get(), talvo_xml_node_newelem(nullptr, name_.get()));
  EXPECT_EQ(take(talvo_xml_doc_dump(oneOne.get(), 0)),
            "<?xml version=\"1.1\" encoding=\"UTF-8\"?>\n<name/>\n");
  EXPECT_EQ(talvo_xml_doc_getrootelement(one.get()), nullptr);
}

TEST_F(BuildTest, NewNodesTakeTextAsItStands) {
  const Document document = parse("<r/>");
  XmlNode *root = talvo_xml_doc_getrootelement(document.get());
  for (XmlDoc *doc : {document.get(), static_cast<XmlDoc *>(nullptr)}) {
    talvo_xml_node_addchild(root, talvo_xml_node_newtext(doc, text_.get()));
    talvo_xml_node_addchild(root, talvo_xml_node_newcomment(doc, text_.get()));
    talvo_xml_node_addchild(root, talvo_xml_node_newpi(doc, name_.get(), text_.get()));
    talvo_xml_node_addchild(root, talvo_xml_node_newpi(doc, name_.get(), nullptr));
  }
  const std::string once = "a&amp;b<!--a&b--><?name a&b?><?name?>";
  EXPECT_EQ(dump(document.get()), "<r>" + once + once + "</r>\n");
}

TEST_F(BuildTest, RequiredArgumentsAndTextsWithoutNul) {
  const UString broken = str(std::string_view("a\0b", 3));
  for (const talvo_ustring *bad : {static_cast<const talvo_ustring *>(nullptr),
                                   static_cast<const talvo_ustring *>(broken.get())}) {
    EXPECT_EQ(talvo_xml_node_newelem(nullptr, bad), nullptr);
    EXPECT_EQ(talvo_xml_node_newtext(nullptr, bad), nullptr);
    EXPECT_EQ(talvo_xml_node_newcomment(nullptr, bad), nullptr);
    EXPECT_EQ(talvo_xml_node_newpi(nullptr, bad, nullptr), nullptr);
  }
  EXPECT_EQ(talvo_xml_node_newpi(nullptr, name_.get(), broken.get()), nullptr);
  XmlNode *element = talvo_xml_node_newelem(nullptr, name_.get());
  EXPECT_EQ(talvo_xml_node_newelem(element, name_.get()), nullptr) << "no declaration";
  EXPECT_EQ(talvo_xml_node_newns(element, broken.get(), nullptr), nullptr);
  EXPECT_EQ(talvo_xml_node_newattr(element, nullptr, name_.get(), nullptr), nullptr);
  EXPECT_EQ(talvo_xml_node_newattr(element, nullptr, nullptr, text_.get()), nullptr);
  EXPECT_EQ(talvo_xml_node_newattr(element, element, name_.get(), text_.get()), nullptr);
}

TEST_F(BuildTest, NamespacesAndAttributes) {
  XmlNode *element = talvo_xml_node_newelem(nullptr, str("e").get());
  XmlNode *ns = talvo_xml_node_newns(element, str("urn:p").get(), str("p").get());
  ASSERT_NE(ns, nullptr);
  EXPECT_EQ(talvo_xml_node_newns(element, str("urn:q").get(), str("p").get()), nullptr);
  EXPECT_NE(talvo_xml_node_newns(element, str("urn:d").get(), nullptr), nullptr);
  EXPECT_EQ(talvo_xml_node_setns(element, ns), 1);
  EXPECT_EQ(talvo_xml_node_setns(element, nullptr), 0);
  EXPECT_EQ(talvo_xml_node_setns(element, element), 0);
  EXPECT_NE(talvo_xml_node_newattr(element, nullptr, str("x").get(), text_.get()), nullptr);
  EXPECT_NE(talvo_xml_node_newattr(element, ns, str("y").get(), text_.get()), nullptr);
  EXPECT_NE(talvo_xml_node_newattr(element, nullptr, str("xml:lang").get(), str("en").get()),
            nullptr);
  XmlNode *child = talvo_xml_node_newelem(ns, str("f").get());
  EXPECT_EQ(talvo_xml_node_addchild(element, child), child);
  EXPECT_EQ(dumpElement(element),
            "<p:e xmlns:p=\"urn:p\" xmlns=\"urn:d\" x=\"a&amp;b\" p:y=\"a&amp;b\" xml:lang=\"en\">"
            "<p:f/></p:e>");
}

// libxml2 answers with a declaration all the same, one that lacks its prefix or its URI.
TEST_F(BuildTest, WithoutMemoryNothingIsDeclared) {
  const UString uri = str("urn:p");
  const UString prefix = str("p");
  XmlNode *element = talvo_xml_node_newelem(nullptr, name_.get());
  everyLibxmlAllocationFails([&] {
    XmlNode *ns = talvo_xml_node_newns(element, uri.get(), prefix.get());
    return ns == nullptr ? talvo_xml_node_getnsnode(element) != nullptr : true;
  });
  EXPECT_EQ(dumpElement(element), "<name xmlns:p=\"urn:p\"/>");
}

TEST_F(BuildTest, XmlNamesNeedALocalPart) {
  XmlNode *element = talvo_xml_node_newelem(nullptr, name_.get());
  XmlNode *short_ = talvo_xml_node_newattr(element, nullptr, str("xml:").get(), str("v").get());
  EXPECT_EQ(take(talvo_xml_node_getname(short_)), "xml:");
  EXPECT_EQ(take(talvo_xml_node_getnsuri(short_)), "(null)");
  XmlNode *space = talvo_xml_node_newattr(element, nullptr, str("xml:space").get(), str("v").get());
  EXPECT_EQ(take(talvo_xml_node_getname(space)), "space");
  EXPECT_EQ(take(talvo_xml_node_getprefixedname(space)), "xml");
}

// Deliberate: only the first attribute is looked at.
TEST_F(BuildTest, ANewAttributeReplacesOnlyTheFirst) {
  const Document document = parse("<a first='1' second='1'/>");
  XmlNode *root = talvo_xml_doc_getrootelement(document.get());
  XmlNode *first = talvo_xml_node_getattribute(root);
  EXPECT_EQ(talvo_xml_node_newattr(root, nullptr, str("first").get(), str("2").get()), first);
  EXPECT_NE(talvo_xml_node_newattr(root, nullptr, str("second").get(), str("2").get()), nullptr);
  EXPECT_EQ(dump(document.get()), "<a first=\"2\" second=\"1\" second=\"2\"/>\n");
  EXPECT_EQ(talvo_xml_node_newattr(root, nullptr, str("first").get(), str("&").get()), nullptr)
      << "an existing value is read as XML text";
}

TEST_F(BuildTest, ANameStaysBoundWhenItIsLinkedFirstAndNoLonger) {
  const Document other = parse("<o xmlns:p='urn:p'/>");
  const Document document = parse("<a xmlns:p='urn:p'/>");
  XmlNode *root = talvo_xml_doc_getrootelement(document.get());
  XmlNode *foreign = talvo_xml_node_getnsnode(talvo_xml_doc_getrootelement(other.get()));
  XmlNode *element = talvo_xml_node_newelem(foreign, name_.get());
  talvo_xml_node_addchild(root, element);
  EXPECT_EQ(talvo_xml_node_getassociatednsnode(element), foreign);
  talvo_xml_node_remove(element);
  talvo_xml_node_addchild(root, talvo_xml_node_newcomment(nullptr, text_.get()));
  talvo_xml_node_addnextsibling(talvo_xml_node_getchildren(root), element);
  EXPECT_EQ(talvo_xml_node_getassociatednsnode(element), talvo_xml_node_getnsnode(root));
}

TEST_F(BuildTest, CopiesAreDeepAndFree) {
  Document document = parse("<a xmlns:p='urn:p'><p:b p:k='v'>text</p:b></a>");
  XmlNode *b = find(document.get(), "b");
  XmlNode *copy = talvo_xml_node_dup(b);
  const Document whole(talvo_xml_node_dup(document.get()));
  document.reset();
  EXPECT_EQ(dumpElement(copy), "<p:b xmlns:p=\"urn:p\" p:k=\"v\">text</p:b>");
  EXPECT_EQ(dump(whole.get()), "<a xmlns:p=\"urn:p\"><p:b p:k=\"v\">text</p:b></a>\n");
  talvo_xml_node_free(copy);
}

// Nothing of the interface frees such copies; shut-down does.
TEST_F(BuildTest, CopiesOfAttributesAndDeclarationsAreNotRegistered) {
  const Document document = parse("<a xmlns:p='urn:p' xmlns:q='urn:q' name='v'><b other='w'/></a>");
  XmlNode *root = talvo_xml_doc_getrootelement(document.get());
  XmlNode *attribute = talvo_xml_node_dup(talvo_xml_node_getattribute(root));
  XmlNode *declaration = talvo_xml_node_dup(talvo_xml_node_getnsnode(root));
  EXPECT_EQ(take(talvo_xml_node_getvalue(declaration)), "urn:p");
  talvo_xml_node_free(attribute);
  talvo_xml_node_free(declaration);
  XmlNode *b = find(root, "b");
  EXPECT_EQ(talvo_xml_node_addnextsibling(talvo_xml_node_getattribute(b), attribute), attribute);
  EXPECT_EQ(dumpElement(b), "<b other=\"w\" name=\"v\"/>");
}

TEST_F(BuildTest, ACopyOfARemovedNodeKeepsItsNamespace) {
  Document document = parse("<a xmlns:p='urn:p'><p:b><p:c/></p:b></a>");
  XmlNode *b = find(document.get(), "b");
  talvo_xml_node_remove(b);
  document.reset();
  XmlNode *copy = talvo_xml_node_dup(b);
  EXPECT_EQ(dumpElement(copy), "<p:b xmlns:p=\"urn:p\"><p:c/></p:b>");
  XmlNode *inner = talvo_xml_node_dup(find(b, "c"));
  EXPECT_EQ(dumpElement(inner), "<p:c xmlns:p=\"urn:p\"/>");
}

}  // namespace
}  // namespace talvo::test
