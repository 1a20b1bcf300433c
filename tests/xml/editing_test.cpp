#include "support/every_allocation_fails.h"
#include "xml/registry.h"
#include "xml/xml_support.h"

namespace talvo::test {
namespace {

constexpr std::string_view kMoved =
    "<a xmlns:p='urn:p'><p:b k='v' xml:id='i' p:l=''>t<?p i?><c>u</c></p:b><p:d/></a>";

class EditingTest : public LibraryTest {
 protected:
  static XmlNode *element(const char *name) {
    return talvo_xml_node_newelem(nullptr, str(name).get());
  }
  static XmlNode *text(const char *text) {
    return talvo_xml_node_newtext(nullptr, str(text).get());
  }
  static XmlNode *comment(const char *text) {
    return talvo_xml_node_newcomment(nullptr, str(text).get());
  }
  static XmlNode *root(const Document &document) {
    return talvo_xml_doc_getrootelement(document.get());
  }
  static bool isRegisteredNode(const XmlNode *node) { return isRegistered(node); }
};

TEST_F(EditingTest, ChildrenAreAppendedAndUnregistered) {
  const Document document = parse("<a/>");
  XmlNode *b = element("b");
  EXPECT_EQ(talvo_xml_node_addchild(root(document), b), b);
  XmlNode *end = comment("end");
  EXPECT_EQ(talvo_xml_node_addchild(document.get(), end), end);
  EXPECT_EQ(dump(document.get()), "<a><b/></a>\n<!--end-->\n");
  EXPECT_EQ(talvo_xml_node_addchild(root(document), b), nullptr) << "it is in a tree already";
  talvo_xml_node_free(b);
  EXPECT_EQ(dump(document.get()), "<a><b/></a>\n<!--end-->\n") << "the tree owns it";
}

TEST_F(EditingTest, ATextBehindATextIsJoinedToIt) {
  const Document document = parse("<a>one</a>");
  XmlNode *one = talvo_xml_node_getchildren(root(document));
  EXPECT_EQ(talvo_xml_node_addchild(root(document), text("two")), one);
  EXPECT_EQ(take(talvo_xml_node_getvalue(one)), "onetwo");
  EXPECT_EQ(g_nodeList->table.count(), 1) << "the document alone";
}

TEST_F(EditingTest, FollowingSiblingsComeAlong) {
  const Document document = parse("<a>t</a>");
  XmlNode *run = text("x");
  talvo_xml_node_addnextsibling(run, element("b"));
  talvo_xml_node_addprevsibling(run, element("left"));
  ASSERT_EQ(AddNodeInNodeList(run), 1);
  EXPECT_NE(talvo_xml_node_addchild(root(document), run), nullptr);
  EXPECT_EQ(dump(document.get()), "<a>tx<b/></a>\n");
}

// Every refusal leaves everything as it was.
TEST_F(EditingTest, WrongPlacesAreRefused) {
  const Document document = parse("<!DOCTYPE a><a k='v'>t<b/><!--c--></a>");
  const std::string before = dump(document.get());
  XmlNode *a = root(document);
  XmlNode *attribute = talvo_xml_node_getattribute(a);
  XmlNode *t = talvo_xml_node_getchildren(a);
  XmlNode *b = talvo_xml_node_getnextsibling(t);
  XmlNode *c = talvo_xml_node_getnextsibling(b);
  XmlNode *e = element("e");
  XmlNode *ns = talvo_xml_node_newns(e, str("u").get(), str("p").get());
  XmlNode *x = text("x");

  for (XmlNode *parent : {t, c, attribute, ns, static_cast<XmlNode *>(nullptr)}) {
    EXPECT_EQ(talvo_xml_node_addchild(parent, e), nullptr);
  }
  for (XmlNode *child : {b, attribute, ns, document.get(), static_cast<XmlNode *>(nullptr)}) {
    EXPECT_EQ(talvo_xml_node_addchild(e, child), nullptr);
  }
  struct Pair {
    XmlNode *ref;
    XmlNode *node;
  };
  for (const Pair &pair : {Pair{t, x},
                           {attribute, e},
                           {b, attribute},
                           {document.get(), e},
                           {b, document.get()},
                           {ns, e},
                           {b, ns},
                           {b, a},
                           {b, b},
                           {nullptr, e},
                           {b, nullptr},
                           {b, talvo_xml_node_getprevsibling(a)}}) {
    EXPECT_EQ(talvo_xml_node_addnextsibling(pair.ref, pair.node), nullptr);
    EXPECT_EQ(talvo_xml_node_addprevsibling(pair.ref, pair.node), nullptr);
    EXPECT_EQ(talvo_xml_node_addsibling(pair.ref, pair.node), nullptr);
  }
  EXPECT_EQ(dump(document.get()), before);
  EXPECT_TRUE(isRegisteredNode(e) && isRegisteredNode(x));
}

TEST_F(EditingTest, NoNodeBecomesItsOwnAncestor) {
  XmlNode *top = element("top");
  XmlNode *middle = element("middle");
  XmlNode *bottom = element("bottom");
  talvo_xml_node_addchild(top, middle);
  talvo_xml_node_addchild(middle, bottom);
  EXPECT_EQ(talvo_xml_node_addchild(bottom, top), nullptr);
  EXPECT_EQ(talvo_xml_node_addchild(top, top), nullptr);
  EXPECT_EQ(talvo_xml_node_addnextsibling(bottom, middle), nullptr);
  EXPECT_EQ(talvo_xml_node_addsibling(bottom, middle), nullptr);
  EXPECT_EQ(dumpElement(top), "<top><middle><bottom/></middle></top>");
}

TEST_F(EditingTest, SiblingsMoveWithinAndBetweenTrees) {
  const Document document = parse("<a><b/><c/><d/></a>");
  XmlNode *b = find(root(document), "b");
  XmlNode *d = find(root(document), "d");
  EXPECT_EQ(talvo_xml_node_addnextsibling(d, b), b);
  EXPECT_EQ(talvo_xml_node_addnextsibling(d, b), b) << "where it is already";
  EXPECT_EQ(talvo_xml_node_addprevsibling(find(root(document), "c"), d), d);
  XmlNode *fresh = element("e");
  EXPECT_EQ(talvo_xml_node_addprevsibling(d, fresh), fresh);
  EXPECT_FALSE(isRegisteredNode(fresh));
  EXPECT_EQ(dump(document.get()), "<a><e/><d/><c/><b/></a>\n");
}

TEST_F(EditingTest, ARunMovesInOrder) {
  const Document from = parse("<a><skip/>one<b/>two<c/></a>");
  const Document to = parse("<z><y/></z>");
  XmlNode *one = talvo_xml_node_getnextsibling(find(from.get(), "skip"));
  XmlNode *c = find(from.get(), "c");
  EXPECT_EQ(talvo_xml_node_addsibling(find(to.get(), "y"), one), c);
  EXPECT_EQ(dump(from.get()), "<a><skip/></a>\n");
  EXPECT_EQ(dump(to.get()), "<z><y/>one<b/>two<c/></z>\n");
}

TEST_F(EditingTest, ARunDoesNotMoveBesideItsOwnMembers) {
  const Document document = parse("<a><b/><c/><d/></a>");
  for (const char *name : {"b", "c", "d"}) {
    EXPECT_EQ(talvo_xml_node_addsibling(find(root(document), name), find(root(document), "b")),
              nullptr);
  }
  EXPECT_EQ(dump(document.get()), "<a><b/><c/><d/></a>\n");
}

// The step over a run of texts leaves its second text behind.
TEST_F(EditingTest, OfATextRunOnlyTheFirstTextMoves) {
  const Document document = parse("<a>one<!--c-->two<d/></a>");
  XmlNode *one = talvo_xml_node_getchildren(root(document));
  talvo_xml_node_remove(talvo_xml_node_getnextsibling(one));
  const Document to = parse("<z><y/></z>");
  EXPECT_NE(talvo_xml_node_addsibling(find(to.get(), "y"), one), nullptr);
  EXPECT_EQ(dump(to.get()), "<z><y/>one<d/></z>\n");
  EXPECT_EQ(dump(document.get()), "<a>two</a>\n");
}

TEST_F(EditingTest, AnAttributeReplacesItsNamesake) {
  const Document document = parse("<a k='old' l='1'><b k='new'/></a>");
  XmlNode *l = talvo_xml_node_getnextsibling(talvo_xml_node_getattribute(root(document)));
  XmlNode *k = talvo_xml_node_getattribute(find(root(document), "b"));
  EXPECT_EQ(talvo_xml_node_addnextsibling(l, k), k);
  EXPECT_EQ(dump(document.get()), "<a l=\"1\" k=\"new\"><b/></a>\n");
}

// Deliberate: a node that comes out of a document is nobody's to free.
TEST_F(EditingTest, RemovedNodesAreRegisteredOnlyWithoutDocument) {
  const Document document = parse("<a><b/></a>");
  XmlNode *b = find(root(document), "b");
  talvo_xml_node_remove(b);
  EXPECT_FALSE(isRegisteredNode(b));
  EXPECT_EQ(talvo_xml_node_getdoc(b), nullptr);
  EXPECT_EQ(talvo_xml_node_addchild(root(document), b), nullptr);
  talvo_xml_node_free(b);
  EXPECT_EQ(dumpElement(b), "<b/>") << "still there";

  XmlNode *top = element("top");
  XmlNode *child = element("child");
  talvo_xml_node_addchild(top, child);
  talvo_xml_node_remove(child);
  EXPECT_TRUE(isRegisteredNode(child));
  talvo_xml_node_free(child);
  EXPECT_EQ(dumpElement(top), "<top/>");
}

TEST_F(EditingTest, DocumentsTypesAndDeclarationsAreNotRemoved) {
  const Document document = parse("<!DOCTYPE a><a xmlns:p='u'/>");
  talvo_xml_node_remove(document.get());
  talvo_xml_node_remove(talvo_xml_node_getprevsibling(root(document)));
  talvo_xml_node_remove(talvo_xml_node_getnsnode(root(document)));
  talvo_xml_node_remove(nullptr);
  EXPECT_EQ(dump(document.get()), "<!DOCTYPE a>\n<a xmlns:p=\"u\"/>\n");
}

TEST_F(EditingTest, ValuesByKind) {
  const Document document = parse("<a k='v'>t<!--c--><?p i?><b/></a>");
  XmlNode *a = root(document);
  XmlNode *t = talvo_xml_node_getchildren(a);
  XmlNode *c = talvo_xml_node_getnextsibling(t);
  XmlNode *p = talvo_xml_node_getnextsibling(c);
  const UString value = str("x&lt;y");
  for (XmlNode *node : {talvo_xml_node_getattribute(a), t, c, p, find(a, "b")}) {
    EXPECT_EQ(talvo_xml_node_setvalue(node, value.get()), 1);
  }
  EXPECT_EQ(dump(document.get()),
            "<a k=\"x&lt;y\">x&amp;lt;y<!--x&lt;y--><?p x&lt;y?><b>x&lt;y</b></a>\n");
  EXPECT_EQ(talvo_xml_node_setvalue(document.get(), value.get()), 1);
  EXPECT_EQ(talvo_xml_node_setvalue(talvo_xml_node_newns(a, str("u").get(), nullptr), value.get()),
            0);
  EXPECT_EQ(talvo_xml_node_setvalue(t, nullptr), 0);
  EXPECT_EQ(talvo_xml_node_setvalue(nullptr, value.get()), 0);
}

TEST_F(EditingTest, ValuesWithBrokenOrGeneralReferencesAreRefused) {
  const Document document = parse("<!DOCTYPE a [<!ENTITY e 'text'>]><a k='v'>t<b/></a>");
  const std::string before = dump(document.get());
  for (const char *value :
       {"a&b",  "&",        "&;",       "&lt",        "x&undefined;y", "x&e;y",    "&#",     "&#;",
        "&#x;", "&#xZZ;",   "a&#65b",   "&#65",       "&#X41;",        "&#-1;",    "&# 65;", "&#0;",
        "&#1;", "&#xD800;", "&#xFFFE;", "&#x110000;", "&#x100000041;", "&#65;&#0;"}) {
    SCOPED_TRACE(value);
    EXPECT_EQ(talvo_xml_node_setvalue(root(document), str(value).get()), 0);
    XmlNode *attribute = talvo_xml_node_getattribute(root(document));
    EXPECT_EQ(talvo_xml_node_setvalue(attribute, str(value).get()), 0);
    EXPECT_EQ(dump(document.get()), before);
  }
  EXPECT_EQ(talvo_xml_node_setvalue(root(document), str("&#x41;&#066;&#9;&#x1F600;").get()), 1);
  EXPECT_EQ(take(talvo_xml_node_getvalue(talvo_xml_node_getchildren(root(document)))),
            "AB\t\xF0\x9F\x98\x80");
  EXPECT_EQ(talvo_xml_node_setvalue(root(document), str("").get()), 1);
  EXPECT_EQ(take(talvo_xml_node_getvalue(talvo_xml_node_getchildren(root(document)))), "(null)");
}

TEST_F(EditingTest, RootsAreReplacedAndKept) {
  const Document document = parse("<!--c--><a><b/></a><?after?>");
  XmlNode *old = root(document);
  XmlNode *fresh = element("fresh");
  EXPECT_EQ(talvo_xml_doc_setrootelement(document.get(), fresh), fresh);
  EXPECT_EQ(dump(document.get()), "<!--c-->\n<fresh/>\n<?after?>\n");
  EXPECT_FALSE(isRegisteredNode(fresh));
  EXPECT_EQ(talvo_xml_node_getparent(old), nullptr);
  EXPECT_EQ(talvo_xml_node_getdoc(old), document.get());
  EXPECT_EQ(dumpElement(old), "<a><b/></a>");
}

TEST_F(EditingTest, RootsThatAreRefused) {
  const Document document = parse("<a><b/></a>");
  XmlNode *followed = element("followed");
  talvo_xml_node_addnextsibling(followed, comment("behind"));
  AddNodeInNodeList(followed);
  XmlNode *preceded = element("preceded");
  talvo_xml_node_addprevsibling(preceded, text("before"));
  AddNodeInNodeList(preceded);
  for (XmlNode *node : {followed, preceded, comment("c"), find(root(document), "b"), root(document),
                        static_cast<XmlNode *>(nullptr)}) {
    EXPECT_EQ(talvo_xml_doc_setrootelement(document.get(), node), nullptr);
  }
  XmlNode *good = element("good");
  EXPECT_EQ(talvo_xml_doc_setrootelement(nullptr, good), nullptr);
  EXPECT_EQ(talvo_xml_doc_setrootelement(good, good), nullptr);
  XmlNode *instruction = talvo_xml_node_newpi(nullptr, str("p").get(), nullptr);
  talvo_xml_node_addprevsibling(good, instruction);
  AddNodeInNodeList(good);
  EXPECT_EQ(talvo_xml_doc_setrootelement(document.get(), good), good);
  EXPECT_EQ(dump(document.get()), "<good/>\n") << "what stood before it stays behind";
}

TEST_F(EditingTest, FreeingTwiceFreesOnce) {
  XmlNode *node = element("e");
  talvo_xml_node_free(node);
  talvo_xml_node_free(node);
  Document document = parse("<a/>");
  XmlDoc *handle = document.release();
  talvo_xml_doc_free(handle);
  talvo_xml_doc_free(handle);
  XmlNode *notADocument = element("e");
  talvo_xml_doc_free(notADocument);
  EXPECT_TRUE(isRegisteredNode(notADocument));
}

TEST_F(EditingTest, ARegisteredNodeLeavesItsNeighboursIntact) {
  XmlNode *first = element("first");
  XmlNode *second = element("second");
  talvo_xml_node_addnextsibling(first, second);
  AddNodeInNodeList(second);
  talvo_xml_node_free(second);
  EXPECT_EQ(talvo_xml_node_getnextsibling(first), nullptr);
}

TEST_F(EditingTest, SetDocByKind) {
  const Document document = parse("<a><b/></a>");
  XmlNode *e = element("e");
  XmlNode *child = element("child");
  talvo_xml_node_addchild(e, child);
  EXPECT_EQ(talvo_xml_node_setdoc(e, document.get()), 1);
  EXPECT_EQ(talvo_xml_node_getdoc(child), document.get());
  EXPECT_TRUE(isRegisteredNode(e));
  const Document other = parse("<z/>");
  EXPECT_EQ(talvo_xml_node_setdoc(find(root(document), "b"), other.get()), 1);
  EXPECT_EQ(talvo_xml_node_getdoc(find(document.get(), "b")), other.get());
  EXPECT_EQ(talvo_xml_node_setdoc(document.get(), other.get()), 0);
  EXPECT_EQ(talvo_xml_node_setdoc(e, nullptr), 0);
  EXPECT_EQ(talvo_xml_node_setdoc(e, e), 0);
  EXPECT_EQ(talvo_xml_node_setdoc(nullptr, other.get()), 0);
}

// A node moves from one parsed document to another in every way the interface has, and the documents
// go in either order. Names and short texts lie in the dictionary of the first.
TEST_F(EditingTest, MovedNodesOutliveTheirFirstDocument) {
  using Move = XmlNode *(*)(XmlNode * node, XmlDoc * to);
  const Move moves[] = {
      [](XmlNode *node, XmlDoc *to) { return talvo_xml_node_addnextsibling(find(to, "y"), node); },
      [](XmlNode *node, XmlDoc *to) {
        talvo_xml_node_remove(node);
        return talvo_xml_node_addprevsibling(find(to, "y"), node);
      },
      [](XmlNode *node, XmlDoc *to) { return talvo_xml_node_addsibling(find(to, "y"), node); },
      [](XmlNode *node, XmlDoc *to) {
        talvo_xml_node_setdoc(node, to);
        talvo_xml_node_remove(node);
        return talvo_xml_node_addnextsibling(find(to, "y"), node);
      },
      [](XmlNode *node, XmlDoc *to) {
        return talvo_xml_node_addchild(find(to, "y"), talvo_xml_node_dup(node));
      },
      [](XmlNode *node, XmlDoc *to) {
        talvo_xml_node_remove(node);
        talvo_xml_node_remove(node);  // a second time it counts as the caller's
        return talvo_xml_node_addchild(find(to, "y"), node);
      },
  };
  for (const Move move : moves) {
    for (const bool oldFirst : {true, false}) {
      Document from =
          parse("<a xmlns:p='urn:p'><p:b k='v' xml:id='i' p:l=''>t<?p i?><c>u</c></p:b></a>");
      Document to = parse("<z><y/></z>");
      XmlNode *moved = move(find(from.get(), "b"), to.get());
      ASSERT_NE(moved, nullptr);
      (oldFirst ? from : to).reset();
      if (oldFirst) {
        EXPECT_EQ(dumpElement(moved),
                  "<p:b xmlns:p=\"urn:p\" k=\"v\" xml:id=\"i\" p:l=\"\">t<?p i?><c>u</c></p:b>");
        EXPECT_EQ(talvo_xml_getidelemnode(to.get(), str("i").get()), nullptr);
      } else {
        EXPECT_EQ(talvo_xml_getidelemnode(from.get(), str("i").get()) != nullptr, move == moves[4]);
      }
    }
  }
}

TEST_F(EditingTest, AMoveWithinADocumentKeepsItsText) {
  const Document document =
      parse("<a xmlns:p='urn:p'><p:b p:k='v'/><c/><d xmlns:p='urn:other'><e/></d></a>");
  XmlNode *b = find(root(document), "b");
  EXPECT_EQ(talvo_xml_node_addnextsibling(find(root(document), "c"), b), b);
  talvo_xml_node_remove(b);
  EXPECT_EQ(talvo_xml_node_addprevsibling(find(root(document), "c"), b), b);
  EXPECT_EQ(dumpElement(b), "<p:b p:k=\"v\"/>");
  // Where the prefix means something else, the namespace is declared again.
  EXPECT_EQ(talvo_xml_node_addnextsibling(find(root(document), "e"), b), b);
  EXPECT_EQ(dumpElement(b), "<p:b xmlns:p=\"urn:p\" p:k=\"v\"/>");
}

// An attribute moves beside the one of <t>; the source is freed before the target is written.
TEST_F(EditingTest, AMovedAttributeKeepsItsNamespaceAndChangesNoOther) {
  struct Row {
    const char *what;
    const char *from;
    const char *to;
    const char *left;
    const char *result;
  };
  const char *prefixed = "<r xmlns:p='urn:p'><s p:x='1'/></r>";
  const char *left = "<r xmlns:p=\"urn:p\"><s/></r>";
  const Row rows[] = {
      {"prefix in scope", prefixed, "<q xmlns:p='urn:p'><t d=''/></q>", left,
       "<q xmlns:p=\"urn:p\"><t d=\"\" p:x=\"1\"/></q>"},
      {"prefix unknown", prefixed, "<t d=''/>", left, "<t xmlns:p=\"urn:p\" d=\"\" p:x=\"1\"/>"},
      {"other prefix in scope", prefixed, "<q xmlns:o='urn:p'><t d=''/></q>", left,
       "<q xmlns:o=\"urn:p\"><t d=\"\" o:x=\"1\"/></q>"},
      {"other prefix hidden", prefixed,
       "<q xmlns:o='urn:p'><t xmlns:o='urn:o' xmlns:p='urn:o' d=''/></q>", left,
       "<q xmlns:o=\"urn:p\"><t xmlns:o=\"urn:o\" xmlns:p=\"urn:o\" xmlns:ns1=\"urn:p\" d=\"\" "
       "ns1:x=\"1\"/></q>"},
      {"prefix taken there", prefixed, "<t xmlns:p='urn:other' d=''/>", left,
       "<t xmlns:p=\"urn:other\" xmlns:ns1=\"urn:p\" d=\"\" ns1:x=\"1\"/>"},
      {"prefix taken above and used", prefixed,
       "<q xmlns:p='urn:other' xmlns:ns1='urn:ns1'><p:t d=''><p:u/></p:t></q>", left,
       "<q xmlns:p=\"urn:other\" xmlns:ns1=\"urn:ns1\"><p:t xmlns:ns2=\"urn:p\" d=\"\" "
       "ns2:x=\"1\"><p:u/></p:t></q>"},
  };
  for (const Row &row : rows) {
    SCOPED_TRACE(row.what);
    Document from = parse(row.from);
    const Document to = parse(row.to);
    XmlNode *moved = talvo_xml_node_getattribute(find(from.get(), "s"));
    EXPECT_EQ(
        talvo_xml_node_addnextsibling(talvo_xml_node_getattribute(find(to.get(), "t")), moved),
        moved);
    EXPECT_EQ(dumpElement(root(from)), row.left);
    from.reset();
    EXPECT_EQ(dumpElement(root(to)), row.result);
    EXPECT_EQ(take(talvo_xml_node_getnsuri(moved)), "urn:p");
  }
}

// A default declaration would reach elements, and never the attribute.
TEST_F(EditingTest, AnAttributeOfADefaultNamespaceGetsAPrefix) {
  const Document from = parse("<r xmlns='urn:d'><s/></r>");
  const Document to = parse("<t d=''><u/></t>");
  XmlNode *ns = talvo_xml_node_getnsnode(root(from));
  XmlNode *s = find(from.get(), "s");
  XmlNode *moved = talvo_xml_node_newattr(s, ns, str("x").get(), str("1").get());
  EXPECT_NE(talvo_xml_node_addnextsibling(talvo_xml_node_getattribute(root(to)), moved), nullptr);
  EXPECT_EQ(dumpElement(root(from)), "<r xmlns=\"urn:d\"><s/></r>");
  EXPECT_EQ(dumpElement(root(to)), "<t xmlns:ns1=\"urn:d\" d=\"\" ns1:x=\"1\"><u/></t>");
}

// n and n2 are bound to the outer p, which the inner one hides, and o to the inner one.
TEST_F(EditingTest, NamesOfAMovedTreeMeanTheSameWhenItIsSaved) {
  const Document from = parse("<r xmlns:p='urn:1'><m xmlns:p='urn:2'><n><o/></n><n2/></m></r>");
  const Document to = parse("<t/>");
  XmlNode *m = find(from.get(), "m");
  talvo_xml_node_setns(find(m, "n"), talvo_xml_node_getnsnode(root(from)));
  talvo_xml_node_setns(find(m, "o"), talvo_xml_node_getnsnode(m));
  talvo_xml_node_setns(find(m, "n2"), talvo_xml_node_getnsnode(root(from)));
  EXPECT_EQ(talvo_xml_node_addnextsibling(root(to), m), m);
  EXPECT_EQ(dumpElement(m),
            "<m xmlns:p=\"urn:2\"><p:n xmlns:p=\"urn:1\"><p:o xmlns:p=\"urn:2\"/></p:n><p:n2 "
            "xmlns:p=\"urn:1\"/></m>");
  talvo_xml_node_setvalue(find(m, "n"), str("").get());
  EXPECT_EQ(take(talvo_xml_node_getnsuri(find(m, "n2"))), "urn:1") << "no declaration is shared";
}

// The second of three declares its own prefix for another namespace.
TEST_F(EditingTest, ARunThatCannotMoveWholeDoesNotMove) {
  const Document from = parse("<r xmlns:p='urn:1'><p:a/><b xmlns:p='urn:2'/><c/></r>");
  XmlNode *a = find(from.get(), "a");
  talvo_xml_node_setns(find(from.get(), "b"), talvo_xml_node_getnsnode(root(from)));
  const std::string before = dump(from.get());
  Document to = parse("<t xmlns:q='urn:q'><u/></t>");
  EXPECT_EQ(talvo_xml_node_addsibling(find(to.get(), "u"), a), nullptr);
  EXPECT_EQ(dump(to.get()), "<t xmlns:q=\"urn:q\"><u/></t>\n");
  to.reset();
  EXPECT_EQ(dump(from.get()), before);
}

TEST_F(EditingTest, NamespacesSurviveTheElementThatDeclaredThem) {
  const Document document = parse("<a><b xmlns:p='urn:p'><p:c p:k='v'/></b></a>");
  XmlNode *c = find(root(document), "c");
  XmlNode *attribute = talvo_xml_node_getattribute(c);
  talvo_xml_node_remove(attribute);
  talvo_xml_node_remove(c);
  EXPECT_EQ(talvo_xml_node_setvalue(root(document), str("").get()), 1);
  EXPECT_EQ(take(talvo_xml_node_getnsuri(c)), "urn:p");
  EXPECT_EQ(take(talvo_xml_node_getnsuri(attribute)), "urn:p");
}

TEST(EditingWithoutMemoryTest, FailsCleanlyAndKeepsEveryNodeUsable) {
  everyAllocationFails(
      [] {
        bool done = talvo_xml_init() == 1;
        XmlDoc *from = talvo_xml_parse(kMoved.data(), kMoved.size());
        XmlDoc *to = talvo_xml_parse("<z><y/></z>", 11);
        XmlNode *b = talvo_xml_node_getchildren(talvo_xml_doc_getrootelement(from));
        XmlNode *y = talvo_xml_node_getchildren(talvo_xml_doc_getrootelement(to));
        XmlNode *c = talvo_xml_node_getnextsibling(b);
        talvo_xml_node_remove(b);
        done = done && talvo_xml_node_getparent(b) == nullptr;
        done = done && talvo_xml_node_addnextsibling(y, b) == b;
        done = done && talvo_xml_node_addsibling(b, c) != nullptr;
        XmlNode *copy = talvo_xml_node_dup(b);
        done = done && talvo_xml_node_addchild(y, copy) == copy;
        done = done && talvo_xml_doc_setrootelement(from, talvo_xml_node_dup(y)) != nullptr;
        done = done && talvo_xml_node_setdoc(b, from) == 1;
        talvo_xml_doc_free(from);
        talvo_data_blob_free(talvo_xml_doc_dump(to, 0));
        talvo_xml_end();
        return done;
      },
      {.mayRecover = true});
}

TEST_F(EditingTest, VeryDeepTreesAreMovedAndFreed) {
  const Document document(talvo_xml_doc_new(0));
  XmlNode *top = element("e");
  XmlNode *bottom = top;
  for (int depth = 0; depth < 200000; ++depth) {
    bottom = talvo_xml_node_addchild(bottom, talvo_xml_node_newelem(nullptr, str("e").get()));
  }
  EXPECT_EQ(talvo_xml_doc_setrootelement(document.get(), top), top);
  EXPECT_EQ(talvo_xml_node_findelemnode(document.get(), str("absent").get(), nullptr), nullptr);
  talvo_xml_node_remove(top);
  EXPECT_EQ(talvo_xml_node_setdoc(top, document.get()), 1);
}

}  // namespace
}  // namespace talvo::test
