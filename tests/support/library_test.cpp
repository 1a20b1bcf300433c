#include "support/library_test.h"

namespace talvo::test {

Document parse(std::string_view xml) {
  Document document(talvo_xml_parse(xml.data(), static_cast<int64_t>(xml.size())));
  EXPECT_NE(document, nullptr) << xml.substr(0, 200);
  return document;
}

void LibraryTest::SetUp() {
  MemoryTest::SetUp();
  ASSERT_EQ(talvo_xml_init(), 1);
}

void LibraryTest::TearDown() {
  EXPECT_EQ(talvo_xml_end(), 1);
  MemoryTest::TearDown();
}

}  // namespace talvo::test
