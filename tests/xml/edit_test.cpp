#include "xml/edit.h"

#include "xml/node.h"
#include "xml/registry.h"
#include "xml/xml_support.h"

namespace talvo::test {
namespace {

class InternalEditTest : public LibraryTest {
 protected:
  static OwnedNode element(const char *name) { return makeElement(nullptr, str(name).get()); }
  static OwnedNode text(const char *text) { return makeText(nullptr, str(text).get()); }
  static XmlNode *root(const Document &document) {
    return talvo_xml_doc_getrootelement(document.get());
  }
  // The run "one", <two/>, "three".
  static OwnedNode sampleRun() {
    OwnedNode run = text("one");
    OwnedNode two = element("two");
    OwnedNode three = text("three");
    linkAfter(linkAfter(run.get(), two), three);
    return run;
  }
};

TEST_F(InternalEditTest, OwnedNodesAreUnknownToTheRegistry) {
  const OwnedNode run = sampleRun();
  EXPECT_EQ(g_nodeList->table.count(), 0);
}

TEST_F(InternalEditTest, RunsAreLinkedInOrderAndTextsStaySeparate) {
  struct Row {
    const char *what;
    XmlNode *(*link)(XmlNode *root, OwnedNode &run);
    const char *result;
  };
  const Row rows[] = {
      {"child", [](XmlNode *at, OwnedNode &run) { return linkChild(at, run); },
       "<r>x<e/>yone<two/>three</r>\n"},
      {"after", [](XmlNode *at, OwnedNode &run) { return linkAfter(find(at, "e"), run); },
       "<r>x<e/>one<two/>threey</r>\n"},
      {"before", [](XmlNode *at, OwnedNode &run) { return linkBefore(find(at, "e"), run); },
       "<r>xone<two/>three<e/>y</r>\n"},
  };
  for (const Row &row : rows) {
    SCOPED_TRACE(row.what);
    const Document document = parse("<r>x<e/>y</r>");
    OwnedNode run = sampleRun();
    const XmlNode *first = run.get();
    const XmlNode *last = row.link(root(document), run);
    EXPECT_EQ(run, nullptr);
    EXPECT_EQ(take(talvo_xml_node_getvalue(last)), "three");
    EXPECT_EQ(take(talvo_xml_node_getvalue(first)), "one");
    EXPECT_EQ(dump(document.get()), row.result);
  }
}

TEST_F(InternalEditTest, ARefusedRunStaysOwned) {
  const Document document = parse("<r k='v'>x</r>");
  OwnedNode run = sampleRun();
  XmlNode *two = followingNode(run.get());
  XmlNode *attribute = talvo_xml_node_getattribute(root(document));
  EXPECT_EQ(linkChild(talvo_xml_node_getchildren(root(document)), run), nullptr);
  EXPECT_EQ(linkChild(nullptr, run), nullptr);
  EXPECT_EQ(linkChild(two, run), nullptr) << "below itself";
  EXPECT_EQ(linkAfter(two, run), nullptr) << "beside itself";
  EXPECT_EQ(linkAfter(attribute, run), nullptr);
  EXPECT_EQ(linkBefore(document.get(), run), nullptr);
  EXPECT_NE(run, nullptr);
  OwnedNode none;
  EXPECT_EQ(linkChild(root(document), none), nullptr);
  EXPECT_EQ(dump(document.get()), "<r k=\"v\">x</r>\n");
}

TEST_F(InternalEditTest, ATakenRunLeavesItsTreeAndTheRegistry) {
  const Document document = parse("<r><a/>one<b/><c/></r>");
  OwnedNode run = takeRun(talvo_xml_node_getnextsibling(find(root(document), "a")));
  EXPECT_EQ(dump(document.get()), "<r><a/></r>\n");
  EXPECT_NE(linkBefore(find(root(document), "a"), run), nullptr);
  EXPECT_EQ(dump(document.get()), "<r>one<b/><c/><a/></r>\n");

  XmlNode *free = talvo_xml_node_newelem(nullptr, str("free").get());
  OwnedNode taken = takeRun(free);
  EXPECT_FALSE(isRegistered(free));
  EXPECT_NE(linkChild(root(document), taken), nullptr);

  XmlNode *removed = find(root(document), "b");
  talvo_xml_node_remove(removed);
  EXPECT_EQ(takeNode(removed).get(), removed);
  EXPECT_FALSE(isTracked(removed));
  EXPECT_EQ(takeRun(document.get()), nullptr);
  EXPECT_EQ(takeRun(nullptr), nullptr);
}

TEST_F(InternalEditTest, ATakenRunMovesToAnotherDocument) {
  Document from = parse("<r xmlns:p='urn:p'><p:a p:k='v'/>t<p:b/></r>");
  const Document to = parse("<z/>");
  OwnedNode run = takeRun(find(from.get(), "a"));
  EXPECT_NE(linkChild(root(to), run), nullptr);
  from.reset();
  EXPECT_EQ(dump(to.get()), "<z><p:a xmlns:p=\"urn:p\" p:k=\"v\"/>t<p:b xmlns:p=\"urn:p\"/></z>\n");
  EXPECT_EQ(talvo_xml_node_getdoc(find(to.get(), "b")), to.get());
}

TEST_F(InternalEditTest, ARunThatIsHandedOutIsTheCallers) {
  XmlNode *first = handOut(sampleRun());
  for (XmlNode *node = first; node != nullptr; node = followingNode(node)) {
    EXPECT_TRUE(isRegistered(node));
  }
  const Document document = parse("<r/>");
  EXPECT_EQ(talvo_xml_node_addchild(root(document), first), first);
  EXPECT_EQ(dump(document.get()), "<r>one<two/>three</r>\n");
  EXPECT_EQ(g_nodeList->table.count(), 1);
  EXPECT_EQ(handOut(nullptr), nullptr);
}

TEST_F(InternalEditTest, FreedPartsTakeTheirIdsAlong) {
  const Document document = parse("<r><a xml:id='i'/><b xml:id='j'/></r>");
  unlinkAndFree(find(root(document), "a"));
  takeNode(find(root(document), "b")).reset();
  EXPECT_EQ(talvo_xml_getidelemnode(document.get(), str("i").get()), nullptr);
  const Document again = parse("<r><a Id='i'/></r>");
  EXPECT_EQ(dump(document.get()), "<r/>\n");
  unlinkAndFree(document.get());
  unlinkAndFree(nullptr);
}

TEST_F(InternalEditTest, AttributesAreAppended) {
  const OwnedNode node = element("e");
  EXPECT_TRUE(addAttribute(node.get(), str("k").get(), str("1&2").get()));
  EXPECT_TRUE(addAttribute(node.get(), str("l").get(), str("").get()));
  EXPECT_FALSE(addAttribute(node.get(), str("m").get(), nullptr));
  EXPECT_FALSE(addAttribute(nullptr, str("k").get(), str("v").get()));
  EXPECT_EQ(dumpElement(node.get()), "<e k=\"1&amp;2\" l=\"\"/>");
}

TEST_F(InternalEditTest, MakersRefuseWhatCannotBeWritten) {
  const UString broken = str(std::string_view("a\0b", 3));
  EXPECT_EQ(makeElement(nullptr, nullptr), nullptr);
  EXPECT_EQ(makeElement(nullptr, broken.get()), nullptr);
  EXPECT_EQ(makeText(nullptr, broken.get()), nullptr);
  const OwnedNode node = element("e");
  EXPECT_EQ(makeElement(node.get(), str("e").get()), nullptr);
}

}  // namespace
}  // namespace talvo::test
