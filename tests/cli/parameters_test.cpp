#include "cli/program.h"

namespace talvo::test {
namespace {

class ParametersTest : public ProgramTest {
 protected:
  ParametersTest() { writeIdentity("signer", makeIdentity()); }

  Outcome signWith(const std::string &json, const Arguments &more) {
    write("p.json", json);
    Arguments arguments = signArguments({"--params", "p.json", "-o", "o.xml"});
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run(arguments);
  }

  static constexpr const char *kEnveloped = R"({"C14NAlgo": "C14N", "SignAlgo": "Sha256WithRSA",
    "References": [{"HashAlgo": "Sha256", "URI": "",
                    "Transforms": [{"TransformAlgo": "EnvelopedSignature"}]}]})";
};

TEST_F(ParametersTest, PlaceComesFromTheOptions) {
  write("file.bin", "data");
  const std::string toObject = R"({"C14NAlgo": "C14N", "SignAlgo": "Sha256WithRSA",
    "References": [{"HashAlgo": "Sha256", "URI": "#Object"}]})";
  const std::string toFile = R"({"C14NAlgo": "C14N", "SignAlgo": "Sha256WithRSA",
    "References": [{"HashAlgo": "Sha256", "URI": "file.bin"}]})";
  struct Row {
    const char *name;
    std::string json;
    Arguments options;
    const char *pattern;
  };
  for (const Row &row : std::initializer_list<Row>{
           {"enveloped", kEnveloped, {"in.xml"}, "</ds:Signature></inv:Invoice>\n$"},
           {"into",
            kEnveloped,
            {"--into", "/*/inv:Total", "in.xml"},
            "</ds:Signature></inv:Total>"},
           {"enveloping",
            toObject,
            {"--enveloping", "in.xml"},
            "<ds:Object Id=\"Object\">[[:space:]]*<inv:"},
           {"alone", toFile, {}, "^<\\?xml[^\n]*\n<ds:Signature"},
       }) {
    SCOPED_TRACE(row.name);
    const Outcome outcome = signWith(row.json, row.options);
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_TRUE(matches(read("o.xml"), row.pattern)) << read("o.xml");
    expectRow({"verify", {"verify", "--policy", "plain", "o.xml"}, 0, ": valid", "^$"});
  }
}

TEST_F(ParametersTest, MistakesAreNamedWithTheirPlace) {
  struct Row {
    const char *name;
    std::string json;
    const char *errors;
  };
  std::string deep;
  for (int level = 0; level < 5000; ++level) {
    deep += "[";
  }
  for (const Row &row : std::initializer_list<Row>{
           {"cut short", "{\"C14NAlgo\": ", "p.json:1:[0-9]+: is not JSON"},
           {"line", "{\n\n  \"C14NAlgo\" 1}", "p.json:3:"},
           {"duplicate", "{\"C14NAlgo\": \"C14N\", \"C14NAlgo\": \"C14N\"}", "p.json:1:.*C14NAlgo"},
           {"depth bomb", deep, "p.json:1:"},
           {"not UTF-8", "{\"\xFF\": 1}", "p.json:1:"},
           {"huge number", "{\"C14NAlgo\": 99999999999999999999999999}", "p.json"},
           {"no object", "[]", "p.json: "},
           {"nothing in it", "{}", "p.json: C14NAlgo: "},
           {"wrong type", R"({"C14NAlgo": 1})", "C14NAlgo: .*\"C14N\""},
           {"unknown name", R"({"C14NAlgo": "C14N", "SignAlgo": "Sha256WithRSB"})",
            "SignAlgo: found \"Sha256WithRSB\", allowed are \"Sha1WithRSA\""},
           {"in a list", R"({"C14NAlgo": "C14N", "SignAlgo": "Sha256WithRSA",
             "References": [{"HashAlgo": "Sha256", "URI": ""}, {"HashAlgo": "Md5", "URI": ""}]})",
            "References\\[1\\].HashAlgo: found \"Md5\""},
       }) {
    SCOPED_TRACE(row.name);
    const Outcome outcome = signWith(row.json, {"in.xml"});
    EXPECT_EQ(outcome.status, 2) << outcome.errors;
    EXPECT_TRUE(matches(outcome.errors, row.errors)) << outcome.errors;
    EXPECT_FALSE(exists("o.xml"));
  }
}

TEST_F(ParametersTest, NetworkIsNeverUsed) {
  const Outcome outcome =
      signWith(R"({"C14NAlgo": "C14N", "SignAlgo": "Sha256WithRSA", "DereferenceFlag": "online",
    "References": [{"HashAlgo": "Sha256", "URI": "http://127.0.0.1:1/a"}]})",
               {"in.xml"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_TRUE(matches(outcome.errors, "reference to the network"));
  EXPECT_FALSE(exists("o.xml"));
}

TEST_F(ParametersTest, OptionsThatTheParametersReplaceAreRefused) {
  for (const Arguments &option : {Arguments{"--digest", "SHA-1"}, Arguments{"--signing-time"},
                                  Arguments{"--reference", "#a"}, Arguments{"--manifest"}}) {
    Arguments arguments = option;
    arguments.push_back("in.xml");
    EXPECT_EQ(signWith(kEnveloped, arguments).status, 2) << option[0];
  }
}

}  // namespace
}  // namespace talvo::test
