#include "signature/xades/properties.h"

#include <ctime>

#include "support/every_allocation_fails.h"
#include "support/keys.h"
#include "support/signature_namespace.h"

namespace talvo::test {
namespace {

class PropertiesTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    reference_ = reference("#p");
    context_ = signedInfo(reference_.get());
    id_ = makeString("s");
  }
  void TearDown() override {
    context_.reset();
    reference_.reset();
    id_.reset();
    LibraryTest::TearDown();
  }

  // The text, or the error code.
  std::string generate(const SignatureHost &host, const TalvoPKICert *certificate = nullptr) {
    uint32_t error = 0;
    OwnedNode object = generateQualifyingProperties(host.doc(), host.ns(), id_.get(),
                                                    context_.get(), certificate, &error);
    return object == nullptr ? "error " + std::to_string(error) : host.textOf(std::move(object));
  }

  // What stands around the properties.
  static std::string wrapped(const std::string &properties) {
    return "<ds:Object>\n<xa:QualifyingProperties xmlns:xa=\"" +
           std::string(viewOf(g_xml_xadesv132_nsuri)) +
           "\" Target=\"#s\">\n<xa:SignedProperties>\n" + properties +
           "</xa:SignedProperties>\n</xa:QualifyingProperties>\n</ds:Object>";
  }

  static std::string inSignature(const std::string &properties) {
    return wrapped("<xa:SignedSignatureProperties>\n" + properties +
                   "</xa:SignedSignatureProperties>\n");
  }

  static size_t count(const std::string &text, const std::string &part) {
    size_t found = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
      ++found;
    }
    return found;
  }

  ReferenceContext reference_;
  SignedInfoContext context_;
  UString id_;
};

TEST_F(PropertiesTest, WithoutAPropertySignedPropertiesAreEmpty) {
  EXPECT_EQ(generate(SignatureHost()), wrapped(""));
}

TEST_F(PropertiesTest, TheSigningTimeIsTheCurrentTimeInUtc) {
  talvo_xml_signature_signedinfoctx_xades_setusesigningtime(context_.get(), 1);
  const auto now = [] {
    const std::time_t seconds = std::time(nullptr);
    std::tm fields;
    gmtime_r(&seconds, &fields);
    char text[32];
    std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%SZ", &fields);
    return std::string(text);
  };
  const std::string before = now();
  const std::string text = generate(SignatureHost());
  const std::string after = now();
  const std::string time = between(text, "<xa:SigningTime>", "<");
  EXPECT_LE(before, time);
  EXPECT_LE(time, after);
  EXPECT_EQ(text, inSignature("<xa:SigningTime>" + time + "</xa:SigningTime>\n"));
}

TEST_F(PropertiesTest, PolicyAndPlaceStandInTheOrderOfTheSchema) {
  talvo_xml_signature_signedinfoctx_xades_setsignatureproductionplace(
      context_.get(), makeString("Z\u00fcrich").get(), nullptr, makeString("8001").get(),
      makeString("CH").get());
  talvo_xml_signature_signedinfoctx_xades_setsignaturepolicyimplied(context_.get());
  // The name of the policy element lacks its second "i".
  EXPECT_EQ(generate(SignatureHost()),
            inSignature("<xa:SignaturePolicyIdentifer>\n<xa:SignaturePolicyImplied/>\n"
                        "</xa:SignaturePolicyIdentifer>\n<xa:SignatureProductionPlace>\n"
                        "<xa:City>Z\u00fcrich</xa:City>\n<xa:PostalCode>8001</xa:PostalCode>\n"
                        "<xa:CountryName>CH</xa:CountryName>\n</xa:SignatureProductionPlace>\n"));
  context_->signaturePolicyImplied = false;
  EXPECT_EQ(generate(SignatureHost()), "error 3");
}

TEST_F(PropertiesTest, IdsStandFirst) {
  talvo_xml_signature_signedinfoctx_xades_setqualifyingpropertiesid(context_.get(),
                                                                    makeString("q").get());
  talvo_xml_signature_signedinfoctx_xades_setsignedpropertiesid(context_.get(),
                                                                makeString("p").get());
  talvo_xml_signature_signedinfoctx_xades_setsignedsignaturepropertiesid(context_.get(),
                                                                         makeString("ss").get());
  talvo_xml_signature_signedinfoctx_xades_setsignaturepolicyimplied(context_.get());
  const std::string text = generate(SignatureHost());
  for (const char *part : {"\" Id=\"q\" Target=\"#s\">", "<xa:SignedProperties Id=\"p\">\n",
                           "<xa:SignedSignatureProperties Id=\"ss\">\n"}) {
    EXPECT_NE(text.find(part), std::string::npos) << part << " in " << text;
  }
}

