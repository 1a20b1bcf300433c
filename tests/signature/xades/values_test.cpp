// Certificates and CRLs as validation data: values, references to them, and the Ids of both.
#include <functional>

#include <openssl/x509.h>

#include "signature/xades/xades_support.h"
#include "support/every_allocation_fails.h"

namespace talvo::test {
namespace {

class ValidationDataTest : public LibraryTest {
 protected:
  static const Chain &chain() {
    static const Chain made = makeChain();
    return made;
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
  static int32_t addReferences(XmlNode *signature, const TalvoPKICert *certificate,
                               int32_t digestMethod = 4, const char *id = nullptr) {
    const UString idString = id == nullptr ? nullptr : makeString(id);
    return talvo_xml_signature_xades_addcompletecertificaterefs(signature, idString.get(),
                                                                digestMethod, certificate, nullptr);
  }
};

std::string base64Lines(const std::string &der) {
  char *text = nullptr;
  EXPECT_EQ(talvo_base64_encode(der.data(), der.size(), 3, &text, nullptr), 1);
  const TextBuffer owner(text);
  return text;
}

constexpr const char *kDer = "http://uri.etsi.org/01903/v1.2.2#DER";

std::string valueElement(const std::string &name, const std::string &der) {
  return "<" + name + " Encoding=\"" + kDer + "\">" + base64Lines(der) + "</" + name + ">\n";
}

TEST_F(ValidationDataTest, CertificateValuesKeepTheOrderOfTheCalls) {
  const SignedDocument document = signedByLeaf();
  const std::vector<const Identity *> wrongOrder = {&chain().root, &chain().leaf,
                                                    &chain().intermediate};
  std::string expected = "<xa:CertificateValues>\n";
  for (const Identity *identity : wrongOrder) {
    const Certificate certificate = identity->publicCertificate();
    ASSERT_EQ(talvo_xml_signature_xades_addcertificatevalues(document.signature, certificate.get()),
              1);
    expected += valueElement("xa:EncapsulatedX509Certificate", identity->der());
  }
  EXPECT_EQ(elementText(findXades(document.signature, "CertificateValues")),
            expected + "</xa:CertificateValues>");
  const SignedDocument saved = reparse(document.text());
  EXPECT_EQ(verifyAll(saved.document.get()), 0u);
  const SignatureRecord record = decode(saved);
  ASSERT_EQ(talvo_xml_signature_xades_getcertificatevaluescount(record.get()), 3);
  const Certificate second(talvo_xml_signature_xades_getcertificatevalue(record.get(), 1));
  const UString subject(TalvoPKICertGetCertStringAttribute(second.get(), 48));
  const Certificate leaf = chain().leaf.publicCertificate();
  const UString leafSubject(TalvoPKICertGetCertStringAttribute(leaf.get(), 48));
  EXPECT_TRUE(equal(subject.get(), leafSubject.get()));
}

TEST_F(ValidationDataTest, CertificateValuesVerifyASignatureWithoutKeyInfo) {
  const SignedDocument signedDocument = signedByLeaf();
  const SignedDocument document = reparse(withContent(
      signedDocument.text(), "<ds:KeyInfo>", "</ds:KeyInfo>", "<ds:KeyName>k</ds:KeyName>"));
  EXPECT_EQ(verifyAll(document.document.get()), 9u);
  const Certificate leaf = chain().leaf.publicCertificate();
  ASSERT_EQ(talvo_xml_signature_xades_addcertificatevalues(document.signature, leaf.get()), 1);
  EXPECT_EQ(verifyAll(document.document.get()), 0u);
}

TEST_F(ValidationDataTest, CertificateReferencesNameTheIssuersUpToTheRoot) {
  for (const int32_t digestMethod : {1, 3, 4, 5, 6, 8}) {
    SCOPED_TRACE(digestMethod);
    const SignedDocument document = signedByLeaf();
    const Certificate signer = chain().certificate();
    ASSERT_EQ(addReferences(document.signature, signer.get(), digestMethod, "refs"), 1);
    const SignatureRecord record = decode(document);
    ASSERT_EQ(talvo_xml_signature_xades_getcompleterevocationrefscount(record.get()), 2);
    for (const auto &[index, identity] :
         {std::pair{0, &chain().intermediate}, {1, &chain().root}}) {
      const Handle<CertId, talvo_xml_signature_xades_certid_free> certId(
          talvo_xml_signature_xades_getcompleterevocationref(record.get(), index));
      EXPECT_EQ(talvo_xml_signature_xades_certid_getcerthashalgo(certId.get()), digestMethod);
      const Certificate certificate = identity->publicCertificate();
      uint8_t *expected = nullptr;
      uint8_t *found = nullptr;
      size_t length = 0;
      uint32_t foundLength = 0;
      const int32_t hash = digestMethod == 8   ? 0x7000
                           : digestMethod == 1 ? 0x2000
                                               : digestMethod * 0x1000;
      ASSERT_EQ(TalvoPKICertGetCertHashAttribute(certificate.get(), 44, hash, &expected, &length),
                1);
      const CryptoBytes expectedOwner(expected);
      ASSERT_EQ(
          talvo_xml_signature_xades_certid_getcerthashvalue(certId.get(), &found, &foundLength), 1);
      const ByteBuffer foundOwner(found);
      EXPECT_EQ(std::string(found, found + foundLength), std::string(expected, expected + length));
      EXPECT_EQ(talvo_xml_signature_xades_certid_matchcert(certId.get(), certificate.get()), 1);
    }
  }
}

TEST_F(ValidationDataTest, CertificateReferencesAreLaidOutLineByLine) {
  const SignedDocument document = signedByLeaf();
  ASSERT_EQ(addReferences(document.signature, chain().certificate().get(), 4, "refs"), 1);
  const std::string text = elementText(findXades(document.signature, "CompleteCertificateRefs"));
  const std::string cert =
      "<xa:Cert>\n<xa:CertDigest>\n"
      "<ds:DigestMethod Algorithm=\"http://www.w3.org/2001/04/xmlenc#sha256\"/>\n"
      "<ds:DigestValue>*</ds:DigestValue>\n</xa:CertDigest>\n<xa:IssuerSerial>\n"
      "<ds:X509IssuerName>*</ds:X509IssuerName>\n"
      "<ds:X509SerialNumber>*</ds:X509SerialNumber>\n</xa:IssuerSerial>\n</xa:Cert>\n";
  std::string shape;
  for (size_t at = 0; at < text.size(); ++at) {
    shape += text[at];
    for (const char *name : {"DigestValue>", "IssuerName>", "SerialNumber>"}) {
      const std::string opening = name;
      const bool isOpened = shape.size() > opening.size() && shape.ends_with(opening) &&
                            text[text.rfind('<', at) + 1] != '/';
      if (isOpened) {
        shape += '*';
        at = text.find('<', at) - 1;
      }
    }
  }
  EXPECT_EQ(shape, "<xa:CompleteCertificateRefs Id=\"refs\">\n<xa:CertRefs>\n" + cert + cert +
                       "</xa:CertRefs></xa:CompleteCertificateRefs>");
}

TEST_F(ValidationDataTest, SecondCertificateReferencesAreASecondProperty) {
  const SignedDocument document = signedByLeaf();
  const Certificate signer = chain().certificate();
  ASSERT_EQ(addReferences(document.signature, signer.get()), 1);
  ASSERT_EQ(addReferences(document.signature, signer.get()), 1);
  EXPECT_EQ(count(document.text(), "<xa:CompleteCertificateRefs>"), 2);
}

// The search for an earlier property looks beside QualifyingProperties, where no signature has any.
TEST_F(ValidationDataTest, PropertiesBesideQualifyingPropertiesStopCertificateReferences) {
  const Certificate signer = chain().certificate();
  const auto build = [&](const std::string &inner, const std::string &ns = kXadesNs) {
    return reparse(replaced(signedByLeaf().text(), "</ds:Signature>",
                            "<ds:Object><x:QualifyingProperties xmlns:x='" + ns +
                                "'/><!-- c --><x:UnsignedProperties xmlns:x='" + ns + "'>" + inner +
                                "</x:UnsignedProperties></ds:Object></ds:Signature>"));
  };
  const std::string marked = "<x:UnsignedSignatureProperties/> <x:CompleteCertificateRefs/>";
  EXPECT_EQ(addReferences(build(marked).signature, signer.get()), 0);
  EXPECT_EQ(addReferences(build("<x:CompleteCertificateRefs/>").signature, signer.get()), 1);
  EXPECT_EQ(addReferences(build("<x:UnsignedSignatureProperties/>").signature, signer.get()), 1);
  EXPECT_EQ(addReferences(build(marked, "urn:other").signature, signer.get()), 1);
}

struct CertificateCase {
  const char *name;
  std::function<int32_t(XmlNode *)> call;
  int32_t result;
};

TEST_F(ValidationDataTest, WhatCannotBeNamedLeavesTheDocument) {
  const Certificate signer = chain().certificate();
  const Certificate root = chain().root.publicCertificate();
  const Certificate alone = chain().leaf.publicCertificate();
  const int reserved = 0;
  const std::string original = signedByLeaf().text();
  const auto rootOf = [](XmlNode *signature) {
    return talvo_xml_doc_getrootelement(talvo_xml_node_getdoc(signature));
  };
  for (const CertificateCase &row : {
           CertificateCase{"self-signed",
                           [&](XmlNode *node) { return addReferences(node, root.get()); }, 1},
           {"reserved argument",
            [&](XmlNode *node) {
              return talvo_xml_signature_xades_addcompletecertificaterefs(node, nullptr, 4,
                                                                          signer.get(), &reserved);
            },
            0},
           {"no path", [&](XmlNode *node) { return addReferences(node, alone.get()); }, 0},
           {"no certificate", [&](XmlNode *node) { return addReferences(node, nullptr); }, 0},
           {"no signature", [&](XmlNode *) { return addReferences(nullptr, signer.get()); }, 0},
           {"another element",
            [&](XmlNode *node) { return addReferences(rootOf(node), signer.get()); }, 0},
           {"no value certificate",
            [&](XmlNode *node) {
              return talvo_xml_signature_xades_addcertificatevalues(node, nullptr);
            },
            0},
           {"value for another element",
            [&](XmlNode *node) {
              return talvo_xml_signature_xades_addcertificatevalues(rootOf(node), signer.get());
            },
            0},
       }) {
    SCOPED_TRACE(row.name);
    const SignedDocument document = reparse(original);
    EXPECT_EQ(row.call(document.signature), row.result);
    EXPECT_EQ(document.text(), original);
  }
  const SignedDocument document = reparse(original);
  EXPECT_EQ(addReferences(document.signature, signer.get(), 2), 0) << "MD5";
  EXPECT_EQ(findXades(document.signature, "CompleteCertificateRefs"), nullptr);
}

TEST_F(ValidationDataTest, PropertiesNeedASignatureValue) {
  std::string xml = signedByLeaf().text();
  xml = withContent(xml, "<ds:Signature xmlns:ds=\"http://www.w3.org/2000/09/xmldsig#\">",
                    "</ds:Signature>", "<ds:SignedInfo/>");
  const SignedDocument document = reparse(xml);
  const std::string before = document.text();
  const std::string crl = makeCrl(chain().root);
  const Certificate signer = chain().certificate();
  EXPECT_EQ(talvo_xml_signature_xades_addcertificatevalues(document.signature, signer.get()), 0);
  EXPECT_EQ(addReferences(document.signature, signer.get()), 0);
  EXPECT_EQ(addCrl(document.signature, crl), 0);
  EXPECT_EQ(addCrlReference(document.signature, crl), 0);
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
  const std::string crl = makeCrl(chain().root);
  const auto build = [&](const std::string &property, const std::string &content) {
    const std::string object =
        std::string("<ds:Object><x:QualifyingProperties xmlns:x=\"") + kXadesNs +
        "\"><x:UnsignedProperties><x:UnsignedSignatureProperties><x:" + property + ">" + content +
        "</x:" + property +
        "></x:UnsignedSignatureProperties></x:UnsignedProperties></x:QualifyingProperties>"
        "</ds:Object></ds:Signature>";
    return reparse(replaced(signedByLeaf().text(), "</ds:Signature>", object));
  };
  const std::vector<PlaceCase> rows = {
      {"no child", "", "\n*"},
      {"element first", "<a/>", "*\n<a/>"},
      {"text first", " <a/> <b/>", " <a/>*\n <b/>"},
      {"comment first", "<!--c--><a/>", "<!--c--><a/>*\n"},
      {"text, then a comment", "\n<!--c-->", "\n<!--c-->*\n"},
      {"only text", "\n", nullptr},
      {"only a comment", "<!--c-->", nullptr},
  };
  for (const bool isReference : {false, true}) {
    const std::string property = isReference ? "CompleteRevocationRefs" : "RevocationValues";
    const std::string begin = isReference ? "<CRLRef>\n<CRLRef>" : "<CRLValues>";
    const std::string end = isReference ? "</CRLRef>\n</CRLRef>" : "</CRLValues>";
    for (const auto &[name, content, expected] : rows) {
      SCOPED_TRACE(property + ": " + name);
      const SignedDocument document = build(property, content);
      const int32_t result =
          isReference ? addCrlReference(document.signature, crl) : addCrl(document.signature, crl);
      EXPECT_EQ(result, expected == nullptr ? 0 : 1);
      std::string found = elementText(findXades(document.signature, property));
      if (expected != nullptr) {
        const size_t from = found.find(begin);
        found = found.replace(from, found.find(end, from) + end.size() - from, "*");
      }
      EXPECT_EQ(found, "<x:" + property + ">" + (expected == nullptr ? content : expected) +
                           "</x:" + property + ">");
    }
  }
}

TEST_F(ValidationDataTest, ListOfTheXadesNamespaceIsUsedAgain) {
  const std::string crl = makeCrl(chain().root);
  for (const auto &[property, list] :
       {std::pair{"RevocationValues", "CRLValues"}, {"CompleteRevocationRefs", "CRLRefs"}}) {
    SCOPED_TRACE(property);
    const SignedDocument document = reparse(
        replaced(signedByLeaf().text(), "</ds:Signature>",
                 std::string("<ds:Object><QualifyingProperties xmlns=\"") + kXadesNs +
                     "\"><UnsignedProperties><UnsignedSignatureProperties><" + property + "> <" +
                     list + "/></" + property +
                     "></UnsignedSignatureProperties></UnsignedProperties></QualifyingProperties>"
                     "</ds:Object></ds:Signature>"));
    for (int round = 0; round < 2; ++round) {
      ASSERT_EQ(property == std::string("RevocationValues")
                    ? addCrl(document.signature, crl)
                    : addCrlReference(document.signature, crl),
                1);
    }
    const std::string text = elementText(findXades(document.signature, property));
    EXPECT_EQ(count(text, std::string("<") + list + ">"), 1) << text;
    EXPECT_EQ(count(text, "<EncapsulatedCRLValue ") + count(text, "<CRLRef>"), 2) << text;
  }
}

struct CrlCase {
  const char *name;
  std::string crl;
  uint32_t flags;
  const char *identifier;  // what follows IssueTime; null for no identifier at all
};

// The issuer's name and thisUpdate stand in every identifier.
TEST_F(ValidationDataTest, CrlReferenceHoldsDigestAndWhatIsAskedFor) {
  for (const CrlCase &row : {
           CrlCase{"digest alone", makeCrl(chain().root, 7), 0, nullptr},
           {"other flags count for nothing", makeCrl(chain().root, 7), 2, nullptr},
           {"with number", makeCrl(chain().root, 123456789), 1, "<Number>123456789</Number>\n"},
           {"number 0", makeCrl(chain().root, 0), 3, "<Number>0</Number>\n"},
           {"without number", makeCrl(chain().root), 1, ""},
       }) {
    SCOPED_TRACE(row.name);
    const SignedDocument document = signedByLeaf();
    ASSERT_EQ(addCrlReference(document.signature, row.crl, row.flags), 1);
    const Handle<TalvoPKIHash, TalvoPKICryptoFreeHash> hash(TalvoPKICryptoGetHashHandle(0x4000));
    uint8_t *digest = nullptr;
    size_t length = 0;
    ASSERT_EQ(TalvoPKICryptoHashUpdate(hash.get(), row.crl.data(), row.crl.size()), 1);
    ASSERT_EQ(TalvoPKICryptoHashFinal(hash.get(), &digest, &length), 1);
    const CryptoBytes owner(digest);
    std::string identifier;
    if (row.identifier != nullptr) {
      identifier =
          "<CRLIdentifier>\n<Issuer>CN=Root,O=Talvo Example,C=DE</Issuer>\n"
          "<IssueTime>2025-02-03T04:05:06Z</IssueTime>\n" +
          std::string(row.identifier) + "</CRLIdentifier>\n";
    }
    EXPECT_EQ(elementText(findXades(document.signature, "CompleteRevocationRefs")),
              "<xa:CompleteRevocationRefs>\n<CRLRef>\n<CRLRef>\n<DigestAlgAndValue>\n"
              "<ds:DigestMethod Algorithm=\"http://www.w3.org/2001/04/xmlenc#sha256\"/>\n"
              "<ds:DigestValue>" +
                  base64Lines({digest, digest + length}) +
                  "</ds:DigestValue>\n</DigestAlgAndValue>\n" + identifier +
                  "</CRLRef>\n</CRLRef></xa:CompleteRevocationRefs>");
  }
}

TEST_F(ValidationDataTest, CrlsAreReadAsPemTooAndWrittenAsDer) {
  const std::string der = makeCrl(chain().root);
  const std::string pem =
      "-----BEGIN X509 CRL-----\n" + base64Lines(der) + "\n-----END X509 CRL-----\n";
  const SignedDocument fromDer = signedByLeaf();
  const SignedDocument fromPem = reparse(fromDer.text());
  const SignedDocument again = reparse(fromDer.text());
  ASSERT_EQ(addCrl(again.signature, der), 1);
  ASSERT_EQ(addCrl(fromPem.signature, pem), 1);
  EXPECT_EQ(elementText(findXades(again.signature, "RevocationValues")),
            elementText(findXades(fromPem.signature, "RevocationValues")));
}

TEST_F(ValidationDataTest, CrlsThatDoNotParseLeaveTheDocument) {
  const std::string good = makeCrl(chain().root);
  const SignedDocument document = signedByLeaf();
  XmlNode *signature = document.signature;
  const std::string before = document.text();
  for (const std::string &crl : {std::string(), std::string("garbage"), good.substr(1),
                                 good.substr(0, good.size() - 1), chain().root.der()}) {
    SCOPED_TRACE(crl.size());
    EXPECT_EQ(addCrl(signature, crl), 0);
    EXPECT_EQ(addCrlReference(signature, crl, 1), 0);
  }
  for (const int32_t length : {0, -1, -2147483647 - 1}) {
    SCOPED_TRACE(length);
    EXPECT_EQ(talvo_xml_signature_xades_add_revocationvalues_crl(signature, good.data(), length),
              0);
    EXPECT_EQ(talvo_xml_signature_xades_add_completerevocationrefs_crl(signature, 4, 1, good.data(),
                                                                       length),
              0);
  }
  EXPECT_EQ(talvo_xml_signature_xades_add_revocationvalues_crl(signature, nullptr, 10), 0);
  EXPECT_EQ(talvo_xml_signature_xades_add_completerevocationrefs_crl(signature, 4, 1, nullptr, 10),
            0);
  for (const int32_t digestMethod : {-1, 0, 2, 7, 9, 77}) {
    SCOPED_TRACE(digestMethod);
    EXPECT_EQ(addCrlReference(signature, good, 0, digestMethod), 0);
  }
  EXPECT_EQ(addCrl(nullptr, good), 0);
  EXPECT_EQ(addCrlReference(nullptr, good), 0);
  XmlNode *root = talvo_xml_doc_getrootelement(document.document.get());
  EXPECT_EQ(addCrl(root, good), 0);
  EXPECT_EQ(addCrlReference(root, good), 0);
  EXPECT_EQ(document.text(), before);
}

TEST_F(ValidationDataTest, PropertiesGetAnIdOnceTheyExist) {
  using Setter = int32_t (*)(XmlNode *, const talvo_ustring *);
  struct Row {
    const char *property;
    Setter set;
    std::function<int32_t(XmlNode *)> add;
  };
  const std::string crl = makeCrl(chain().root);
  const Certificate root = chain().root.publicCertificate();
  const UString first = makeString("id1");
  const UString second = makeString("id2");
  for (const Row &row :
       {Row{"CertificateValues", talvo_xml_signature_xades_set_certificatevalues_id,
            [&](XmlNode *node) {
              return talvo_xml_signature_xades_addcertificatevalues(node, root.get());
            }},
        {"RevocationValues", talvo_xml_signature_xades_set_revocationvalues_id,
         [&](XmlNode *node) { return addCrl(node, crl); }},
        {"CompleteRevocationRefs", talvo_xml_signature_xades_set_completerevocationrefs_id,
         [&](XmlNode *node) { return addCrlReference(node, crl); }}}) {
    SCOPED_TRACE(row.property);
    const SignedDocument document = signedByLeaf();
    const std::string before = document.text();
    EXPECT_EQ(row.set(document.signature, first.get()), 0) << "no such property yet";
    EXPECT_EQ(document.text(), before);
    ASSERT_EQ(row.add(document.signature), 1);
    EXPECT_EQ(row.set(document.signature, nullptr), 0);
    EXPECT_EQ(row.set(nullptr, first.get()), 0);
    EXPECT_EQ(row.set(talvo_xml_doc_getrootelement(document.document.get()), first.get()), 0);
    EXPECT_EQ(row.set(document.signature, first.get()), 1);
    EXPECT_EQ(row.set(document.signature, second.get()), 1);
    const std::string tag = std::string("<xa:") + row.property;
    EXPECT_EQ(count(document.text(), tag + " Id=\"id2\">"), 1);
    EXPECT_EQ(count(document.text(), tag), 1);
    const SignedDocument other = reparse(
        replaced(document.text(), tag + " Id=\"id2\"", tag + " xml:lang=\"en\" Id=\"id2\""));
    EXPECT_EQ(row.set(other.signature, first.get()), 1);
    EXPECT_EQ(count(other.text(), tag + " xml:lang=\"en\" Id=\"id1\">"), 1) << "not a second one";
  }
}

TEST_F(ValidationDataTest, AFailedAllocationIsAFailure) {
  const std::string original = signedByLeaf().text();
  const std::string crl = makeCrl(chain().root, 7);
  const Certificate signer = chain().certificate();
  const std::vector<std::function<int32_t(XmlNode *)>> calls = {
      [&](XmlNode *node) {
        return talvo_xml_signature_xades_addcertificatevalues(node, signer.get());
      },
      [&](XmlNode *node) { return addReferences(node, signer.get()); },
      [&](XmlNode *node) { return addCrl(node, crl); },
      [&](XmlNode *node) { return addCrlReference(node, crl, 1); }};
  for (const auto &call : calls) {
    everyAllocationFails([&] {
      const Document document(
          talvo_xml_parse(original.data(), static_cast<int64_t>(original.size())));
      return call(firstSignature(document.get())) == 1;
    });
  }
}

}  // namespace
}  // namespace talvo::test
