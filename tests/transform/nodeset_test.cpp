#include "transform/nodeset.h"

#include "transform/transform_support.h"

namespace talvo::test {
namespace {

class NodeSetTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    document_ = parse(
        "<a x='1' xmlns:ds='http://www.w3.org/2000/09/xmldsig#'><!--c--><b y='2'>t<?p?></b>"
        "<ds:Signature Id='s'><ds:XPath>true()</ds:XPath><!--d--></ds:Signature>e</a>");
    signature_ = find(document_.get(), "//ds:Signature");
    xpath_ = find(document_.get(), "//ds:XPath");
  }
  void TearDown() override {
    document_.reset();
    LibraryTest::TearDown();
  }

  // Marks what a chain selects: elements, text, comments, processing instructions in document
  // order, then the attributes and namespace nodes of the element named "m".
  std::string selected(NodeSet *nodes) const {
    std::string names;
    talvo_arraylist *list = nullptr;
    XmlNode *root = talvo_xml_doc_getrootelement(document_.get());
    EXPECT_EQ(talvo_xml_node_findxpath(root, str("//node() | //@*").get(), &list), 1);
    const List found(list);
    for (XmlNode *node : items<XmlNode>(found)) {
      names += mark(nodes, node, talvo_xml_node_getparent(node));
    }
    for (XmlNode *ns = talvo_xml_node_getnsnode(root); ns != nullptr;
         ns = talvo_xml_node_getnextsibling(ns)) {
      names += mark(nodes, ns, root);
    }
    return names;
  }

  Document document_;
  XmlNode *signature_ = nullptr;
  XmlNode *xpath_ = nullptr;

 private:
  static std::string mark(NodeSet *nodes, XmlNode *node, XmlNode *parent) {
    static constexpr const char *kMarks[] = {"", "E", "A", "T", "P", "C", "D", "N"};
    const uint32_t kind = talvo_xml_node_gettype(node);
    const bool isSelected = talvo_xml_nodeset_contains(nodes, node, parent) == 1;
    return isSelected ? kMarks[kind] : "-";
  }
};

TEST_F(NodeSetTest, RulesSelectByPlace) {
  XmlDoc *doc = document_.get();
  XmlNode *b = find(doc, "//b");
  XmlNode *x = find(doc, "//@x");
  const struct {
    const char *name;
    OwnedNodeSet nodes;
    const char *selected;
  } rows[] = {
      // a x comment b y text pi Signature Id XPath text comment text, then xmlns:ds
      {"null chain", nullptr, "EACEATPEAETCTN"},
      {"whole", wholeDocument(doc), "EACEATPEAETCTN"},
      {"without comments", wholeDocument(doc, false), "EA-EATPEAET-TN"},
      {"null node", subtreeOf(doc, nullptr), "EACEATPEAETCTN"},
      {"subtree", subtreeOf(doc, b), "---EATP-------"},
      {"attribute", subtreeOf(doc, x), "-A------------"},
      {"document node", subtreeOf(doc, doc), "--------------"},
      {"excluded",
       chained(wholeDocument(doc), talvo_xml_nodeset_enveloped_signature(doc, signature_)),
       "EACEATP-----TN"},
      {"excluding all",
       chained(wholeDocument(doc), talvo_xml_nodeset_enveloped_signature(doc, nullptr)),
       "--------------"},
      {"twice",
       chained(chained(wholeDocument(doc, false),
                       talvo_xml_nodeset_enveloped_signature(doc, signature_)),
               talvo_xml_nodeset_enveloped_signature(doc, b)),
       "EA----------TN"},
      {"narrowed", chained(wholeDocument(doc), talvo_xml_nodeset_getsubtree(doc, b, 1)),
       "---EATP-------"},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(selected(row.nodes.get()), row.selected) << row.name;
  }
}

