// Thousands of edits in random order over several documents, freed in random order: whatever callers
// do with live handles, nothing is read after it was freed, freed twice or left over. The sanitizers
// are the judge; only the structure is checked besides.
#include <algorithm>
#include <random>
#include <vector>

#include "xml/edit.h"
#include "xml/node.h"
#include "xml/xml_support.h"

namespace talvo::test {
namespace {

constexpr std::string_view kDocuments[] = {
    "<!DOCTYPE a [<!ATTLIST b k ID #IMPLIED d CDATA 'default'><!ENTITY e 'entity text'>]>"
    "<a xmlns:p='urn:p'><b k=' one '>short</b><p:c p:x='1' xml:id='two'>t<?pi content?>&e;</p:c>"
    "<!--comment--><b k='three'><d>a text that is longer than a node can hold in "
    "itself</d></b></a>",
    "<r xmlns='urn:default' xmlns:q='urn:q'><s q:id='i'><t/>x<t>y</t></s><u xmlns=''><v/></u></r>",
    "<!--before--><only>w</only><?after?>",
};

class Editor {
 public:
  explicit Editor(uint32_t seed) : random_(seed) {}

  void run(int steps) {
    for (int step = 0; step < steps; ++step) {
      if (documents_.empty() || pick(40) == 0) {
        addDocument();
      }
      collect();
      edit();
    }
  }

 private:
  uint32_t pick(uint32_t count) {
    return std::uniform_int_distribution<uint32_t>(0, count - 1)(random_);
  }

  XmlNode *anyNode() {
    return nodes_.empty() ? nullptr : nodes_[pick(static_cast<uint32_t>(nodes_.size()))];
  }
  XmlDoc *anyDocument() {
    return documents_.empty() ? nullptr
                              : documents_[pick(static_cast<uint32_t>(documents_.size()))];
  }

  void addDocument() {
    if (pick(4) == 0) {
      documents_.push_back(talvo_xml_doc_new(pick(2)));
      return;
    }
    const std::string_view text = kDocuments[pick(std::size(kDocuments))];
    documents_.push_back(talvo_xml_parse(text.data(), static_cast<int64_t>(text.size())));
    ASSERT_NE(documents_.back(), nullptr);
  }

  // All live handles: what lies below the documents, and the tops that left them.
  void collect() {
    nodes_.clear();
    for (XmlDoc *document : documents_) {
      addBelow(firstChildOf(document));
    }
    for (XmlNode *top : tops_) {
      addTree(top);
    }
  }

  static XmlNode *firstChildOf(XmlNode *node) {
    XmlNode *child = lastChild(node);
    while (precedingNode(child) != nullptr) {
      child = precedingNode(child);
    }
    return child;
  }

  void addBelow(XmlNode *first) {
    for (XmlNode *node = first; node != nullptr; node = followingNode(node)) {
      addTree(node);
    }
  }

  void addTree(XmlNode *top) {
    nodes_.push_back(top);
    for (XmlNode *at = talvo_xml_node_getattribute(top); at != nullptr;
         at = talvo_xml_node_getnextsibling(at)) {
      nodes_.push_back(at);
    }
    if (kindOf(top) == NodeKind::element) {
      addBelow(firstChildOf(top));
    }
  }

  // A node without parent stays known here; one that got a parent is found through it.
  void noteTop(XmlNode *node) {
    if (node != nullptr && talvo_xml_node_getparent(node) == nullptr &&
        kindOf(node) != NodeKind::document && kindOf(node) != NodeKind::unsupported &&
        std::find(tops_.begin(), tops_.end(), node) == tops_.end()) {
      tops_.push_back(node);
    }
  }
  void dropLinkedTops() {
    std::erase_if(tops_, [](XmlNode *top) { return talvo_xml_node_getparent(top) != nullptr; });
  }
  void forget(XmlNode *node) { std::erase(tops_, node); }

  UString word() {
    return makeString(std::string(1 + pick(30), static_cast<char>('a' + pick(26))));
  }

  // Reads what could dangle: names, namespaces, values, and everything again as octets.
  void read() {
    XmlNode *node = anyNode();
    for (talvo_ustring *text :
         {talvo_xml_node_getname(node), talvo_xml_node_getnsuri(node),
          talvo_xml_node_getprefixedname(node), talvo_xml_node_getvalue(node)}) {
      talvo_ustring_free(text);
    }
    talvo_data_blob_free(talvo_xml_element_dump(node));
    talvo_data_blob_free(talvo_xml_doc_dump(anyDocument(), 0));
  }

