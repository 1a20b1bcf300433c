#include "signature/xades/properties.h"

#include <ctime>

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
    id_ = str("s");
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

  ReferenceContext reference_;
  SignedInfoContext context_;
  UString id_;
};

TEST_F(PropertiesTest, WithoutAPropertySignedPropertiesAreEmpty) {
  EXPECT_EQ(generate(SignatureHost()),
            "<ds:Object>\n<xa:QualifyingProperties xmlns:xa=\"" + textOf(g_xml_xadesv132_nsuri) +
                "\" Target=\"#s\">\n<xa:SignedProperties>\n</xa:SignedProperties>\n"
                "</xa:QualifyingProperties>\n</ds:Object>");
}

TEST_F(PropertiesTest, TheSigningTimeIsTheCurrentTimeInUtc) {
  talvo_xml_signature_signedinfoctx_xades_setusesigningtime(context_.get(), 1);
  const std::time_t before = std::time(nullptr);
  const std::string text = generate(SignatureHost());
  const std::string time = between(text, "<xa:SigningTime>", "<");
  std::tm fields{};
  EXPECT_STREQ(strptime(time.c_str(), "%Y-%m-%dT%H:%M:%SZ", &fields), "");
  EXPECT_LE(before, timegm(&fields));
  EXPECT_LE(timegm(&fields), std::time(nullptr));
}

TEST_F(PropertiesTest, NoPolicyButTheImpliedOneCanBeWritten) {
  talvo_xml_signature_signedinfoctx_xades_setsignaturepolicyimplied(context_.get());
  context_->signaturePolicyImplied = false;
  EXPECT_EQ(generate(SignatureHost()), "error 3");
}

TEST_F(PropertiesTest, ACertificateIsNamedByDigestIssuerAndSerial) {
  const SignatureHost host;
  const Identity identity = makeIdentity({.subject = "/C=DE/O=Ex\u00e4mple/CN=Me", .serial = "77"});
  const Certificate certificate = identity.publicCertificate();
  uint8_t *digest = nullptr;
  size_t length = 0;
  ASSERT_EQ(TalvoPKICertGetCertHashAttribute(certificate.get(), 44, 0x4000, &digest, &length), 1);
  const CryptoBytes owned(digest);
  const auto named = [&](int32_t digestMethod) {
    return host.textOf(OwnedNode(talvo_xml_xadesnode_signingcertificate_cert_gen(
        host.doc(), host.ns(), host.ns(), digestMethod, certificate.get())));
  };
  EXPECT_EQ(between(named(4), "<ds:DigestValue>", "<"), base64(textOf({digest, length})));
  EXPECT_EQ(between(named(4), "<ds:X509IssuerName>", "<"), "CN=Me,O=Ex\u00e4mple,C=DE");
  EXPECT_EQ(between(named(4), "<ds:X509SerialNumber>", "<"), "77");
  for (const int32_t unusable : {-1, 0, 2, 7, 9}) {
    EXPECT_EQ(named(unusable), "(null)") << unusable;
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
    int certificates;
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
  const auto encoded = [&](const void *octets, int32_t length) {
    return host.textOf(OwnedNode(talvo_xml_signature_xades_encder_gen(
        host.doc(), host.ns(), str("Value").get(), octets, length)));
  };
  EXPECT_EQ(encoded("abc", 3),
            "<ds:Value Encoding=\"" + textOf(g_xml_xades_encode_der) + "\">YWJj</ds:Value>");
  EXPECT_EQ(encoded(nullptr, 0), "(null)");
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

}  // namespace
}  // namespace talvo::test
