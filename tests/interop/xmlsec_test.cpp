// An independent judge: signatures made here are accepted by the xmlsec1 program, and those that it makes from a
// template are accepted here.
#include "support/signing.h"
#include "support/workshop.h"

namespace talvo::test {
namespace {

class XmlsecTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    if (!hasProgram("xmlsec1")) {
      GTEST_SKIP() << "the program xmlsec1 is not installed";
    }
  }

  // Its judgement on a document signed by the identity; what it says is shown when it is another than expected.
  void expectJudgement(bool expected, const std::string &xml, const Identity &signer) const {
    workshop_.write("signed.xml", xml);
    workshop_.write("certificate.pem", signer.pem());
    EXPECT_EQ(workshop_.run("xmlsec1 --verify --trusted-pem certificate.pem signed.xml"), expected)
        << workshop_.read("log");
  }

  Workshop workshop_;
};

TEST_F(XmlsecTest, AcceptsWhatIsSignedHere) {
  for (const auto &[name, kind, plan] : everyPlan()) {
    if (name.find("SM") != std::string::npos || name == "XPath by here") {
      continue;  // it does not know these
    }
    SCOPED_TRACE(name);
    const Identity signer = makeIdentity({.kind = kind, .keyUsage = kDigitalSignature});
    const Document document = parse(kPlannedDocument);
    ASSERT_TRUE(signPlan(signer, document.get(), plan));
    expectJudgement(true, dump(document.get()), signer);
    expectJudgement(false, replaced(dump(document.get()), "Grüße", "grüße"), signer);
  }
}

std::string method(const std::string &element, const std::string &path) {
  return "<" + element + " Algorithm='http://www.w3.org/" + path + "'/>";
}

std::string templateOf(const std::string &c14n, const std::string &signature,
                       const std::string &transforms, const std::string &digest) {
  return "<doc xmlns:p='urn:p'><data p:k='v'>Daten<!-- c --></data><Signature "
         "xmlns='http://www.w3.org/2000/09/xmldsig#'><SignedInfo>" +
         method("CanonicalizationMethod", c14n) + method("SignatureMethod", signature) +
         "<Reference URI=''><Transforms>" + transforms + "</Transforms>" +
         method("DigestMethod", digest) +
         "<DigestValue/></Reference></SignedInfo><SignatureValue/"
         "><KeyInfo><X509Data><X509Certificate/></X509Data>"
         "</KeyInfo></Signature></doc>";
}

TEST_F(XmlsecTest, SignaturesThatItMakesAreAccepted) {
  const std::string enveloped = method("Transform", "2000/09/xmldsig#enveloped-signature");
  const std::string xpath =
      "<Transform Algorithm='http://www.w3.org/TR/1999/REC-xpath-19991116'><XPath "
      "xmlns:ds='http://www.w3.org/2000/09/xmldsig#'>not(ancestor-or-self::ds:Signature)</XPath></"
      "Transform>";
  const std::string prefixed =
      "<Transform Algorithm='http://www.w3.org/2001/10/xml-exc-c14n#'><InclusiveNamespaces "
      "xmlns='http://www.w3.org/2001/10/xml-exc-c14n#' PrefixList='p #default'/></Transform>";
  const std::string c14n = "TR/2001/REC-xml-c14n-20010315";
  struct Row {
    KeyKind kind;
    std::string c14n;
    std::string signature;
    std::string transforms;
    std::string digest;
  };
  for (const Row &row : {
           Row{KeyKind::rsa, c14n, "2001/04/xmldsig-more#rsa-sha256", enveloped,
               "2001/04/xmlenc#sha256"},
           {KeyKind::rsa, "2001/10/xml-exc-c14n#", "2001/04/xmldsig-more#rsa-sha512",
            enveloped + prefixed, "2001/04/xmlenc#sha512"},
           {KeyKind::rsa, "2006/12/xml-c14n11", "2000/09/xmldsig#rsa-sha1", xpath,
            "2000/09/xmldsig#sha1"},
           {KeyKind::p256, c14n + "#WithComments", "2001/04/xmldsig-more#ecdsa-sha256", enveloped,
            "2001/04/xmldsig-more#sha384"},
           {KeyKind::dsa, c14n, "2000/09/xmldsig#dsa-sha1", enveloped,
            "2001/04/xmldsig-more#sha224"},
       }) {
    SCOPED_TRACE(row.signature);
    const Identity signer = makeIdentity({.kind = row.kind, .keyUsage = kDigitalSignature});
    workshop_.write("template.xml",
                    templateOf(row.c14n, row.signature, row.transforms, row.digest));
    workshop_.write("key.pem", privateKeyPem(row.kind));
    workshop_.write("certificate.pem", signer.pem());
    ASSERT_TRUE(workshop_.run(
        "xmlsec1 --sign --output signed.xml --privkey-pem key.pem,certificate.pem template.xml"))
        << workshop_.read("log");
    const std::string signedText = workshop_.read("signed.xml");
    EXPECT_EQ(verifyAll(signedText), 0u);
    EXPECT_EQ(verifyAll(replaced(signedText, "Daten", "daten")), 2u);
  }
}

}  // namespace
}  // namespace talvo::test
