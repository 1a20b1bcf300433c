#include "xml/node.h"

#include "xml/xml_support.h"

namespace talvo::test {
namespace {

constexpr uint32_t kUnsupported = 0xFFFFFFFF;

class NodeTest : public LibraryTest {
 protected:
  static XmlNode *next(const XmlNode *node) { return talvo_xml_node_getnextsibling(node); }
  static XmlNode *previous(const XmlNode *node) { return talvo_xml_node_getprevsibling(node); }
  static XmlNode *children(const XmlNode *node) { return talvo_xml_node_getchildren(node); }
};

TEST_F(NodeTest, NullIsAnsweredEverywhere) {
  EXPECT_EQ(talvo_xml_node_gettype(nullptr), kUnsupported);
  for (const auto function :
       {talvo_xml_node_getparent, talvo_xml_node_getnextsibling, talvo_xml_node_getprevsibling,
        talvo_xml_node_getattribute, talvo_xml_node_getnsnode, talvo_xml_node_getassociatednsnode,
        talvo_xml_node_getchildren, talvo_xml_node_getelemchildren, talvo_xml_node_skipignorenode,
        talvo_xml_node_getdoc, talvo_xml_doc_getrootelement}) {
    EXPECT_EQ(function(nullptr), nullptr);
  }
  for (const auto function :
       {talvo_xml_node_getname, talvo_xml_node_getprefixedname, talvo_xml_node_getnsuri,
        talvo_xml_node_getvalue, talvo_xml_node_getpcdata}) {
    EXPECT_EQ(function(nullptr), nullptr);
  }
}

// One document with every kind of node.
TEST_F(NodeTest, EachKindHasItsCodeNameAndValue) {
  const Document document = parse(
      "<!DOCTYPE p:a SYSTEM 'none.dtd' [<!ENTITY % x SYSTEM 'none.dtd'>%x;]>"
      "<p:a xmlns:p='urn:p' xmlns='urn:d' p:k='v'>text<!--note--><?do it?><b/>&gone;</p:a>");
  XmlNode *root = talvo_xml_doc_getrootelement(document.get());
  XmlNode *text = children(root);
  XmlNode *comment = next(text);
  XmlNode *instruction = next(comment);
  XmlNode *prefixed = talvo_xml_node_getnsnode(root);
  struct Row {
    const char *what;
    const XmlNode *node;
    uint32_t type;
    std::string name, prefix, uri, value;
  };
  const std::string none = "(null)";
  const Row rows[] = {
      {"document", document.get(), 6, none, none, none, none},
      {"document type", previous(root), kUnsupported, none, none, none, none},
      {"element", root, 1, "a", "p", "urn:p", none},
      {"unprefixed element", find(root, "b"), 1, "b", none, "urn:d", none},
      {"attribute", talvo_xml_node_getattribute(root), 2, "k", "p", "urn:p", "v"},
      {"text", text, 3, none, none, none, "text"},
      {"comment", comment, 5, "comment", none, none, "note"},
      {"instruction", instruction, 4, "do", none, none, "it"},
      {"entity reference", next(find(root, "b")), kUnsupported, none, none, none, none},
      {"declaration", prefixed, 7, "p", "p", "urn:p", "urn:p"},
      {"default declaration", next(prefixed), 7, none, none, "urn:d", "urn:d"},
  };
  for (const Row &row : rows) {
    SCOPED_TRACE(row.what);
    ASSERT_NE(row.node, nullptr);
    EXPECT_EQ(talvo_xml_node_gettype(row.node), row.type);
    EXPECT_EQ(take(talvo_xml_node_getname(row.node)), row.name);
    EXPECT_EQ(take(talvo_xml_node_getprefixedname(row.node)), row.prefix);
    EXPECT_EQ(take(talvo_xml_node_getnsuri(row.node)), row.uri);
    EXPECT_EQ(take(talvo_xml_node_getvalue(row.node)), row.value);
  }
}

TEST_F(NodeTest, RelativesByKind) {
  const Document document = parse("<a xmlns:p='urn:p' xmlns:q='urn:q' k='v' l='w'><p:b/></a>");
  XmlNode *root = talvo_xml_doc_getrootelement(document.get());
  XmlNode *attribute = talvo_xml_node_getattribute(root);
  XmlNode *declaration = talvo_xml_node_getnsnode(root);
  XmlNode *b = children(root);

  EXPECT_EQ(talvo_xml_node_getparent(root), document.get());
  EXPECT_EQ(talvo_xml_node_getparent(attribute), root);
  EXPECT_EQ(talvo_xml_node_getparent(document.get()), nullptr);
  EXPECT_EQ(talvo_xml_node_getparent(declaration), nullptr);

  EXPECT_EQ(previous(next(attribute)), attribute);
  EXPECT_EQ(next(next(attribute)), nullptr);
  EXPECT_EQ(take(talvo_xml_node_getname(next(declaration))), "q");
  EXPECT_EQ(previous(next(declaration)), nullptr);
  EXPECT_EQ(children(attribute), nullptr);

  EXPECT_EQ(talvo_xml_node_getassociatednsnode(b), declaration);
  EXPECT_EQ(talvo_xml_node_getassociatednsnode(declaration), declaration);
  EXPECT_EQ(talvo_xml_node_getassociatednsnode(root), nullptr);

  EXPECT_EQ(talvo_xml_node_getdoc(document.get()), document.get());
  EXPECT_EQ(talvo_xml_node_getdoc(attribute), document.get());
  EXPECT_EQ(talvo_xml_node_getdoc(declaration), nullptr);
  XmlNode *free = talvo_xml_node_newelem(nullptr, str("free").get());
  EXPECT_EQ(talvo_xml_node_getdoc(free), nullptr);
}

TEST_F(NodeTest, TheOnlyChildOfADocumentIsItsRoot) {
  const Document document = parse("<!--before--><a/><?after?>");
  XmlNode *root = children(document.get());
  EXPECT_EQ(root, talvo_xml_doc_getrootelement(document.get()));
  EXPECT_EQ(talvo_xml_node_gettype(previous(root)), 5U);
  EXPECT_EQ(talvo_xml_node_gettype(next(root)), 4U);
}

// The comment's removal leaves two texts side by side.
TEST_F(NodeTest, ATextRunCountsAsOneSibling) {
  const Document document = parse("<a><b/>one<!--c-->two<d/></a>");
  XmlNode *b = find(document.get(), "b");
  XmlNode *one = next(b);
  XmlNode *two = next(next(one));
  talvo_xml_node_remove(next(one));

  EXPECT_EQ(next(b), one);
  EXPECT_EQ(next(one), find(document.get(), "d"));
  EXPECT_EQ(previous(find(document.get(), "d")), two);
  EXPECT_EQ(previous(two), b);
  EXPECT_EQ(talvo_xml_node_skipignorenode(b), one);
  EXPECT_EQ(followingNode(one), two) << "every node is there all the same";
}

TEST_F(NodeTest, CdataIsText) {
  const Document document = parse("<a>one<![CDATA[<two>]]>three</a>");
  XmlNode *text = children(children(document.get()));
  EXPECT_EQ(take(talvo_xml_node_getvalue(text)), "one<two>three");
  EXPECT_EQ(followingNode(text), nullptr);
}

TEST_F(NodeTest, FirstElementChildStandsBehindIgnorableNodesOnly) {
  for (const auto &[xml, found] : {std::pair{"<a><e/></a>", true},
                                   {"<a> <!--c--><?p?>\n<e/></a>", true},
                                   {"<a>x<e/></a>", false},
                                   {"<a> <!--c-->x<e/></a>", false},
                                   {"<a> </a>", false},
                                   {"<a/>", false}}) {
    const Document document = parse(xml);
    XmlNode *root = children(document.get());
    EXPECT_EQ(talvo_xml_node_getelemchildren(root), found ? find(root, "e") : nullptr) << xml;
  }
}

TEST_F(NodeTest, CharacterDataOfARun) {
  struct Row {
    const char *xml;
    const char *text;
  };
  for (const Row &row :
       {Row{"<a>one<!--c-->two</a>", "onetwo"}, Row{"<a>  <?p?>one<!--c-->  </a>", "one"},
        Row{"<a> </a>", ""}, Row{"<a>one<b/></a>", "(null)"}, Row{"<a/>", "(null)"}}) {
    const Document document = parse(row.xml);
    EXPECT_EQ(take(talvo_xml_node_getpcdata(children(children(document.get())))), row.text)
        << row.xml;
  }
}

TEST_F(NodeTest, OnlyTheFirstTextOfARunIsCharacterData) {
  const Document document = parse("<a>one<!--c-->two</a>");
  XmlNode *one = children(children(document.get()));
  talvo_xml_node_remove(next(one));
  EXPECT_EQ(take(talvo_xml_node_getpcdata(one)), "one");
}

TEST_F(NodeTest, NamespaceOfUnprefixedNames) {
  const Document document =
      parse("<a xmlns='urn:d' k='v'><b xmlns=''><c/></b><u:d u:k='v' k='v'/></a>");
  XmlNode *root = children(document.get());
  EXPECT_EQ(take(talvo_xml_node_getnsuri(root)), "urn:d");
  EXPECT_EQ(take(talvo_xml_node_getnsuri(talvo_xml_node_getattribute(root))), "(null)");
  // Deliberate: where the default namespace was switched off the answer is empty, not null.
  EXPECT_EQ(take(talvo_xml_node_getnsuri(find(root, "c"))), "");
  EXPECT_EQ(talvo_xml_node_match(find(root, "c"), str("c").get(), nullptr), 0);
  EXPECT_EQ(talvo_xml_node_match(find(root, "c"), str("c").get(), str("").get()), 1);
  EXPECT_EQ(take(talvo_xml_node_getname(find(root, "u:d"))), "u:d") << "undeclared prefixes parse";
}

TEST_F(NodeTest, AncestorsAreFoundAtAnyDepth) {
  const Document document = parse("<a><b><c k='v'/></b><d/></a>");
  XmlNode *c = find(document.get(), "c");
  XmlNode *attribute = talvo_xml_node_getattribute(c);
  EXPECT_TRUE(isAtOrBelow(attribute, find(document.get(), "b")));
  EXPECT_FALSE(isAtOrBelow(c, find(document.get(), "d")));
  EXPECT_TRUE(isInDocument(attribute, document.get()));
  talvo_xml_node_remove(find(document.get(), "b"));
  EXPECT_FALSE(isInDocument(attribute, document.get()));
}

}  // namespace
}  // namespace talvo::test
