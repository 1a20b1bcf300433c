// Certificates and CRLs as validation data: values, references to them, and the Ids of both.
#include <functional>
#include <string>

#include <openssl/sha.h>

#include "signature/vocabulary/algorithm.h"
#include "signature/xades/xades_support.h"

namespace talvo::test {
namespace {

// With "*" for every text but line feeds.
std::string withoutTexts(std::string text) {
  for (size_t at = 0; (at = text.find('>', at)) != std::string::npos; ++at) {
    const size_t end = text.find('<', at);
    if (end != std::string::npos && end > at + 1 && text[at + 1] != '\n') {
      text.replace(at + 1, end - at - 1, "*");
    }
  }
  return text;
}

// One kind of validation data and how a signature gets some.
struct Property {
  const char *name;
  std::function<int32_t(XmlNode *)> add;
  int32_t (*setId)(XmlNode *, const talvo_ustring *);  // null where adding takes the Id
};

class ValidationDataTest : public LibraryTest {
 protected:
  static const Chain &chain() {
    static const Chain made = makeChain();
    return made;
  }
  static const std::string &crl() {
    static const std::string der = makeCrl(chain().root);
    return der;
  }

  static SignedDocument signedByLeaf() { return signDocument(chain().leaf); }

  static int32_t addCrl(XmlNode *signature, const std::string &crl) {
    return talvo_xml_signature_xades_add_revocationvalues_crl(signature, crl.data(),
                                                              static_cast<int32_t>(crl.size()));
  }
  static int32_t addCrlReference(XmlNode *signature, const std::string &crl, uint32_t flags = 0,
                                 int32_t digestMethod = 4) {
    return talvo_xml_signature_xades_add_completerevocationrefs_crl(
        signature, digestMethod, flags, crl.data(), static_cast<int32_t>(crl.size()));
  }
  static int32_t addValue(XmlNode *signature, const Identity &identity) {
    return talvo_xml_signature_xades_addcertificatevalues(signature,
                                                          identity.publicCertificate().get());
  }
  static int32_t addReferences(XmlNode *signature, const Certificate &certificate,
                               int32_t digestMethod = 4, const char *id = nullptr) {
    const UString idString = id == nullptr ? nullptr : str(id);
    return talvo_xml_signature_xades_addcompletecertificaterefs(
        signature, idString.get(), digestMethod, certificate.get(), nullptr);
  }

