// Countersignatures: made over a SignatureValue by its Id, believed only when they really cover it.
#include <functional>

#include <openssl/core_names.h>

#include "signature/xades/xades_support.h"
#include "support/every_allocation_fails.h"
#include "support/json.h"
#include "support/workshop.h"

namespace talvo::test {
namespace {

constexpr const char *kParameters = R"({"C14NAlgo": "C14N", "SignAlgo": "Sha256WithRSA"})";

class CounterSignatureTest : public LibraryTest {
 protected:
  static const Identity &author() {
    static const Identity identity = makeIdentity({.keyUsage = kDigitalSignature});
    return identity;
  }
  static const Identity &witness() {
    static const Identity identity = makeIdentity(
        {.kind = KeyKind::rsaOther, .subject = "/C=DE/CN=Witness", .keyUsage = kNonRepudiation});
    return identity;
  }

  struct Result {
    uint32_t error = 0;  // 0 for success
    XmlNode *element = nullptr;
  };

  static Result counterSign(XmlNode *signature, const Identity &signer,
                            const std::string &parameters = kParameters, int32_t digestMethod = 4,
                            const char *id = nullptr) {
    const Certificate certificate = signer.certificate();
    const Key key(talvo_xml_signature_key_newcert(certificate.get()));
    const Json parsed = json(parameters);
    const UString idString = id == nullptr ? nullptr : makeString(id);
    const std::string before = jsonText(parsed.get());
    Result result;
    const int32_t done =
        talvo_xml_signature_xades_countersign(signature, key.get(), digestMethod, idString.get(),
                                              parsed.get(), &result.element, &result.error);
    EXPECT_EQ(done == 1, result.error == 0);
    EXPECT_EQ(jsonText(parsed.get()), before) << "the caller's parameters stay as they were";
    return result;
  }

  // The subject of the certificate that verified countersignature number `index`; "" when it is not valid.
  static std::string verifiedBy(const Signature *record, int32_t index = 0,
                                const TalvoPKICert *certificate = nullptr) {
    TalvoPKICert *signer = nullptr;
    XmlNode *element = nullptr;
    const int32_t result = talvo_xml_signature_xades_verifycountersignature(
        record, index, certificate, &signer, &element);
    const Certificate owner(signer);
    EXPECT_EQ(result == 1, signer != nullptr);
    const UString subject(TalvoPKICertGetCertStringAttribute(signer, 48));
    return std::string(viewOf(subject.get()));
  }
  static std::string verifiedBy(const SignedDocument &document, int32_t index = 0) {
    return verifiedBy(decode(document).get(), index);
  }
};

struct AcceptedCase {
  const char *name;
  KeyKind kind;
  const char *parameters;
  int32_t digestMethod;
};

TEST_F(CounterSignatureTest, EveryAcceptedDigestAndKeyVerifies) {
  for (const auto &[name, kind, parameters, digestMethod] : {
           AcceptedCase{"SHA-1", KeyKind::rsaOther, kParameters, 1},
           {"SHA-224", KeyKind::rsaOther, kParameters, 3},
           {"SHA-256", KeyKind::rsaOther, kParameters, 4},
           {"SHA-384", KeyKind::rsaOther, kParameters, 5},
           {"SHA-512", KeyKind::rsaOther, kParameters, 6},
           {"SM3 with SM2", KeyKind::sm2, R"({"C14NAlgo": "C14N11", "SignAlgo": "Sm3WithSM2"})", 8},
           {"ECDSA, exclusive", KeyKind::p384,
            R"({"C14NAlgo": "ExcC14N", "C14NParam": ["ds"], "SignAlgo": "ECDSAWithSha384"})", 5},
           {"with properties of its own", KeyKind::rsaOther,
            R"({"C14NAlgo": "C14N", "SignAlgo": "Sha256WithRSA",
                "XAdES": {"HasSigningTime": true, "SignedPropertiesId": "props",
                          "SigningCertificate": {"HashAlgo": "Sha256"}},
                "References": [{"HashAlgo": "Sha256", "URI": "#props"}]})",
            4},
           {"empty list of references", KeyKind::rsaOther,
            R"({"C14NAlgo": "C14N", "SignAlgo": "Sha256WithRSA", "References": []})", 4},
       }) {
    SCOPED_TRACE(name);
    const SignedDocument document = signDocument(author());
    const Identity signer = makeIdentity({.kind = kind, .subject = "/CN=Any"});
    const Result made = counterSign(document.signature, signer, parameters, digestMethod, "cs");
    ASSERT_EQ(made.error, 0u);
    const SignedDocument saved = reparse(document.text());
    EXPECT_EQ(verifyAll(saved.document.get()), 0u);
    EXPECT_EQ(verifiedBy(saved), "CN=Any");
    EXPECT_EQ(talvo_xml_signature_issignaturenode(made.element), 1);
    const UString id(talvo_xml_node_getattributevalue(made.element, g_xml_signature_id, nullptr));
    EXPECT_EQ(viewOf(id.get()), "cs");
  }
}

