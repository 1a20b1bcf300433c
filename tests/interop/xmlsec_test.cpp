// An independent judge: signatures made here are accepted by the xmlsec1 program, and those that it makes from a
// template are accepted here.
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "base/utf8.h"
#include "support/corpus.h"
#include "support/signing.h"

namespace talvo::test {
namespace {

namespace fs = std::filesystem;

class XmlsecTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    if (std::system("xmlsec1 --version >/dev/null 2>&1") != 0) {
      GTEST_SKIP() << "the program xmlsec1 is not installed";
    }
    char name[] = "/tmp/talvo-xmlsec-XXXXXX";
    ASSERT_NE(mkdtemp(name), nullptr);
    folder_ = name;
  }

  void TearDown() override {
    fs::remove_all(folder_);
    LibraryTest::TearDown();
  }

  std::string path(const std::string &name) const { return folder_ + "/" + name; }

  void write(const std::string &name, const std::string &bytes) const {
    std::ofstream(path(name), std::ios::binary) << bytes;
  }

  // True when the judge's exit status is 0; its output is shown when it is not.
  bool run(const std::string &arguments) const {
    const std::string log = path("log");
    const bool done =
        std::system(("cd " + folder_ + " && xmlsec1 " + arguments + " >log 2>&1").c_str()) == 0;
    if (!done) {
      std::printf("%s\n", readFile(log).c_str());
    }
    return done;
  }

 private:
  std::string folder_;
};

struct JudgeCase {
  const char *name;
  KeyKind kind;
  SignaturePlan plan;
};

constexpr const char *kDocument =
    "<?xml version='1.0'?>\n<?keep this?><!-- prolog --><a:root xmlns:a='urn:a' xmlns='urn:d' "
    "xml:lang='de'>"
    "<part xml:id='p' a:z='1' b='2'>Grüße &lt;&#13;</part><!-- inside --></a:root>\n<!-- epilog "
    "-->";

std::vector<JudgeCase> judgeCases() {
  const ReferencePlan whole{"", {{48, {}, {}}}};
  std::vector<JudgeCase> rows;
  for (const auto &[method, kind] : std::vector<std::pair<int32_t, KeyKind>>{{65, KeyKind::rsa},
                                                                             {68, KeyKind::rsa},
                                                                             {69, KeyKind::rsa},
                                                                             {70, KeyKind::rsa},
                                                                             {72, KeyKind::dsa},
                                                                             {73, KeyKind::p256},
                                                                             {74, KeyKind::p224},
                                                                             {75, KeyKind::p256},
                                                                             {76, KeyKind::p384},
                                                                             {77, KeyKind::p521}}) {
    rows.push_back({"method", kind, {.references = {whole}, .signatureMethod = method}});
  }
  for (const uint32_t c14n : {1u, 2u, 6u, 7u}) {
    rows.push_back({"canonicalisation", KeyKind::rsa, {.references = {whole}, .c14nMethod = c14n}});
  }
  for (const uint32_t c14n : {3u, 4u}) {
    rows.push_back({"exclusive",
                    KeyKind::rsa,
                    {.references = {whole}, .c14nMethod = c14n, .prefixes = {"a"}}});
  }
  for (const uint32_t digest : {1u, 3u, 4u, 5u, 6u}) {
    rows.push_back({"digest",
                    KeyKind::rsa,
                    {.references = {{"", {{48, {}, {}}}, digest}, {"#p", {}, digest}}}});
  }
  for (const int32_t transform : {1, 2, 6, 7}) {
    rows.push_back(
        {"transform", KeyKind::rsa, {.references = {{"", {{48, {}, {}}, {transform, {}, {}}}}}}});
  }
  rows.push_back({"xpath",
                  KeyKind::rsa,
                  {.references = {{"", {{32, {}, "not(ancestor-or-self::ds:Signature)"}}}}}});
  rows.push_back({"xpointer",
                  KeyKind::rsa,
                  {.references = {{"#xpointer(/)", {{48, {}, {}}}}, {"#xpointer(id('p'))"}}}});
  return rows;
}

TEST_F(XmlsecTest, AcceptsWhatIsSignedHere) {
  for (const JudgeCase &row : judgeCases()) {
    SCOPED_TRACE(std::string(row.name) + " " + std::to_string(row.plan.signatureMethod) + " " +
                 std::to_string(row.plan.c14nMethod));
    const Identity signer = makeIdentity({.kind = row.kind, .keyUsage = kDigitalSignature});
    const Document document = parse(kDocument);
    const Signed made = signPlan(signer, document.get(), row.plan);
    ASSERT_TRUE(made) << made.error;
    write("signed.xml", dump(document.get()));
    write("certificate.pem", signer.pem());
    EXPECT_TRUE(run("--verify --trusted-pem certificate.pem signed.xml"));
    write("changed.xml", replaced(dump(document.get()), "Grüße", "grüße"));
    EXPECT_NE(std::system(("xmlsec1 --verify --trusted-pem " + path("certificate.pem") + " " +
                           path("changed.xml") + " >/dev/null 2>&1")
                              .c_str()),
              0);
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

struct TemplateCase {
  KeyKind kind;
  std::string c14n;
  std::string signature;
  std::string transforms;
  std::string digest;
};

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
  for (const TemplateCase &row : {
           TemplateCase{KeyKind::rsa, c14n, "2001/04/xmldsig-more#rsa-sha256", enveloped,
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
    write("template.xml", templateOf(row.c14n, row.signature, row.transforms, row.digest));
    write("key.pem", privateKeyPem(row.kind));
    write("certificate.pem", signer.pem());
    ASSERT_TRUE(
        run("--sign --output signed.xml --privkey-pem key.pem,certificate.pem template.xml"));
    const std::string signedText = readFile(path("signed.xml"));
    EXPECT_EQ(verifyAll(parse(signedText).get()), 0u);
    EXPECT_EQ(verifyAll(parse(replaced(signedText, "Daten", "daten")).get()), 2u);
  }
}

}  // namespace
}  // namespace talvo::test