  static std::vector<Property> properties() {
    return {{"CertificateValues", [](XmlNode *node) { return addValue(node, chain().root); },
             talvo_xml_signature_xades_set_certificatevalues_id},
            {"RevocationValues", [](XmlNode *node) { return addCrl(node, crl()); },
             talvo_xml_signature_xades_set_revocationvalues_id},
            {"CompleteRevocationRefs", [](XmlNode *node) { return addCrlReference(node, crl()); },
             talvo_xml_signature_xades_set_completerevocationrefs_id},
            {"CompleteCertificateRefs",
             [](XmlNode *node) { return addReferences(node, chain().certificate()); }, nullptr}};
  }
};

std::string base64Lines(const std::string &der) {
  char *text = nullptr;
  EXPECT_EQ(talvo_base64_encode(der.data(), der.size(), 3, &text, nullptr), 1);
  return take(text);
}

std::string valueElement(const std::string &name, const std::string &der) {
  return "<" + name + " Encoding=\"http://uri.etsi.org/01903/v1.2.2#DER\">" + base64Lines(der) +
         "</" + name + ">\n";
}

TEST_F(ValidationDataTest, CertificateValuesKeepTheOrderOfTheCalls) {
  const SignedDocument document = signedByLeaf();
  const std::vector<const Identity *> wrongOrder = {&chain().root, &chain().leaf,
                                                    &chain().intermediate};
  std::string expected = "<xa:CertificateValues>\n";
  for (const Identity *identity : wrongOrder) {
    ASSERT_EQ(addValue(document.signature, *identity), 1);
    expected += valueElement("xa:EncapsulatedX509Certificate", identity->der());
  }
  EXPECT_EQ(elementText(findXades(document.signature, "CertificateValues")),
            expected + "</xa:CertificateValues>");
  const SignedDocument saved = reparse(document.text());
  EXPECT_EQ(verifyAll(saved.document.get()), 0u);
  const SignatureRecord record = saved.record();
  ASSERT_EQ(talvo_xml_signature_xades_getcertificatevaluescount(record.get()), 3);
  const Certificate second(talvo_xml_signature_xades_getcertificatevalue(record.get(), 1));
  EXPECT_EQ(take(TalvoPKICertGetCertStringAttribute(second.get(), 48)),
            "CN=Leaf,O=Talvo Example,C=DE");
}

TEST_F(ValidationDataTest, CertificateValuesVerifyASignatureWithoutKeyInfo) {
  const SignedDocument document = reparse(withContent(
      signedByLeaf().text(), "<ds:KeyInfo>", "</ds:KeyInfo>", "<ds:KeyName>k</ds:KeyName>"));
  EXPECT_EQ(verifyAll(document.document.get()), 9u);
  ASSERT_EQ(addValue(document.signature, chain().leaf), 1);
  EXPECT_EQ(verifyAll(document.document.get()), 0u);
}

TEST_F(ValidationDataTest, CertificateReferencesNameTheIssuersUpToTheRoot) {
  for (int32_t number = 0; number <= 9; ++number) {
    SCOPED_TRACE(number);
    const DigestAlgorithm *digest = digestByNumber(number);
    const bool isComputed = digest != nullptr && digest->length != 0;
    const SignedDocument document = signedByLeaf();
    EXPECT_EQ(addReferences(document.signature, chain().certificate(), number), isComputed ? 1 : 0);
    const SignatureRecord record = document.record();
    EXPECT_EQ(talvo_xml_signature_xades_getcompleterevocationrefscount(record.get()),
              isComputed ? 2 : 0);
    for (int32_t index = 0; isComputed && index < 2; ++index) {
      const Handle<CertId, talvo_xml_signature_xades_certid_free> certId(
          talvo_xml_signature_xades_getcompleterevocationref(record.get(), index));
      const Certificate certificate =
          (index == 0 ? chain().intermediate : chain().root).publicCertificate();
      EXPECT_EQ(talvo_xml_signature_xades_certid_getcerthashalgo(certId.get()), number);
      EXPECT_EQ(talvo_xml_signature_xades_certid_matchcert(certId.get(), certificate.get()), 1);
      uint8_t *expected = nullptr;
      size_t length = 0;
      ASSERT_EQ(
          TalvoPKICertGetCertHashAttribute(certificate.get(), 44, digest->hash, &expected, &length),
          1);
      const CryptoBytes owner(expected);
      EXPECT_EQ(textOf({certId->digest.get(), certId->digestLength}), textOf({expected, length}));
    }
  }
}

TEST_F(ValidationDataTest, CertificateReferencesAreLaidOutLineByLine) {
  const SignedDocument document = signedByLeaf();
  ASSERT_EQ(addReferences(document.signature, chain().certificate(), 4, "refs"), 1);
  const std::string text = elementText(findXades(document.signature, "CompleteCertificateRefs"));
  const std::string cert =
      "<xa:Cert>\n<xa:CertDigest>\n"
      "<ds:DigestMethod Algorithm=\"http://www.w3.org/2001/04/xmlenc#sha256\"/>\n"
      "<ds:DigestValue>*</ds:DigestValue>\n</xa:CertDigest>\n<xa:IssuerSerial>\n"
      "<ds:X509IssuerName>*</ds:X509IssuerName>\n"
      "<ds:X509SerialNumber>*</ds:X509SerialNumber>\n</xa:IssuerSerial>\n</xa:Cert>\n";
  EXPECT_EQ(withoutTexts(text), "<xa:CompleteCertificateRefs Id=\"refs\">\n<xa:CertRefs>\n" + cert +
                                    cert + "</xa:CertRefs></xa:CompleteCertificateRefs>");
}

TEST_F(ValidationDataTest, SecondCertificateReferencesAreASecondProperty) {
  const SignedDocument document = signedByLeaf();
  ASSERT_EQ(addReferences(document.signature, chain().certificate()), 1);
  ASSERT_EQ(addReferences(document.signature, chain().certificate()), 1);
  EXPECT_EQ(count(document.text(), "<xa:CompleteCertificateRefs>"), 2);
}

// The search for an earlier property looks beside QualifyingProperties, where no signature has any.
TEST_F(ValidationDataTest, PropertiesBesideQualifyingPropertiesStopCertificateReferences) {
  const auto added = [&](const std::string &inner, const std::string &ns = kXadesNs) {
    const SignedDocument document =
        reparse(replaced(signedByLeaf().text(), "</ds:Signature>",
                         "<ds:Object><x:QualifyingProperties xmlns:x='" + ns +
                             "'/><!-- c --><x:UnsignedProperties xmlns:x='" + ns + "'>" + inner +
                             "</x:UnsignedProperties></ds:Object></ds:Signature>"));
    return addReferences(document.signature, chain().certificate());
  };
  const std::string marked = "<x:UnsignedSignatureProperties/> <x:CompleteCertificateRefs/>";
  EXPECT_EQ(added(marked), 0);
  EXPECT_EQ(added("<x:CompleteCertificateRefs/>"), 1);
  EXPECT_EQ(added("<x:UnsignedSignatureProperties/>"), 1);
  EXPECT_EQ(added(marked, "urn:other"), 1);
}

TEST_F(ValidationDataTest, OnlyASignatureWithAValueGetsAny) {
  const SignedDocument document =
      reparse("<a><s:Signature xmlns:s='" + textOf(g_xml_signature_nsuri) +
              "'><s:SignedInfo/></s:Signature></a>");
  const std::string before = document.text();
  for (const auto &[name, add, setId] : properties()) {
    SCOPED_TRACE(name);
    for (XmlNode *node :
         {static_cast<XmlNode *>(nullptr), rootOf(document.document), document.signature}) {
      EXPECT_EQ(add(node), 0);
      EXPECT_EQ(setId == nullptr ? 0 : setId(node, str("id").get()), 0);
    }
  }
  EXPECT_EQ(document.text(), before);
}

TEST_F(ValidationDataTest, CertificatesThatCannotBeNamedLeaveTheDocument) {
  const SignedDocument document = signedByLeaf();
  XmlNode *signature = document.signature;
  const std::string before = document.text();
  const int reserved = 0;
  EXPECT_EQ(talvo_xml_signature_xades_addcompletecertificaterefs(
                signature, nullptr, 4, chain().certificate().get(), &reserved),
            0);
  EXPECT_EQ(addReferences(signature, chain().leaf.publicCertificate()), 0) << "no path";
  EXPECT_EQ(addReferences(signature, nullptr), 0);
  EXPECT_EQ(talvo_xml_signature_xades_addcertificatevalues(signature, nullptr), 0);
  EXPECT_EQ(addReferences(signature, chain().root.publicCertificate()), 1)
      << "no issuer but itself";
  EXPECT_EQ(document.text(), before);
}

TEST_F(ValidationDataTest, EachCrlValueGetsAListOfItsOwn) {
  const SignedDocument document = signedByLeaf();
  const std::string first = makeCrl(chain().intermediate, 7, {"4660"});
  const std::string second = makeCrl(chain().root);
  ASSERT_EQ(addCrl(document.signature, first), 1);
  ASSERT_EQ(addCrl(document.signature, second), 1);
  const auto list = [](const std::string &crl) {
    return "<CRLValues>\n" + valueElement("EncapsulatedCRLValue", crl) + "</CRLValues>";
  };
  // A new list goes behind the second child; only the list that is not the first gets a line feed.
  EXPECT_EQ(elementText(findXades(document.signature, "RevocationValues")),
            "<xa:RevocationValues>\n" + list(first) + list(second) + "\n</xa:RevocationValues>");
  EXPECT_EQ(verifyAll(reparse(document.text()).document.get()), 0u);
}

struct PlaceCase {
  const char *name;
  const char *content;  // of the property; the prefix x stands for XAdES
  const char *expected;
};

TEST_F(ValidationDataTest, ListGoesWhereTheFirstChildrenLeaveRoom) {
  const std::string original = signedByLeaf().text();
  const std::vector<PlaceCase> rows = {
      {"no child", "", "\n*"},
      {"element first", "<a/>", "*\n<a/>"},
      {"text first", " <a/> <b/>", " <a/>*\n <b/>"},
      {"comment first", "<!--c--><a/>", "<!--c--><a/>*\n"},
      {"text, then a comment", "\n<!--c-->", "\n<!--c-->*\n"},
      {"only text", "\n", nullptr},
      {"only a comment", "<!--c-->", nullptr},
  };
  for (const auto &[property, begin, end] :
       {std::tuple{properties()[1], "<CRLValues>", "</CRLValues>"},
        {properties()[2], "<CRLRef>\n<CRLRef>", "</CRLRef>\n</CRLRef>"}}) {
    const std::string tag = std::string("x:") + property.name + ">";
    for (const auto &[name, content, expected] : rows) {
      SCOPED_TRACE(tag + name);
      const SignedDocument document = withUnsigned(original, "<" + tag + content + "</" + tag);
      EXPECT_EQ(property.add(document.signature), expected == nullptr ? 0 : 1);
      std::string found = elementText(findXades(document.signature, property.name));
      if (expected != nullptr) {
        found = replaced(found, begin + between(found, begin, end) + end, "*");
      }
      EXPECT_EQ(found, "<" + tag + (expected == nullptr ? content : expected) + "</" + tag);
    }
  }
}

TEST_F(ValidationDataTest, ListOfTheXadesNamespaceIsUsedAgain) {
  for (const auto &[property, list] :
       {std::pair{properties()[1], "CRLValues"}, {properties()[2], "CRLRefs"}}) {
    SCOPED_TRACE(property.name);
    const std::string name = property.name;
    // In the default namespace.
    const std::string prefixed =
        withUnsigned(signedByLeaf().text(), "<x:" + name + "> <x:" + list + "/></x:" + name + ">")
            .text();
    const SignedDocument document =
        reparse(replacedAll(replacedAll(prefixed, "xmlns:x=", "xmlns="), "x:", ""));
    ASSERT_EQ(property.add(document.signature), 1);
    ASSERT_EQ(property.add(document.signature), 1);
    const std::string text = elementText(findXades(document.signature, name));
    EXPECT_EQ(count(text, std::string("<") + list + ">"), 1) << text;
    EXPECT_EQ(count(text, "<EncapsulatedCRLValue ") + count(text, "<CRLRef>"), 2) << text;
  }
}

// The issuer's name and thisUpdate stand in every identifier.
TEST_F(ValidationDataTest, CrlReferenceHoldsDigestAndWhatIsAskedFor) {
  struct Row {
    const char *name;
    std::string crl;
    uint32_t flags;
    const char *identifier;  // what follows IssueTime; null for no identifier at all
  };
  for (const Row &row : {
           Row{"digest alone", makeCrl(chain().root, 7), 0, nullptr},
           {"other flags count for nothing", makeCrl(chain().root, 7), 2, nullptr},
           {"with number", makeCrl(chain().root, 123456789), 1, "<Number>123456789</Number>\n"},
           {"number 0", makeCrl(chain().root, 0), 3, "<Number>0</Number>\n"},
           {"without number", crl(), 1, ""},
       }) {
    SCOPED_TRACE(row.name);
    const SignedDocument document = signedByLeaf();
    ASSERT_EQ(addCrlReference(document.signature, row.crl, row.flags), 1);
    uint8_t digest[32];
    SHA256(reinterpret_cast<const uint8_t *>(row.crl.data()), row.crl.size(), digest);
    const std::string identifier =
        row.identifier == nullptr
            ? ""
            : "<CRLIdentifier>\n<Issuer>CN=Root,O=Talvo Example,C=DE</Issuer>\n"
              "<IssueTime>2025-02-03T04:05:06Z</IssueTime>\n" +
                  std::string(row.identifier) + "</CRLIdentifier>\n";
    EXPECT_EQ(elementText(findXades(document.signature, "CompleteRevocationRefs")),
              "<xa:CompleteRevocationRefs>\n<CRLRef>\n<CRLRef>\n<DigestAlgAndValue>\n"
              "<ds:DigestMethod Algorithm=\"http://www.w3.org/2001/04/xmlenc#sha256\"/>\n"
              "<ds:DigestValue>" +
                  base64Lines(textOf(digest)) + "</ds:DigestValue>\n</DigestAlgAndValue>\n" +
                  identifier + "</CRLRef>\n</CRLRef></xa:CompleteRevocationRefs>");
  }
}

TEST_F(ValidationDataTest, CrlsAreReadAsPemTooAndWrittenAsDer) {
  const SignedDocument document = signedByLeaf();
  const std::string pem =
      "-----BEGIN X509 CRL-----\n" + base64Lines(crl()) + "\n-----END X509 CRL-----\n";
  ASSERT_EQ(addCrl(document.signature, pem), 1);
  EXPECT_EQ(count(document.text(), valueElement("EncapsulatedCRLValue", crl())), 1);
}

TEST_F(ValidationDataTest, CrlsThatDoNotParseLeaveTheDocument) {
  const SignedDocument document = signedByLeaf();
  XmlNode *signature = document.signature;
  const std::string before = document.text();
  for (const std::string &wrong : {std::string("garbage"), crl().substr(1),
                                   crl().substr(0, crl().size() - 1), chain().root.der()}) {
    SCOPED_TRACE(wrong.size());
    EXPECT_EQ(addCrl(signature, wrong), 0);
    EXPECT_EQ(addCrlReference(signature, wrong, 1), 0);
  }
  for (const auto &[octets, length] :
       {std::pair{crl().data(), 0}, {crl().data(), -1}, {crl().data(), INT32_MIN}, {nullptr, 10}}) {
    SCOPED_TRACE(length);
    EXPECT_EQ(talvo_xml_signature_xades_add_revocationvalues_crl(signature, octets, length), 0);
    EXPECT_EQ(
        talvo_xml_signature_xades_add_completerevocationrefs_crl(signature, 4, 1, octets, length),
        0);
  }
  for (const int32_t digestMethod : {-1, 0, 2, 7, 9, 77}) {
    EXPECT_EQ(addCrlReference(signature, crl(), 0, digestMethod), 0) << digestMethod;
  }
  EXPECT_EQ(document.text(), before);
}

TEST_F(ValidationDataTest, PropertiesGetAnIdOnceTheyExist) {
  for (const auto &[name, add, setId] : properties()) {
    if (setId == nullptr) {
      continue;
    }
    SCOPED_TRACE(name);
    const SignedDocument document = signedByLeaf();
    const std::string before = document.text();
    EXPECT_EQ(setId(document.signature, str("id1").get()), 0) << "no such property yet";
    EXPECT_EQ(document.text(), before);
    ASSERT_EQ(add(document.signature), 1);
    EXPECT_EQ(setId(document.signature, nullptr), 0);
    EXPECT_EQ(setId(document.signature, str("id1").get()), 1);
    EXPECT_EQ(setId(document.signature, str("id2").get()), 1);
    const std::string tag = std::string("<xa:") + name;
    EXPECT_EQ(count(document.text(), tag + " Id=\"id2\">"), 1);
    EXPECT_EQ(count(document.text(), tag), 1);
    const SignedDocument other = reparse(
        replaced(document.text(), tag + " Id=\"id2\"", tag + " xml:lang=\"en\" Id=\"id2\""));
    EXPECT_EQ(setId(other.signature, str("id1").get()), 1);
    EXPECT_EQ(count(other.text(), tag + " xml:lang=\"en\" Id=\"id1\">"), 1) << "not a second one";
  }
}

}  // namespace
}  // namespace talvo::test
