#include "signature/record/certid.h"

#include <algorithm>

#include "base/memory.h"
#include "support/keys.h"
#include "support/library_test.h"
#include "support/text.h"

namespace talvo::test {
namespace {

class CertIdTest : public LibraryTest {};

constexpr int32_t kHashAttribute = 44;
constexpr const char *kIssuer = "CN=Signer,O=Talvo Example,C=DE";

template <class Buffer>
Buffer copyOf(std::string_view text, Buffer buffer) {
  std::copy(text.begin(), text.end(), buffer.get());
  return buffer;
}

// Method 4 is SHA-256.
CertId certIdOf(int32_t method, const std::string &digest, const char *issuer, const char *serial) {
  CertId certId;
  certId.digestAlgorithmId = method;
  certId.digestLength = static_cast<uint32_t>(digest.size());
  certId.digest = copyOf(digest, makeBytes("test", digest.size()));
  certId.issuerName = copyText("test", issuer);
  certId.serialNumber = copyText("test", serial);
  return certId;
}

std::string digestOf(const Certificate &certificate, int32_t hash) {
  uint8_t *bytes = nullptr;
  size_t length = 0;
  EXPECT_EQ(
      TalvoPKICertGetCertHashAttribute(certificate.get(), kHashAttribute, hash, &bytes, &length),
      1);
  const CryptoBytes owned(bytes);
  return textOf({bytes, length});
}

TEST_F(CertIdTest, MatchesAsTheInterfaceHasAlwaysDone) {
  const Certificate certificate = makeIdentity().publicCertificate();
  const std::string sha1 = digestOf(certificate, 0x2000);
  const std::string sha256 = digestOf(certificate, 0x4000);
  struct Row {
    const char *name;
    int32_t method;
    std::string digest;
    const char *issuer;
    const char *serial;
    int32_t matches;
  };
  const Row rows[] = {
      {"all equal", 4, sha256, kIssuer, "4660", 1},
      {"another digest method", 1, sha1, kIssuer, "4660", 1},
      {"issuer written in another form", 4, sha256, "cn=signer, o=Talvo  Example, c=de", "4660", 1},
      {"another serial number", 4, sha256, kIssuer, "4661", 0},
      {"serial number with leading zero", 4, sha256, kIssuer, "04660", 0},
      {"another issuer", 4, sha256, "CN=Other,O=Talvo Example,C=DE", "4660", 0},
      {"a digest that differs", 4, std::string(32, 'x'), "CN=Other", "1", 1},
      {"a digest of another length", 4, sha1, kIssuer, "4660", 0},
      {"MD5", 2, std::string(16, 'x'), kIssuer, "4660", 0},
      {"RIPEMD-160", 7, std::string(20, 'x'), kIssuer, "4660", 0},
      {"an unknown digest", -1, sha256, kIssuer, "4660", 0},
      {"no such digest", 9, sha256, kIssuer, "4660", 0},
  };
  for (const Row &row : rows) {
    SCOPED_TRACE(row.name);
    const CertId certId = certIdOf(row.method, row.digest, row.issuer, row.serial);
    EXPECT_EQ(talvo_xml_signature_xades_certid_matchcert(&certId, certificate.get()), row.matches);
    EXPECT_EQ(talvo_xml_signature_xades_certid_matchcert(&certId, nullptr), 0);
  }
}

TEST_F(CertIdTest, IncompleteIdentifiersMatchNothing) {
  const Certificate certificate = makeIdentity().publicCertificate();
  const CertId empty;
  EXPECT_EQ(MatchSigningCertificateItem(&empty, certificate.get()), 0);
  EXPECT_EQ(MatchSigningCertificateItem(nullptr, certificate.get()), 0);
}

TEST_F(CertIdTest, HandsOutCopies) {
  const CertId certId = certIdOf(4, "abc", "CN=a", "not a number");
  const OwnedCertId copy = copyCertId(certId);
  ASSERT_NE(copy, nullptr);
  uint8_t *bytes = nullptr;
  uint32_t length = 0;
  ASSERT_EQ(talvo_xml_signature_xades_certid_getcerthashvalue(copy.get(), &bytes, &length), 1);
  const ByteBuffer owned(bytes);
  EXPECT_EQ(textOf({bytes, length}), "abc");
  EXPECT_NE(bytes, copy->digest.get());
  EXPECT_EQ(talvo_xml_signature_xades_certid_getcerthashvalue(copy.get(), nullptr, &length), 0);
  EXPECT_EQ(talvo_xml_signature_xades_certid_getsn(copy.get()), nullptr);
}

}  // namespace
}  // namespace talvo::test
