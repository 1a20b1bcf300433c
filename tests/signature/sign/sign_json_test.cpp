// Signatures that the caller placed and a JSON document describes: what is inserted where, what is refused, and what
// stays when a later step fails.
#include "signature/sign/json_support.h"

namespace talvo::test {
namespace {

class JsonSignTest : public JsonSigning {};

TEST_F(JsonSignTest, PartsAreInsertedAtTheirPlaces) {
  struct Row {
    const char *name;
    const char *content;
    const char *plain;       // without XAdES properties
    const char *properties;  // with them
    bool verifies = true;
  };
  for (const Row &row : {
           Row{"empty", "", "| SignedInfo | SignatureValue | KeyInfo |",
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
      EXPECT_EQ(shapeOf(findSignature(document.get())), hasProperties ? row.properties : row.plain);
      EXPECT_EQ(verifyAll(document.get()), row.verifies ? 0u : 17u);
      EXPECT_EQ(verifyAll(dump(document.get())), row.verifies ? 0u : 17u);
    }
  }
}

TEST_F(JsonSignTest, PrefixOfTheCallerIsKept) {
  for (const auto &[xml, opening] : {
           std::pair{"<a><sig:Signature xmlns:sig='http://www.w3.org/2000/09/xmldsig#'/></a>",
                     "<sig:SignedInfo>\n<sig:CanonicalizationMethod"},
           {"<a><Signature xmlns='http://www.w3.org/2000/09/xmldsig#'/></a>",
            "<SignedInfo>\n<CanonicalizationMethod"},
           {"<a xmlns:d='http://www.w3.org/2000/09/xmldsig#'><b><d:Signature/></b></a>",
            "<d:SignedInfo>\n<d:CanonicalizationMethod"},
       }) {
    SCOPED_TRACE(xml);
    const Document document = parse(xml);
    ASSERT_EQ(sign(document.get(), parameters(kSigningTime)), 0u);
    const std::string text = dump(document.get());
    EXPECT_NE(text.find(opening), std::string::npos) << text;
    EXPECT_EQ(verifyAll(text), 0u);
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
    EXPECT_EQ(verifyAll(text), 0u);
    EXPECT_EQ(verifyAll(replaced(text, "Id=\"o\"", "Id=\"o\" MimeType=\"a/b\"")), 2u);
  }
}

TEST_F(JsonSignTest, IdIsReplacedKeptOrMadeWhereItIsNeeded) {
  const std::string withTime = std::string(R"("SignatureId": "new", )") + kSigningTime;
  struct Row {
    const char *attributes;
    std::string more;
    const char *expected;  // "*" for a new one
  };
  for (const auto &[attributes, more, expected] : {Row{"", "", "(null)"},
                                                   {" Id='old'", "", "old"},
                                                   {" Id='old'", kSigningTime, "old"},
                                                   {"", R"("SignatureId": "new")", "new"},
                                                   {" Id='old'", R"("SignatureId": "new")", "new"},
                                                   {" Id='old'", withTime, "new"},
                                                   {"", kSigningTime, "*"}}) {
    SCOPED_TRACE(attributes + more);
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
    EXPECT_EQ(verifyAll(text), 0u);
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

std::string signatureWith(const std::string &content) {
  return "<a><s:Signature xmlns:s='" + textOf(g_xml_signature_nsuri) + "'>" + content +
         "</s:Signature></a>";
}

TEST_F(JsonSignTest, RefusalsHaveTheirCodesAndLeaveTheDocument) {
  const std::string empty = signatureWith("");
  struct Row {
    const char *name;
    uint32_t error;
    std::string xml;
    std::string text;
  };
  for (const Row &row : {
           Row{"SignedInfo is there", 21, signatureWith("<s:SignedInfo/>"), parameters()},
           {"SignedInfo behind an Object is not looked at but", 21,
            signatureWith("<!--c--> <s:KeyInfo/><s:Object/>"), parameters()},
           {"Object of another namespace", 21, signatureWith("<Object/>"), parameters()},
           {"element before parameters", 21, signatureWith("<s:KeyInfo/>"), "[]"},
           {"parameters are no object", 25, empty, "[]"},
           {"parameters are wrong", 25, empty, referring("")},
           {"SignatureId is a number", 25, empty, parameters(R"("SignatureId": 7)")},
           {"SignatureId is null", 25, empty, parameters(R"("SignatureId": null)")},
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
  XmlNode *element = findSignature(document.get());
  const Certificate certificate = anySigner().certificate();
  const Certificate keyless = anySigner().publicCertificate();
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

TEST_F(JsonSignTest, LaterFailuresLeaveWhatWasInserted) {
  struct Row {
    const char *name;
    uint32_t error;
    std::string text;
    const char *left;  // what stays in the document
  };
  for (const Row &row : {
           Row{"method without identifier", 3,
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
  const Document document =
      parse("<a><s:Signature xmlns:s='" + textOf(g_xml_signature_nsuri) +
            "'/><s:Signature xmlns:s='" + textOf(g_xml_signature_nsuri) + "' Id=''/></a>");
  EXPECT_EQ(sign(document.get(), parameters()), 15u);
  EXPECT_NE(dump(document.get()).find("<s:SignatureValue/>"), std::string::npos);
}

}  // namespace
}  // namespace talvo::test