TEST_F(NodeSetTest, NodeListSelectsNothingBelowItsNode) {
  NodeSet list;
  XmlNode *b = find(document_.get(), "//b");
  list.node = b;
  EXPECT_EQ(talvo_xml_nodeset_contains_onenodest(&list, b, nullptr), 1);
  EXPECT_EQ(talvo_xml_nodeset_contains_onenodest(&list, talvo_xml_node_getchildren(b), b), 0);
  EXPECT_EQ(talvo_xml_nodeset_contains_onenodest(&list, nullptr, b), 0);
  EXPECT_EQ(talvo_xml_nodeset_contains_onenodest(nullptr, nullptr, nullptr), 1);
}

TEST_F(NodeSetTest, LinkingRefusesWhatIsLinkedAlready) {
  XmlDoc *doc = document_.get();
  OwnedNodeSet head = wholeDocument(doc);
  NodeSet *first = talvo_xml_nodeset_enveloped_signature(doc, signature_);
  NodeSet *second = talvo_xml_nodeset_enveloped_signature(doc, signature_);
  EXPECT_EQ(talvo_xml_nodeset_add(head.get(), first), first);
  EXPECT_EQ(talvo_xml_nodeset_add(head.get(), second), nullptr);
  EXPECT_EQ(talvo_xml_nodeset_add(second, first), nullptr);
  EXPECT_EQ(talvo_xml_nodeset_add(nullptr, second), nullptr);
  EXPECT_EQ(talvo_xml_nodeset_add(head.get(), nullptr), nullptr);
  talvo_xml_nodeset_free(first);
  // The head survived, and forgot the rule that is gone.
  EXPECT_EQ(selected(head.get()), "EACEATPEAETCTN");
  EXPECT_EQ(talvo_xml_nodeset_add(head.get(), second), second);
  talvo_xml_nodeset_free(second);
}

TEST_F(NodeSetTest, OneReleaseFreesTheChainAndItsDocument) {
  // What is left over is found by the fixture.
  Document other = parse("<o/>");
  XmlDoc *doc = other.get();
  OwnedNodeSet head(talvo_xml_nodeset_getwholexml(other.release(), 1, 1));
  OwnedNodeSet chain = chained(std::move(head), talvo_xml_nodeset_enveloped_signature(doc, doc));
  chain = chained(std::move(chain), talvo_xml_nodeset_xpath_filter(doc, xpath_));
  OwnedNodeSet second(talvo_xml_nodeset_dup(chain.get()));
  chain.reset();
  EXPECT_EQ(c14n(second.get()), "<o></o>");
}

TEST_F(NodeSetTest, FiltersNeedAnXPathElementWithText) {
  XmlDoc *doc = document_.get();
  const Document bad = parse(
      "<r xmlns:ds='http://www.w3.org/2000/09/xmldsig#'><ds:XPath/><ds:XPath> </ds:XPath>"
      "<ds:XPath><e/></ds:XPath><ds:xpath>1</ds:xpath><XPath>1</XPath></r>");
  for (const char *path : {"*[1]", "*[2]", "*[3]", "*[4]", "*[5]"}) {
    XmlNode *element = find(bad.get(), path);
    ASSERT_NE(element, nullptr);
    EXPECT_EQ(talvo_xml_nodeset_xpath_filter(doc, element), nullptr) << path;
  }
  EXPECT_EQ(talvo_xml_nodeset_xpath_filter(doc, nullptr), nullptr);
  EXPECT_EQ(talvo_xml_nodeset_xpath_filter(nullptr, xpath_), nullptr);
}

class XPathFilterTest : public NodeSetTest {
 protected:
  // What the expression keeps when it stands in the signature.
  std::string kept(std::string_view expression) {
    EXPECT_EQ(talvo_xml_node_setvalue(talvo_xml_node_getchildren(xpath_), str(expression).get()),
              1);
    XmlDoc *doc = document_.get();
    const OwnedNodeSet chain =
        chained(wholeDocument(doc), talvo_xml_nodeset_xpath_filter(doc, xpath_));
    return selected(chain.get());
  }
};

