// What the options of the JSON document do: where references may lead, which certificates and properties are written,
// and the time-stamp behind the signature.
#include "signature/sign/json_support.h"
#include "support/http_server.h"
#include "support/tsa.h"
#include "support/workshop.h"

namespace talvo::test {
namespace {

class JsonOptionTest : public JsonSigning {};

TEST_F(JsonOptionTest, OfflineInAnyCaseForbidsTheNetwork) {
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

TEST_F(JsonOptionTest, BasePathIsWhereRelativeReferencesStart) {
  const Workshop workshop;
  workshop.write("data.bin", "outside");
  const std::string reference = R"({"HashAlgo": "Sha256", "URI": "data.bin"})";
  const std::string base = workshop.path("");
  const Document document = around();
  ASSERT_EQ(sign(document.get(), referring(reference, R"("BasePath": ")" + base + "\"")), 0u);
  uint32_t error = 0;
  EXPECT_EQ(
      talvo_xml_signature_verify_ex(document.get(), str(base).get(), nullptr, 0, nullptr, &error),
      1);
  for (const char *absent : {"", R"("BasePath": 7)", R"("BasePath": null)"}) {
    SCOPED_TRACE(absent);
    EXPECT_EQ(sign(around().get(), referring(reference, absent)), 5u);
  }
}

TEST_F(JsonOptionTest, DigestThatIsGivenIsWrittenUnread) {
  const Document document = around();
  ASSERT_EQ(sign(document.get(), referring(R"({"HashAlgo": "Sha1", "URI": "http://127.0.0.1:1/",
      "HashValue": "000102030405060708090A0b0c0d0e0f10111213"})")),
            0u);
  EXPECT_NE(dump(document.get()).find("<ds:DigestValue>AAECAwQFBgcICQoLDA0ODxAREhM=</"),
            std::string::npos);
}

TEST_F(JsonOptionTest, CertificateOptionReachesKeyInfo) {
  const Certificate certificate = makeChain().certificate();
  for (const auto &[option, certificates, shape] :
       {std::tuple{"None", 0, "| SignedInfo | SignatureValue Object |"},
        {"CertPath", 2, "| SignedInfo | SignatureValue | KeyInfo Object |"}}) {
    SCOPED_TRACE(option);
    const Document document = around("<ds:Object/>");
    XmlNode *signature = findSignature(document.get());
    const std::string asked = parameters(std::string(R"("IncludeCertOption": ")") + option + "\"");
    uint32_t error = 0;
    ASSERT_EQ(talvo_xml_signature_sign_ex(signature, certificate.get(), json(asked).get(), &error),
              1);
    EXPECT_EQ(shapeOf(signature), shape);
    const SignatureRecord record(talvo_xml_decode_signature(signature));
    EXPECT_EQ(talvo_xml_signature_getkeyinfocertcount(record.get()), certificates);
  }
}

TEST_F(JsonOptionTest, KeyUsageIsNotAskedForWhenSigning) {
  const Identity agreement = makeIdentity({.keyUsage = kKeyAgreement});
  const Document document = around();
  EXPECT_EQ(sign(document.get(), parameters(), agreement), 0u);
  EXPECT_EQ(verifyAll(document.get()), 9u);
}

TEST_F(JsonOptionTest, PropertiesAreWrittenAndCoveredByTheirReference) {
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
  EXPECT_EQ(verifyAll(text), 0u);
  const SignatureRecord record(talvo_xml_decode_signature(findSignature(document.get())));
  EXPECT_EQ(talvo_xml_signature_xades_hassigningcertificate(record.get()), 1);
  for (const auto &[get, expected] :
       {std::pair{&talvo_xml_signature_getsignaturevalueid, "sv"},
        {&talvo_xml_signature_xades_getqualifyingpropertiesid, "qp"},
        {&talvo_xml_signature_xades_getsignedpropertiesid, "props"},
        {&talvo_xml_signature_xades_getsignedsignaturepropertiesid, "ssp"}}) {
    EXPECT_EQ(take(get(record.get())), expected);
  }
  EXPECT_EQ(text.find("Nowhere"), std::string::npos) << "the place is set by its setter only";
  const size_t time = text.find("<xa:SigningTime>20") + 18;
  std::string later = text;
  later[time] = later[time] == '9' ? '8' : '9';
  EXPECT_EQ(verifyAll(later), 2u);
}

TEST_F(JsonOptionTest, ProductionPlaceAloneAsksForNothing) {
  const Document document = around();
  ASSERT_EQ(sign(document.get(), parameters(R"("XAdES": {"ProductionPlace": {"City": "X"}})")), 0u);
  EXPECT_EQ(shapeOf(findSignature(document.get())), "| SignedInfo | SignatureValue | KeyInfo |");
}

std::string stamped(const std::string &members) {
  return parameters(R"("XAdES": {"SignatureTimeStamp": {)" + members + "}}");
}

TEST_F(JsonOptionTest, TimeStampIsAddedBehindTheSignature) {
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
    EXPECT_EQ(verifyAll(dump(document.get())), 0u);
    const SignatureRecord record(talvo_xml_decode_signature(findSignature(document.get())));
    EXPECT_EQ(talvo_xml_signature_xades_getsignaturetimestampc14n(record.get(), 0), row.c14nMethod);
    TalvoPKITimeStamp *timeStamp = nullptr;
    EXPECT_EQ(
        talvo_xml_signature_xades_verifysignaturetimestamp(record.get(), 0, nullptr, &timeStamp),
        1);
    TalvoPKIMsgFreeTimeStamp(timeStamp);
  }
}

TEST_F(JsonOptionTest, SignatureStaysWhenItsTimeStampCannotBeHad) {
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
    EXPECT_EQ(verifyAll(dump(document.get())), 0u);
  }
  EXPECT_EQ(authority.requests(), 1) << "what cannot be understood is not asked for";
}

}  // namespace
}  // namespace talvo::test
