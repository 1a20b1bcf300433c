// Countersignatures: made over a SignatureValue by its Id, believed only when they really cover it.
#include <functional>

#include "signature/vocabulary/algorithm.h"
#include "signature/xades/xades_support.h"
#include "support/json.h"
#include "support/workshop.h"

namespace talvo::test {
namespace {

constexpr const char *kParameters = R"({"C14NAlgo": "C14N", "SignAlgo": "Sha256WithRSA"})";

// The same with references.
std::string referring(const std::string &references) {
  return R"({"C14NAlgo": "C14N", "SignAlgo": "Sha256WithRSA", "References": )" + references + "}";
}

class CounterSignatureTest : public LibraryTest {
 protected:
  static const Identity &witness() {
    static const Identity identity = makeIdentity(
        {.kind = KeyKind::rsaOther, .subject = "/C=DE/CN=Witness", .keyUsage = kNonRepudiation});
    return identity;
  }

  struct Result {
    uint32_t error = 0;  // 0 for success
    XmlNode *element = nullptr;
  };

  static Result counterSign(XmlNode *signature, const Identity &signer = witness(),
                            const std::string &parameters = kParameters, int32_t digestMethod = 4,
                            const char *id = nullptr) {
    const Certificate certificate = signer.certificate();
    const Key key(talvo_xml_signature_key_newcert(certificate.get()));
    const Json parsed = json(parameters);
    const UString idString = id == nullptr ? nullptr : str(id);
    const std::string before = jsonText(parsed.get());
    Result result;
    const int32_t done =
        talvo_xml_signature_xades_countersign(signature, key.get(), digestMethod, idString.get(),
                                              parsed.get(), &result.element, &result.error);
    EXPECT_EQ(done == 1, result.error == 0);
    EXPECT_EQ(jsonText(parsed.get()), before) << "the caller's parameters stay as they were";
    return result;
  }

