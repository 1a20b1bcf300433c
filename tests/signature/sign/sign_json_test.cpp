// Signatures that the caller placed and a JSON document describes: what is inserted where, what is refused, and what
// stays when a later step fails.
#include "signature/sign/json_support.h"
#include "support/every_allocation_fails.h"

namespace talvo::test {
namespace {

class JsonSignTest : public JsonSigning {};

struct PlaceCase {
  const char *name;
  const char *content;
  const char *plain;       // without XAdES properties
  const char *properties;  // with them
  bool verifies = true;
};

TEST_F(JsonSignTest, PartsAreInsertedAtTheirPlaces) {
  for (const PlaceCase &row : {
           PlaceCase{"empty", "", "| SignedInfo | SignatureValue | KeyInfo |",
                     "| SignedInfo | SignatureValue | KeyInfo | Object |"},
           {"line feed", "\n", "| SignedInfo | SignatureValue | KeyInfo |",
            "| SignedInfo | SignatureValue | KeyInfo | Object |"},
           {"blank", " ", "' ' SignedInfo | SignatureValue | KeyInfo |",
            "' ' SignedInfo | SignatureValue | KeyInfo | Object |"},
           {"comment", "<!--x-->", "c SignedInfo | SignatureValue | KeyInfo |",
            "c SignedInfo | SignatureValue | KeyInfo | Object |"},
           {"two comments", "<!--x--><!--y-->", "c SignedInfo | SignatureValue | KeyInfo c",
            "c SignedInfo | SignatureValue | KeyInfo c Object |"},
           {"Object without white space", "<ds:Object/>",
            "| SignedInfo | SignatureValue | KeyInfo Object |",
            "| SignedInfo | SignatureValue | KeyInfo Object | Object |"},
           {"Object between line feeds", "\n<ds:Object/>\n",
            "| SignedInfo | SignatureValue | KeyInfo Object |",
            "| SignedInfo | SignatureValue | KeyInfo Object | Object |"},
           {"Objects and comments", "<!--x--> <ds:Object/><!--y--><ds:Object/><!--z-->",
            "c SignedInfo | SignatureValue | KeyInfo ' ' Object c Object c",
            "c SignedInfo | SignatureValue | KeyInfo ' ' Object c Object c Object |"},
           {"foreign element behind Objects", "<ds:Object/><x/><ds:Object/>",
            "| SignedInfo | SignatureValue | KeyInfo Object x Object",
            "| SignedInfo | SignatureValue | KeyInfo Object x Object | Object", false},
       }) {
    SCOPED_TRACE(row.name);
    for (const bool hasProperties : {false, true}) {
      const Document document = around(row.content);
      ASSERT_EQ(sign(document.get(), parameters(hasProperties ? kSigningTime : "")), 0u);
      EXPECT_EQ(shapeOf(signatureOf(document.get())), hasProperties ? row.properties : row.plain);
      EXPECT_EQ(verifyAll(document.get()), row.verifies ? 0u : 17u);
      EXPECT_EQ(verifyAll(parse(dump(document.get())).get()), row.verifies ? 0u : 17u);
    }
  }
}

struct NamespaceCase {
  const char *name;
  const char *xml;
  const char *opening;
};

TEST_F(JsonSignTest, PrefixOfTheCallerIsKept) {
  for (const auto &[name, xml, opening] : {
           NamespaceCase{"prefix",
                         "<a><sig:Signature xmlns:sig='http://www.w3.org/2000/09/xmldsig#'/></a>",
                         "<sig:SignedInfo>\n<sig:CanonicalizationMethod"},
           {"default", "<a><Signature xmlns='http://www.w3.org/2000/09/xmldsig#'/></a>",
            "<SignedInfo>\n<CanonicalizationMethod"},
           {"declared above",
            "<a xmlns:d='http://www.w3.org/2000/09/xmldsig#'><b><d:Signature/></b></a>",
            "<d:SignedInfo>\n<d:CanonicalizationMethod"},
       }) {
    SCOPED_TRACE(name);
    const Document document = parse(xml);
    ASSERT_EQ(sign(document.get(), parameters(kSigningTime)), 0u);
    const std::string text = dump(document.get());
    EXPECT_NE(text.find(opening), std::string::npos) << text;
    EXPECT_EQ(verifyAll(parse(text).get()), 0u);
  }
}

TEST_F(JsonSignTest, SignatureMayStandAnywhere) {
  for (const char *xml :
       {"<Signature xmlns='http://www.w3.org/2000/09/xmldsig#'><Object "
        "Id='o'>data</Object></Signature>",
        "<a><b/><Signature xmlns='http://www.w3.org/2000/09/xmldsig#'><Object Id='o'>x</Object>"
        "</Signature><c/></a>",
        "<!-- first --><a><b><c><Signature xmlns='http://www.w3.org/2000/09/xmldsig#'>"
        "<Object Id='o'/></Signature></c></b></a>"}) {
    SCOPED_TRACE(xml);
    const Document document = parse(xml);
    ASSERT_EQ(sign(document.get(), referring(R"({"HashAlgo": "Sha384", "URI": "#o"})")), 0u);
    const std::string text = dump(document.get());
    EXPECT_EQ(verifyAll(parse(text).get()), 0u);
    EXPECT_EQ(verifyAll(parse(replaced(text, "Id=\"o\"", "Id=\"o\" MimeType=\"a/b\"")).get()), 2u);
  }
}

TEST_F(JsonSignTest, EveryMethodOfTheDocumentSigns) {
  struct Row {
    const char *method;
    KeyKind kind;
  };
  for (const auto &[method, kind] : {Row{"Sha1WithRSA", KeyKind::rsa},
                                     {"sha256withrsa", KeyKind::rsa},
                                     {"Sha384WithRSA", KeyKind::rsa},
                                     {"Sha512WithRSA", KeyKind::rsa},
                                     {"DSAWithSha1", KeyKind::dsa},
                                     {"ECDSAWithSha1", KeyKind::p256},
                                     {"ECDSAWithSha224", KeyKind::p224},
                                     {"ECDSAWithSha256", KeyKind::p256},
                                     {"ECDSAWithSha384", KeyKind::p384},
                                     {"ECDSAWithSha512", KeyKind::p521},
                                     {"Sm3WithSM2", KeyKind::sm2}}) {
    SCOPED_TRACE(method);
    const Document document = around();
    const Identity signer = makeIdentity({.kind = kind});
    EXPECT_EQ(sign(document.get(), replaced(parameters(), "Sha256WithRSA", method), signer), 0u);
    EXPECT_EQ(verifyAll(document.get()), 0u);
  }
}

struct IdCase {
  const char *name;
  const char *attributes;
  const char *more;
  const char *expected;  // "*" for a new one
};

TEST_F(JsonSignTest, IdIsReplacedKeptOrMadeWhereItIsNeeded) {
  const std::string withTime = std::string(R"("SignatureId": "new", )") + kSigningTime;
  for (const auto &[name, attributes, more, expected] : {
           IdCase{"none needed", "", "", "(none)"},
           {"kept", " Id='old'", "", "old"},
           {"kept for the properties", " Id='old'", kSigningTime, "old"},
           {"created", "", R"("SignatureId": "new")", "new"},
           {"replaced", " Id='old'", R"("SignatureId": "new")", "new"},
           {"replaced for the properties", " Id='old'", withTime.c_str(), "new"},
           {"made for the properties", "", kSigningTime, "*"},
       }) {
    SCOPED_TRACE(name);
    const Document document = around("", attributes);
    ASSERT_EQ(sign(document.get(), parameters(more)), 0u);
    const std::string id = idOf(document.get());
    if (expected == std::string("*")) {
      EXPECT_EQ(id.size(), 37u) << id;
    } else {
      EXPECT_EQ(id, expected);
    }
    const std::string text = dump(document.get());
    EXPECT_EQ(text.find("Target=\"#" + id + "\"") != std::string::npos,
              text.find("Target=") != std::string::npos);
    EXPECT_EQ(verifyAll(parse(text).get()), 0u);
  }
}

// Nobody may end up with a second Id, whatever stands before the first.
TEST_F(JsonSignTest, IdBehindAnotherAttributeIsFoundToo) {
  for (const char *more : {kSigningTime, R"("SignatureId": "new")"}) {
    SCOPED_TRACE(more);
    const Document document = around("", " x='1' Id='old'");
    ASSERT_EQ(sign(document.get(), parameters(more)), 0u);
    const std::string text = dump(document.get());
    EXPECT_NE(text.find(more == kSigningTime ? " x=\"1\" Id=\"old\">" : " x=\"1\" Id=\"new\">"),
              std::string::npos)
        << text;
  }
}

struct RefusalCase {
  const char *name;
  uint32_t error;
  std::string xml;
  std::string text;
};

std::string signatureWith(const std::string &content) {
  return "<a><s:Signature xmlns:s='" + std::string(kSigNs) + "'>" + content + "</s:Signature></a>";
}

TEST_F(JsonSignTest, RefusalsHaveTheirCodesAndLeaveTheDocument) {
  const std::string empty = signatureWith("");
  for (const RefusalCase &row : {
           RefusalCase{"SignedInfo is there", 21, signatureWith("<s:SignedInfo/>"), parameters()},
           {"SignedInfo behind an Object is not looked at but", 21,
            signatureWith("<!--c--> <s:KeyInfo/><s:Object/>"), parameters()},
           {"Object of another namespace", 21, signatureWith("<Object/>"), parameters()},
           {"parameters are an array", 25, empty, "[]"},
           {"parameters are a string", 25, empty, "\"Sha256WithRSA\""},
           {"parameters are empty", 25, empty, "{}"},
           {"element before parameters", 21, signatureWith("<s:KeyInfo/>"), "[]"},
           {"key in another case", 25, empty, replaced(parameters(), "SignAlgo", "signAlgo")},
           {"unknown method", 25, empty, replaced(parameters(), "Sha256WithRSA", "HmacSha256")},
           {"unknown digest", 25, empty, replaced(parameters(), "\"Sha256\"", "\"MD5\"")},
           {"no references", 25, empty, referring("")},
           {"exclusive without prefixes", 25, empty, replaced(parameters(), "C14N\"", "ExcC14N\"")},
           {"SignatureId is a number", 25, empty, parameters(R"("SignatureId": 7)")},
           {"SignatureId is null", 25, empty, parameters(R"("SignatureId": null)")},
           {"certificate option", 25, empty, parameters(R"("IncludeCertOption": "All")")},
       }) {
    SCOPED_TRACE(row.name);
    const Document document = parse(row.xml);
    const std::string before = dump(document.get());
    EXPECT_EQ(sign(document.get(), row.text), row.error);
    EXPECT_EQ(dump(document.get()), before);
  }
}

TEST_F(JsonSignTest, MissingArgumentsAndKeysAreRefused) {
  const Document document = around();
  const std::string before = dump(document.get());
  XmlNode *element = signatureOf(document.get());
  const Certificate certificate = rsa().certificate();
  const Certificate keyless = rsa().publicCertificate();
  const Json good = json(parameters());
  const Json bad = json("{}");
  struct Row {
    XmlNode *element;
    TalvoPKICert *certificate;
    const talvo_json *parameters;
    uint32_t error;
  };
  for (const auto &[node, cert, text, expected] :
       {Row{nullptr, certificate.get(), good.get(), 1},
        {element, nullptr, good.get(), 1},
        {element, certificate.get(), nullptr, 1},
        {talvo_xml_node_getparent(element), certificate.get(), good.get(), 21},
        {document.get(), certificate.get(), good.get(), 21},
        {element, keyless.get(), good.get(), 24},
        {element, keyless.get(), bad.get(), 24}}) {
    uint32_t error = 0;
    EXPECT_EQ(talvo_xml_signature_sign_ex(node, cert, text, &error), 0);
    EXPECT_EQ(error, expected);
  }
  EXPECT_EQ(talvo_xml_signature_sign_ex(element, certificate.get(), good.get(), nullptr), 0);
  EXPECT_EQ(dump(document.get()), before);
}

struct FailureCase {
  const char *name;
  uint32_t error;
  std::string text;
  const char *left;  // what stays in the document
};

TEST_F(JsonSignTest, LaterFailuresLeaveWhatWasInserted) {
  for (const FailureCase &row : {
           FailureCase{"method without identifier", 3,
                       replaced(parameters(), "Sha256WithRSA", "Sha224WithRSA"),
                       "<ds:Signature xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\">\n</ds:"},
           {"missing target", 5, referring(R"({"HashAlgo": "Sha1", "URI": "#nowhere"})"),
            "<ds:DigestValue/>"},
           {"scheme", 4, referring(R"({"HashAlgo": "Sha1", "URI": "ftp://127.0.0.1/"})"),
            "<ds:DigestValue/>"},
           {"missing file", 5, referring(R"({"HashAlgo": "Sha1", "URI": "no/such/file"})"),
            "<ds:DigestValue/>"},
           {"exclusive transform without prefixes", 3, referring(R"({"HashAlgo": "Sha1", "URI": "",
                          "Transforms": [{"TransformAlgo": "ExcC14N", "TransformParam": 7}]})"),
            "<ds:DigestValue/>"},
           {"transform without result", 13, referring(R"({"HashAlgo": "Sha1", "URI": "",
                          "Transforms": [{"TransformAlgo": "Base64"}]})"),
            "<ds:DigestValue/>"},
           {"method of another key", 1, replaced(parameters(), "Sha256WithRSA", "ECDSAWithSha256"),
            "<ds:SignatureValue/>"},
       }) {
    SCOPED_TRACE(row.name);
    const Document document = around();
    EXPECT_EQ(sign(document.get(), row.text), row.error);
    EXPECT_NE(dump(document.get()).find(row.left), std::string::npos) << dump(document.get());
  }
}

TEST_F(JsonSignTest, AnIdThatCannotBeDeclaredStopsSigning) {
  const Document document = parse("<a><s:Signature xmlns:s='" + std::string(kSigNs) +
                                  "'/><s:Signature xmlns:s='" + kSigNs + "' Id=''/></a>");
  EXPECT_EQ(sign(document.get(), parameters()), 15u);
  EXPECT_NE(dump(document.get()).find("<s:SignatureValue/>"), std::string::npos);
}

TEST_F(JsonSignTest, AFailedAllocationIsAFailure) {
  const Identity quick = makeIdentity({.kind = KeyKind::p256});
  const Certificate certificate = quick.certificate();
  const Json asked = json(replaced(
      parameters(
          R"("XAdES": {"HasSigningTime": true, "SigningCertificate": {"HashAlgo": "Sha1"}})"),
      "Sha256WithRSA", "ECDSAWithSha256"));
  const std::string xml = dump(around("<ds:Object>data</ds:Object>").get());
  everyAllocationFails([&] {
    const Document document(talvo_xml_parse(xml.data(), static_cast<int64_t>(xml.size())));
    uint32_t error = 0;
    return talvo_xml_signature_sign_ex(signatureOf(document.get()), certificate.get(), asked.get(),
                                       &error) == 1;
  });
}

}  // namespace
}  // namespace talvo::test