TEST_F(PropertiesTest, ACertificateIsNamedByDigestIssuerAndSerial) {
  const SignatureHost host;
  const Identity identity = makeIdentity({.subject = "/C=DE/O=Ex\u00e4mple/CN=Me", .serial = "77"});
  const Certificate certificate = identity.publicCertificate();
  uint8_t *digest = nullptr;
  size_t length = 0;
  ASSERT_EQ(TalvoPKICertGetCertHashAttribute(certificate.get(), 44, 0x4000, &digest, &length), 1);
  const CryptoBytes owned(digest);
  char *base64 = nullptr;
  ASSERT_EQ(talvo_base64_encode(digest, length, 4, &base64, nullptr), 1);
  const TextBuffer text(base64);
  XmlNode *made = talvo_xml_xadesnode_signingcertificate_cert_gen(host.doc(), host.ns(), host.ns(),
                                                                  4, certificate.get());
  ASSERT_NE(made, nullptr);
  const UString uri(talvo_xml_algorithm_geturi(2, 4));
  EXPECT_EQ(test::textOf(Blob(talvo_xml_element_dump(made))),
            "<ds:Cert>\n<ds:CertDigest>\n<ds:DigestMethod Algorithm=\"" + test::textOf(uri) +
                "\"/>\n<ds:DigestValue>" + base64 +
                "</ds:DigestValue>\n</ds:CertDigest>\n<ds:IssuerSerial>\n"
                "<ds:X509IssuerName>CN=Me,O=Ex\u00e4mple,C=DE</ds:X509IssuerName>\n"
                "<ds:X509SerialNumber>77</ds:X509SerialNumber>\n</ds:IssuerSerial>\n</ds:Cert>");
  talvo_xml_node_free(made);
  for (const int32_t unusable : {-1, 0, 2, 7, 9}) {
    EXPECT_EQ(talvo_xml_xadesnode_signingcertificate_cert_gen(host.doc(), host.ns(), host.ns(),
                                                              unusable, certificate.get()),
              nullptr);
  }
}

TEST_F(PropertiesTest, TheOptionDecidesHowMuchOfThePathIsNamed) {
  const Chain chain = makeChain();
  const Identity direct = makeIdentity({.subject = "/CN=Second", .issuer = &chain.root});
  Certificate pair = direct.certificate();
  TalvoPKICertAddChainCert(pair.get(), chain.root.publicCertificate().get());
  const Certificate full = chain.certificate();
  const Certificate orphan = direct.certificate();
  const struct {
    const char *name;
    const TalvoPKICert *certificate;
    int32_t option;
    size_t certificates;
  } rows[] = {{"self", full.get(), 2, 1},        {"path", full.get(), 3, 2},
              {"root", full.get(), 4, 3},        {"path of two", pair.get(), 3, 1},
              {"root of two", pair.get(), 4, 2}, {"self, no path", orphan.get(), 2, 1}};
  for (const auto &row : rows) {
    SCOPED_TRACE(row.name);
    talvo_xml_signature_signedinfoctx_xades_setsigningcertificateinfo(context_.get(), 4,
                                                                      row.option);
    EXPECT_EQ(count(generate(SignatureHost(), row.certificate), "<xa:Cert>\n"), row.certificates);
  }
  talvo_xml_signature_signedinfoctx_xades_setsigningcertificateinfo(context_.get(), 4, 3);
  EXPECT_EQ(generate(SignatureHost(), orphan.get()), "error 29");
  EXPECT_EQ(generate(SignatureHost(), nullptr), "error 29");
}

TEST_F(PropertiesTest, AnEncodedValueSaysThatItIsDer) {
  const SignatureHost host;
  const UString name = makeString("Value");
  XmlNode *made = talvo_xml_signature_xades_encder_gen(host.doc(), host.ns(), name.get(), "abc", 3);
  EXPECT_EQ(
      test::textOf(Blob(talvo_xml_element_dump(made))),
      "<ds:Value Encoding=\"" + std::string(viewOf(g_xml_xades_encode_der)) + "\">YWJj</ds:Value>");
  talvo_xml_node_free(made);
  EXPECT_EQ(talvo_xml_signature_xades_encder_gen(host.doc(), host.ns(), name.get(), nullptr, 0),
            nullptr);
}

TEST_F(PropertiesTest, NullArgumentsMakeNothing) {
  const SignatureHost host;
  uint32_t error = 0;
  EXPECT_EQ(talvo_xml_xadesnode_qualifyingproperties_gen(host.doc(), host.ns(), id_.get(),
                                                         context_.get(), nullptr, nullptr),
            nullptr);
  for (const int missing : {0, 1, 2, 3}) {
    error = 0;
    EXPECT_EQ(talvo_xml_xadesnode_qualifyingproperties_gen(
                  missing == 0 ? nullptr : host.doc(), missing == 1 ? nullptr : host.ns(),
                  missing == 2 ? nullptr : id_.get(), missing == 3 ? nullptr : context_.get(),
                  nullptr, &error),
              nullptr);
    EXPECT_EQ(error, 3U) << missing;
  }
}

TEST_F(PropertiesTest, EveryFailedAllocationIsAFailure) {
  const SignatureHost host;
  const Certificate certificate = makeIdentity().certificate();
  const UString text = makeString("x");
  SignedInfoCtx *context = context_.get();
  talvo_xml_signature_signedinfoctx_xades_setusesigningtime(context, 1);
  talvo_xml_signature_signedinfoctx_xades_setsigningcertificateinfo(context, 4, 4);
  talvo_xml_signature_signedinfoctx_xades_setsignaturepolicyimplied(context);
  talvo_xml_signature_signedinfoctx_xades_setsignatureproductionplace(
      context, text.get(), text.get(), text.get(), text.get());
  everyAllocationFails([&] {
    uint32_t error = 0;
    XmlNode *made = talvo_xml_xadesnode_qualifyingproperties_gen(
        host.doc(), host.ns(), id_.get(), context, certificate.get(), &error);
    talvo_xml_node_free(made);
    return made != nullptr || error == 0;
  });
}

}  // namespace
}  // namespace talvo::test
