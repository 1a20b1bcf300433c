// The documented examples of signing parameters work, and the schema allows what the library allows.
#include <filesystem>
#include <set>

#include "support/corpus.h"
#include "support/json.h"
#include "support/signing.h"

namespace talvo::test {
namespace {

std::filesystem::path docs() {
  return TALVO_DOCS;
}

std::filesystem::path examples() {
  return docs() / "examples";
}

Json member(const Json &object, std::string_view key) {
  return Json(talvo_json_getmember(object.get(), key.data(), key.size()));
}

std::string stringOf(const Json &value) {
  const char *text = nullptr;
  size_t length = 0;
  return talvo_json_getstring(value.get(), &text, &length) == 1 ? std::string(text, length) : "";
}

class JsonExamplesTest : public LibraryTest {
 protected:
  // The document of an example; one without Signature gets an empty one at the end of its root.
  static Document open(const std::string &name) {
    const std::string xml = readFile((examples() / (name + ".xml")).string());
    if (xml.find("Signature") != std::string::npos) {
      return parse(xml);
    }
    const std::string signature = "<ds:Signature xmlns:ds='http://www.w3.org/2000/09/xmldsig#'/>";
    const size_t end = xml.rfind("</");
    return parse(end == std::string::npos
                     ? replaced(xml, "\"/>\n", "\">" + signature + "</Package>")
                     : std::string(xml).insert(end, signature));
  }

  // The parameters of an example, with the folder of the examples as base path.
  static Json parametersOf(const std::string &name) {
    constexpr std::string_view kKey = "BasePath";
    Json parameters = json(readFile((examples() / (name + ".json")).string()));
    const std::string folder = examples().string();
    const Json path(talvo_json_newstring(folder.data(), folder.size()));
    EXPECT_EQ(talvo_json_setmember(parameters.get(), kKey.data(), kKey.size(), path.get()), 1);
    return parameters;
  }

  static uint32_t verify(XmlDoc *document) {
    uint32_t error = 0;
    return talvo_xml_signature_verify_ex(document, str(examples().string()).get(), nullptr, 0,
                                         nullptr, &error) == 1
               ? 0
               : error;
  }

  static void signAndVerify(const std::string &name) {
    const Json parameters = parametersOf(name);
    EXPECT_EQ(talvo_xml_signature_checkparameters(parameters.get(), nullptr), 1);
    const bool isSm2 = stringOf(member(parameters, "SignAlgo")) == "Sm3WithSM2";
    const Chain chain = makeChain(KeyKind::p256, isSm2 ? KeyKind::sm2 : KeyKind::rsa);
    const Certificate signer = chain.certificate();
    const Document document = open(name);
    uint32_t error = 0;
    ASSERT_EQ(talvo_xml_signature_sign_ex(findSignature(document.get()), signer.get(),
                                          parameters.get(), &error),
              1)
        << error;
    const std::string signedText = dump(document.get());
    const Document saved = parse(signedText);
    EXPECT_EQ(verify(saved.get()), 0u);
    const SignatureRecord record(talvo_xml_decode_signature(findSignature(saved.get())));
    talvo_xml_signature_setid(saved.get());
    talvo_xml_signature_setbasepath(record.get(), str(examples().string()).get());
    constexpr uint32_t kFollowManifests = 2;
    EXPECT_EQ(talvo_xml_signature_referencevalidation_ex(record.get(), kFollowManifests, nullptr, 0,
                                                         &error),
              1)
        << error;
    EXPECT_NE(verify(parse(replaced(signedText, "<ds:DigestValue>", "<ds:DigestValue>AAAA")).get()),
              0u);
  }
};

TEST_F(JsonExamplesTest, EveryExampleSignsAndVerifies) {
  int32_t found = 0;
  for (const auto &entry : std::filesystem::directory_iterator(examples())) {
    if (entry.path().extension() == ".json") {
      SCOPED_TRACE(entry.path().filename());
      signAndVerify(entry.path().stem().string());
      ++found;
    }
  }
  EXPECT_EQ(found, 5);
}

// The names that a complaint about an unknown one lists: ... allowed are "A", "B".
std::set<std::string> allowedNames(const std::string &parameters) {
  talvo_ustring *message = nullptr;
  EXPECT_EQ(talvo_xml_signature_checkparameters(json(parameters).get(), &message), 0);
  const UString owner(message);
  const std::string text(viewOf(message));
  std::set<std::string> names;
  const size_t list = text.find("allowed are");
  EXPECT_NE(list, std::string::npos) << text;
  for (size_t at = text.find('"', list); at != std::string::npos; at = text.find('"', at + 1)) {
    const size_t end = text.find('"', at + 1);
    names.insert(text.substr(at + 1, end - at - 1));
    at = end;
  }
  return names;
}

// Each definition of the schema, and parameters with "?" where one of its names stands.
TEST_F(JsonExamplesTest, EnumerationsOfTheSchemaAreWhatTheLibraryAccepts) {
  const Json schema = json(readFile((docs() / "signing-parameters.schema.json").string()));
  const Json definitions = member(schema, "$defs");
  const std::string start = R"({"C14NAlgo": "C14N", "SignAlgo": "Sha256WithRSA", "References": [)";
  const std::string reference = R"({"HashAlgo": "Sha1", "URI": ""})";
  const std::string xades = start + reference + R"(], "XAdES": )";
  const std::string stamp = xades + R"({"SignatureTimeStamp": {"TSA": "http://localhost/", )";
  for (const auto &[definition, parameters] : std::vector<std::pair<std::string, std::string>>{
           {"canonicalization", R"({"C14NAlgo": "?", "C14NParam": ["p"], "SignAlgo":
                "Sha256WithRSA", "References": [)" +
                                    reference + "]}"},
           {"canonicalization", stamp + R"("HashAlgo": "Sha1", "C14NParam": ["p"],
                "C14NAlgo": "?"}}})"},
           {"signatureMethod",
            R"({"C14NAlgo": "C14N", "SignAlgo": "?", "References": [)" + reference + "]}"},
           {"digest", start + R"({"HashAlgo": "?", "URI": ""}]})"},
           {"digest", xades + R"({"SigningCertificate": {"HashAlgo": "?"}}})"},
           {"digest", stamp + R"("HashAlgo": "?"}}})"},
           {"transformMethod", start + R"({"HashAlgo": "Sha1", "URI": "", "Transforms":
                [{"TransformAlgo": "?", "TransformParam": "a/b"}]}]})"},
           {"certificateOption", start + reference + R"(], "IncludeCertOption": "?"})"},
           {"signerOption",
            xades + R"({"SigningCertificate": {"HashAlgo": "Sha1", "IncludeCertOption": "?"}}})"},
       }) {
    SCOPED_TRACE(parameters);
    const Json names = member(member(definitions, definition), "enum");
    std::set<std::string> inSchema;
    for (int32_t index = 0; index < talvo_json_getcount(names.get()); ++index) {
      const std::string name = stringOf(Json(talvo_json_getitem(names.get(), index)));
      inSchema.insert(name);
      talvo_ustring *message = nullptr;
      EXPECT_EQ(talvo_xml_signature_checkparameters(
                    json(replaced(parameters, "\"?\"", "\"" + name + "\"")).get(), &message),
                1)
          << viewOf(UString(message).get());
    }
    EXPECT_FALSE(inSchema.empty());
    EXPECT_EQ(inSchema, allowedNames(parameters));
  }
}

}  // namespace
}  // namespace talvo::test
