// Questions to public keys, and the names by which a certificate is meant.
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include "base/boundary.h"
#include "crypto/certificate.h"

using namespace talvo;
using namespace talvo::crypto;

namespace {

using Names = Handle<GENERAL_NAMES, GENERAL_NAMES_free>;
using Serial = Handle<ASN1_INTEGER, ASN1_INTEGER_free>;

struct IssuerSerial {
  Names names;
  Serial serial;
};

// SEQUENCE { GeneralNames, INTEGER, issuer's unique identifier OPTIONAL }; empty for anything else.
IssuerSerial readIssuerSerial(Bytes der) noexcept {
  const unsigned char *at = der.data();
  long length = 0;
  int tag = 0;
  int kind = 0;
  if (der.empty() || der.size() > INT_MAX ||
      (ASN1_get_object(&at, &length, &tag, &kind, static_cast<long>(der.size())) &
       (0x80 | V_ASN1_CONSTRUCTED | 1)) != V_ASN1_CONSTRUCTED ||
      tag != V_ASN1_SEQUENCE || at + length != der.data() + der.size()) {
    return {};
  }
  const unsigned char *end = at + length;
  Names names(d2i_GENERAL_NAMES(nullptr, &at, end - at));
  Serial serial(names ? d2i_ASN1_INTEGER(nullptr, &at, end - at) : nullptr);
  return {std::move(names), std::move(serial)};
}

bool namesIssuer(const GENERAL_NAMES *names, const X509 *x509) noexcept {
  for (int i = 0; i < sk_GENERAL_NAME_num(names); ++i) {
    int type = 0;
    const void *value = GENERAL_NAME_get0_value(sk_GENERAL_NAME_value(names, i), &type);
    if (type == GEN_DIRNAME &&
        X509_NAME_cmp(static_cast<const X509_NAME *>(value), X509_get_issuer_name(x509)) == 0) {
      return true;
    }
  }
  return false;
}

extern "C" int refuseKeyPassword(char *, int, int, void *) noexcept {
  return -1;
}

EvpKey readPem(Bytes text) noexcept {
  const Bio source(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
  return EvpKey(source ? PEM_read_bio_PUBKEY(source.get(), nullptr, refuseKeyPassword, nullptr)
                       : nullptr);
}

}  // namespace

int32_t TalvoPKICryptoGetPublicKeyBits(const TalvoPKIPublicKey *key) noexcept {
  return key == nullptr ? -1 : EVP_PKEY_get_bits(key->key.handle.get());
}

int32_t TalvoPKICryptoEqualPublicKey(const TalvoPKIPublicKey *first,
                                     const TalvoPKIPublicKey *second) noexcept {
  const ErrorQueueScope errors;
  return first != nullptr && second != nullptr && samePublicKey(first->key, second->key) ? 1 : 0;
}

TalvoPKIPublicKey *TalvoPKICryptoReadPublicKey(const void *bytes, size_t length) noexcept {
  const Bytes octets = bytesAt(bytes, length);
  if (octets.empty() || octets.size() > INT_MAX) {
    return nullptr;
  }
  const ErrorQueueScope errors;
  EvpKey key = decodeDer<EvpKey>(d2i_PUBKEY, octets);
  Key made = makeKey(key ? std::move(key) : readPem(octets));
  return made ? newPublicKey(std::move(made)) : nullptr;
}

int32_t TalvoPKICertMatchIssuerSerial(const TalvoPKICert *cert, const uint8_t *der,
                                      size_t length) noexcept {
  if (cert == nullptr) {
    return 0;
  }
  const ErrorQueueScope errors;
  const IssuerSerial named = readIssuerSerial(bytesAt(der, length));
  return named.serial && namesIssuer(named.names.get(), cert->x509.get()) &&
                 ASN1_INTEGER_cmp(named.serial.get(), X509_get0_serialNumber(cert->x509.get())) == 0
             ? 1
             : 0;
}
