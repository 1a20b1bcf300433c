#include <filesystem>
#include <fstream>

#include "support/http_server.h"
#include "xml/xml_support.h"

namespace talvo::test {
namespace {

constexpr uint32_t kNoNetwork = 1;
constexpr uint32_t kNoExternals = 2;

class ParseTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    directory_ = std::filesystem::temp_directory_path() /
                 ("talvo_parse_" + std::to_string(reinterpret_cast<uintptr_t>(this)) + "_" +
                  std::to_string(::getpid()));
    std::filesystem::create_directory(directory_);
  }
  void TearDown() override {
    std::filesystem::remove_all(directory_);
    LibraryTest::TearDown();
  }

  std::string write(const std::string &name, std::string_view content) const {
    const std::string path = directory_ / name;
    std::ofstream(path, std::ios::binary) << content;
    return path;
  }

  static Document parseWith(std::string_view xml, uint32_t flags) {
    return Document(talvo_xml_parse_ex(xml.data(), static_cast<int64_t>(xml.size()), flags));
  }
  static bool parses(const std::string &xml) { return parseWith(xml, 0) != nullptr; }

  std::filesystem::path directory_;
};

TEST_F(ParseTest, SizesAreCheckedFirst) {
  for (const int64_t size : {int64_t{0}, int64_t{-1}, int64_t{2147483648}}) {
    EXPECT_EQ(talvo_xml_parse("<a/>", size), nullptr);
  }
  EXPECT_EQ(talvo_xml_parse(nullptr, 4), nullptr);
  EXPECT_EQ(talvo_xml_parse_ex("<a/>", 4, 4), nullptr) << "unknown flag";
}

TEST_F(ParseTest, OnlyWellFormedDocumentsParse) {
  for (const char *xml : {"", " ", "text", "<a>", "<a></b>", "<a/><b/>", "<a k='1' k='2'/>",
                          "<a>&x;</a>", "<a>\x01</a>", "<a>\xFF</a>"}) {
    EXPECT_FALSE(parses(xml)) << xml;
  }
}

TEST_F(ParseTest, EntitiesAndDefaultsAreFilledInAndSpaceIsKept) {
  const Document document =
      parse("<!DOCTYPE a [<!ENTITY e 'x<b/>'><!ATTLIST a d CDATA 'default'>]><a>\n <c/>&e;</a>");
  EXPECT_EQ(dumpElement(talvo_xml_doc_getrootelement(document.get())),
            "<a d=\"default\">\n <c/>x<b/></a>");
}

TEST_F(ParseTest, NestingIsLimited) {
  const auto nested = [](size_t depth) {
    std::string xml;
    for (size_t i = 0; i < depth; ++i) {
      xml += "<a>";
    }
    for (size_t i = 0; i < depth; ++i) {
      xml += "</a>";
    }
    return xml;
  };
  EXPECT_TRUE(parses(nested(257)));
  EXPECT_FALSE(parses(nested(258)));
}

TEST_F(ParseTest, LengthsAreLimitedButThatOfAPlainText) {
  constexpr size_t kMost = 10000000;
  struct Row {
    const char *before;
    const char *after;
    size_t most;
  };
  for (const auto &[before, after, most] : {Row{"<a k='", "'/>", kMost - 9},
                                            {"<a><!--", "--></a>", kMost},
                                            {"<a><?p ", "?></a>", kMost},
                                            {"<a><![CDATA[", "]]></a>", kMost},
                                            {"<a>\xC3\xA9", "</a>", kMost - 2},
                                            {"<", "/>", 50000}}) {
    EXPECT_TRUE(parses(before + std::string(most, 'x') + after)) << before;
    EXPECT_FALSE(parses(before + std::string(most + 1, 'x') + after)) << before;
  }
  EXPECT_TRUE(parses("<a>" + std::string(2 * kMost, 'x') + "</a>"));
}

TEST_F(ParseTest, ANulBehindTheRootEndsTheDocument) {
  const auto parsesWith = [](std::string xml, size_t at) {
    return parses(xml.insert(at, 1, '\0'));
  };
  EXPECT_TRUE(parsesWith("<a/> <b", 4));
  EXPECT_TRUE(parsesWith("<a/><!--c--><b", 12));
  EXPECT_FALSE(parsesWith("<a></a>", 3));
  EXPECT_FALSE(parsesWith("<a/>", 0));
}

// libxml2 would cut the text there and say nothing of what follows, well-formed or not.
TEST_F(ParseTest, ATextThatReachesTheLimitInPiecesIsRefused) {
  std::string pieces;
  while (pieces.size() < 10200000) {
    pieces += std::string(1000, 'x') + "&amp;";
  }
  EXPECT_FALSE(parses("<a>" + pieces + "</a>"));
  EXPECT_TRUE(parses("<a>" + pieces.substr(0, pieces.size() / 2) + "<b/></a>"));
}

