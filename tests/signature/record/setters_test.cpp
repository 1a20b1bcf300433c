#include <string>

#include "base/utf8.h"
#include "signature/record/record.h"
#include "signature/record/signer_certificate.h"
#include "support/keys.h"
#include "support/sample_signature.h"

namespace talvo::test {
namespace {

class SetterTest : public LibraryTest {};

Decoded withMethod(const char *method) {
  return decode(replaced(plainSignature(), "{rsa-sha256}", method));
}

BigInteger number(const char *decimal) {
  return BigInteger(talvo_biginteger_newdec(decimal));
}

TEST_F(SetterTest, TakesAnHmacKeyOnlyForHmacMethods) {
  const Decoded hmac = withMethod("{hmac-sha256}");
  Signature *signature = hmac.record.get();
  EXPECT_EQ(talvo_xml_signature_sethmackey(signature, "first", 5), 1);
  EXPECT_EQ(talvo_xml_signature_sethmackey(signature, "key", 3), 1);
  EXPECT_EQ(talvo_data_blob_getlength(signature->hmacKey.get()), 3U);
  EXPECT_EQ(talvo_xml_signature_sethmackey(signature, nullptr, 0), 0);
  EXPECT_EQ(talvo_data_blob_getlength(signature->hmacKey.get()), 3U);
  EXPECT_EQ(talvo_xml_signature_sethmackey(nullptr, "key", 3), 0);
  for (const char *method : {"{rsa-sha256}", "{dsa-sha1}", "urn:unknown"}) {
    const Decoded other = withMethod(method);
    EXPECT_EQ(talvo_xml_signature_sethmackey(other.record.get(), "key", 3), 0) << method;
  }
}

TEST_F(SetterTest, TakesDomainParametersInCompleteSets) {
  const Decoded dsa = withMethod("{dsa-sha1}");
  Signature *signature = dsa.record.get();
  const BigInteger p = number("23");
  const BigInteger q = number("11");
  const BigInteger g = number("4");
  const auto set = [signature](const BigInteger &first, const BigInteger &second,
                               const BigInteger &third) {
    return talvo_xml_signature_sethdomainparam(signature, first.get(), second.get(), third.get());
  };
  EXPECT_EQ(set(nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(set(p, nullptr, g), 0);
  EXPECT_EQ(set(nullptr, q, g), 0);
  EXPECT_EQ(set(p, q, nullptr), 1);
  EXPECT_EQ(signature->domainParameters[2], nullptr);
  EXPECT_EQ(set(nullptr, nullptr, g), 1);
  EXPECT_EQ(talvo_biginteger_cmp(signature->domainParameters[0].get(), p.get()), 0);
  EXPECT_EQ(talvo_biginteger_cmp(signature->domainParameters[1].get(), q.get()), 0);
  EXPECT_EQ(talvo_biginteger_cmp(signature->domainParameters[2].get(), g.get()), 0);
  const Decoded rsa = withMethod("{rsa-sha256}");
  EXPECT_EQ(talvo_xml_signature_sethdomainparam(rsa.record.get(), p.get(), q.get(), g.get()), 0);
}

TEST_F(SetterTest, KeepsACopyOfTheBasePath) {
  const Decoded decoded = decode(plainSignature());
  EXPECT_EQ(talvo_xml_signature_setbasepath(decoded.record.get(), str("/tmp").get()), 1);
  EXPECT_EQ(talvo_xml_signature_setbasepath(decoded.record.get(), nullptr), 0);
  EXPECT_EQ(textOf(decoded.record->basePath), "/tmp");
}

TEST_F(SetterTest, CertificatesWithoutASigningUsageAreRefused) {
  struct Row {
    int keyUsage;
    bool accepted;
  };
  const Row rows[] = {{kNoKeyUsage, true},
                      {kDigitalSignature, true},
                      {kNonRepudiation, true},
                      {kKeyCertSign, true},
                      {kCrlSign, true},
                      {kKeyEncipherment, false},
                      {kKeyAgreement, false},
                      {kKeyEncipherment | kKeyAgreement, false},
                      {kKeyEncipherment | kDigitalSignature, true}};
  const Decoded decoded = decode(plainSignature());
  int32_t accepted = 0;
  for (const Row &row : rows) {
    SCOPED_TRACE(row.keyUsage);
    const Certificate certificate = makeIdentity({.keyUsage = row.keyUsage}).publicCertificate();
    EXPECT_EQ(issigncert(certificate.get()), row.accepted);
    EXPECT_EQ(talvo_xml_signature_addcert(decoded.record.get(), certificate.get()), row.accepted);
    accepted += row.accepted ? 1 : 0;
    EXPECT_EQ(items<void>(decoded.record->extraCertificates).size(), accepted);
  }
  EXPECT_EQ(issigncert(nullptr), 0);
  EXPECT_EQ(talvo_xml_signature_addcert(decoded.record.get(), nullptr), 0);
  EXPECT_EQ(talvo_xml_signature_addcert(nullptr, makeIdentity().certificate().get()), 0);
}

}  // namespace
}  // namespace talvo::test
