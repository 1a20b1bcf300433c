// Signatures that the caller placed and a JSON document describes: what is inserted where, what is refused, and what
// stays when a later step fails.
#include <functional>

#include "base/list.h"
#include "base/utf8.h"
#include "signature/record/record.h"
#include "signature/vocabulary/vocabulary.h"
#include "support/every_allocation_fails.h"
#include "support/http_server.h"
#include "support/json.h"
#include "support/signing.h"
#include "support/tsa.h"
#include "support/workshop.h"

namespace talvo::test {
namespace {

constexpr const char *kSigNs = "http://www.w3.org/2000/09/xmldsig#";

// A parameter document with one enveloped reference and further members.
std::string parameters(const std::string &more = "") {
  return R"({"C14NAlgo": "C14N", "SignAlgo": "Sha256WithRSA", "References": [{"HashAlgo":
      "Sha256", "URI": "", "Transforms": [{"TransformAlgo": "EnvelopedSignature"}]}])" +
         (more.empty() ? "" : ", " + more) + "}";
}

// The same with other references.
std::string referring(const std::string &references, const std::string &more = "") {
  return R"({"C14NAlgo": "C14N", "SignAlgo": "Sha256WithRSA", "References": [)" + references + "]" +
         (more.empty() ? "" : ", " + more) + "}";
}

const char *const kSigningTime = R"("XAdES": {"HasSigningTime": true})";

class JsonSignTest : public LibraryTest {
 protected:
  static const Identity &rsa() {
    static const Identity identity = makeIdentity({.keyUsage = kDigitalSignature});
    return identity;
  }

  // 0 or the error.
  static uint32_t sign(XmlDoc *document, const std::string &text, const Identity &signer = rsa()) {
    const Certificate certificate = signer.certificate();
    uint32_t error = 0;
    const int32_t result = talvo_xml_signature_sign_ex(signatureOf(document), certificate.get(),
                                                       json(text).get(), &error);
    EXPECT_EQ(result == 1, error == 0);
    return error;
  }

  static XmlNode *signatureOf(XmlDoc *document) {
    return talvo_xml_node_findelemnode(document, g_xml_signature_name, g_xml_signature_nsuri);
  }

  // A document around a Signature element with this content and these attributes.
  static Document around(const std::string &content = "", const std::string &attributes = "") {
    return parse("<a><b>text?</b><ds:Signature xmlns:ds='" + std::string(kSigNs) + "'" +
                 attributes + ">" + content + "</ds:Signature></a>");
  }

  static std::string idOf(XmlDoc *document) {
    const UString id(
        talvo_xml_node_getattributevalue(signatureOf(document), g_xml_signature_id, nullptr));
    return id ? std::string(viewOf(id.get())) : "(none)";
  }
};

// The children of the Signature: names of elements, "|" for a line feed, "c" for a comment, other text in quotes.
std::string shapeOf(XmlNode *signature) {
  std::string shape;
  for (XmlNode *child = talvo_xml_node_getchildren(signature); child != nullptr;
       child = talvo_xml_node_getnextsibling(child)) {
    constexpr uint32_t kElement = 1;
    constexpr uint32_t kText = 3;
    const uint32_t type = talvo_xml_node_gettype(child);
    const UString string(type == kText ? talvo_xml_node_getvalue(child)
                                       : talvo_xml_node_getname(child));
    const std::string value(viewOf(string.get()));
    shape += shape.empty() ? "" : " ";
    if (type == kText) {
      shape += value == "\n" ? "|" : "'" + value + "'";
    } else {
      shape += type == kElement ? value : "c";
    }
  }
  return shape;
}

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

TEST_F(JsonSignTest, OfflineInAnyCaseForbidsTheNetwork) {
  HttpServer server([](const HttpRequest &) { return HttpReply{.body = "remote"}; });
  const std::string reference = R"({"HashAlgo": "Sha256", "URI": ")" + server.url("/x") + "\"}";
  for (const char *offline : {"offline", "OFFLINE", "OffLine"}) {
    SCOPED_TRACE(offline);
    EXPECT_EQ(sign(around().get(),
                   referring(reference, std::string(R"("DereferenceFlag": ")") + offline + "\"")),
              28u);
  }
  EXPECT_EQ(server.requests(), 0);
  for (const char *online : {"", R"("DereferenceFlag": "online")", R"("DereferenceFlag": "")",
                             R"("DereferenceFlag": "offline ")", R"("DereferenceFlag": 0)",
                             R"("DereferenceFlag": false)"}) {
    SCOPED_TRACE(online);
    const Document document = around();
    EXPECT_EQ(sign(document.get(), referring(reference, online)), 0u);
    EXPECT_EQ(verifyAll(document.get()), 0u);
  }
}

