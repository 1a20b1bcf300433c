#include "transform/canonicalize.h"

#include "support/contexts.h"
#include "support/every_allocation_fails.h"
#include "support/workshop.h"
#include "transform/transform_support.h"
#include "xml/document_state.h"
#include "xml/native.h"

namespace talvo::test {
namespace {

class CanonicalizeTest : public LibraryTest {};

std::string c14nNode(XmlNode *node, uint32_t method, const List &prefixes = nullptr) {
  return take(talvo_xml_c14nnode(node, method, prefixes.get()));
}

constexpr std::string_view kDocuments[] = {
    "<a/>",
    "<?xml-stylesheet href='x'?>\n<!--before--><a><!--in--></a><!--after-->\n<?end  of it ?>",
    "<a xmlns='urn:d' xmlns:p='urn:p' xmlns:q='urn:q'><b xmlns=''><p:c q:z='1' a='2' p:b='3'/></b>"
    "<c xmlns='urn:d'/><p:d xmlns:p='urn:other' xmlns:q='urn:q'><p:e/></p:d></a>",
    "<a xml:lang='en' xml:space='preserve' xml:base='http://h/x/' xml:id='i'><b xml:lang='de'>"
    "<c xml:base='../y'/></b></a>",
    "<!DOCTYPE a [<!ENTITY e 'text &lt; more'><!ATTLIST b c CDATA 'default' t NMTOKEN #IMPLIED>]>"
    "<a>&e;<b t='  n  '/><![CDATA[<raw> & ]]]]><![CDATA[>]]></a>",
    "<a b='&quot;&#9;&#10;&#13;&lt;&gt;&amp;&apos;'>&quot;&#9;&#13;&lt;&gt;&amp; \xC3\xA9 "
    "\xF0\x9F\x98\x80\r\nline</a>",
    "<r xmlns:a='urn:1' xmlns:b='urn:1'><b:x a:k='1'/><a:x b:k='1' k='0'/></r>",
};

TEST_F(CanonicalizeTest, WholeDocumentsAgreeWithXmllint) {
  if (!hasProgram("xmllint")) {
    GTEST_SKIP() << "xmllint is not installed";
  }
  const Workshop shop;
  constexpr std::pair<uint32_t, const char *> kMethods[] = {
      {2, "--c14n"}, {4, "--exc-c14n"}, {7, "--c14n11"}};
  for (const std::string_view xml : kDocuments) {
    const Document document = parse(xml);
    shop.write("in.xml", xml);
    for (const auto &[method, option] : kMethods) {
      SCOPED_TRACE(std::string(option) + " " + std::string(xml));
      ASSERT_TRUE(shop.run(std::string("xmllint --noent --dtdattr ") + option + " in.xml >out"));
      EXPECT_EQ(c14nNode(document.get(), method), shop.read("out"));
    }
  }
}

TEST_F(CanonicalizeTest, MethodsDifferInCommentsNamespacesAndXmlAttributes) {
  const Document document = parse(
      "<a xmlns:u='urn:u' xmlns:v='urn:v' xml:lang='en' xml:id='i'><b v:x=''><!--c--></b></a>");
  const List prefixes = stringList({"u", "#default"});
  const struct {
    uint32_t method;
    const char *octets;
  } rows[] = {
      {1, "<b xmlns:u=\"urn:u\" xmlns:v=\"urn:v\" xml:id=\"i\" xml:lang=\"en\" v:x=\"\"></b>"},
      {2,
       "<b xmlns:u=\"urn:u\" xmlns:v=\"urn:v\" xml:id=\"i\" xml:lang=\"en\" v:x=\"\"><!--c--></b>"},
      {3, "<b xmlns:u=\"urn:u\" xmlns:v=\"urn:v\" v:x=\"\"></b>"},
      {4, "<b xmlns:u=\"urn:u\" xmlns:v=\"urn:v\" v:x=\"\"><!--c--></b>"},
      {6, "<b xmlns:u=\"urn:u\" xmlns:v=\"urn:v\" xml:lang=\"en\" v:x=\"\"></b>"},
      {7, "<b xmlns:u=\"urn:u\" xmlns:v=\"urn:v\" xml:lang=\"en\" v:x=\"\"><!--c--></b>"},
      {0, "(null)"},
      {5, "(null)"},
      {8, "(null)"},
  };
  XmlNode *b = find(document.get(), "b");
  for (const auto &row : rows) {
    EXPECT_EQ(c14nNode(b, row.method, prefixes), row.octets) << row.method;
  }
  EXPECT_EQ(c14nNode(b, 3), "<b xmlns:v=\"urn:v\" v:x=\"\"></b>");
}

TEST_F(CanonicalizeTest, PrefixListsAreTakenAsTheyStand) {
  const Document document = parse("<a xmlns='urn:d' xmlns:u='urn:u'><b xmlns=''/><u:c/></a>");
  XmlNode *c = find(document.get(), "u:c");
  EXPECT_EQ(c14nNode(c, 3, stringList({"#default"})),
            "<u:c xmlns=\"urn:d\" xmlns:u=\"urn:u\"></u:c>");
  EXPECT_EQ(c14nNode(c, 3, stringList({})), "<u:c xmlns:u=\"urn:u\"></u:c>");
  const List withNul = stringList({std::string_view("u\0", 2)});
  EXPECT_EQ(c14nNode(c, 3, withNul), "(null)");
  EXPECT_EQ(c14nNode(c, 1, withNul), "<u:c xmlns=\"urn:d\" xmlns:u=\"urn:u\"></u:c>");
}

TEST_F(CanonicalizeTest, AnyNodeOfADocumentHasAForm) {
  const Document document = parse("<a b='1'>t<!--c--><?p d?></a>");
  const std::pair<const char *, const char *> rows[] = {{"@b", " b=\"1\""},
                                                        {"text()", "t"},
                                                        {"comment()", "<!--c-->\n"},
                                                        {"processing-instruction()", "<?p d?>\n"}};
  for (const auto &[path, octets] : rows) {
    EXPECT_EQ(c14nNode(find(document.get(), path), 2), octets) << path;
  }
}

TEST_F(CanonicalizeTest, NodesOutsideTheTreeHaveNone) {
  const Document document = parse("<a><b><c/></b></a>");
  XmlNode *b = find(document.get(), "b");
  XmlNode *c = find(document.get(), "b/c");
  talvo_xml_node_remove(b);
  // The child of a removed node still names the document, which does not reach it.
  EXPECT_EQ(c14nNode(b, 1), "(null)");
  EXPECT_EQ(c14nNode(c, 1), "(null)");
  EXPECT_EQ(c14nNode(nullptr, 1), "(null)");
  EXPECT_EQ(c14n(subtreeOf(document.get(), c).get()), "");
}

TEST_F(CanonicalizeTest, RelativeNamespacesAnywhereAreRefused) {
  for (const char *uri : {"rel", "mailto", "#f", "urn:x y", "../up", "\xC3\xA9"}) {
    const std::string declaration = std::string("xmlns:r='") + uri + "'";
    for (const std::string &xml :
         {"<a><b/><c " + declaration + "/></a>", "<a " + declaration + "><b/></a>",
          "<a><b " + declaration + "/></a>"}) {
      const Document document = parse(xml);
      for (uint32_t method : {1U, 3U, 6U}) {
        EXPECT_EQ(c14nNode(find(document.get(), "b"), method), "(null)") << xml;
        EXPECT_EQ(c14nNode(document.get(), method), "(null)") << xml;
      }
    }
  }
  // What is taken out counts as well.
  const Document enveloped = parse("<a><s xmlns:r='rel'/><b/></a>");
  XmlDoc *doc = enveloped.get();
  const OwnedNodeSet rest =
      chained(wholeDocument(doc), talvo_xml_nodeset_enveloped_signature(doc, find(doc, "s")));
  EXPECT_EQ(c14n(rest.get(), 1), "(null)");
  EXPECT_EQ(c14n(rest.get(), 3), "(null)");
  const Document fine = parse("<a xmlns:m='mailto:x' xmlns=''><b/></a>");
  EXPECT_EQ(c14nNode(find(fine.get(), "b"), 3), "<b></b>");
}

TEST_F(CanonicalizeTest, EntityReferencesAnywhereAreRefused) {
  const Document document = parse("<a><b/><c/></a>");
  xmlNode *c = native(find(document.get(), "c"));
  xmlAddChild(c, xmlNewReference(c->doc, xmlText("undefined")));
  EXPECT_EQ(c14nNode(find(document.get(), "b"), 3), "(null)");
  EXPECT_EQ(c14nNode(document.get(), 1), "(null)");
}

// Each took minutes, or was refused, where every element looked up every declaration or prefix.
TEST_F(CanonicalizeTest, ManyNamespacesCostNoMoreThanTheyAre) {
  std::string xml = "<r";
  const List prefixes = stringList({});
  for (int i = 0; i < 4000; ++i) {
    const std::string name = "n" + std::to_string(i);
    append(prefixes, makeString(name));
    xml += " xmlns:" + name + "='urn:n'";
  }
  xml += ">";
  for (int i = 0; i < 4000; ++i) {
    xml += "<e/>";
  }
  const Document document = parse(xml + "</r>");
  const std::string tail = "<e></e></r>";
  for (const uint32_t method : {1U, 3U, 6U}) {
    const std::string octets = c14nNode(document.get(), method, prefixes);
    EXPECT_TRUE(octets.ends_with(tail)) << method;
    EXPECT_NE(octets.find(" xmlns:n3999=\"urn:n\""), std::string::npos) << method;
  }
}

TEST_F(CanonicalizeTest, ASinkThatRefusesEndsInFailure) {
  class Refusing final : public OctetSink {
   public:
    bool write(Bytes) noexcept override { return --left_ >= 0; }

   private:
    int left_ = 1;
  };
  const Document document = parse("<a>" + std::string(100000, 'x') + "</a>");
  Refusing sink;
  EXPECT_FALSE(canonicalizeSubtree(sink, document.get(), 1, nullptr));
}

TEST_F(CanonicalizeTest, OctetsArriveInPieces) {
  class Counting final : public OctetSink {
   public:
    bool write(Bytes octets) noexcept override {
      largest = std::max(largest, octets.size());
      total += octets.size();
      return true;
    }
    size_t largest = 0;
    size_t total = 0;
  };
  std::string xml = "<a>";
  for (int i = 0; i < 10000; ++i) {
    xml += "<b>some text</b>";
  }
  const Document document = parse(xml + "</a>");
  Counting sink;
  EXPECT_TRUE(canonicalizeSubtree(sink, document.get(), 1, nullptr));
  EXPECT_EQ(sink.total, 160007U);
  EXPECT_LT(sink.largest, 20000U);
}

// The look at a document is not repeated for each subtree: what is put into it unnoticed stays unseen.
TEST_F(CanonicalizeTest, ADocumentIsInspectedAgainOnlyAfterAnEdit) {
  const Document document = parse("<a><b/><c/></a>");
  XmlNode *b = find(document.get(), "b");
  XmlNode *c = find(document.get(), "c");
  EXPECT_EQ(c14nNode(b, 3), "<b></b>");
  xmlNewNs(native(c), xmlText("rel"), xmlText("unnoticed"));
  talvo_xml_node_addchild(c, talvo_xml_node_newtext(document.get(), str("text").get()));
  const Document other = parse("<a xmlns:r='rel'/>");
  talvo_xml_node_setns(find(other.get(), "a"), talvo_xml_node_getnsnode(find(other.get(), "a")));
  EXPECT_EQ(c14nNode(b, 3), "<b></b>") << "a text here and an edit elsewhere";
  talvo_xml_node_newns(c, str("urn:x").get(), str("noticed").get());
  EXPECT_EQ(c14nNode(b, 3), "(null)");
}

// A run over the whole document serves as the look.
TEST_F(CanonicalizeTest, AWholeRunIsALook) {
  const Document document = parse("<a><b/></a>");
  EXPECT_EQ(c14nNode(document.get(), 3), "<a><b></b></a>");
  EXPECT_EQ(stateOf(document.get())->recall(Finding::isCanonical), true);
}

TEST_F(CanonicalizeTest, ExhaustedMemoryIsAFailure) {
  const Document document = parse("<a xmlns:u='urn:u'><b>text</b></a>");
  const List prefixes = stringList({"u"});
  everyAllocationFails(
      [&] { return Blob(talvo_xml_c14nnode(document.get(), 3, prefixes.get())) != nullptr; });
}

}  // namespace
}  // namespace talvo::test
