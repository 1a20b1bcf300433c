#include <thread>

#include "support/every_allocation_fails.h"
#include "support/memory_test.h"
#include "xml/registry.h"
#include "xml/xml_support.h"

namespace talvo::test {
namespace {

constexpr std::string_view kMalformed = "<a><b></a>";

class StartTest : public MemoryTest {};

void parseMalformed() {
  EXPECT_EQ(talvo_xml_parse(kMalformed.data(), static_cast<int64_t>(kMalformed.size())), nullptr);
}

TEST_F(StartTest, EndWithoutInitIsHarmless) {
  EXPECT_EQ(talvo_xml_end(), 1);
  EXPECT_EQ(talvo_xml_end(), 1);
}

TEST_F(StartTest, InitAfterEndWorksAnyNumberOfTimes) {
  for (int round = 0; round < 3; ++round) {
    ASSERT_EQ(talvo_xml_init(), 1);
    EXPECT_EQ(dump(parse("<a>text</a>").get()), "<a>text</a>\n");
    EXPECT_NE(talvo_xml_parse("<left-over/>", 12), nullptr);
    EXPECT_EQ(talvo_xml_end(), 1);
    EXPECT_EQ(g_nodeList, nullptr);
  }
}

TEST_F(StartTest, BeforeInitNothingCanBeMade) {
  EXPECT_EQ(talvo_xml_parse("<a/>", 4), nullptr);
  EXPECT_EQ(talvo_xml_doc_new(0), nullptr);
  EXPECT_EQ(talvo_xml_node_newelem(nullptr, str("a").get()), nullptr);
  EXPECT_EQ(LockNodeList(), 0);
}

TEST_F(StartTest, FailsCleanlyWithoutMemory) {
  everyAllocationFails([] {
    const bool started = talvo_xml_init() == 1;
    talvo_xml_end();
    return started;
  });
}

TEST_F(StartTest, VersionNeedsNoStart) {
  EXPECT_STREQ(talvo_xml_getversion(), "2.0.0");
}

class LifecycleTest : public LibraryTest {};

TEST_F(LifecycleTest, MalformedInputPrintsNothingInAnyThread) {
  testing::internal::CaptureStderr();
  parseMalformed();
  std::thread(parseMalformed).join();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// Freeing such a node reads its document, which must therefore still be there at shut-down.
TEST_F(LifecycleTest, EndFreesWhatWasMadeWithADocumentBeforeTheDocument) {
  XmlDoc *doc = talvo_xml_parse("<a><b>short</b></a>", 19);
  EXPECT_NE(talvo_xml_node_newtext(doc, str("text").get()), nullptr);
  EXPECT_NE(talvo_xml_node_newpi(doc, str("target").get(), nullptr), nullptr);
  talvo_xml_node_remove(find(doc, "b"));
  XmlNode *element = talvo_xml_node_newelem(nullptr, str("e").get());
  EXPECT_EQ(talvo_xml_node_setdoc(element, doc), 1);
}

TEST_F(LifecycleTest, DistinctDocumentsCanBeEditedInDistinctThreads) {
  const auto work = [] {
    for (int i = 0; i < 200; ++i) {
      const Document document = parse("<a><b>one</b><c/></a>");
      XmlNode *b = find(document.get(), "b");
      talvo_xml_node_remove(b);
      EXPECT_EQ(talvo_xml_node_addnextsibling(find(document.get(), "c"), b), b);
      talvo_xml_node_free(talvo_xml_node_newelem(nullptr, str("e").get()));
    }
  };
  std::thread other(work);
  work();
  other.join();
}

}  // namespace
}  // namespace talvo::test
