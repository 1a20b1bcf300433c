// Verification: who may verify what, and which code says why not.
#include "support/contexts.h"
#include "support/signing.h"

namespace talvo::test {
namespace {

constexpr const char *kDocument = "<a xmlns='urn:a'><b xml:id='b'>text</b></a>";

class VerifyTest : public LibraryTest {
 protected:
  // A signed document as text.
  static std::string signedText(const Identity &signer, const SignaturePlan &plan = {}) {
    const Document document = parse(kDocument);
    EXPECT_TRUE(signPlan(signer, document.get(), plan));
    return dump(document.get());
  }

  static SignatureRecord decodeFirst(XmlDoc *document) {
    talvo_xml_signature_setid(document);
    return SignatureRecord(talvo_xml_decode_signature(findSignature(document)));
  }

  static uint32_t validateValue(Signature *signature) {
    uint32_t error = 0;
    return talvo_xml_signature_signaturevalidation(signature, nullptr, &error) == 1 ? 0 : error;
  }
};

TEST_F(VerifyTest, TamperingHasItsCode) {
  const std::string original = signedText(anySigner());
  const auto in = [&](const std::string &from, const std::string &to) {
    return replaced(original, from, to);
  };
  struct Row {
    const char *name;
    std::string xml;
    uint32_t error;
  };
  for (const Row &row : {
           Row{"untouched", original, 0},
           {"content", in("text", "Text"), 2},
           {"white space in SignedInfo", in("<ds:SignedInfo>", "<ds:SignedInfo> "), 1},
           {"comment in SignedInfo", in("<ds:SignedInfo>", "<ds:SignedInfo><!---->"), 0},
           {"digest method", in("xmlenc#sha256", "xmlenc#sha512"), 1},
           {"C14N method", in("xml-c14n-20010315", "nothing"), 8},
           {"minimal C14N", in("TR/2001/REC-xml-c14n-20010315", "2000/09/xmldsig#minimal"), 8},
           {"unknown method", in("rsa-sha256", "rsa-sha99"), 11},
           {"method never computed", in("rsa-sha256", "esign-sha256"), 11},
           {"method of another family", in("rsa-sha256", "ecdsa-sha256"), 9},
           {"no KeyInfo", without(original, "<ds:KeyInfo>", "</ds:KeyInfo>"), 9},
           {"empty value", without(original, "<ds:SignatureValue>", "</ds:SignatureValue>"), 17},
           {"no signature", without(original, "<ds:Signature", "</ds:Signature>"), 16},
           {"foreign element", in("</ds:KeyInfo>", "</ds:KeyInfo><x/>"), 17},
       }) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(verifyAll(row.xml), row.error);
  }
}

TEST_F(VerifyTest, EveryKindOfAddedCertificateIsTriedByItsMerits) {
  const Document document =
      parse(without(signedText(anySigner()), "<ds:KeyInfo>", "</ds:KeyInfo>"));
  const Certificate own = anySigner().publicCertificate();
  const Certificate foreign = makeIdentity({.kind = KeyKind::rsaOther}).publicCertificate();
  const Certificate elliptic = makeIdentity({.kind = KeyKind::p256}).publicCertificate();
  const Certificate agreement =
      makeIdentity({.keyUsage = kKeyAgreement | kKeyEncipherment}).publicCertificate();
  const SignatureRecord signature = decodeFirst(document.get());
  EXPECT_EQ(talvo_xml_signature_addcert(signature.get(), agreement.get()), 0);
  EXPECT_EQ(validateValue(signature.get()), 9u);
  EXPECT_EQ(talvo_xml_signature_addcert(signature.get(), elliptic.get()), 1);
  EXPECT_EQ(validateValue(signature.get()), 9u) << "a key of another family is no candidate";
  EXPECT_EQ(talvo_xml_signature_addcert(signature.get(), foreign.get()), 1);
  EXPECT_EQ(validateValue(signature.get()), 1u);
  EXPECT_EQ(talvo_xml_signature_addcert(signature.get(), own.get()), 1);
  SignatureKey *key = nullptr;
  uint32_t error = 0;
  ASSERT_EQ(talvo_xml_signature_signaturevalidation(signature.get(), &key, &error), 1);
  const Key owner(key);
  EXPECT_EQ(key->type, 4u);
  EXPECT_TRUE(Certificate(talvo_xml_signature_getsigncert(signature.get())));
}

TEST_F(VerifyTest, KeyValuesCountForMethodsOfTheirFamilyOnly) {
  const std::string zero =
      "<ds:KeyValue><ds:RSAKeyValue><ds:Modulus>AA==</ds:Modulus><ds:Exponent>AQAB</ds:Exponent>"
      "</ds:RSAKeyValue></ds:KeyValue>";
  for (const KeyKind kind : {KeyKind::rsa, KeyKind::dsa, KeyKind::p256}) {
    const std::string text =
        signedText(makeIdentity({.kind = kind}), {.signatureMethod = methodFor(kind)});
    const auto verify = [&](const std::string &keyInfo) {
      return verifyAll(withContent(text, "<ds:KeyInfo>", "</ds:KeyInfo>", keyInfo));
    };
    for (const KeyKind other : {KeyKind::rsa, KeyKind::dsa}) {
      SCOPED_TRACE(methodFor(kind) * 100 + methodFor(other));
      EXPECT_EQ(verify(keyValueXml(other)), kind == other ? 0u : 9u);
      EXPECT_EQ(verify(keyValueXml(other) + between(text, "<ds:KeyInfo>", "</ds:KeyInfo>")), 0u);
    }
    EXPECT_EQ(verify(zero), 9u);
    EXPECT_EQ(verify(keyValueXml(KeyKind::rsaOther)), kind == KeyKind::rsa ? 1u : 9u);
  }
}

TEST_F(VerifyTest, KeysComeInDocumentOrderAndNotAtAllAfterAFailure) {
  const Identity elliptic = makeIdentity({.kind = KeyKind::p256});
  const Document document = parse(kDocument);
  const SignaturePlan plan{.references = {{"#b"}}};
  ASSERT_TRUE(signPlan(anySigner(), document.get(), plan));
  ASSERT_TRUE(signPlan(elliptic, document.get(), {.references = {{"#b"}}, .signatureMethod = 75}));
  talvo_arraylist *list = nullptr;
  uint32_t error = 0;
  ASSERT_EQ(talvo_xml_signature_verify(document.get(), nullptr, 0, &list, &error), 1);
  const List keys(list);
  ASSERT_EQ(talvo_arraylist_getcount(keys.get()), 2);
  for (const auto &[index, type] : {std::pair{0, 1}, {1, 4}}) {
    const Certificate certificate(
        talvo_xml_signature_key_getcert(items<SignatureKey>(keys)[index]));
    int32_t keyType = 0;
    EXPECT_EQ(TalvoPKICertGetCertIntegerAttribute(certificate.get(), 4, &keyType), 1);
    EXPECT_EQ(keyType, type);
  }
  const Document broken = parse(replaced(dump(document.get()), "text", "t"));
  EXPECT_EQ(talvo_xml_signature_verify(broken.get(), nullptr, 0, &list, &error), 0);
  EXPECT_EQ(list, nullptr);
}

// The value of a document whose RSA signature stands in for an HMAC one is never right, so a real MAC is computed here.
std::string hmacDocument(const std::string &method, const std::string &length,
                         const std::string &value) {
  return "<Signature "
         "xmlns='http://www.w3.org/2000/09/xmldsig#'><SignedInfo><CanonicalizationMethod "
         "Algorithm='http://www.w3.org/TR/2001/REC-xml-c14n-20010315'/><SignatureMethod "
         "Algorithm='http://www.w3.org/" +
         method + "'>" + length +
         "</SignatureMethod><Reference URI='#o'><DigestMethod "
         "Algorithm='http://www.w3.org/2000/09/xmldsig#sha1'/>"
         "<DigestValue>AAAAAAAAAAAAAAAAAAAAAAAAAAA=</DigestValue></Reference></"
         "SignedInfo><SignatureValue>" +
         value + "</SignatureValue><Object Id='o'/></Signature>";
}

// The first octets of the MAC over SignedInfo of a document.
std::string macOf(XmlDoc *document, int32_t algorithm, size_t octets) {
  const Blob canonical(talvo_xml_c14nnode(findDs(document, "SignedInfo"), 1, nullptr));
  const Bytes bytes = bytesOf(canonical.get());
  const Handle<TalvoPKIMac, TalvoPKICryptoFreeMac> mac(TalvoPKICryptoNewMac(algorithm, "key", 3));
  uint8_t *value = nullptr;
  size_t length = 0;
  EXPECT_EQ(TalvoPKICryptoMacUpdate(mac.get(), bytes.data(), bytes.size()), 1);
  EXPECT_EQ(TalvoPKICryptoMacFinal(mac.get(), &value, &length), 1);
  const CryptoBytes owner(value);
  return base64(textOf({value, octets}));
}

TEST_F(VerifyTest, HmacIsComparedOverItsRecordedLength) {
  const std::string sha1 = "2000/09/xmldsig#hmac-sha1";
  const auto bits = [](const std::string &number) {
    return "<HMACOutputLength>" + number + "</HMACOutputLength>";
  };
  struct Row {
    const char *name;
    std::string method;
    std::string length;
    size_t octets;  // of the MAC that are written
    uint32_t error;
  };
  for (const Row &row : {Row{"whole", sha1, "", 20, 0},
                         {"truncated", sha1, bits("80"), 10, 0},
                         {"longer than recorded", sha1, bits("80"), 12, 1},
                         {"shorter than recorded", sha1, bits("80"), 9, 1},
                         {"one octet", sha1, bits(" 8"), 1, 0},
                         {"bits beyond octets", sha1, bits("156"), 19, 0},
                         {"RIPEMD-160", "2001/04/xmldsig-more#hmac-ripemd160", "", 20, 10}}) {
    SCOPED_TRACE(row.name);
    const std::string mac =
        macOf(parse(hmacDocument(row.method, row.length, "AAAA")).get(), 0x40000, row.octets);
    const Document document = parse(hmacDocument(row.method, row.length, mac));
    const SignatureRecord signature = decodeFirst(document.get());
    ASSERT_TRUE(signature);
    EXPECT_EQ(validateValue(signature.get()), 9u) << "no key yet";
    ASSERT_EQ(talvo_xml_signature_sethmackey(signature.get(), "kex", 3), 1);
    EXPECT_NE(validateValue(signature.get()), 0u);
    ASSERT_EQ(talvo_xml_signature_sethmackey(signature.get(), "key", 3), 1);
    EXPECT_EQ(validateValue(signature.get()), row.error);
  }
}

TEST_F(VerifyTest, ValuesOfTheWrongShapeAreInvalid) {
  struct Row {
    KeyKind kind;
    size_t octets;
  };
  for (const auto &[kind, octets] : {Row{KeyKind::dsa, 41},
                                     {KeyKind::dsa, 40},
                                     {KeyKind::p256, 63},
                                     {KeyKind::p256, 64},
                                     {KeyKind::p256, 2},
                                     {KeyKind::rsa, 1},
                                     {KeyKind::sm2, 64}}) {
    SCOPED_TRACE(octets);
    const std::string original =
        signedText(makeIdentity({.kind = kind}), {.signatureMethod = methodFor(kind)});
    EXPECT_EQ(verifyAll(withContent(original, "<ds:SignatureValue>", "</ds:SignatureValue>",
                                    base64(std::string(octets, '\x7f')))),
              1u);
  }
}

TEST_F(VerifyTest, ReferencesAloneSayWhatIsWrongWithThem) {
  const Document document = parse(signedText(anySigner(), {.references = {{"", {{48}}}, {"#b"}}}));
  const SignatureRecord signature = decodeFirst(document.get());
  const auto references = items<Reference>(signature->signedInfo->references);
  uint32_t error = 0;
  EXPECT_EQ(talvo_xml_signature_verifyref(references[1]->element, nullptr, 0, &error), 1);
  EXPECT_EQ(talvo_xml_signature_verifyref(signature->element, nullptr, 0, &error), 0);
  EXPECT_EQ(error, 19u);
  EXPECT_EQ(talvo_xml_signature_verifyref(nullptr, nullptr, 0, &error), 0);
  EXPECT_EQ(error, 6u);
  EXPECT_EQ(talvo_xml_signature_referencevalidation(signature.get(), nullptr, 0, nullptr), 0);
  EXPECT_EQ(take(talvo_xml_signature_calref(references[1]->element, 0, nullptr, &error)),
            base64(textOf(references[1]->digestValue->value)));
  const Document bare = parse(without(dump(document.get()), " URI=\"", "\""));
  for (XmlNode *element : {signature->element, findDs(bare.get(), "Reference")}) {
    error = 0;
    EXPECT_EQ(talvo_xml_signature_calref(element, 0, nullptr, &error), nullptr);
    EXPECT_EQ(error, 27u);
  }
}

TEST_F(VerifyTest, SigningCertificateMustMatchTheKeyThatVerified) {
  const auto build = [](const Identity &signer) {
    const SignedInfoContext context = makeContext({.references = {{"#b"}}});
    talvo_xml_signature_signedinfoctx_xades_setsigningcertificateinfo(context.get(), 4, 2);
    const Document document = parse(kDocument);
    EXPECT_TRUE(signWith(signer, document.get(), context.get()));
    return dump(document.get());
  };
  const std::string original = build(anySigner());
  EXPECT_EQ(verifyAll(original), 0u);
  // An equal digest with another serial number is refused; a digest of another length too.
  EXPECT_EQ(verifyAll(replaced(original, "<ds:X509SerialNumber>", "<ds:X509SerialNumber>1")), 23u);
  EXPECT_EQ(verifyAll(replaced(original, "CN=Signer", "CN=Other")), 23u);
  EXPECT_EQ(verifyAll(replaced(original, "xmlenc#sha256", "xmlenc#sha512",
                               original.find("<xa:CertDigest>"))),
            23u);
}

}  // namespace
}  // namespace talvo::test
