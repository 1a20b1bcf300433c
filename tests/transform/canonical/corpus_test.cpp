// Every document of the corpus in every form: whole, by each element with an Id, without each of its
// signatures, and under filters that keep and drop single nodes.
#include "support/corpus.h"

#include <set>

#include "transform/canonical/comparison.h"
#include "transform/transform_support.h"

namespace talvo::test {
namespace {

class CanonicalCorpusTest : public LibraryTest {};

bool hasId(const xmlNode *element) {
  for (const xmlAttr *attribute = element->properties; attribute != nullptr;
       attribute = attribute->next) {
    const std::string_view name = viewOf(attribute->name);
    if (name == "Id" || name == "ID" || name == "id") {
      return true;
    }
  }
  return false;
}

void compareElements(xmlDoc *document) {
  for (const xmlNode *element : elementsOf(document)) {
    SCOPED_TRACE(element->line);
    if (hasId(element)) {
      ASSERT_NO_FATAL_FAILURE(compareSubtree(document, element));
    }
    if (viewOf(element->name) == "Signature") {
      TreeSelection selection;
      selection.removed = {&element, 1};
      ASSERT_NO_FATAL_FAILURE(compare(document, selection));
    }
  }
}

std::set<std::string> corpusFiles() {
  std::set<std::string> files;
  for (const CorpusRow &row : corpusTable("MANIFEST.tsv")) {
    files.insert(row.at("file"));
  }
  return files;
}

TEST_F(CanonicalCorpusTest, EveryDocumentIsAsLibxml2HasIt) {
  if (corpusDirectory().empty()) {
    GTEST_SKIP() << "TALVO_XML_CORPUS is not set";
  }
  int compared = 0;
  for (const std::string &file : corpusFiles()) {
    SCOPED_TRACE(file);
    const std::string text = readFile(corpusDirectory() + "/" + file);
    const Document document(talvo_xml_parse_ex(text.data(), static_cast<int64_t>(text.size()), 3));
    if (document == nullptr) {
      continue;
    }
    ++compared;
    xmlDoc *tree = nativeDoc(document.get());
    ASSERT_NO_FATAL_FAILURE(compare(tree, {}));
    ASSERT_NO_FATAL_FAILURE(compareElements(tree));
    ASSERT_NO_FATAL_FAILURE(compareFilters(tree));
  }
  EXPECT_GT(compared, 0);
}

}  // namespace
}  // namespace talvo::test
