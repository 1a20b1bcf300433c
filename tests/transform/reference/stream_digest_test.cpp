#include "support/http_server.h"
#include "support/workshop.h"
#include "transform/reference/dereference.h"
#include "transform/transform_support.h"

namespace talvo::test {
namespace {

constexpr const char *kSha1OfAbc = "qZk+NkcGgWq6PiVxeFDCbJzQ2J0=";

class StreamDigestTest : public LibraryTest {
 protected:
  // The digest of a file by its reference, or "error N"; verifying it must agree.
  static std::string digest(std::string_view uri, const std::string &base, int32_t digestId = 1,
                            uint32_t flags = 0, XmlNode *element = nullptr) {
    talvo_ustring *text = nullptr;
    uint32_t error = 0;
    const UString basePath = base.empty() ? nullptr : str(base);
    const Reach reach{nullptr, element, basePath.get(), flags};
    if (calcOctstreamUriHash(reach, digestId, str(uri).get(), &text, &error) != 1) {
      return "error " + std::to_string(error);
    }
    return take(text);
  }

  static uint32_t verify(std::string_view uri, std::string_view base, std::string_view expected,
                         uint32_t flags = 0, int32_t digestId = 1) {
    uint32_t error = 0;
    const UString basePath = str(base);
    const Bytes octets(reinterpret_cast<const uint8_t *>(expected.data()), expected.size());
    const int32_t result = verifyOctstreamUriHash({nullptr, nullptr, basePath.get(), flags},
                                                  digestId, str(uri).get(), octets, &error);
    EXPECT_EQ(result, error == 0 ? 1 : 0);
    return error;
  }
};

TEST_F(StreamDigestTest, FilesAreDigestedWhereTheyStand) {
  const Workshop shop;
  ASSERT_TRUE(shop.run("mkdir d fol && mkfifo fifo && ln -s /dev/zero zero"));
  shop.write("d/abc", "abc");
  const std::string folder = shop.path("");
  const struct {
    std::string_view uri;
    std::string base;
    int32_t digestId;
    const char *digest;
  } rows[] = {
      {"d/abc", folder, 1, kSha1OfAbc},
      {"abc", "file://" + folder + "d/x.xml", 1, kSha1OfAbc},
      {"d/abc", folder, 2, "error 2"},
      {"d/abc", folder, -1, "error 2"},
      {"none", folder, 1, "error 5"},
      {"none", folder, 2, "error 5"},
      {"fol", folder, 1, "error 5"},
      {"fifo", folder, 1, "error 5"},
      {"zero", folder, 1, "error 5"},
      {"#d", folder, 1, "error 2"},
      {"http://h/", folder, 1, "error 2"},
      {"/d/abc", folder, 1, "error 2"},
      {"d//abc", folder, 1, "error 2"},
      {"d/%zz", folder, 1, "error 2"},
      {"abc", "relative", 1, "error 2"},
      {"abc", "/" + std::string(65536, 'a'), 1, "error 4"},
      {"status", "/proc/self", 1, "error 2"},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(digest(row.uri, row.base, row.digestId), row.digest) << row.base << row.uri;
  }
  const Document document = parse("<a xml:base='" + folder + "d%2F'/>");
  EXPECT_EQ(digest("abc", "/none", 1, 0, talvo_xml_doc_getrootelement(document.get())), kSha1OfAbc);
}

TEST_F(StreamDigestTest, TheNetworkIsNeverUsed) {
  HttpServer server([](const HttpRequest &) { return HttpReply{200, "abc"}; });
  EXPECT_EQ(digest("a", server.url("/")), "error 28");
  EXPECT_EQ(digest("a", server.url("/"), 1, TALVO_DEREFERENCE_NETWORK), "error 2");
  EXPECT_EQ(verify("a", server.url("/"), "x"), 21U);
  EXPECT_EQ(verify("a", server.url("/"), "x", TALVO_DEREFERENCE_NETWORK), 2U);
  EXPECT_EQ(server.requests(), 0);
}

TEST_F(StreamDigestTest, VerifyingComparesLengthAndBytes) {
  const Workshop shop;
  shop.write("abc", "abc");
  const std::string folder = shop.path("");
  uint8_t sha1[64];
  uint32_t error = 0;
  ASSERT_EQ(calchash(1, "abc", 3, sha1, &error), 20);
  std::string expected(reinterpret_cast<const char *>(sha1), 20);
  EXPECT_EQ(verify("abc", folder, expected), 0U);
  EXPECT_EQ(verify("abc", folder, expected.substr(0, 19)), 2U);
  EXPECT_EQ(verify("abc", folder, expected + "x"), 2U);
  EXPECT_EQ(verify("abc", folder, expected, 0, 7), 2U);
  EXPECT_EQ(verify("none", folder, expected), 5U);
  EXPECT_EQ(verify("#x", folder, expected), 2U);
  EXPECT_EQ(verify("abc", std::string_view("/a\0b", 4), expected), 3U);
  expected[0] = static_cast<char>(expected[0] ^ 1);
  EXPECT_EQ(verify("abc", folder, expected), 2U);
}

TEST_F(StreamDigestTest, LongFilesAreReadToTheirEnd) {
  const Workshop shop;
  const std::string content(1000003, 'x');
  shop.write("long", content);
  TransformData *data = talvo_xml_transform_newocts(content.data(), content.size(), 0);
  talvo_ustring *text = nullptr;
  uint32_t error = 0;
  ASSERT_EQ(calcdigestvalue(4, data, &text, &error), 1);
  EXPECT_EQ(digest("long", shop.path(""), 4), take(text));
}

}  // namespace
}  // namespace talvo::test
