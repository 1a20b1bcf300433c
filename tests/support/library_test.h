// The fixture of tests that use documents: the library is started before each test and ended behind
// it, and then nothing may be left allocated.
#pragma once

#include <string_view>

#include "talvo_xml.h"

#include "base/handle.h"
#include "support/memory_test.h"

namespace talvo::test {

using Document = Handle<XmlDoc, talvo_xml_doc_free>;

// The document of a text; fails the running test when it does not parse.
Document parse(std::string_view xml);

class LibraryTest : public MemoryTest {
 protected:
  void SetUp() override;
  void TearDown() override;
};

}  // namespace talvo::test