TEST_F(CounterSignatureTest, ReferenceToTheValueComesLast) {
  const SignedDocument document = signDocument(author(), "<a><b xml:id='b'>text</b></a>");
  const Result made = counterSign(document.signature, witness(), R"({"C14NAlgo": "C14N",
      "SignAlgo": "Sha256WithRSA", "References": [{"HashAlgo": "Sha1", "URI": "#b"}]})");
  ASSERT_EQ(made.error, 0u);
  const SignatureRecord inner(talvo_xml_decode_signature(made.element));
  const auto references = items<Reference>(inner->signedInfo->references);
  ASSERT_EQ(references.size(), 2);
  EXPECT_EQ(viewOf(references[0]->uri.get()), "#b");
  EXPECT_EQ(viewOf(references[1]->uri.get()), "#value");
  EXPECT_EQ(viewOf(references[1]->type.get()), "http://uri.etsi.org/01903#CountersignedSignature");
  EXPECT_EQ(verifiedBy(document), "CN=Witness,C=DE");
  EXPECT_EQ(verifiedBy(reparse(replaced(document.text(), "text", "test"))), "")
      << "the other references count too";
}

TEST_F(CounterSignatureTest, NoLineFeedFollowsTheProperty) {
  const SignedDocument document = signDocument(author());
  ASSERT_EQ(counterSign(document.signature, witness()).error, 0u);
  ASSERT_EQ(counterSign(document.signature, author()).error, 0u);
  const std::string text = document.text();
  EXPECT_EQ(count(text,
                  "<xa:UnsignedSignatureProperties>\n<xa:CounterSignature>\n<ds:Signature>"
                  "\n<ds:SignedInfo>"),
            1);
  EXPECT_EQ(count(text, "</ds:Signature>\n</xa:CounterSignature><xa:CounterSignature>\n"), 1);
  EXPECT_EQ(count(text, "</xa:CounterSignature></xa:UnsignedSignatureProperties>"), 1);
  EXPECT_EQ(verifiedBy(document, 0), "CN=Witness,C=DE");
  EXPECT_EQ(verifiedBy(document, 1), "CN=Signer,O=Talvo Example,C=DE");
  EXPECT_EQ(verifiedBy(document, 2), "");
  EXPECT_EQ(verifiedBy(document, -1), "");
}

TEST_F(CounterSignatureTest, CounterSignatureCanBeCountersigned) {
  const SignedDocument document = signDocument(author());
  const Result first = counterSign(document.signature, witness(), R"({"C14NAlgo": "C14N",
      "SignAlgo": "Sha256WithRSA", "SignatureValueId": "witnessed"})");
  ASSERT_EQ(first.error, 0u);
  ASSERT_EQ(counterSign(first.element, author()).error, 0u);
  const SignedDocument saved = reparse(document.text());
  EXPECT_EQ(verifyAll(saved.document.get()), 0u);
  const SignatureRecord outer = decode(saved);
  const SignatureRecord inner(
      talvo_xml_decode_signature(talvo_xml_signature_xades_getcountersignature(outer.get(), 0)));
  EXPECT_EQ(verifiedBy(inner.get()), "CN=Signer,O=Talvo Example,C=DE");
}

