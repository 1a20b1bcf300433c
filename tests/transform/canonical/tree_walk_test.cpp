// The walk and the writer behind it against libxml2, over rows, random documents and edited trees.
#include "transform/canonical/tree_walk.h"

#include <random>

#include "transform/canonical/comparison.h"
#include "transform/canonical/random_edits.h"
#include "transform/transform_support.h"

namespace talvo::test {
namespace {

constexpr std::string_view kDocuments[] = {
    "<a/>",
    "<?xml-stylesheet href='x'?>\n<!--before--><a><!--in--></a><!--after-->\n<?end  of it ?>",
    "<a xmlns='urn:d' xmlns:p='urn:p' xmlns:q='urn:q'><b xmlns=''><p:c q:z='1' a='2' p:b='3'/></b>"
    "<c xmlns='urn:d'/><p:d xmlns:p='urn:other' xmlns:q='urn:q'><p:e/></p:d></a>",
    "<a xml:lang='en' xml:space='preserve' xml:base='http://h/x/' xml:id='i'><b xml:lang='de'>"
    "<c xml:base='../y/' xml:other='1'><d xml:base='a.b'><e xml:base='..'/></d></c></b></a>",
    "<!DOCTYPE a [<!ENTITY e 'text &lt; more'><!ATTLIST b c CDATA 'default' t NMTOKEN #IMPLIED>]>"
    "<a>&e;<b t='  n  '/><![CDATA[<raw> & ]]]]><![CDATA[>]]></a>",
    "<a b='&quot;&#9;&#10;&#13;&lt;&gt;&amp;&apos;'>&quot;&#9;&#13;&lt;&gt;&amp; \xC3\xA9 "
    "\xF0\x9F\x98\x80\r\nline<?pi &#13; & < ?><!--&#13; & < --></a>",
    "<r xmlns:a='urn:1' xmlns:b='urn:1'><b:x a:k='1'/><a:x b:k='1' k='0'/></r>",
    "<r xmlns='http://h/?a=1&amp;b=2' xmlns:p='urn:it&apos;s'><p:x/></r>",
    "<r xml:base=''><b xml:base='x'><c xml:base=''/></b><d/></r>",
    "<a xmlns:r='relative'/>",
    "<a><b xmlns='mailto:x'/><c xmlns:q='#f'/></a>",
};

class TreeWalkTest : public LibraryTest {};

TEST_F(TreeWalkTest, DocumentsAndSubtreesAreAsLibxml2HasThem) {
  for (const std::string_view xml : kDocuments) {
    SCOPED_TRACE(xml);
    const Document document = parse(xml);
    ASSERT_NO_FATAL_FAILURE(compare(nativeDoc(document.get()), {}));
    for (const xmlNode *element : elementsOf(nativeDoc(document.get()))) {
      ASSERT_NO_FATAL_FAILURE(compareSubtree(nativeDoc(document.get()), element));
    }
    ASSERT_NO_FATAL_FAILURE(compareFilters(nativeDoc(document.get())));
  }
}

// Documents with everything that canonicalisation looks at, in random places.
class RandomDocument {
 public:
  explicit RandomDocument(uint32_t seed) : random_(seed) {}

  std::string text() { return "<!--0--><?p?>" + element(4) + "<!--9--><?e n?>"; }
  bool oneOf(uint32_t count) { return pick(count) == 0; }
  uint32_t pick(uint32_t count) { return static_cast<uint32_t>(random_()) % count; }

 private:
  std::string element(int depth) {
    static constexpr const char *kAttributes[] = {
        " xmlns='urn:d'",     " xmlns:p='urn:p'", " xmlns:q='urn:p'", " xml:lang='l'",
        " xml:base='b/../c'", " xml:space='s'",   " xml:id='i'",      " k='v'",
        " xml:base=''",       " xmlns:p='urn:q'", " xmlns=''",        " xml:base='http://h/x/.'"};
    std::string start = oneOf(3) ? "p:e xmlns:p='urn:p'" : oneOf(2) ? "Id" : "x";
    const std::string name = start.substr(0, start.find(' '));
    uint32_t used = name == "p:e" ? 2U : 0;
    for (uint32_t i = 0; i < std::size(kAttributes); ++i) {
      const bool isTwice = ((i == 8 || i == 11) && (used & 0x910U) != 0) ||
                           ((i == 9 || i == 1) && (used & 2U) != 0) ||
                           (i == 10 && (used & 1U) != 0);
      if (oneOf(4) && !isTwice) {
        start += kAttributes[i];
        used |= 1U << i;
        used |= i == 9 ? 2U : 0U;
      }
    }
    start += (used & 2U) != 0 && oneOf(2) ? " p:k='pv'" : "";
    std::string content;
    for (uint32_t i = depth > 0 ? pick(5) : 0; i > 0; --i) {
      static constexpr const char *kLeaves[] = {"t&amp;", "<!--c-->", "<?q r?>", "&#13;&gt;"};
      content += oneOf(3) ? kLeaves[pick(4)] : element(depth - 1);
    }
    return "<" + start + ">" + content + "</" + name + ">";
  }

  std::minstd_rand random_;
};

void compareSelections(xmlDoc *document, RandomDocument &random) {
  const std::vector<const xmlNode *> elements = elementsOf(document);
  const auto count = static_cast<uint32_t>(elements.size());
  for (int round = 0; round < 6; ++round) {
    std::vector<const xmlNode *> removed;
    for (uint32_t i = random.pick(4); i > 0; --i) {
      removed.push_back(elements[random.pick(count)]);
    }
    TreeSelection selection;
    selection.apex = random.oneOf(4) ? nullptr : elements[random.pick(count)];
    selection.removed = removed;
    selection.withComments = random.oneOf(2);
    ASSERT_NO_FATAL_FAILURE(compare(document, selection));
  }
}

TEST_F(TreeWalkTest, RandomDocumentsAreAsLibxml2HasThem) {
  for (uint32_t seed = 1; seed <= 60; ++seed) {
    RandomDocument random(seed);
    const std::string xml = random.text();
    SCOPED_TRACE(xml);
    const Document document = parse(xml);
    ASSERT_NE(document, nullptr);
    ASSERT_NO_FATAL_FAILURE(compareSelections(nativeDoc(document.get()), random));
    if (seed % 4 == 0) {
      ASSERT_NO_FATAL_FAILURE(compareFilters(nativeDoc(document.get())));
    }
  }
}

TEST_F(TreeWalkTest, EditedTreesAreAsLibxml2HasThem) {
  for (uint32_t seed = 1; seed <= 300; ++seed) {
    SCOPED_TRACE(seed);
    RandomDocument random(seed);
    const Document document = parse(random.text());
    auto pick = [&random](uint32_t count) { return random.pick(count); };
    RandomEdits(document.get(), pick).run(1 + random.pick(12));
    SCOPED_TRACE(take(talvo_xml_doc_dump(document.get(), 0)));
    ASSERT_NO_FATAL_FAILURE(compareSelections(nativeDoc(document.get()), random));
    if (seed % 8 == 0) {
      ASSERT_NO_FATAL_FAILURE(compareFilters(nativeDoc(document.get())));
    }
  }
}

}  // namespace
}  // namespace talvo::test
