#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "xml/xml_support.h"

namespace talvo::test {
namespace {

class SerializeTest : public LibraryTest {
 protected:
  static std::string read(const std::string &path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
  }
};

TEST_F(SerializeTest, DeclarationAndEncoding) {
  const Document document = parse("<a><b>\xC3\xA4</b> </a>");
  struct Row {
    const char *encoding;
    uint32_t flags;
    const char *text;
  };
  const Row rows[] = {
      {"UTF-8", 0, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a><b>\xC3\xA4</b> </a>\n"},
      {"UTF-8", 1, "<a><b>\xC3\xA4</b> </a>\n"},
      {"UTF-8", 2, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a><b>\xC3\xA4</b> </a>\n"},
      {"ISO-8859-1", 1, "<a><b>\xE4</b> </a>\n"},
      {"US-ASCII", 1, "<a><b>&#228;</b> </a>\n"},
      {nullptr, 0, "<?xml version=\"1.0\"?>\n<a><b>&#xE4;</b> </a>\n"},
      {"no such encoding", 0, "(null)"},
  };
  for (const Row &row : rows) {
    EXPECT_EQ(take(talvo_xml_doc_dump_ex(document.get(), row.encoding, row.flags)), row.text);
  }
  EXPECT_EQ(take(talvo_xml_doc_dump(document.get(), 0)), rows[0].text);
}

TEST_F(SerializeTest, ADocumentKeepsItsOwnEncoding) {
  const Document document = parse("<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE4</a>");
  EXPECT_EQ(take(talvo_xml_doc_dump_ex(document.get(), nullptr, 0)),
            "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<a>\xE4</a>\n");
}

TEST_F(SerializeTest, WithoutRootNothingIsWritten) {
  const Document document(talvo_xml_doc_new(0));
  EXPECT_EQ(talvo_xml_doc_dump(document.get(), 0), nullptr);
  EXPECT_EQ(talvo_xml_doc_dump(nullptr, 0), nullptr);
  EXPECT_EQ(talvo_xml_doc_save(document.get(), "/dev/null", 0), 0);
}

TEST_F(SerializeTest, ElementsAreWrittenAsTheyStand) {
  const Document document = parse("<a xmlns:p='urn:p'><p:b>\xC3\xA4</p:b></a>");
  const XmlNode *b = find(document.get(), "b");
  EXPECT_EQ(take(talvo_xml_element_dump(b)), "<p:b>\xC3\xA4</p:b>");
  EXPECT_EQ(take(talvo_xml_element_dump_ex(b, nullptr)), "<p:b>&#xE4;</p:b>");
  EXPECT_EQ(talvo_xml_element_dump_ex(b, "no such encoding"), nullptr);
  EXPECT_EQ(talvo_xml_element_dump(document.get()), nullptr);
  EXPECT_EQ(talvo_xml_element_dump(talvo_xml_node_getchildren(b)), nullptr);
  EXPECT_EQ(talvo_xml_element_dump(nullptr), nullptr);
}

// libxml2 asks the document, and not the output, which characters an attribute may hold.
TEST_F(SerializeTest, AttributesOfADocumentWithoutEncodingAreWrittenInReferences) {
  for (const auto &[declaration, value] :
       {std::pair{"", "&#xE4;"}, {"<?xml version='1.0' encoding='UTF-8'?>", "\xC3\xA4"}}) {
    const Document document = parse(std::string(declaration) + "<a k='\xC3\xA4'>\xC3\xA4</a>");
    const XmlNode *root = talvo_xml_doc_getrootelement(document.get());
    EXPECT_EQ(dumpElement(root), "<a k=\"" + std::string(value) + "\">\xC3\xA4</a>");
    EXPECT_EQ(dump(document.get()), "<a k=\"\xC3\xA4\">\xC3\xA4</a>\n");
  }
}

TEST_F(SerializeTest, FilesGetTheNameTheyAreGiven) {
  const std::filesystem::path directory =
      std::filesystem::temp_directory_path() / ("talvo_save_" + std::to_string(::getpid()));
  std::filesystem::create_directory(directory);
  const Document document = parse("<a/>");
  const std::string path = directory / "o%20p.xml";
  EXPECT_EQ(talvo_xml_doc_save(document.get(), path.c_str(), 1), 1);
  EXPECT_EQ(read(path), "<a/>\n");
  EXPECT_EQ(talvo_xml_doc_save_ex(document.get(), "US-ASCII", path.c_str(), 0), 1);
  EXPECT_EQ(read(path), "<?xml version=\"1.0\" encoding=\"US-ASCII\"?>\n<a/>\n");
  std::filesystem::remove_all(directory);
}

TEST_F(SerializeTest, FilesThatCannotBeWritten) {
  const Document document = parse("<a/>");
  for (const char *path : {"/dev/full", "/no/such/directory/file", "/tmp"}) {
    EXPECT_EQ(talvo_xml_doc_save(document.get(), path, 0), 0) << path;
  }
  EXPECT_EQ(talvo_xml_doc_save(document.get(), nullptr, 0), 0);
  EXPECT_EQ(talvo_xml_doc_save_ex(document.get(), "no such encoding", "/dev/null", 0), 0);
}

}  // namespace
}  // namespace talvo::test