// What a call is given; the defaults make a valid one.
struct Call {
  XmlNode *signature;
  const SignatureKey *key;
  int32_t digestMethod;
  const talvo_json *parameters;

  // The error, after checks that nothing else has happened.
  uint32_t refused(const SignedDocument &document) const {
    const std::string before = document.text();
    XmlNode *element = nullptr;
    uint32_t error = 0;
    EXPECT_EQ(talvo_xml_signature_xades_countersign(signature, key, digestMethod, nullptr,
                                                    parameters, &element, &error),
              0);
    EXPECT_EQ(element, nullptr);
    EXPECT_EQ(document.text(), before);
    return error;
  }
};

struct RefusalCase {
  const char *name;
  uint32_t error;
  std::function<void(Call &)> change;
};

TEST_F(CounterSignatureTest, ArgumentsThatAreRefusedLeaveTheDocument) {
  const SignedDocument document = signDocument(author());
  const Certificate certificate = witness().certificate();
  const Key key(talvo_xml_signature_key_newcert(certificate.get()));
  const PublicKey publicKey(TalvoPKICertGetCertPublicKey(certificate.get(), 0x10000002));
  const Key bareKey(talvo_xml_signature_key_newpubkey(publicKey.get()));
  const Key secret = makeHmacKey({});
  const Json good = json(kParameters);
  const Json array = json("[1]");
  const Json badReferences = json(R"({"C14NAlgo": "C14N", "References": {}})");
  XmlNode *root = talvo_xml_doc_getrootelement(document.document.get());
  const std::vector<RefusalCase> rows = {
      {"no key", 1, [](Call &call) { call.key = nullptr; }},
      {"no signature", 1, [](Call &call) { call.signature = nullptr; }},
      {"no parameters", 1, [](Call &call) { call.parameters = nullptr; }},
      {"another element", 21, [&](Call &call) { call.signature = root; }},
      {"element before parameters", 21,
       [&](Call &call) {
         call.signature = root;
         call.parameters = array.get();
       }},
      {"parameters are no object", 25, [&](Call &call) { call.parameters = array.get(); }},
      {"MD5", 1, [](Call &call) { call.digestMethod = 2; }},
      {"RIPEMD-160", 1, [](Call &call) { call.digestMethod = 7; }},
      {"digest 0", 1, [](Call &call) { call.digestMethod = 0; }},
      {"digest -1", 1, [](Call &call) { call.digestMethod = -1; }},
      {"bare public key", 1, [&](Call &call) { call.key = bareKey.get(); }},
      {"HMAC secret", 1, [&](Call &call) { call.key = secret.get(); }},
      {"References are no array", 1, [&](Call &call) { call.parameters = badReferences.get(); }},
  };
  for (const RefusalCase &row : rows) {
    SCOPED_TRACE(row.name);
    Call call{document.signature, key.get(), 4, good.get()};
    row.change(call);
    EXPECT_EQ(call.refused(document), row.error);
  }
  EXPECT_EQ(talvo_xml_signature_xades_countersign(document.signature, key.get(), 4, nullptr,
                                                  good.get(), nullptr, nullptr),
            0);
  EXPECT_EQ(findXades(document.signature, "CounterSignature"), nullptr);
}

struct DocumentCase {
  const char *name;
  uint32_t error;
  const char *start;  // what takes the place of the start of SignatureValue
};

