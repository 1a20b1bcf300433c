#include "cli/program.h"

namespace talvo::test {
namespace {

class ParametersTest : public ProgramTest {
 protected:
  ParametersTest() { writeIdentity("signer", makeIdentity()); }

  // The command that signs by these parameters.
  std::string signBy(const std::string &json, const std::string &more = "in.xml") const {
    write("p.json", json);
    return sign("--params p.json -o o.xml " + more);
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
    std::string json;
    const char *options;
    const char *pattern;
  };
  for (const auto &[json, options, pattern] :
       {Row{kEnveloped, "in.xml", "</ds:Signature></inv:Invoice>\n$"},
        {kEnveloped, "--into /*/inv:Total in.xml", "</ds:Signature></inv:Total>"},
        {toObject, "--enveloping in.xml", "<ds:Object Id=\"Object\">[[:space:]]*<inv:"},
        {toFile, "", "^<\\?xml[^\n]*\n<ds:Signature"}}) {
    SCOPED_TRACE(pattern);
    expectDone(signBy(json, options));
    EXPECT_TRUE(matches(read("o.xml"), pattern)) << read("o.xml");
    expectRow({"verify", "verify --policy plain o.xml", 0, ": valid"});
  }
}

TEST_F(ParametersTest, MistakesAreNamedWithTheirPlace) {
  const std::string deep(5000, '[');
  struct Row {
    const char *name;
    std::string json;
    const char *errors;
  };
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
    expectRefusals({{row.name, signBy(row.json), 2, "^$", row.errors}}, "o.xml");
  }
}

TEST_F(ParametersTest, NetworkIsNeverUsed) {
  const std::string online =
      R"({"C14NAlgo": "C14N", "SignAlgo": "Sha256WithRSA", "DereferenceFlag": "online",
    "References": [{"HashAlgo": "Sha256", "URI": "http://127.0.0.1:1/a"}]})";
  expectRefusals({{"online", signBy(online), 2, "^$", "reference to the network"}}, "o.xml");
}

TEST_F(ParametersTest, OptionsThatTheParametersReplaceAreRefused) {
  for (const std::string option :
       {"--digest SHA-1", "--signing-time", "--reference #a", "--manifest"}) {
    expectRow({option.c_str(), signBy(kEnveloped, option + " in.xml"), 2, "^$", ""});
  }
}

}  // namespace
}  // namespace talvo::test