TEST_F(XPathFilterTest, ExpressionsAreAskedForEachNode) {
  const struct {
    const char *expression;
    const char *kept;
  } rows[] = {
      {"true()", "EACEATPEAETCTN"},
      {"self::text()", "-----T----T-T-"},
      {"ancestor-or-self::ds:Signature", "-------EAETC--"},
      {"name() = 'ds'", "-------------N"},
      {"parent::a[@x]", "-ACE---E----TN"},
      {"here()/..", "EACEATPEAETCTN"},
      {"count(here() | .) = 1", "---------E----"},
      {"0", "--------------"},
      {"'text'", "EACEATPEAETCTN"},
      {"position() = 1", "--------------"},
      {"none:x or true()", "--------------"},
      {"not(", "--------------"},
      {"true() junk", "--------------"},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(kept(row.expression), row.kept) << row.expression;
  }
}

TEST_F(XPathFilterTest, RecognisedExpressionsGiveWhatXPathGives) {
  // The second form of each is not recognised and goes through the engine.
  const std::string here =
      "count(ancestor-or-self::ds:Signature | here()/ancestor::ds:Signature[1]) > "
      "count(ancestor-or-self::ds:Signature)";
  const std::pair<std::string, const char *> rows[] = {
      {"not(ancestor-or-self::ds:Signature)", "EACEATP-----TN"},
      {"not(ancestor-or-self::ds:Signature) and true()", "EACEATP-----TN"},
      {" not\n(\tancestor-or-self\r :: ds:Signature ) ", "EACEATP-----TN"},
      {"not(ancestor-or-self::ds : Signature)", "--------------"},
      {"not(ancestor-or-self::dsig:Signature)", "--------------"},
      {"not(ancestor-or-self::Signature)", "EACEATPEAETCTN"},
      {"not(ancestor-or-self::ds:XPath)", "EACEATPEA--CTN"},
      {here, "EACEATP-----TN"},
      {here + " and true()", "EACEATP-----TN"},
      {"count( ancestor-or-self::ds:Signature|here( )/ancestor ::ds:Signature[ 1 ])>"
       "count (ancestor-or-self::ds:Signature\n)",
       "EACEATP-----TN"},
      {here + "0", "--------------"},
  };
  for (const auto &[expression, expected] : rows) {
    EXPECT_EQ(kept(expression), expected) << expression;
  }
}

TEST_F(XPathFilterTest, HereIsUnknownInAnotherDocument) {
  const Document other = parse(
      "<ds:Signature xmlns:ds='http://www.w3.org/2000/09/xmldsig#'><ds:XPath>count(here())"
      "</ds:XPath><ds:XPath>not(ancestor-or-self::ds:Signature)</ds:XPath><ds:XPath>"
      "count(ancestor-or-self::ds:Signature | here()/ancestor::ds:Signature[1]) &gt; "
      "count(ancestor-or-self::ds:Signature)</ds:XPath></ds:Signature>");
  const std::pair<const char *, const char *> rows[] = {
      {"*[1]", "--------------"}, {"*[2]", "EACEATP-----TN"}, {"*[3]", "--------------"}};
  XmlDoc *doc = document_.get();
  for (const auto &[path, expected] : rows) {
    const OwnedNodeSet chain =
        chained(wholeDocument(doc), talvo_xml_nodeset_xpath_filter(doc, find(other.get(), path)));
    EXPECT_EQ(selected(chain.get()), expected) << path;
  }
}

TEST_F(XPathFilterTest, NearestDeclarationOfAPrefixWins) {
  const Document doc = parse(
      "<p:r xmlns:p='urn:far' xmlns='http://www.w3.org/2000/09/xmldsig#'>"
      "<ds:XPath xmlns:p='urn:near' xmlns:ds='http://www.w3.org/2000/09/xmldsig#'>"
      "self::p:r</ds:XPath><p:r xmlns:p='urn:near'/></p:r>");
  const OwnedNodeSet chain = chained(
      wholeDocument(doc.get()), talvo_xml_nodeset_xpath_filter(doc.get(), find(doc.get(), "*[1]")));
  EXPECT_EQ(c14n(chain.get()), "<p:r></p:r>");
}

}  // namespace
}  // namespace talvo::test