// Only the first attribute is looked at, so an Id behind another one does not count.
TEST_F(CounterSignatureTest, SignatureValueNeedsAnIdAtTheFirstPlace) {
  const std::string original = signDocument(author()).text();
  const Certificate certificate = witness().certificate();
  const Key key(talvo_xml_signature_key_newcert(certificate.get()));
  const Json good = json(kParameters);
  for (const auto &[name, error, start] :
       {DocumentCase{"no Id", 26, "<ds:SignatureValue>"},
        {"behind another attribute", 26, "<ds:SignatureValue x=\"1\" Id=\"value\">"},
        {"in a namespace", 26, "<ds:SignatureValue xmlns:n=\"urn:n\" n:Id=\"value\">"},
        {"no SignatureValue", 21, "<ds:Value/><ds:SignatureValue xmlns:ds=\"urn:other\">"}}) {
    SCOPED_TRACE(name);
    const SignedDocument document =
        reparse(replaced(original, "<ds:SignatureValue Id=\"value\">", start));
    const int32_t unusableDigest = 2;  // would be found out only later
    EXPECT_EQ((Call{document.signature, key.get(), unusableDigest, good.get()}).refused(document),
              error);
  }
}

TEST_F(CounterSignatureTest, TheIdMustLeadToTheValueThatIsCountersigned) {
  const std::string once = signDocument(author()).text();
  SignedDocument document = reparse(once);
  const SignedInfoContext context = makeContext({});
  talvo_xml_signature_signedinfoctx_setsignaturevalueid(context.get(), makeString("value").get());
  XmlNode *second = signWith(author(), document.document.get(), context.get()).element;
  ASSERT_NE(second, nullptr);
  const std::string before = document.text();
  EXPECT_EQ(counterSign(second, witness()).error, 26U) << "the first value has that Id";
  EXPECT_EQ(document.text(), before);
  EXPECT_EQ(counterSign(document.signature, witness()).error, 0U);
  // Moved to the second signature, the countersignature still covers the value of the first.
  std::string moved = document.text();
  const size_t from = moved.find("<ds:Object>");
  const std::string object = moved.substr(from, moved.find("</ds:Object>") + 12 - from);
  moved.erase(from, object.size());
  SignedDocument other = reparse(moved.insert(moved.rfind("</ds:Signature>"), object));
  const List signatures = [&] {
    talvo_arraylist *found = nullptr;
    talvo_xml_node_findsignature(other.document.get(), &found);
    return List(found);
  }();
  ASSERT_EQ(items<XmlNode>(signatures).size(), 3);
  other.signature = items<XmlNode>(signatures)[1];
  ASSERT_NE(decode(other), nullptr);
  EXPECT_EQ(verifiedBy(other), "");
}

struct FailureCase {
  const char *name;
  uint32_t error;
  const char *parameters;
  const char *left;  // what stays of the new signature
};

TEST_F(CounterSignatureTest, FailedSigningLeavesTheCounterSignature) {
  for (const auto &[name, error, parameters, left] : {
           FailureCase{"unreadable parameters", 25, "{}", "<ds:Signature/>"},
           {"missing target", 5,
            R"({"C14NAlgo": "C14N", "SignAlgo": "Sha256WithRSA",
                "References": [{"HashAlgo": "Sha1", "URI": "#nowhere"}]})",
            "<ds:DigestValue/>"},
           {"method of another key", 1, R"({"C14NAlgo": "C14N", "SignAlgo": "ECDSAWithSha256"})",
            "<ds:SignatureValue/>"},
       }) {
    SCOPED_TRACE(name);
    const SignedDocument document = signDocument(author());
    const Result result = counterSign(document.signature, witness(), parameters);
    EXPECT_EQ(result.error, error);
    ASSERT_NE(result.element, nullptr);
    EXPECT_NE(elementText(talvo_xml_node_getparent(result.element)).find(left), std::string::npos);
  }
  const SignedDocument document = signDocument(author());
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
SignedDocument counterSignedOver(const Identity &author, const Identity &witness,
                                 const std::string &references) {
  SignedDocument document = reparse(replaced(
      signDocument(author, "<a><b xml:id='b'>text</b></a>").text(), "</ds:Signature>",
      std::string("<ds:Object><xa:QualifyingProperties xmlns:xa='") + kXadesNs +
          "'><xa:UnsignedProperties><xa:UnsignedSignatureProperties><xa:CounterSignature>"
          "<ds:Signature/></xa:CounterSignature></xa:UnsignedSignatureProperties>"
          "</xa:UnsignedProperties></xa:QualifyingProperties></ds:Object></ds:Signature>"));
  XmlNode *inner = talvo_xml_node_getchildren(findXades(document.signature, "CounterSignature"));
  const Certificate certificate = witness.certificate();
  uint32_t error = 0;
  EXPECT_EQ(talvo_xml_signature_sign_ex(
                inner, certificate.get(),
                json(R"({"C14NAlgo": "C14N", "SignAlgo": "Sha256WithRSA", "References": [)" +
                     references + "]}")
                    .get(),
                &error),
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
    const SignedDocument document = counterSignedOver(author(), witness(), row.references);
    EXPECT_EQ(verifyAll(document.document.get()), 0u) << "a valid signature in any case";
    EXPECT_EQ(verifiedBy(document), row.verifies ? "CN=Witness,C=DE" : "");
  }
}

