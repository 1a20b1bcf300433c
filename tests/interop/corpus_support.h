// What the tests over the corpus of foreign signatures share.
#pragma once

#include <string>

#include "base/list.h"
#include "signature/record/record.h"
#include "support/corpus.h"
#include "support/library_test.h"
#include "support/text.h"

namespace talvo::test {

// Skips its tests without the corpus.
class CorpusTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    if (corpusDirectory().empty()) {
      GTEST_SKIP() << "TALVO_XML_CORPUS is not set";
    }
  }
};

// The document of a row; null when it does not parse.
inline Document corpusDocument(const CorpusRow &row) {
  const std::string text = readFile(corpusDirectory() + "/" + row.at("file"));
  return Document(talvo_xml_parse(text.data(), static_cast<int64_t>(text.size())));
}

// The Signature elements of a document in document order.
inline List signaturesOf(const Document &document) {
  talvo_arraylist *found = nullptr;
  talvo_xml_node_findsignature(document.get(), &found);
  return List(found);
}

// The absolute base path of a row; null for none.
inline UString basePathOf(const CorpusRow &row) {
  const std::string &base = row.at("base");
  return base.empty() ? nullptr : str(corpusDirectory() + "/" + base);
}

}  // namespace talvo::test