TEST_F(JsonSignTest, BasePathIsWhereRelativeReferencesStart) {
  const Workshop workshop;
  workshop.write("data.bin", "outside");
  const std::string reference = R"({"HashAlgo": "Sha256", "URI": "data.bin"})";
  const std::string base = workshop.path("");
  const Document document = around();
  ASSERT_EQ(sign(document.get(), referring(reference, R"("BasePath": ")" + base + "\"")), 0u);
  uint32_t error = 0;
  EXPECT_EQ(talvo_xml_signature_verify_ex(document.get(), makeString(base).get(), nullptr, 0,
                                          nullptr, &error),
            1);
  for (const char *absent : {"", R"("BasePath": 7)", R"("BasePath": null)"}) {
    SCOPED_TRACE(absent);
    EXPECT_EQ(sign(around().get(), referring(reference, absent)), 5u);
  }
}

TEST_F(JsonSignTest, DigestThatIsGivenIsWrittenUnread) {
  const Document document = around();
  ASSERT_EQ(sign(document.get(), referring(R"({"HashAlgo": "Sha1", "URI": "http://127.0.0.1:1/",
      "HashValue": "000102030405060708090A0b0c0d0e0f10111213"})")),
            0u);
  EXPECT_NE(dump(document.get()).find("<ds:DigestValue>AAECAwQFBgcICQoLDA0ODxAREhM=</"),
            std::string::npos);
}

TEST_F(JsonSignTest, CertificateOptionsDecideWhatKeyInfoHolds) {
  const Chain chain = makeChain();
  const Certificate certificate = chain.certificate();
  for (const auto &[option, certificates] :
       {std::pair{"None", 0}, {"Self", 1}, {"certpath", 2}, {"CERTPATHWITHROOT", 3}}) {
    SCOPED_TRACE(option);
    const Document document = around("<ds:Object/>");
    uint32_t error = 0;
    ASSERT_EQ(talvo_xml_signature_sign_ex(
                  signatureOf(document.get()), certificate.get(),
                  json(parameters(std::string(R"("IncludeCertOption": ")") + option + "\"")).get(),
                  &error),
              1);
    EXPECT_EQ(shapeOf(signatureOf(document.get())),
              certificates == 0 ? "| SignedInfo | SignatureValue Object |"
                                : "| SignedInfo | SignatureValue | KeyInfo Object |");
    const SignatureRecord record(talvo_xml_decode_signature(signatureOf(document.get())));
    EXPECT_EQ(talvo_xml_signature_getkeyinfocertcount(record.get()), certificates);
  }
}

TEST_F(JsonSignTest, KeyUsageIsNotAskedForWhenSigning) {
  const Identity agreement = makeIdentity({.keyUsage = kKeyAgreement});
  const Document document = around();
  EXPECT_EQ(sign(document.get(), parameters(), agreement), 0u);
  EXPECT_EQ(verifyAll(document.get()), 9u);
}