// Modulus and exponent of an RSA key as a KeyValue.
std::string rsaKeyValue(const Identity &signer) {
  std::string text = "<ds:KeyValue><ds:RSAKeyValue>";
  for (const auto &[name, parameter] :
       {std::pair{"Modulus", OSSL_PKEY_PARAM_RSA_N}, {"Exponent", OSSL_PKEY_PARAM_RSA_E}}) {
    BIGNUM *number = nullptr;
    EXPECT_EQ(EVP_PKEY_get_bn_param(evpKey(signer.kind), parameter, &number), 1);
    std::vector<uint8_t> bytes(static_cast<size_t>(BN_num_bytes(number)));
    BN_bn2bin(number, bytes.data());
    BN_free(number);
    char *encoded = nullptr;
    EXPECT_EQ(talvo_base64_encode(bytes.data(), bytes.size(), 4, &encoded, nullptr), 1);
    const TextBuffer owner(encoded);
    text += std::string("<ds:") + name + ">" + encoded + "</ds:" + name + ">";
  }
  return text + "</ds:RSAKeyValue></ds:KeyValue>";
}

TEST_F(CounterSignatureTest, WhatCannotBeCheckedIsNoCounterSignature) {
  const SignedDocument made = signDocument(author());
  ASSERT_EQ(counterSign(made.signature, witness()).error, 0u);
  const std::string original = made.text();
  const size_t inner = original.find("<xa:CounterSignature>");
  const auto withKeyInfo = [&](const std::string &content) {
    return original.substr(0, inner) +
           withContent(original.substr(inner), "<ds:KeyInfo>", "</ds:KeyInfo>", content);
  };
  const auto inInner = [&](const std::string &from, const std::string &to) {
    return original.substr(0, inner) + replaced(original.substr(inner), from, to);
  };
  const Certificate own = witness().publicCertificate();
  const Certificate foreign = author().publicCertificate();
  const Certificate mayNotSign = makeIdentity({.keyUsage = kKeyAgreement}).publicCertificate();
  const std::string signer = "CN=Witness,C=DE";
  struct Row {
    const char *name;
    std::string xml;
    const TalvoPKICert *certificate;
    std::string expected;
  };
  for (const Row &row : {
           Row{"untouched", original, nullptr, signer},
           {"another SignatureValue than was countersigned",
            withContent(original, "<ds:SignatureValue Id=\"value\">", "</ds:SignatureValue>",
                        "AAAA"),
            nullptr, ""},
           {"SignedInfo changed", inInner("URI=\"#value\"", "URI=\"#value\" Id=\"r\""), nullptr,
            ""},
           {"not decodable", inInner("<ds:KeyInfo>", "<ds:Unknown/><ds:KeyInfo>"), nullptr, ""},
           {"value without Id", replaced(original, " Id=\"value\"", ""), nullptr, ""},
           {"bare public key", withKeyInfo(rsaKeyValue(witness())), nullptr, ""},
           {"no key", withKeyInfo("<ds:KeyName>w</ds:KeyName>"), nullptr, ""},
           {"key handed over", withKeyInfo("<ds:KeyName>w</ds:KeyName>"), own.get(), signer},
           {"another key handed over", withKeyInfo("<ds:KeyName>w</ds:KeyName>"), foreign.get(),
            ""},
           {"own key beside a foreign one", original, foreign.get(), signer},
           {"certificate that may not sign", original, mayNotSign.get(), ""},
       }) {
    SCOPED_TRACE(row.name);
    const SignedDocument document = reparse(row.xml);
    const SignatureRecord record = decode(document);
    ASSERT_TRUE(record);
    EXPECT_EQ(verifiedBy(record.get(), 0, row.certificate), row.expected);
  }
}

