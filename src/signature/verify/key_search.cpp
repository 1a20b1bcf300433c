// A certificate is a candidate when it parses, has a key of the method's family and may sign; a key
// value when its numbers are there and positive. A candidate whose key cannot be imported still
// counts as tried, so that the caller can tell "no key" from "no key fits".
#include "signature/verify/key_search.h"

#include <cstring>

#include "base/memory.h"
#include "signature/record/signer_certificate.h"
#include "signature/sign/raw_signature.h"

namespace talvo {
namespace {

constexpr const char *kSource = "TALVO_XML_Signature";

bool isPositive(const talvo_biginteger *number) noexcept {
  return talvo_biginteger_getsign(number) > 0;
}

size_t byteLength(const talvo_biginteger *number) noexcept {
  return (static_cast<size_t>(talvo_biginteger_getbits(number)) + 7) / 8;
}

bool hasKeyFamily(const TalvoPKICert *certificate, KeyFamily family) noexcept {
  int32_t type = 0;
  return TalvoPKICertGetCertIntegerAttribute(certificate, TALVO_CERT_KEY_TYPE, &type) == 1 &&
         type == static_cast<int32_t>(family);
}

// Writes the cryptographic library's DSA key blob field by field.
class BlobWriter {
 public:
  explicit BlobWriter(uint8_t *at) noexcept : at_(at) {}

  void text(const char *bytes, size_t length) noexcept {
    std::memcpy(at_, bytes, length);
    at_ += length;
  }
  void number(size_t value) noexcept {
    for (int shift = 24; shift >= 0; shift -= 8) {
      *at_++ = static_cast<uint8_t>(value >> shift);
    }
  }
  // False when the number is wider than its field.
  bool integer(const talvo_biginteger *value, size_t width) noexcept {
    const bool fits = talvo_biginteger_getunsigneddata(value, at_, width) == 1;
    at_ += width;
    return fits;
  }

 private:
  uint8_t *at_;
};

struct DsaNumbers {
  const talvo_biginteger *p;
  const talvo_biginteger *q;
  const talvo_biginteger *g;
  const talvo_biginteger *y;