  void edit() {
    read();
    switch (pick(18)) {
      case 0:
        noteTop(talvo_xml_node_newelem(nullptr, word().get()));
        break;
      case 1:
        noteTop(talvo_xml_node_newtext(pick(2) == 0 ? anyDocument() : nullptr, word().get()));
        break;
      case 2:
        noteTop(talvo_xml_node_newpi(anyDocument(), word().get(), word().get()));
        break;
      case 3:
        noteTop(talvo_xml_node_dup(anyNode()));
        break;
      case 4:
        addChild();
        break;
      case 5:
        talvo_xml_node_addnextsibling(anyNode(), anyNode());
        break;
      case 6:
        talvo_xml_node_addprevsibling(anyNode(), anyNode());
        break;
      case 7:
        addSibling();
        break;
      case 8:
      case 9:
        remove();
        break;
      case 10:
        talvo_xml_node_setdoc(anyNode(), anyDocument());
        break;
      case 11:
        setValue();
        break;
      case 12:
        newAttribute();
        break;
      case 13:
        declareId();
        break;
      case 14:
        setRoot();
        break;
      case 15:
        freeSomething();
        break;
      case 16:
        moveOwned();
        break;
      default:
        unlinkAndFreeSomething();
        break;
    }
    dropLinkedTops();
  }

  void addChild() {
    XmlNode *node = anyNode();
    XmlNode *added = talvo_xml_node_addchild(anyNode(), node);
    if (added != nullptr && added != node) {
      forget(node);  // its text went into the one before it
    }
  }

  // Not of attributes: one of a run may replace another of the same name.
  void addSibling() {
    XmlNode *first = anyNode();
    if (kindOf(first) != NodeKind::attribute) {
      talvo_xml_node_addsibling(anyNode(), first);
    }
  }

  void remove() {
    XmlNode *node = anyNode();
    talvo_xml_node_remove(node);
    noteTop(node);
  }

  // As the library's own code moves a node: what cannot be linked is freed.
  void moveOwned() {
    XmlNode *node = anyNode();
    OwnedNode owned = takeNode(node);
    XmlNode *place = anyNode();
    XmlNode *linked = pick(2) == 0 ? linkChild(place, owned) : linkAfter(place, owned);
    if (linked == nullptr) {
      forgetTree(node);
    } else {
      noteTop(node);
    }
  }

  void unlinkAndFreeSomething() {
    XmlNode *node = anyNode();
    if (pick(3) == 0 && kindOf(node) != NodeKind::namespaceDeclaration) {
      forgetTree(node);
      unlinkAndFree(node);
    }
  }

  void forgetTree(const XmlNode *top) {
    std::erase_if(tops_, [top](const XmlNode *node) { return isAtOrBelow(node, top); });
  }

  void setValue() {
    XmlNode *node = anyNode();
    const UString value = pick(3) == 0 ? makeString("a&lt;b") : word();
    talvo_xml_node_setvalue(node, value.get());
  }

  void newAttribute() {
    XmlNode *element = anyNode();
    if (pick(3) == 0) {
      const UString prefix = makeString(pick(2) == 0 ? "p" : "q");
      talvo_xml_node_newns(element, word().get(), pick(3) == 0 ? nullptr : prefix.get());
      return;
    }
    XmlNode *ns = talvo_xml_node_getassociatednsnode(element);
    const UString name = makeString(pick(2) == 0 ? "xml:id" : "k");
    talvo_xml_node_newattr(element, pick(2) == 0 ? ns : nullptr, name.get(), word().get());
  }

  void declareId() {
    XmlNode *node = anyNode();
    talvo_xml_node_setidattr(anyDocument(), talvo_xml_node_getattribute(node));
    talvo_xml_getidelemnode(anyDocument(), word().get());
  }

  void setRoot() {
    XmlDoc *document = anyDocument();
    XmlNode *old = talvo_xml_doc_getrootelement(document);
    if (talvo_xml_doc_setrootelement(document, anyNode()) != nullptr) {
      noteTop(old);
    }
  }

  void freeSomething() {
    if (pick(3) != 0 || documents_.empty()) {
      // A detached top survives this: only what is registered is freed, and then nobody knows it.
      if (!tops_.empty()) {
        XmlNode *top = tops_[pick(static_cast<uint32_t>(tops_.size()))];
        forget(top);
        talvo_xml_node_free(top);
      }
      return;
    }
    XmlDoc *document = anyDocument();
    std::erase(documents_, document);
    talvo_xml_doc_free(document);
  }

  std::mt19937 random_;
  std::vector<XmlDoc *> documents_;
  std::vector<XmlNode *> tops_;
  std::vector<XmlNode *> nodes_;
};

class EditRandomTest : public LibraryTest, public ::testing::WithParamInterface<uint32_t> {};

TEST_P(EditRandomTest, LeavesNothingDanglingAndNothingBehind) {
  Editor(GetParam()).run(1500);
}

INSTANTIATE_TEST_SUITE_P(Seeds, EditRandomTest, ::testing::Range(1U, 21U));

}  // namespace
}  // namespace talvo::test
