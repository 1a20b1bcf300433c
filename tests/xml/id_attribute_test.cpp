#include "xml/xml_support.h"

namespace talvo::test {
namespace {

class IdAttributeTest : public LibraryTest {
 protected:
  static XmlNode *elementById(const Document &document, const char *id) {
    return talvo_xml_getidelemnode(document.get(), str(id).get());
  }
  static XmlNode *attribute(const Document &document, const char *element) {
    return talvo_xml_node_getattribute(find(document.get(), element));
  }
};

TEST_F(IdAttributeTest, DeclaredAttributesAreFound) {
  const Document document = parse("<a><b Id='i'/><c xml:id='j'/></a>");
  EXPECT_EQ(elementById(document, "i"), nullptr);
  EXPECT_EQ(elementById(document, "j"), find(document.get(), "c")) << "by the parser";
  EXPECT_EQ(talvo_xml_node_setidattr(document.get(), attribute(document, "b")), 1);
  EXPECT_EQ(elementById(document, "i"), find(document.get(), "b"));
  EXPECT_EQ(talvo_xml_getidattribute(document.get(), str("i").get()), attribute(document, "b"));
  EXPECT_EQ(elementById(document, ""), nullptr);
  EXPECT_EQ(talvo_xml_getidelemnode(document.get(), nullptr), nullptr);
  EXPECT_EQ(talvo_xml_getidelemnode(nullptr, str("i").get()), nullptr);
  EXPECT_EQ(talvo_xml_getidelemnode(find(document.get(), "b"), str("i").get()), nullptr);
}

// Deliberate: a second declaration of a value succeeds and changes nothing.
TEST_F(IdAttributeTest, TheFirstDeclarationOfAValueWins) {
  const Document document = parse("<a><b Id='i'/><c Id='i'/></a>");
  EXPECT_EQ(talvo_xml_node_setidattr(document.get(), attribute(document, "c")), 1);
  EXPECT_EQ(talvo_xml_node_setidattr(document.get(), attribute(document, "b")), 1);
  EXPECT_EQ(elementById(document, "i"), find(document.get(), "c"));
}

TEST_F(IdAttributeTest, WhatCannotBeDeclared) {
  const Document document = parse("<a><b Id=''/><c Id='i'/></a>");
  const Document other = parse("<z/>");
  EXPECT_EQ(talvo_xml_node_setidattr(document.get(), attribute(document, "b")), 0);
  EXPECT_EQ(talvo_xml_node_setidattr(document.get(), find(document.get(), "c")), 0);
  EXPECT_EQ(talvo_xml_node_setidattr(document.get(), nullptr), 0);
  EXPECT_EQ(talvo_xml_node_setidattr(nullptr, attribute(document, "c")), 0);
  EXPECT_EQ(talvo_xml_node_setidattr(other.get(), attribute(document, "c")), 0);
}

TEST_F(IdAttributeTest, ValuesFromADtdAreNormalisedOthersAreNot) {
  const Document document =
      parse("<!DOCTYPE a [<!ATTLIST b k ID #IMPLIED>]><a><b k='  i  '/><c Id='  j  '/></a>");
  EXPECT_EQ(elementById(document, "i"), find(document.get(), "b"));
  EXPECT_EQ(talvo_xml_node_setidattr(document.get(), attribute(document, "c")), 1);
  EXPECT_EQ(elementById(document, "j"), nullptr);
  EXPECT_EQ(elementById(document, "  j  "), find(document.get(), "c"));
}

// A signature over a part that is no longer there would cover nothing.
TEST_F(IdAttributeTest, PartsOutsideTheDocumentAreNotFound) {
  const Document document = parse("<a><b xml:id='i'><c xml:id='j'/></b><d/></a>");
  XmlNode *b = find(document.get(), "b");
  talvo_xml_node_remove(b);
  EXPECT_EQ(elementById(document, "i"), nullptr);
  EXPECT_EQ(elementById(document, "j"), nullptr);
  talvo_xml_node_addnextsibling(find(document.get(), "d"), b);
  EXPECT_EQ(elementById(document, "i"), b) << "moved within the document";
  talvo_xml_doc_setrootelement(document.get(), talvo_xml_node_newelem(nullptr, str("new").get()));
  EXPECT_EQ(elementById(document, "i"), nullptr);
}

TEST_F(IdAttributeTest, AnIdFollowsItsValue) {
  const Document document = parse("<a><b xml:id='old'/><c xml:id='taken'/></a>");
  XmlNode *id = attribute(document, "b");
  EXPECT_EQ(talvo_xml_node_setvalue(id, str("new").get()), 1);
  EXPECT_EQ(elementById(document, "old"), nullptr);
  EXPECT_EQ(elementById(document, "new"), find(document.get(), "b"));
  EXPECT_EQ(talvo_xml_node_setvalue(id, str("taken").get()), 1);
  EXPECT_EQ(elementById(document, "taken"), find(document.get(), "c"));
  EXPECT_EQ(elementById(document, "new"), nullptr);
}

// What is gone for good, or may come back, blocks its value for nobody.
TEST_F(IdAttributeTest, AnIdThatLeftTheDocumentGivesWay) {
  struct Row {
    const char *what;
    void (*lose)(const Document &document, XmlNode *a);
    void (*declare)(const Document &document, XmlNode *b);
  };
  const auto remove = [](const Document &, XmlNode *a) { talvo_xml_node_remove(a); };
  const auto declareIt = [](const Document &document, XmlNode *b) {
    EXPECT_EQ(talvo_xml_node_setidattr(document.get(), talvo_xml_node_getattribute(b)), 1);
  };
  const Row rows[] = {
      {"element removed", remove, declareIt},
      {"attribute removed",
       [](const Document &, XmlNode *a) { talvo_xml_node_remove(talvo_xml_node_getattribute(a)); },
       declareIt},
      {"root replaced",
       [](const Document &document, XmlNode *a) {
         XmlNode *fresh = talvo_xml_node_dup(talvo_xml_doc_getrootelement(document.get()));
         talvo_xml_doc_setrootelement(document.get(), fresh);
         talvo_xml_node_remove(find(fresh, "a"));
         talvo_xml_node_remove(a);
       },
       declareIt},
      {"by a new attribute", remove,
       [](const Document &, XmlNode *b) {
         talvo_xml_node_newattr(b, nullptr, str("xml:id").get(), str("x").get());
       }},
      {"by a new value", remove,
       [](const Document &document, XmlNode *b) {
         XmlNode *id = talvo_xml_node_getattribute(b);
         talvo_xml_node_setvalue(id, str("y").get());
         EXPECT_EQ(talvo_xml_node_setidattr(document.get(), id), 1);
         EXPECT_EQ(talvo_xml_node_setvalue(id, str("x").get()), 1);
       }},
  };
  for (const Row &row : rows) {
    SCOPED_TRACE(row.what);
    const Document document = parse("<r><a Id='x'/><b Id='x'/></r>");
    XmlNode *a = find(document.get(), "a");
    EXPECT_EQ(talvo_xml_node_setidattr(document.get(), talvo_xml_node_getattribute(a)), 1);
    row.lose(document, a);
    EXPECT_EQ(elementById(document, "x"), nullptr);
    row.declare(document, find(document.get(), "b"));
    EXPECT_EQ(elementById(document, "x"), find(document.get(), "b"));
    // It comes back, and is no ID any more.
    talvo_xml_node_addnextsibling(find(document.get(), "b"), a);
    talvo_xml_node_setvalue(a, str("").get());
    EXPECT_EQ(elementById(document, "x"), find(document.get(), "b"));
  }
}

// libxml2 looks for the table's entry by value, which changed or was normalised.
TEST_F(IdAttributeTest, NoEntryOutlivesItsAttribute) {
  const char *xml =
      "<!DOCTYPE a [<!ATTLIST b k ID #IMPLIED>]><a><b k='  i  '><c Id=' j '/></b></a>";
  using Loss = void (*)(const Document &document, XmlNode *b, const Document &other);
  const Loss losses[] = {
      [](const Document &document, XmlNode *, const Document &) {
        talvo_xml_node_setvalue(talvo_xml_doc_getrootelement(document.get()), str("").get());
      },
      [](const Document &, XmlNode *b, const Document &other) {
        talvo_xml_node_addnextsibling(find(other.get(), "y"), b);
        talvo_xml_node_setvalue(talvo_xml_doc_getrootelement(other.get()), str("").get());
      },
      [](const Document &, XmlNode *b, const Document &) {
        talvo_xml_node_setvalue(talvo_xml_node_getattribute(b), str("").get());
        talvo_xml_node_setvalue(talvo_xml_node_getparent(b), str("").get());
      },
      [](const Document &, XmlNode *b, const Document &other) {
        talvo_xml_node_setdoc(b, other.get());
      },
  };
  for (const Loss lose : losses) {
    const Document document = parse(xml);
    const Document other = parse("<z><y/></z>");
    XmlNode *b = find(document.get(), "b");
    talvo_xml_node_setidattr(document.get(), attribute(document, "c"));
    // The same attribute under a second value.
    EXPECT_EQ(talvo_xml_node_setidattr(document.get(), talvo_xml_node_getattribute(b)), 1);
    lose(document, b, other);
    for (const char *id : {"i", "  i  "}) {
      EXPECT_EQ(elementById(document, id), nullptr);
    }
    const Document fresh = parse("<e Id='i'/>");
    XmlNode *e = talvo_xml_node_dup(talvo_xml_doc_getrootelement(fresh.get()));
    EXPECT_NE(talvo_xml_node_addchild(document.get(), e), nullptr);
    EXPECT_EQ(talvo_xml_node_setidattr(document.get(), talvo_xml_node_getattribute(e)), 1);
    EXPECT_EQ(elementById(document, "i"), e) << "the value is free again";
  }
}

TEST_F(IdAttributeTest, AFreeTreeCanBeDeclaredAheadOfBeingLinked) {
  const Document document = parse("<a/>");
  XmlNode *element = talvo_xml_node_newelem(nullptr, str("e").get());
  XmlNode *id = talvo_xml_node_newattr(element, nullptr, str("Id").get(), str("i").get());
  EXPECT_EQ(talvo_xml_node_setidattr(document.get(), id), 1);
  EXPECT_EQ(elementById(document, "i"), nullptr);
  talvo_xml_node_addchild(talvo_xml_doc_getrootelement(document.get()), element);
  EXPECT_EQ(elementById(document, "i"), element);

  XmlNode *lost = talvo_xml_node_newelem(nullptr, str("e").get());
  id = talvo_xml_node_newattr(lost, nullptr, str("Id").get(), str("j").get());
  EXPECT_EQ(talvo_xml_node_setidattr(document.get(), id), 1);
  talvo_xml_node_free(lost);
  EXPECT_EQ(elementById(document, "j"), nullptr);
}

}  // namespace
}  // namespace talvo::test