  bool usable() const noexcept {
    return isPositive(p) && isPositive(q) && isPositive(g) && isPositive(y);
  }
};

const talvo_biginteger *orElse(const BigInteger &own, const BigInteger &given) noexcept {
  return own ? own.get() : given.get();
}

PublicKey importDsaBlob(const DsaNumbers &numbers) noexcept {
  const size_t pLength = byteLength(numbers.p);
  const size_t qLength = byteLength(numbers.q);
  const size_t rest = 3 * pLength + qLength + 8;
  constexpr size_t kHeader = 16;
  ByteBuffer blob = makeBytes(kSource, kHeader + rest);
  if (!blob) {
    return nullptr;
  }
  BlobWriter writer(blob.get());
  writer.text("_PUBKEY_\0\0\0\2", 12);
  writer.number(rest);
  writer.number(pLength);
  bool fits = writer.integer(numbers.p, pLength);
  writer.number(qLength);
  fits = writer.integer(numbers.q, qLength) && fits;
  fits = writer.integer(numbers.g, pLength) && fits;
  fits = writer.integer(numbers.y, pLength) && fits;
  return fits ? PublicKey(TalvoPKICryptoImportPublicKey(TalvoPKICryptoGetPseudoDevice(), blob.get(),
                                                        kHeader + rest))
              : nullptr;
}

ByteBuffer magnitude(const talvo_biginteger *number, size_t length) noexcept {
  ByteBuffer bytes = makeBytes(kSource, length);
  if (!bytes || talvo_biginteger_getunsigneddata(number, bytes.get(), length) != 1) {
    return nullptr;
  }
  return bytes;
}

}  // namespace

bool KeySearch::run() noexcept {
  return tryKeyInfo() || tryCertificates(signature_->extraCertificates) ||
         tryCertificates(signature_->certificateValues);
}

Key KeySearch::makeKey() const noexcept {
  return Key(certificate_ ? talvo_xml_signature_key_newcert(certificate_.get())
                          : talvo_xml_signature_key_newpubkey(publicKey_.get()));
}

bool KeySearch::tryKeyInfo() noexcept {
  if (!signature_->keyInfo) {
    return false;
  }
  for (const KeyInfoItem *item : items<KeyInfoItem>(signature_->keyInfo->items)) {
    const auto *keyValue = std::get_if<Owned<KeyValue>>(&item->data);
    const auto *dataItems = std::get_if<List>(&item->data);
    if ((keyValue != nullptr && tryKeyValue(keyValue->get())) ||
        (dataItems != nullptr && tryX509Data(*dataItems))) {
      return true;
    }
  }
  return false;
}

bool KeySearch::tryX509Data(const List &dataItems) noexcept {
  for (const X509DataItem *item : items<X509DataItem>(dataItems)) {
    const auto *der = std::get_if<Blob>(&item->data);
    if (item->kind != X509Kind::certificate || der == nullptr) {
      continue;
    }
    const Bytes bytes = bytesOf(der->get());
    if (tryCertificate(Certificate(TalvoPKICertNewCert(bytes.data(), bytes.size())))) {
      return true;
    }
  }
  return false;
}

bool KeySearch::tryKeyValue(const KeyValue *keyValue) noexcept {
  const auto *dsa = std::get_if<Owned<DsaKeyValue>>(&keyValue->value);
  const auto *rsa = std::get_if<Owned<RsaKeyValue>>(&keyValue->value);
  if (dsa != nullptr && check_.family == KeyFamily::dsa) {
    return tryKey(importDsa(**dsa));
  }
  if (rsa != nullptr && check_.family == KeyFamily::rsa) {
    return tryKey(importRsa(**rsa));
  }
  return false;
}

bool KeySearch::tryCertificates(const List &certificates) noexcept {
  for (const TalvoPKICert *certificate : items<TalvoPKICert>(certificates)) {
    if (tryCertificate(Certificate(TalvoPKICertDupCert(certificate)))) {
      return true;
    }
  }
  return false;
}

bool KeySearch::tryCertificate(Certificate candidate) noexcept {
  if (!candidate || !hasKeyFamily(candidate.get(), check_.family) ||
      issigncert(candidate.get()) != 1) {
    return false;
  }
  tried_ = true;
  if (!tryKey(PublicKey(TalvoPKICertGetCertPublicKey(candidate.get(), TALVO_USE_VERIFY)))) {
    return false;
  }
  certificate_ = std::move(candidate);
  return true;
}

bool KeySearch::tryKey(PublicKey key) noexcept {
  if (!key || verifysignaturebypubkey(key.get(), check_.algorithm, check_.octets.data(),
                                      check_.octets.size(), check_.value.data(),
                                      check_.value.size()) != 1) {
    return false;
  }
  publicKey_ = std::move(key);
  return true;
}

PublicKey KeySearch::importDsa(const DsaKeyValue &keyValue) noexcept {
  const auto &given = signature_->domainParameters;
  const DsaNumbers numbers{orElse(keyValue.p, given[0]), orElse(keyValue.q, given[1]),
                           orElse(keyValue.g, given[2]), keyValue.y.get()};
  if (!numbers.usable()) {
    return nullptr;
  }
  tried_ = true;
  return importDsaBlob(numbers);
}

PublicKey KeySearch::importRsa(const RsaKeyValue &keyValue) noexcept {
  if (!isPositive(keyValue.modulus.get()) || !isPositive(keyValue.exponent.get())) {
    return nullptr;
  }
  tried_ = true;
  const size_t modulusLength = byteLength(keyValue.modulus.get());
  const size_t exponentLength = byteLength(keyValue.exponent.get());
  const ByteBuffer modulus = magnitude(keyValue.modulus.get(), modulusLength);
  const ByteBuffer exponent = magnitude(keyValue.exponent.get(), exponentLength);
  if (!modulus || !exponent) {
    return nullptr;
  }
  const CryptoOctets encoded = octetsFrom(TalvoPKICryptoEncodeRSAPubKey, modulus.get(),
                                          modulusLength, exponent.get(), exponentLength);
  return PublicKey(TalvoPKICryptoImportPublicKey(TalvoPKICryptoGetPseudoDevice(),
                                                 encoded.bytes.get(), encoded.length));
}

}  // namespace talvo