TEST_F(CounterSignatureTest, ArgumentsOfVerificationAreRequired) {
  const SignedDocument document = signDocument(author());
  ASSERT_EQ(counterSign(document.signature, witness()).error, 0u);
  const SignatureRecord record = decode(document);
  TalvoPKICert *signer = nullptr;
  XmlNode *element = nullptr;
  EXPECT_EQ(
      talvo_xml_signature_xades_verifycountersignature(nullptr, 0, nullptr, &signer, &element), 0);
  EXPECT_EQ(
      talvo_xml_signature_xades_verifycountersignature(record.get(), 0, nullptr, nullptr, &element),
      0);
  EXPECT_EQ(
      talvo_xml_signature_xades_verifycountersignature(record.get(), 0, nullptr, &signer, nullptr),
      0);
  ASSERT_EQ(
      talvo_xml_signature_xades_verifycountersignature(record.get(), 0, nullptr, &signer, &element),
      1);
  const Certificate owner(signer);
  EXPECT_EQ(element, talvo_xml_signature_xades_getcountersignature(record.get(), 0));
}

TEST_F(CounterSignatureTest, BasePathOfTheSignatureHoldsForItsCounterSignature) {
  const Workshop workshop;
  workshop.write("contract.txt", "agreed");
  const std::string folder = workshop.path("");
  const SignedDocument document = signDocument(author());
  const Result made =
      counterSign(document.signature, witness(),
                  R"({"C14NAlgo": "C14N", "SignAlgo": "Sha256WithRSA", "BasePath": ")" + folder +
                      R"(", "References": [{"HashAlgo": "Sha256", "URI": "contract.txt"}]})");
  ASSERT_EQ(made.error, 0u);
  const SignatureRecord record = decode(document);
  EXPECT_EQ(verifiedBy(record.get()), "");
  ASSERT_EQ(talvo_xml_signature_setbasepath(record.get(), makeString(folder).get()), 1);
  EXPECT_EQ(verifiedBy(record.get()), "CN=Witness,C=DE");
  workshop.write("contract.txt", "agreee");
  EXPECT_EQ(verifiedBy(record.get()), "");
}

TEST_F(CounterSignatureTest, AFailedAllocationIsAFailure) {
  const std::string original = signDocument(author()).text();
  const Identity quick = makeIdentity({.kind = KeyKind::p256});
  const Certificate certificate = quick.certificate();
  const Key key(talvo_xml_signature_key_newcert(certificate.get()));
  const Json parameters = json(R"({"C14NAlgo": "C14N", "SignAlgo": "ECDSAWithSha256"})");
  everyAllocationFails([&] {
    const Document document(
        talvo_xml_parse(original.data(), static_cast<int64_t>(original.size())));
    uint32_t error = 0;
    return talvo_xml_signature_xades_countersign(firstSignature(document.get()), key.get(), 4,
                                                 nullptr, parameters.get(), nullptr, &error) == 1;
  });
  const SignedDocument made = reparse(original);
  ASSERT_EQ(counterSign(made.signature, witness()).error, 0u);
  const SignatureRecord record = decode(made);
  everyAllocationFails([&] {
    TalvoPKICert *signer = nullptr;
    XmlNode *element = nullptr;
    const int32_t result = talvo_xml_signature_xades_verifycountersignature(
        record.get(), 0, nullptr, &signer, &element);
    const Certificate owner(signer);
    return result == 1;
  });
}

}  // namespace
}  // namespace talvo::test
