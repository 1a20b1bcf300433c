#include "transform/reference/uri.h"

#include "transform/transform_support.h"

namespace talvo::test {
namespace {

using std::string_view_literals::operator""sv;

class UriTest : public MemoryTest {};

std::string built(const char *base, const char *reference) {
  char *path = nullptr;
  return buildfilepath(base, reference, &path) == 1 ? take(path) : "(refused)";
}

TEST_F(UriTest, OnlyPlainRelativeReferencesAreStreamed) {
  for (const std::string_view uri :
       {"a", "a/b.bin", "../a", "./a", "a/b:c", "data#x/f", "a b", "\\a"}) {
    EXPECT_EQ(isOctstreamUri(str(uri).get()), 1) << uri;
  }
  for (const std::string_view uri :
       {""sv, "#id"sv, "#a/b"sv, "a#b"sv, "d/a#b"sv, "/abs"sv, "x:y"sv, "c:\\a"sv, "http://h/a"sv,
        "HTTPS://h/a"sv, "file:///a"sv, "a\0b"sv}) {
    EXPECT_EQ(isOctstreamUri(str(uri).get()), 0) << uri;
  }
  EXPECT_EQ(isOctstreamUri(nullptr), 0);
}

TEST_F(UriTest, PathIsTheReferenceBelowTheBase) {
  const struct {
    const char *base;
    const char *reference;
    const char *path;
  } rows[] = {
      {"/tmp/x", "../y/z.bin", "/tmp/y/z.bin"},
      {"/tmp/x", "../../../z.bin", "/z.bin"},
      {"/tmp/x/", "./a", "/tmp/x/a"},
      {"/tmp/x.xml", "a", "/tmp/x.xml/a"},
      {"/", "a/b", "/a/b"},
      {"/a\\b", "c\\d", "/a/b/c/d"},
      {"/a", "\\etc\\x", "/etc/x"},
      {"/a", "b%20c/%c3%A9", "/a/b c/\xC3\xA9"},
      {"/a%41", "%2e%2e", "/aA/.."},
      {"/a", "..", "/"},
      {"/a", "/", "(refused)"},
      {"/a", "\\", "(refused)"},
      {"/a", "\\\\b", "(refused)"},
      {"/a", "b/", "(refused)"},
      {"/a", "b//c", "(refused)"},
      {"/a", "", "(refused)"},
      {"//a", "b", "(refused)"},
      {"/a//", "b", "(refused)"},
      {"//", "b", "(refused)"},
      {"a", "b", "(refused)"},
      {"c:/a", "b", "(refused)"},
      {"/a", "b%", "(refused)"},
      {"/a", "b%4", "(refused)"},
      {"/a", "b%4g", "(refused)"},
      {"/a", "b%00c", "(refused)"},
      {"/100%", "b", "(refused)"},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(built(row.base, row.reference), row.path) << row.base << " + " << row.reference;
  }
}

TEST_F(UriTest, FileUrlsGiveTheirDecodedPath) {
  EXPECT_EQ(take(getfilenameformurl("file:///tmp/a%20b")), "/tmp/a b");
  EXPECT_EQ(take(getfilenameformurl("FILE://host/p")), "host/p");
  EXPECT_EQ(take(getfilenameformurl("file:/tmp/a")), "(null)");
  EXPECT_EQ(take(getfilenameformurl("file:///a%0")), "(null)");
}

TEST_F(UriTest, BasesAreDecodedToUtf8) {
  EXPECT_EQ(take(fileuri_a2utf8("/tmp/a%20b")), "/tmp/a b");
  EXPECT_EQ(take(fileuri_a2utf8("/tmp/%C3%A9")), "/tmp/\xC3\xA9");
  EXPECT_EQ(take(fileuri_a2utf8("/tmp/%FF")), "(null)");
  EXPECT_EQ(take(fileuri_a2utf8("/tmp/%zz")), "(null)");
}

TEST_F(UriTest, EncodingTakesTextWithAColonForAUri) {
  const std::pair<const char *, const char *> rows[] = {
      {"a b/c", "a%20b/c"},   {"", ""},       {"a/b", "a/b"},
      {"\xC3\xA9", "%C3%A9"}, {"#id", "#id"}, {"http://h/a?b=c", "http://h/a?b=c"},
      {"urn:x", "urn:x"}};
  for (const auto &[text, encoded] : rows) {
    EXPECT_EQ(take(talvo_xml_uri_encode(str(text).get())), encoded) << text;
  }
  EXPECT_EQ(take(talvo_xml_uri_encode(str(std::string_view("a\0b", 3)).get())), "(null)");
  EXPECT_EQ(take(talvo_xml_uri_encode(nullptr)), "(null)");
}

}  // namespace
}  // namespace talvo::test
