// Verification: who may verify what, and which code says why not.
#include <functional>

#include <gtest/gtest.h>

#include "base/utf8.h"
#include "signature/record/record.h"
#include "signature/vocabulary/vocabulary.h"
#include "support/signing.h"

namespace talvo::test {
namespace {

constexpr const char *kDocument = "<a xmlns='urn:a'><b xml:id='b'>text</b></a>";

class VerifyTest : public LibraryTest {
 protected:
  static const Identity &rsa() {
    static const Identity identity = makeIdentity({.keyUsage = kDigitalSignature});
    return identity;
  }

  // A signed document as text.
  static std::string signedText(const Identity &signer, const SignaturePlan &plan = {}) {
    const Document document = parse(kDocument);
    EXPECT_TRUE(signPlan(signer, document.get(), plan));
    return dump(document.get());
  }

  static SignatureRecord decodeFirst(XmlDoc *document) {
    talvo_xml_signature_setid(document);
    return SignatureRecord(talvo_xml_decode_signature(
        talvo_xml_node_findelemnode(document, g_xml_signature_name, g_xml_signature_nsuri)));
  }

  static uint32_t validateValue(Signature *signature) {
    uint32_t error = 0;
    return talvo_xml_signature_signaturevalidation(signature, nullptr, &error) == 1 ? 0 : error;
  }
};

struct TamperCase {
  const char *name;
  std::function<std::string(std::string)> change;
  uint32_t error;
};

// Removes from the text everything from `begin` up to and with `end`.
std::string without(std::string in, const std::string &begin, const std::string &end) {
  const size_t from = in.find(begin);
  const size_t to = in.find(end, from) + end.size();
  return in.erase(from, to - from);
}

TEST_F(VerifyTest, TamperingHasItsCode) {
  const std::string original = signedText(rsa());
  const std::vector<TamperCase> rows = {
      {"untouched", [](std::string in) { return in; }, 0},
      {"content", [](std::string in) { return replaced(in, "text", "Text"); }, 2},
      {"white space in SignedInfo",
       [](std::string in) { return replaced(in, "<ds:SignedInfo>", "<ds:SignedInfo> "); }, 1},
      {"comment in SignedInfo",
       [](std::string in) { return replaced(in, "<ds:SignedInfo>", "<ds:SignedInfo><!---->"); }, 0},
      {"digest method",
       [](std::string in) { return replaced(in, "xmlenc#sha256", "xmlenc#sha512"); }, 1},
      {"C14N method", [](std::string in) { return replaced(in, "xml-c14n-20010315", "nothing"); },
       8},
      {"minimal C14N",
       [](std::string in) {
         return replaced(in, "TR/2001/REC-xml-c14n-20010315", "2000/09/xmldsig#minimal");
       },
       8},
      {"unknown method", [](std::string in) { return replaced(in, "rsa-sha256", "rsa-sha99"); },
       11},
      {"method never computed",
       [](std::string in) { return replaced(in, "rsa-sha256", "esign-sha256"); }, 11},
      {"method of another family",
       [](std::string in) { return replaced(in, "rsa-sha256", "ecdsa-sha256"); }, 9},
      {"no KeyInfo", [](std::string in) { return without(in, "<ds:KeyInfo>", "</ds:KeyInfo>"); },
       9},
      {"empty value",
       [](std::string in) { return without(in, "<ds:SignatureValue>", "</ds:SignatureValue>"); },
       17},
      {"no signature",
       [](std::string in) { return without(in, "<ds:Signature", "</ds:Signature>"); }, 16},
      {"foreign element",
       [](std::string in) { return replaced(in, "</ds:KeyInfo>", "</ds:KeyInfo><x/>"); }, 17},
  };
  for (const TamperCase &row : rows) {
    SCOPED_TRACE(row.name);
    const Document document = parse(row.change(original));
    EXPECT_EQ(verifyAll(document.get()), row.error);
  }
}

TEST_F(VerifyTest, EveryKindOfAddedCertificateIsTriedByItsMerits) {
  const Document document = parse(without(signedText(rsa()), "<ds:KeyInfo>", "</ds:KeyInfo>"));
  const Certificate own = rsa().publicCertificate();
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

TEST_F(VerifyTest, KeysComeInDocumentOrderAndNotAtAllAfterAFailure) {
  const Identity elliptic = makeIdentity({.kind = KeyKind::p256});
  const Document document = parse(kDocument);
  const SignaturePlan plan{.references = {{"#b"}}};
  ASSERT_TRUE(signPlan(rsa(), document.get(), plan));
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

struct HmacCase {
  const char *name;
  std::string method;
  std::string length;
  size_t octets;  // of the MAC that are written
  uint32_t error;
};

std::string base64(Bytes bytes) {
  char *encoded = nullptr;
  EXPECT_EQ(talvo_base64_encode(bytes.data(), bytes.size(), 4, &encoded, nullptr), 1);
  const TextBuffer owner(encoded);
  return encoded;
}

// The first octets of the MAC over SignedInfo of a document.
std::string macOf(XmlDoc *document, int32_t algorithm, size_t octets) {
  const Blob canonical(talvo_xml_c14nnode(
      talvo_xml_node_findelemnode(document, g_xml_signature_signerinfo_name, g_xml_signature_nsuri),
      1, nullptr));
  const Bytes bytes = bytesOf(canonical.get());
  const Handle<TalvoPKIMac, TalvoPKICryptoFreeMac> mac(TalvoPKICryptoNewMac(algorithm, "key", 3));
  uint8_t *value = nullptr;
  size_t length = 0;
  EXPECT_EQ(TalvoPKICryptoMacUpdate(mac.get(), bytes.data(), bytes.size()), 1);
  EXPECT_EQ(TalvoPKICryptoMacFinal(mac.get(), &value, &length), 1);
  const CryptoBytes owner(value);
  return base64({value, octets});
}

TEST_F(VerifyTest, HmacIsComparedOverItsRecordedLength) {
  const std::string sha1 = "2000/09/xmldsig#hmac-sha1";
  const auto bits = [](const std::string &number) {
    return "<HMACOutputLength>" + number + "</HMACOutputLength>";
  };
  for (const HmacCase &row : {HmacCase{"whole", sha1, "", 20, 0},
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
  struct Case {
    KeyKind kind;
    int32_t method;
    size_t octets;
    uint32_t error;
  };
  for (const auto &[kind, method, octets, error] : {Case{KeyKind::dsa, 72, 41, 1},
                                                    {KeyKind::dsa, 72, 40, 1},
                                                    {KeyKind::p256, 75, 63, 1},
                                                    {KeyKind::p256, 75, 64, 1},
                                                    {KeyKind::p256, 75, 2, 1},
                                                    {KeyKind::rsa, 68, 1, 1},
                                                    {KeyKind::sm2, 83, 64, 1}}) {
    SCOPED_TRACE(octets);
    const std::string original =
        signedText(makeIdentity({.kind = kind}), {.signatureMethod = method});
    const size_t from = original.find("<ds:SignatureValue>") + 19;
    std::string changed = original;
    changed.replace(from, original.find('<', from) - from,
                    base64(std::vector<uint8_t>(octets, 0x7f)));
    EXPECT_EQ(verifyAll(parse(changed).get()), error);
  }
}

TEST_F(VerifyTest, ReferencesAloneSayWhatIsWrongWithThem) {
  const Document document =
      parse(signedText(rsa(), {.references = {{"", {{48, {}, {}}}}, {"#b"}}}));
  const SignatureRecord signature = decodeFirst(document.get());
  const auto references = items<Reference>(signature->signedInfo->references);
  uint32_t error = 0;
  EXPECT_EQ(talvo_xml_signature_verifyref(references[1]->element, nullptr, 0, &error), 1);
  EXPECT_EQ(talvo_xml_signature_verifyref(signature->element, nullptr, 0, &error), 0);
  EXPECT_EQ(error, 19u);
  EXPECT_EQ(talvo_xml_signature_verifyref(nullptr, nullptr, 0, &error), 0);
  EXPECT_EQ(error, 6u);
  EXPECT_EQ(talvo_xml_signature_referencevalidation(signature.get(), nullptr, 0, nullptr), 0);
  const UString digest(talvo_xml_signature_calref(references[1]->element, 0, nullptr, &error));
  EXPECT_EQ(viewOf(digest.get()), base64(bytesOf(references[1]->digestValue->value.get())));
  EXPECT_EQ(talvo_xml_signature_calref(signature->element, 0, nullptr, &error), nullptr);
  EXPECT_EQ(error, 27u);
}

TEST_F(VerifyTest, SigningCertificateMustMatchTheKeyThatVerified) {
  const auto build = [](const Identity &signer) {
    const SignedInfoContext context = makeContext({.references = {{"#b"}}});
    talvo_xml_signature_signedinfoctx_xades_setsigningcertificateinfo(context.get(), 4, 2);
    const Document document = parse(kDocument);
    EXPECT_TRUE(signWith(signer, document.get(), context.get()));
    return dump(document.get());
  };
  const std::string original = build(rsa());
  EXPECT_EQ(verifyAll(parse(original).get()), 0u);
  // An equal digest with another serial number is refused; a digest of another length too.
  EXPECT_EQ(
      verifyAll(parse(replaced(original, "<ds:X509SerialNumber>", "<ds:X509SerialNumber>1")).get()),
      23u);
  EXPECT_EQ(verifyAll(parse(replaced(original, "CN=Signer", "CN=Other")).get()), 23u);
  const size_t at = original.find("<xa:CertDigest>");
  std::string shorter =
      original.substr(0, at) + replaced(original.substr(at), "xmlenc#sha256", "xmlenc#sha512");
  EXPECT_EQ(verifyAll(parse(shorter).get()), 23u);
}

}  // namespace
}  // namespace talvo::test
