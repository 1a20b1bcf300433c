// What can be read from a certificate, by attribute number.
#include <time.h>

#include <openssl/x509v3.h>

#include "crypto/certificate.h"

using namespace talvo;
using namespace talvo::crypto;

namespace {

constexpr int kUsageBits = 9;

// The bits of the extension as they are numbered in the standard. OpenSSL's own summary counts them
// from the other end of each octet.
int32_t usageOf(const ASN1_BIT_STRING *bits) noexcept {
  int32_t usage = 0;
  for (int bit = 0; bit < kUsageBits; ++bit) {
    if (ASN1_BIT_STRING_get_bit(bits, bit) == 1) {
      usage |= 1 << bit;
    }
  }
  return usage;
}

// A certificate without the extension may be used for anything. One that repeats it, or whose
// extension cannot be read, says nothing that could be relied on.
int32_t keyUsage(const X509 *x509, int32_t *usage) noexcept {
  const int index = X509_get_ext_by_NID(x509, NID_key_usage, -1);
  if (index < 0) {
    *usage = TALVO_KEY_USAGE_ANY;
    return 1;
  }
  if (X509_get_ext_by_NID(x509, NID_key_usage, index) >= 0) {
    return 0;
  }
  const ASN1_OCTET_STRING *value = X509_EXTENSION_get_data(X509_get_ext(x509, index));
  const Bytes der =
      bytesAt(ASN1_STRING_get0_data(value), static_cast<size_t>(ASN1_STRING_length(value)));
  const BitString bits = decodeDer<BitString>(d2i_ASN1_BIT_STRING, der);
  if (!bits) {
    return 0;
  }
  *usage = usageOf(bits.get());
  return 1;
}

DistinguishedName nameOf(const X509_NAME *name) noexcept {
  const Octets der = encodeDer<X509_NAME>(i2d_X509_NAME, name);
  return DistinguishedName(der ? talvo_cert_dn_new(der.bytes.get(), der.length) : nullptr);
}

talvo_ustring *textOfName(const X509_NAME *name) noexcept {
  return talvo_cert_dn_getldapstring(nameOf(name).get(), TALVO_DN_RFC4514);
}

talvo_ustring *serialNumber(const X509 *x509) noexcept {
  const Bn number(ASN1_INTEGER_to_BN(X509_get0_serialNumber(x509), nullptr));
  const OpensslText text(number ? BN_bn2dec(number.get()) : nullptr);
  return text ? talvo_ustring_newutf8(text.get(), std::strlen(text.get())) : nullptr;
}

}  // namespace

talvo_time *talvo::crypto::newTime(const ASN1_TIME *time, int32_t nanosecond) noexcept {
  tm utc{};
  if (ASN1_TIME_to_tm(time, &utc) != 1) {
    return nullptr;
  }
  return talvo_time_newutctime(utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour,
                               utc.tm_min, utc.tm_sec, nanosecond);
}

int32_t TalvoPKICertGetCertEncode(const TalvoPKICert *cert, int32_t form, uint8_t **encoded,
                                  size_t *length) noexcept {
  if (cert == nullptr || form != TALVO_ENCODING_DER) {
    return 0;
  }
  ErrorQueueScope errors;
  return handOut(encodeDer<X509>(i2d_X509, cert->x509.get()), encoded, length);
}

int32_t TalvoPKICertGetCertIntegerAttribute(const TalvoPKICert *cert, int32_t attribute,
                                            int32_t *value) noexcept {
  if (cert == nullptr || value == nullptr) {
    return 0;
  }
  ErrorQueueScope errors;
  if (attribute == TALVO_CERT_KEY_TYPE) {
    *value = keyTypeNumber(familyOf(X509_get0_pubkey(cert->x509.get())));
    return 1;
  }
  return attribute == TALVO_CERT_KEY_USAGE ? keyUsage(cert->x509.get(), value) : 0;
}

talvo_ustring *TalvoPKICertGetCertStringAttribute(const TalvoPKICert *cert,
                                                  int32_t attribute) noexcept {
  if (cert == nullptr) {
    return nullptr;
  }
  ErrorQueueScope errors;
  switch (attribute) {
    case TALVO_CERT_SERIAL_NUMBER:
      return serialNumber(cert->x509.get());
    case TALVO_CERT_SUBJECT:
      return textOfName(X509_get_subject_name(cert->x509.get()));
    case TALVO_CERT_ISSUER:
      return textOfName(X509_get_issuer_name(cert->x509.get()));
    default:
      return nullptr;
  }
}

int32_t TalvoPKICertGetCertHashAttribute(const TalvoPKICert *cert, int32_t attribute, int32_t hash,
                                         uint8_t **digest, size_t *length) noexcept {
  const HashAlgorithm *algorithm = hashByNumber(hash);
  if (cert == nullptr || attribute != TALVO_CERT_DIGEST || algorithm == nullptr) {
    return 0;
  }
  ErrorQueueScope errors;
  const EVP_MD *method = digestOf(algorithm);
  const Octets der = encodeDer<X509>(i2d_X509, cert->x509.get());
  Octets octets = makeOctets(kSource, algorithm->length);
  if (method == nullptr || !der || !octets ||
      EVP_Digest(der.bytes.get(), der.length, octets.bytes.get(), nullptr, method, nullptr) != 1) {
    return 0;
  }
  return handOut(std::move(octets), digest, length);
}

talvo_cert_dn *TalvoPKICertGetCertIssuer(const TalvoPKICert *cert) noexcept {
  if (cert == nullptr) {
    return nullptr;
  }
  ErrorQueueScope errors;
  return nameOf(X509_get_issuer_name(cert->x509.get())).release();
}

talvo_time *TalvoPKICertGetCertValidity(const TalvoPKICert *cert, int32_t which) noexcept {
  if (cert == nullptr || which < TALVO_VALIDITY_START || which > TALVO_VALIDITY_END) {
    return nullptr;
  }
  ErrorQueueScope errors;
  return newTime(which == TALVO_VALIDITY_START ? X509_get0_notBefore(cert->x509.get())
                                               : X509_get0_notAfter(cert->x509.get()),
                 0);
}