  // The subject of the certificate that verified countersignature number `index`; "(null)" when it is not valid.
  static std::string verifiedBy(const Signature *record, int32_t index = 0,
                                const TalvoPKICert *certificate = nullptr) {
    TalvoPKICert *signer = nullptr;
    XmlNode *element = nullptr;
    const int32_t result = talvo_xml_signature_xades_verifycountersignature(
        record, index, certificate, &signer, &element);
    const Certificate owner(signer);
    EXPECT_EQ(result == 1, signer != nullptr);
    return take(TalvoPKICertGetCertStringAttribute(signer, 48));
  }
  static std::string verifiedBy(const SignedDocument &document, int32_t index = 0) {
    return verifiedBy(document.record().get(), index);
  }
};

TEST_F(CounterSignatureTest, EveryDigestThatIsComputedCanBeUsed) {
  for (int32_t number = -1; number <= 10; ++number) {
    SCOPED_TRACE(number);
    const DigestAlgorithm *digest = digestByNumber(number);
    const bool isComputed = digest != nullptr && digest->length != 0;
    const SignedDocument document = signDocument();
    const Result made = counterSign(document.signature, witness(), kParameters, number);
    EXPECT_EQ(made.error, isComputed ? 0u : 1u);
    EXPECT_EQ(verifiedBy(document), isComputed ? "CN=Witness,C=DE" : "(null)");
  }
}

TEST_F(CounterSignatureTest, KeysAndParametersOfManyKindsVerify) {
  struct Row {
    KeyKind kind;
    std::string parameters;
    int32_t digestMethod = 4;
  };
  for (const auto &[kind, parameters, digestMethod] : {
           Row{KeyKind::sm2, R"({"C14NAlgo": "C14N11", "SignAlgo": "Sm3WithSM2"})", 8},
           {KeyKind::p384,
            R"({"C14NAlgo": "ExcC14N", "C14NParam": ["ds"], "SignAlgo": "ECDSAWithSha384"})", 5},
           {KeyKind::rsaOther, R"({"C14NAlgo": "C14N", "SignAlgo": "Sha256WithRSA",
                "XAdES": {"HasSigningTime": true, "SignedPropertiesId": "props",
                          "SigningCertificate": {"HashAlgo": "Sha256"}},
                "References": [{"HashAlgo": "Sha256", "URI": "#props"}]})"},
           {KeyKind::rsaOther, referring("[]")},
       }) {
    SCOPED_TRACE(parameters);
    const SignedDocument document = signDocument();
    const Identity signer = makeIdentity({.kind = kind, .subject = "/CN=Any"});
    const Result made = counterSign(document.signature, signer, parameters, digestMethod, "cs");
    ASSERT_EQ(made.error, 0u);
    const SignedDocument saved = reparse(document.text());
    EXPECT_EQ(verifyAll(saved.document.get()), 0u);
    EXPECT_EQ(verifiedBy(saved), "CN=Any");
    EXPECT_EQ(talvo_xml_signature_issignaturenode(made.element), 1);
    EXPECT_EQ(take(talvo_xml_node_getattributevalue(made.element, g_xml_signature_id, nullptr)),
              "cs");
  }
}

TEST_F(CounterSignatureTest, ReferenceToTheValueComesLast) {
  const SignedDocument document = signDocument(anySigner(), "<a><b xml:id='b'>text</b></a>");
  const Result made = counterSign(document.signature, witness(),
                                  referring(R"([{"HashAlgo": "Sha1", "URI": "#b"}])"));
  ASSERT_EQ(made.error, 0u);
  const SignatureRecord inner(talvo_xml_decode_signature(made.element));
  const auto references = items<Reference>(inner->signedInfo->references);
  ASSERT_EQ(references.size(), 2);
  EXPECT_EQ(viewOf(references[0]->uri.get()), "#b");
  EXPECT_EQ(viewOf(references[1]->uri.get()), "#value");
  EXPECT_EQ(viewOf(references[1]->type.get()), "http://uri.etsi.org/01903#CountersignedSignature");
  EXPECT_EQ(verifiedBy(document), "CN=Witness,C=DE");
  EXPECT_EQ(verifiedBy(reparse(replaced(document.text(), "text", "test"))), "(null)")
      << "the other references count too";
}

TEST_F(CounterSignatureTest, NoLineFeedFollowsTheProperty) {
  const SignedDocument document = signDocument();
  ASSERT_EQ(counterSign(document.signature).error, 0u);
  ASSERT_EQ(counterSign(document.signature, anySigner()).error, 0u);
  const std::string text = document.text();
  EXPECT_EQ(count(text,
                  "<xa:UnsignedSignatureProperties>\n<xa:CounterSignature>\n<ds:Signature>"
                  "\n<ds:SignedInfo>"),
            1);
  EXPECT_EQ(count(text, "</ds:Signature>\n</xa:CounterSignature><xa:CounterSignature>\n"), 1);
  EXPECT_EQ(count(text, "</xa:CounterSignature></xa:UnsignedSignatureProperties>"), 1);
  EXPECT_EQ(verifiedBy(document, 0), "CN=Witness,C=DE");
  EXPECT_EQ(verifiedBy(document, 1), "CN=Signer,O=Talvo Example,C=DE");
  EXPECT_EQ(verifiedBy(document, 2), "(null)");
  EXPECT_EQ(verifiedBy(document, -1), "(null)");
}

TEST_F(CounterSignatureTest, CounterSignatureCanBeCountersigned) {
  const SignedDocument document = signDocument();
  const Result first = counterSign(document.signature, witness(), R"({"C14NAlgo": "C14N",
      "SignAlgo": "Sha256WithRSA", "SignatureValueId": "witnessed"})");
  ASSERT_EQ(first.error, 0u);
  ASSERT_EQ(counterSign(first.element, anySigner()).error, 0u);
  const SignedDocument saved = reparse(document.text());
  EXPECT_EQ(verifyAll(saved.document.get()), 0u);
  const SignatureRecord outer = saved.record();
  const SignatureRecord inner(
      talvo_xml_decode_signature(talvo_xml_signature_xades_getcountersignature(outer.get(), 0)));
  EXPECT_EQ(verifiedBy(inner.get()), "CN=Signer,O=Talvo Example,C=DE");
}

// What a call is given; the defaults make a valid one.
struct Call {
  XmlNode *signature;
  const SignatureKey *key;
  int32_t digestMethod = 4;
  std::string parameters = kParameters;

  // The error, after checks that nothing else has happened.
  uint32_t refused(const SignedDocument &document) const {
    const std::string before = document.text();
    XmlNode *element = nullptr;
    uint32_t error = 0;
    const Json parsed = parameters.empty() ? nullptr : json(parameters);
    EXPECT_EQ(talvo_xml_signature_xades_countersign(signature, key, digestMethod, nullptr,
                                                    parsed.get(), &element, &error),
              0);
    EXPECT_EQ(element, nullptr);
    EXPECT_EQ(document.text(), before);
    return error;
  }
};

TEST_F(CounterSignatureTest, ArgumentsThatAreRefusedLeaveTheDocument) {
  const SignedDocument document = signDocument();
  const Certificate certificate = witness().certificate();
  const Key key(talvo_xml_signature_key_newcert(certificate.get()));
  const PublicKey publicKey(TalvoPKICertGetCertPublicKey(certificate.get(), 0x10000002));
  const Key bareKey(talvo_xml_signature_key_newpubkey(publicKey.get()));
  const Key secret = makeHmacKey({});
  XmlNode *signature = document.signature;
  XmlNode *root = rootOf(document.document);
  struct Row {
    const char *name;
    uint32_t error;
    Call call;
  };
  for (const Row &row :
       {Row{"no key", 1, {signature, nullptr}},
        {"no signature", 1, {nullptr, key.get()}},
        {"no parameters", 1, {signature, key.get(), 4, ""}},
        {"another element", 21, {root, key.get()}},
        {"element before parameters", 21, {root, key.get(), 4, "[1]"}},
        {"parameters are no object", 25, {signature, key.get(), 4, "[1]"}},
        {"bare public key", 1, {signature, bareKey.get()}},
        {"HMAC secret", 1, {signature, secret.get()}},
        {"References are no array", 1, {signature, key.get(), 4, referring("{}")}}}) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(row.call.refused(document), row.error);
  }
  EXPECT_EQ(talvo_xml_signature_xades_countersign(signature, key.get(), 4, nullptr,
                                                  json(kParameters).get(), nullptr, nullptr),
            0);
  EXPECT_EQ(findXades(signature, "CounterSignature"), nullptr);
}

// Only the first attribute is looked at, so an Id behind another one does not count.
TEST_F(CounterSignatureTest, SignatureValueNeedsAnIdAtTheFirstPlace) {
  const std::string original = signDocument().text();
  const Certificate certificate = witness().certificate();
  const Key key(talvo_xml_signature_key_newcert(certificate.get()));
  for (const auto &[error, start] :
       {std::pair{26u, "<ds:SignatureValue>"},
        {26u, "<ds:SignatureValue x=\"1\" Id=\"value\">"},
        {26u, "<ds:SignatureValue xmlns:n=\"urn:n\" n:Id=\"value\">"},
        {21u, "<ds:Value/><ds:SignatureValue xmlns:ds=\"urn:other\">"}}) {
    SCOPED_TRACE(start);
    const SignedDocument document =
        reparse(replaced(original, "<ds:SignatureValue Id=\"value\">", start));
    const int32_t unusableDigest = 2;  // would be found out only later
    EXPECT_EQ((Call{document.signature, key.get(), unusableDigest}).refused(document), error);
  }
}

TEST_F(CounterSignatureTest, TheIdMustLeadToTheValueThatIsCountersigned) {
  const SignedDocument document = reparse(signDocument().text());
  XmlNode *second = signPlan(anySigner(), document.document.get(), {.valueId = "value"}).element;
  ASSERT_NE(second, nullptr);
  const std::string before = document.text();
  EXPECT_EQ(counterSign(second).error, 26U) << "the first value has that Id";
  EXPECT_EQ(document.text(), before);
  EXPECT_EQ(counterSign(document.signature).error, 0U);
  // Moved to the second signature, the countersignature still covers the value of the first.
  const std::string object =
      "<ds:Object>" + between(document.text(), "<ds:Object>", "</ds:Object>") + "</ds:Object>";
  std::string moved = replaced(document.text(), object, "");
  SignedDocument other = reparse(moved.insert(moved.rfind("</ds:Signature>"), object));
  other.signature = find(other.document.get(), "*[local-name()='Signature'][2]");
  ASSERT_NE(other.record(), nullptr);
  EXPECT_EQ(talvo_xml_signature_xades_getcountersignaturecount(other.record().get()), 1);
  EXPECT_EQ(verifiedBy(other), "(null)");
}

TEST_F(CounterSignatureTest, FailedSigningLeavesTheCounterSignature) {
  struct Row {
    const char *name;
    uint32_t error;
    std::string parameters;
    const char *left;  // what stays of the new signature
  };
  for (const auto &[name, error, parameters, left] :
       {Row{"unreadable parameters", 25, "{}", "<ds:Signature/>"},
        {"missing target", 5, referring(R"([{"HashAlgo": "Sha1", "URI": "#nowhere"}])"),
         "<ds:DigestValue/>"},
        {"method of another key", 1, R"({"C14NAlgo": "C14N", "SignAlgo": "ECDSAWithSha256"})",
         "<ds:SignatureValue/>"}}) {
    SCOPED_TRACE(name);
    const SignedDocument document = signDocument();
    const Result result = counterSign(document.signature, witness(), parameters);
    EXPECT_EQ(result.error, error);
    ASSERT_NE(result.element, nullptr);
    EXPECT_NE(elementText(talvo_xml_node_getparent(result.element)).find(left), std::string::npos);
  }
  const SignedDocument document = signDocument();
  const Certificate keyless = witness().publicCertificate();
  const Key key(talvo_xml_signature_key_newcert(keyless.get()));
  uint32_t error = 0;
  EXPECT_EQ(talvo_xml_signature_xades_countersign(document.signature, key.get(), 4, nullptr,
                                                  json(kParameters).get(), nullptr, &error),
            0);
  EXPECT_EQ(error, 24u);
  EXPECT_EQ(count(document.text(), "<xa:CounterSignature>\n<ds:Signature/>\n</xa:Counter"), 1);
}

// A CounterSignature that was placed and signed by hand, over what the parameters list.
SignedDocument counterSignedOver(const Identity &witness, const std::string &references) {
  SignedDocument document =
      withUnsigned(signDocument(anySigner(), "<a><b xml:id='b'>text</b></a>").text(),
                   "<x:CounterSignature><ds:Signature/></x:CounterSignature>");
  XmlNode *inner = talvo_xml_node_getchildren(findXades(document.signature, "CounterSignature"));
  const Certificate certificate = witness.certificate();
  uint32_t error = 0;
  EXPECT_EQ(talvo_xml_signature_sign_ex(inner, certificate.get(),
                                        json(referring("[" + references + "]")).get(), &error),
            1)
      << error;
  return document;
}

TEST_F(CounterSignatureTest, OnlyAReferenceToThisValueMakesACounterSignature) {
  struct Row {
    const char *name;
    std::string references;
    bool verifies;
  };
  const std::string elsewhere = R"({"HashAlgo": "Sha256", "URI": "#b"})";
  const std::string value = R"({"HashAlgo": "Sha256", "URI": "#value"})";
  const std::string pointer = R"J({"HashAlgo": "Sha256", "URI": "#xpointer(id('value'))"})J";
  for (const Row &row : {Row{"the value", value, true},
                         {"among others", elsewhere + "," + value + "," + value, true},
                         {"elsewhere", elsewhere, false},
                         {"the value in another way", pointer, false}}) {
    SCOPED_TRACE(row.name);
    const SignedDocument document = counterSignedOver(witness(), row.references);
    EXPECT_EQ(verifyAll(document.document.get()), 0u) << "a valid signature in any case";
    EXPECT_EQ(verifiedBy(document), row.verifies ? "CN=Witness,C=DE" : "(null)");
  }
}

TEST_F(CounterSignatureTest, WhatCannotBeCheckedIsNoCounterSignature) {
  const SignedDocument made = signDocument();
  ASSERT_EQ(counterSign(made.signature).error, 0u);
  const std::string original = made.text();
  const size_t inner = original.find("<xa:CounterSignature>");
  const auto withKeyInfo = [&](const std::string &content) {
    return withContent(original, "<ds:KeyInfo>", "</ds:KeyInfo>", content, inner);
  };
  const auto inInner = [&](const std::string &from, const std::string &to) {
    return replaced(original, from, to, inner);
  };
  const Certificate own = witness().publicCertificate();
  const Certificate foreign = anySigner().publicCertificate();
  const Certificate mayNotSign = makeIdentity({.keyUsage = kKeyAgreement}).publicCertificate();
  const std::string signer = "CN=Witness,C=DE";
  struct Row {
    const char *name;
    std::string xml;
    std::string expected;
    const TalvoPKICert *certificate = nullptr;
  };
  for (const Row &row : {
           Row{"untouched", original, signer},
           {"another SignatureValue than was countersigned",
            withContent(original, "<ds:SignatureValue Id=\"value\">", "</ds:SignatureValue>",
                        "AAAA"),
            "(null)"},
           {"SignedInfo changed", inInner("URI=\"#value\"", "URI=\"#value\" Id=\"r\""), "(null)"},
           {"not decodable", inInner("<ds:KeyInfo>", "<ds:Unknown/><ds:KeyInfo>"), "(null)"},
           {"value without Id", replaced(original, " Id=\"value\"", ""), "(null)"},
           {"bare public key", withKeyInfo(keyValueXml(KeyKind::rsaOther)), "(null)"},
           {"no key", withKeyInfo("<ds:KeyName>w</ds:KeyName>"), "(null)"},
           {"key handed over", withKeyInfo("<ds:KeyName>w</ds:KeyName>"), signer, own.get()},
           {"another key handed over", withKeyInfo("<ds:KeyName>w</ds:KeyName>"), "(null)",
            foreign.get()},
           {"own key beside a foreign one", original, signer, foreign.get()},
           {"certificate that may not sign", original, "(null)", mayNotSign.get()},
       }) {
    SCOPED_TRACE(row.name);
    const SignedDocument document = reparse(row.xml);
    const SignatureRecord record = document.record();
    ASSERT_TRUE(record);
    EXPECT_EQ(verifiedBy(record.get(), 0, row.certificate), row.expected);
  }
}

TEST_F(CounterSignatureTest, ArgumentsOfVerificationAreRequired) {
  const SignedDocument document = signDocument();
  ASSERT_EQ(counterSign(document.signature).error, 0u);
  const SignatureRecord record = document.record();
  TalvoPKICert *signer = nullptr;
  XmlNode *element = nullptr;
  const auto verify = talvo_xml_signature_xades_verifycountersignature;
  EXPECT_EQ(verify(nullptr, 0, nullptr, &signer, &element), 0);
  EXPECT_EQ(verify(record.get(), 0, nullptr, nullptr, &element), 0);
  EXPECT_EQ(verify(record.get(), 0, nullptr, &signer, nullptr), 0);
  ASSERT_EQ(verify(record.get(), 0, nullptr, &signer, &element), 1);
  const Certificate owner(signer);
  EXPECT_EQ(element, talvo_xml_signature_xades_getcountersignature(record.get(), 0));
}

TEST_F(CounterSignatureTest, BasePathOfTheSignatureHoldsForItsCounterSignature) {
  const Workshop workshop;
  workshop.write("contract.txt", "agreed");
  const std::string folder = workshop.path("");
  const SignedDocument document = signDocument();
  const Result made =
      counterSign(document.signature, witness(),
                  R"({"C14NAlgo": "C14N", "SignAlgo": "Sha256WithRSA", "BasePath": ")" + folder +
                      R"(", "References": [{"HashAlgo": "Sha256", "URI": "contract.txt"}]})");
  ASSERT_EQ(made.error, 0u);
  const SignatureRecord record = document.record();
  EXPECT_EQ(verifiedBy(record.get()), "(null)");
  ASSERT_EQ(talvo_xml_signature_setbasepath(record.get(), makeString(folder).get()), 1);
  EXPECT_EQ(verifiedBy(record.get()), "CN=Witness,C=DE");
  workshop.write("contract.txt", "agreee");
  EXPECT_EQ(verifiedBy(record.get()), "(null)");
}

}  // namespace
}  // namespace talvo::test