TEST_F(JsonSignTest, PropertiesAreWrittenAndCoveredByTheirReference) {
  const Document document = around();
  ASSERT_EQ(sign(document.get(), referring(R"({"HashAlgo": "Sha256", "URI": "#props",
                     "Type": "http://uri.etsi.org/01903#SignedProperties"})",
                                           R"("SignatureValueId": "sv", "XAdES": {
                     "HasSigningTime": true, "QualifyingPropertiesId": "qp",
                     "SignedPropertiesId": "props", "SignedSignaturePropertiesId": "ssp",
                     "SigningCertificate": {"HashAlgo": "Sha512"},
                     "ProductionPlace": {"City": "Nowhere"}})")),
            0u);
  const std::string text = dump(document.get());
  EXPECT_EQ(verifyAll(parse(text).get()), 0u);
  const SignatureRecord record(talvo_xml_decode_signature(signatureOf(document.get())));
  EXPECT_EQ(talvo_xml_signature_xades_hassigningcertificate(record.get()), 1);
  struct IdRow {
    talvo_ustring *(*get)(const Signature *);
    const char *expected;
  };
  for (const auto &[get, expected] :
       {IdRow{talvo_xml_signature_getsignaturevalueid, "sv"},
        {talvo_xml_signature_xades_getqualifyingpropertiesid, "qp"},
        {talvo_xml_signature_xades_getsignedpropertiesid, "props"},
        {talvo_xml_signature_xades_getsignedsignaturepropertiesid, "ssp"}}) {
    const UString id(get(record.get()));
    EXPECT_EQ(viewOf(id.get()), expected);
  }
  EXPECT_EQ(text.find("Nowhere"), std::string::npos) << "the place is set by its setter only";
  const size_t time = text.find("<xa:SigningTime>20") + 18;
  std::string later = text;
  later[time] = later[time] == '9' ? '8' : '9';
  EXPECT_EQ(verifyAll(parse(later).get()), 2u);
}

TEST_F(JsonSignTest, ProductionPlaceAloneAsksForNothing) {
  const Document document = around();
  ASSERT_EQ(sign(document.get(), parameters(R"("XAdES": {"ProductionPlace": {"City": "X"}})")), 0u);
  EXPECT_EQ(shapeOf(signatureOf(document.get())), "| SignedInfo | SignatureValue | KeyInfo |");
}

std::string stamped(const std::string &members) {
  return parameters(R"("XAdES": {"SignatureTimeStamp": {)" + members + "}}");
}

TEST_F(JsonSignTest, TimeStampIsAddedBehindTheSignature) {
  const TimeStampAuthority authority;
  const std::string tsa = R"("TSA": ")" + authority.url() + R"(", "HashAlgo": "Sha256")";
  struct Row {
    const char *name;
    std::string members;
    int32_t c14nMethod;
  };
  for (const Row &row :
       {Row{"no method", tsa, -1},
        {"method and Id", tsa + R"(, "C14NAlgo": "C14N11", "Id": "ts")", 6},
        {"exclusive", tsa + R"(, "C14NAlgo": "ExcC14N", "C14NParam": ["ds"])", 3}}) {
    SCOPED_TRACE(row.name);
    const Document document = around();
    ASSERT_EQ(sign(document.get(), stamped(row.members)), 0u);
    EXPECT_EQ(verifyAll(parse(dump(document.get())).get()), 0u);
    const SignatureRecord record(talvo_xml_decode_signature(signatureOf(document.get())));
    EXPECT_EQ(talvo_xml_signature_xades_getsignaturetimestampc14n(record.get(), 0), row.c14nMethod);
    TalvoPKITimeStamp *timeStamp = nullptr;
    EXPECT_EQ(
        talvo_xml_signature_xades_verifysignaturetimestamp(record.get(), 0, nullptr, &timeStamp),
        1);
    TalvoPKIMsgFreeTimeStamp(timeStamp);
  }
}

TEST_F(JsonSignTest, SignatureStaysWhenItsTimeStampCannotBeHad) {
  const TimeStampAuthority authority(TsaMode::rejected);
  const std::string tsa = R"("TSA": ")" + authority.url() + "\"";
  const std::string hash = R"("HashAlgo": "Sha256")";
  for (const std::string &members :
       {hash, tsa, tsa + R"(, "HashAlgo": "MD5")", tsa + R"(, "HashAlgo": 4)",
        R"("TSA": 7, )" + hash, tsa + ", " + hash + R"(, "Id": 7)",
        tsa + ", " + hash + R"(, "C14NAlgo": "C14N2")", tsa + ", " + hash + R"(, "C14NAlgo": 1)",
        tsa + ", " + hash}) {
    SCOPED_TRACE(members);
    const Document document = around();
    EXPECT_EQ(sign(document.get(), stamped(members)), 23u);
    EXPECT_EQ(verifyAll(parse(dump(document.get())).get()), 0u);
  }
  EXPECT_EQ(authority.requests(), 1) << "what cannot be understood is not asked for";
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
