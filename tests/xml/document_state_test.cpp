#include "xml/document_state.h"

#include "support/every_allocation_fails.h"
#include "xml/xml_support.h"

namespace talvo::test {
namespace {

class DocumentStateTest : public LibraryTest {
 protected:
  static DocumentState &state(const Document &document) { return *stateOf(document.get()); }
  static XmlNode *root(const Document &document) {
    return talvo_xml_doc_getrootelement(document.get());
  }
  static XmlNode *element(const char *name = "e") {
    return talvo_xml_node_newelem(nullptr, str(name).get());
  }
};

TEST_F(DocumentStateTest, EveryDocumentHasOneAndNothingElse) {
  const Document parsed = parse("<a/>");
  const Document made(talvo_xml_doc_new(0));
  const Document flagged(talvo_xml_parse_ex("<a/>", 4, 3));
  const Document copied(talvo_xml_node_dup(flagged.get()));
  EXPECT_EQ(state(parsed).parseFlags(), 0U);
  EXPECT_EQ(state(made).parseFlags(), 0U);
  EXPECT_EQ(state(flagged).parseFlags(), 3U);
  EXPECT_EQ(state(copied).parseFlags(), 3U);
  EXPECT_EQ(stateOf(nullptr), nullptr);
  EXPECT_EQ(stateOf(root(parsed)), nullptr);
}

TEST_F(DocumentStateTest, FindingsHoldUntilTheNextEdit) {
  DocumentState state(0);
  EXPECT_EQ(state.recall(Finding::isCanonical), std::nullopt);
  state.remember(Finding::isCanonical, true);
  state.remember(Finding::areIdsDeclared, false);
  EXPECT_EQ(state.recall(Finding::isCanonical), true);
  EXPECT_EQ(state.recall(Finding::areIdsDeclared), false);
  state.noteEdit();
  EXPECT_EQ(state.recall(Finding::isCanonical), std::nullopt);
}

// Each row edits <a k='v' xmlns:p='urn:p'>t<b/><!--c--></a>, with another document beside it.
TEST_F(DocumentStateTest, WhatCountsAsAnEdit) {
  struct Row {
    const char *what;
    bool counts;
    void (*edit)(XmlNode *a, XmlNode *b, XmlDoc *other);
  };
  using Node = XmlNode *;
  const Row rows[] = {
      {"text added", false,
       [](Node a, Node, XmlDoc *) {
         talvo_xml_node_addchild(a, talvo_xml_node_newtext(nullptr, str("t").get()));
       }},
      {"text set", false,
       [](Node a, Node, XmlDoc *) {
         talvo_xml_node_setvalue(talvo_xml_node_getchildren(a), str("u").get());
       }},
      {"text given to an element", false,
       [](Node, Node b, XmlDoc *) { talvo_xml_node_setvalue(b, str("u").get()); }},
      {"comment removed", false,
       [](Node, Node b, XmlDoc *) { talvo_xml_node_remove(talvo_xml_node_getnextsibling(b)); }},
      {"node made beside the tree", false,
       [](Node, Node, XmlDoc *) { talvo_xml_node_newns(element(), str("u").get(), nullptr); }},
      {"element added", true,
       [](Node a, Node, XmlDoc *) { talvo_xml_node_addchild(a, element()); }},
      {"element removed", true, [](Node, Node b, XmlDoc *) { talvo_xml_node_remove(b); }},
      {"element freed", true,
       [](Node a, Node, XmlDoc *) { talvo_xml_node_setvalue(a, str("").get()); }},
      {"element moved away", true,
       [](Node, Node b, XmlDoc *other) { talvo_xml_node_addnextsibling(find(other, "y"), b); }},
      {"element taken in", true,
       [](Node, Node b, XmlDoc *other) { talvo_xml_node_addnextsibling(b, find(other, "y")); }},
      {"element bound", true,
       [](Node a, Node b, XmlDoc *) { talvo_xml_node_setns(b, talvo_xml_node_getnsnode(a)); }},
      {"element given to another document", true,
       [](Node, Node b, XmlDoc *other) { talvo_xml_node_setdoc(b, other); }},
      {"attribute added", true,
       [](Node a, Node, XmlDoc *) {
         talvo_xml_node_newattr(a, nullptr, str("l").get(), str("v").get());
       }},
      {"attribute set", true,
       [](Node a, Node, XmlDoc *) {
         talvo_xml_node_setvalue(talvo_xml_node_getattribute(a), str("w").get());
       }},
      {"attribute removed", true,
       [](Node a, Node, XmlDoc *) { talvo_xml_node_remove(talvo_xml_node_getattribute(a)); }},
      {"namespace declared", true,
       [](Node, Node b, XmlDoc *) { talvo_xml_node_newns(b, str("u").get(), nullptr); }},
      {"root replaced", true,
       [](Node a, Node, XmlDoc *) {
         talvo_xml_doc_setrootelement(talvo_xml_node_getdoc(a), element());
       }},
  };
  for (const Row &row : rows) {
    SCOPED_TRACE(row.what);
    const Document document = parse("<a k='v' xmlns:p='urn:p'>t<b/><!--c--></a>");
    const Document other = parse("<z><y/></z>");
    const uint64_t before = state(document).edits();
    row.edit(root(document), find(root(document), "b"), other.get());
    EXPECT_EQ(state(document).edits() != before, row.counts);
  }
}

TEST_F(DocumentStateTest, EditsOfOneDocumentLeaveTheOthersState) {
  const Document document = parse("<a><b/></a>");
  state(document).remember(Finding::isCanonical, true);
  Document other(talvo_xml_node_dup(document.get()));
  EXPECT_EQ(state(other).recall(Finding::isCanonical), std::nullopt) << "a copy knows nothing";
  talvo_xml_node_addchild(root(other), element());
  talvo_xml_node_remove(find(root(other), "b"));
  other.reset();
  EXPECT_EQ(state(document).edits(), 0U);
  EXPECT_EQ(state(document).recall(Finding::isCanonical), true);
}

// b and what is below it point at `other` though they stand in `document`, or in a tree of neither.
TEST_F(DocumentStateTest, EditsOfStraysCountWhereTheyStand) {
  const Document document = parse("<a><b><c/></b></a>");
  const Document other = parse("<z/>");
  XmlNode *c = find(root(document), "c");
  EXPECT_EQ(talvo_xml_node_setdoc(talvo_xml_node_getparent(c), other.get()), 1);
  uint64_t before = state(document).edits();
  talvo_xml_node_newattr(c, nullptr, str("k").get(), str("v").get());
  EXPECT_NE(state(document).edits(), before);
  before = state(document).edits();
  talvo_xml_node_setvalue(talvo_xml_node_getparent(c), str("").get());
  EXPECT_NE(state(document).edits(), before) << "c is freed";
  talvo_xml_node_remove(find(root(document), "b"));
  before = state(document).edits();
  talvo_xml_node_addchild(root(other), element());
  EXPECT_EQ(state(document).edits(), before) << "nothing of the other is here any more";
}

TEST_F(DocumentStateTest, WithoutMemoryForItThereIsNoDocument) {
  const Document document = parse("<a/>");
  everyAllocationFails([&] { return Document(talvo_xml_node_dup(document.get())) != nullptr; });
}

}  // namespace
}  // namespace talvo::test