TEST_F(ParseTest, EntityBombsAreRefused) {
  std::string xml = "<!DOCTYPE a [<!ENTITY e0 'xxxxxxxxxx'>";
  for (int i = 1; i < 12; ++i) {
    xml += "<!ENTITY e" + std::to_string(i) + " '";
    for (int copy = 0; copy < 10; ++copy) {
      xml += "&e" + std::to_string(i - 1) + ";";
    }
    xml += "'>";
  }
  EXPECT_FALSE(parses(xml + "]><a>&e11;</a>"));
}

TEST_F(ParseTest, ExternalsAreLoadedFromFilesUnlessForbidden) {
  const std::string entity = write("entity.txt", "from file");
  const std::string dtd = write("a.dtd", "<!ATTLIST a k ID #IMPLIED d CDATA 'from dtd'>");
  const std::string parameter = write("parameter.ent", "<!ENTITY general 'declared'>");
  const std::string withDtd = "<!DOCTYPE a SYSTEM '" + dtd + "'><a k='i'/>";
  const std::string withEntity = "<!DOCTYPE a [<!ENTITY e SYSTEM '" + entity + "'>]><a>&e;</a>";
  const std::string unused = "<!DOCTYPE a [<!ENTITY e SYSTEM '" + entity + "'>]><a/>";
  const std::string inAttribute =
      "<!DOCTYPE a [<!ENTITY e SYSTEM '" + entity + "'><!ENTITY f '&e;'>]><a>&f;</a>";
  const std::string withParameter =
      "<!DOCTYPE a [<!ENTITY % p SYSTEM '" + parameter + "'>%p;]><a>&general;</a>";
  struct Row {
    const char *what;
    const std::string &xml;
    const char *open;
    const char *closed;  // without externals; "(null)" where the document is refused
  };
  const Row rows[] = {
      {"DTD", withDtd, "<a k=\"i\" d=\"from dtd\"/>", "<a k=\"i\"/>"},
      {"entity", withEntity, "<a>from file</a>", "(null)"},
      {"entity in an entity", inAttribute, "<a>from file</a>", "(null)"},
      {"entity never used", unused, "<a/>", "<a/>"},
      {"parameter entity", withParameter, "<a>declared</a>", "<a>&general;</a>"},
  };
  for (const Row &row : rows) {
    SCOPED_TRACE(row.what);
    for (const uint32_t flags : {0U, kNoNetwork, kNoExternals, kNoNetwork | kNoExternals}) {
      const Document document = parseWith(row.xml, flags);
      const bool open = (flags & kNoExternals) == 0;
      EXPECT_EQ(dumpElement(talvo_xml_doc_getrootelement(document.get())),
                open ? row.open : row.closed);
    }
  }
}

TEST_F(ParseTest, NetworkIsUsedUnlessForbidden) {
  const HttpServer server([](const HttpRequest &) {
    return HttpReply{200, "<!ATTLIST a d CDATA 'fetched'>", "Content-Type: text/plain\r\n"};
  });
  const std::string xml = "<!DOCTYPE a SYSTEM '" + server.url("/a.dtd") + "'><a/>";
  for (const uint32_t flags : {kNoNetwork, kNoExternals}) {
    const Document document = parseWith(xml, flags);
    EXPECT_EQ(dumpElement(talvo_xml_doc_getrootelement(document.get())), "<a/>");
  }
  const std::string entity =
      "<!DOCTYPE a [<!ENTITY e SYSTEM '" + server.url("/e.ent") + "'>]><a>&e;</a>";
  EXPECT_EQ(parseWith(entity, kNoExternals), nullptr);
  EXPECT_EQ(server.requests(), 0);
  const Document document = parse(xml);
  EXPECT_EQ(dumpElement(talvo_xml_doc_getrootelement(document.get())), "<a d=\"fetched\"/>");
  EXPECT_EQ(server.requests(), 1);
}

TEST_F(ParseTest, FilesAreRead) {
  const Document document(talvo_xml_parsefile(write("a b.xml", "<a/>").c_str()));
  EXPECT_EQ(dump(document.get()), "<a/>\n");
  EXPECT_EQ(talvo_xml_parsefile(write("empty.xml", "").c_str()), nullptr);
  EXPECT_EQ(talvo_xml_parsefile((directory_ / "missing.xml").c_str()), nullptr);
  EXPECT_EQ(talvo_xml_parsefile(directory_.c_str()), nullptr);
  EXPECT_EQ(talvo_xml_parsefile("-"), nullptr) << "standard input is not read";
  EXPECT_EQ(talvo_xml_parsefile(nullptr), nullptr);
}

}  // namespace
}  // namespace talvo::test
