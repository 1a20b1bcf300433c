#include "support/signature_namespace.h"

namespace talvo::test {
namespace {

class ObjectGenerationTest : public LibraryTest {
 protected:
  static std::string generate(const SignatureHost &host, std::initializer_list<ObjectCtx *> list) {
    return host.textOf(
        takeRun(talvo_xml_objectsnode_gen(host.doc(), host.ns(), listOf(list).get())));
  }
};

ObjectContext nodeObject(XmlNode *node, std::string_view id = "o") {
  return ObjectContext(talvo_xml_signature_objectctx_newnode(str(id).get(), node));
}

SignaturePropContext property(XmlNode *content) {
  return SignaturePropContext(
      talvo_xml_signature_signaturepropctx_new(str("p").get(), str("#s").get(), content));
}

TEST_F(ObjectGenerationTest, AWholeRunMovesOutOfAnotherDocument) {
  const SignatureHost host;
  Document source = parse("<s><keep/><a>t</a>text<!--c--><?p i?><b/></s>");
  XmlNode *root = rootOf(source);
  XmlNode *first = find(source.get(), "a");
  const ObjectContext context = nodeObject(first);
  const std::string text = generate(host, {context.get()});
  EXPECT_EQ(elementText(root), "<s><keep/></s>");
  source.reset();
  EXPECT_EQ(text, "<ds:Object Id=\"o\"><a>t</a>text<!--c--><?p i?><b/></ds:Object>\n");
  EXPECT_EQ(talvo_xml_node_getdoc(first), host.doc());
  EXPECT_EQ(host.content(), text);
}

// A second signature made from the same context would tear the nodes out of the first.
TEST_F(ObjectGenerationTest, ANodeContextIsUsedOnce) {
  const SignatureHost host;
  XmlNode *element = talvo_xml_node_newelem(nullptr, str("free").get());
  const ObjectContext context = nodeObject(element);
  EXPECT_EQ(generate(host, {context.get()}), "<ds:Object Id=\"o\"><free/></ds:Object>\n");
  EXPECT_EQ(talvo_xml_signature_objectctx_getnode(context.get()), nullptr);
  EXPECT_EQ(generate(host, {context.get()}), "(null)");
  // It is the document's now, and no application's.
  talvo_xml_node_free(element);
  EXPECT_EQ(host.content(), "<ds:Object Id=\"o\"><free/></ds:Object>\n");
}

TEST_F(ObjectGenerationTest, ARefusedContentStaysWhereItIs) {
  const SignatureHost host;
  const Document source = parse("<s a='1'><b/></s>");
  XmlNode *root = rootOf(source);
  for (XmlNode *content : {talvo_xml_node_getattribute(root), source.get()}) {
    const SignaturePropContext wrong = property(content);
    const ObjectContext properties(
        talvo_xml_signature_objectctx_newsignprops(nullptr, listOf({wrong.get()}).get()));
    EXPECT_EQ(generate(host, {properties.get()}), "(null)");
  }
  EXPECT_EQ(elementText(root), "<s a=\"1\"><b/></s>");
  EXPECT_EQ(generate(host, {}), "(null)");
}

TEST_F(ObjectGenerationTest, AFailureGivesBackWhatHadMoved) {
  const SignatureHost host;
  const Document source = parse("<s><a/><b/></s>");
  XmlNode *root = rootOf(source);
  XmlNode *free = talvo_xml_node_newelem(nullptr, str("free").get());
  const ObjectContext inDocument = nodeObject(talvo_xml_node_getchildren(root));
  const ObjectContext freeStanding = nodeObject(free);
  // The same nodes cannot move twice.
  const ObjectContext again = nodeObject(free);
  EXPECT_EQ(generate(host, {inDocument.get(), freeStanding.get(), again.get()}), "(null)");
  EXPECT_EQ(elementText(root), "<s><a/><b/></s>");
  EXPECT_EQ(generate(host, {freeStanding.get(), inDocument.get()}),
            "<ds:Object Id=\"o\"><free/></ds:Object>\n"
            "<ds:Object Id=\"o\"><a/><b/></ds:Object>\n");
}

TEST_F(ObjectGenerationTest, AContextThatOwnsItsNodesReleasesThemOnce) {
  const SignatureHost host;
  const auto owning = [] {
    ObjectContext context = nodeObject(talvo_xml_node_newelem(nullptr, str("x").get()));
    context->ownsNode = true;
    return context;
  };
  owning().reset();
  const ObjectContext used = owning();
  EXPECT_EQ(generate(host, {used.get()}), "<ds:Object Id=\"o\"><x/></ds:Object>\n");
  EXPECT_FALSE(used->ownsNode);
}

}  // namespace
}  // namespace talvo::test
