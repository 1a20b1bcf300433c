// One conversion in each direction; everything else is the cryptographic library's.
#include "signature/sign/raw_signature.h"

#include <algorithm>

#include "base/handle.h"
#include "signature/vocabulary/algorithm.h"

namespace talvo {
namespace {

using CryptoBytes = Handle<uint8_t, TalvoPKICryptoFreeMemory>;
using SignOperation = Handle<TalvoPKISign, TalvoPKICryptoFreeSign>;
using VerifyOperation = Handle<TalvoPKIVerify, TalvoPKICryptoFreeVerify>;

struct CryptoBuffer {
  CryptoBytes bytes;
  size_t length = 0;
};

// DSA, ECDSA and SM2 by the cryptographic library's numbers.
bool hasTwoHalves(int32_t algorithm) noexcept {
  return (algorithm >= 13 && algorithm <= 20) || algorithm == 25;
}

CryptoBuffer signBytes(TalvoPKIKeyPair *keyPair, int32_t algorithm, Bytes octets) noexcept {
  SignOperation operation(TalvoPKICryptoNewSign(keyPair, algorithm));
  uint8_t *value = nullptr;
  size_t length = 0;
  if (!operation || TalvoPKICryptoSignUpdate(operation.get(), octets.data(), octets.size()) != 1 ||
      TalvoPKICryptoSignFinal(operation.get(), &value, &length) != 1) {
    return {};
  }
  return {CryptoBytes(value), length};
}

// r || s, each right-aligned in as many bytes as the group order has.
CryptoBuffer toFixedWidth(const TalvoPKIKeyPair *keyPair, const CryptoBuffer &der) noexcept {
  uint8_t *r = nullptr;
  uint8_t *s = nullptr;
  size_t rLength = 0;
  size_t sLength = 0;
  const int32_t bits = TalvoPKICryptoGetKeypairBits(keyPair);
  if (bits < 0 || TalvoPKICryptoDecodeECCSignature(der.bytes.get(), der.length, &r, &rLength, &s,
                                                   &sLength) != 1) {
    return {};
  }
  CryptoBytes first(r);
  CryptoBytes second(s);
  const size_t width = (static_cast<size_t>(bits) + 7) / 8;
  if (rLength > width || sLength > width) {
    return {};
  }
  CryptoBuffer value{CryptoBytes(static_cast<uint8_t *>(TalvoPKICryptoAllocMemory(2 * width))),
                     2 * width};
  if (!value.bytes) {
    return {};
  }
  std::fill_n(value.bytes.get(), 2 * width, uint8_t{0});
  std::copy_n(r, rLength, value.bytes.get() + width - rLength);
  std::copy_n(s, sLength, value.bytes.get() + 2 * width - sLength);
  return value;
}

CryptoBuffer toDer(Bytes value) noexcept {
  const size_t half = value.size() / 2;
  uint8_t *der = nullptr;
  size_t length = 0;
  if (value.size() % 2 != 0 ||
      TalvoPKICryptoEncodeECCSignature(value.data(), half, value.data() + half, half, &der,
                                       &length) != 1) {
    return {};
  }
  return {CryptoBytes(der), length};
}

bool verifyBytes(TalvoPKIPublicKey *key, int32_t algorithm, Bytes octets, Bytes value) noexcept {
  VerifyOperation operation(TalvoPKICryptoNewVerify(key, algorithm));
  return operation &&
         TalvoPKICryptoVerifyUpdate(operation.get(), octets.data(), octets.size()) == 1 &&
         TalvoPKICryptoVerifyFinal(operation.get(), value.data(), value.size()) == 1;
}

}  // namespace
}  // namespace talvo

extern "C" {

int32_t sign(TalvoPKIKeyPair *keyPair, int32_t signatureMethod, const uint8_t *bytes, size_t length,
             uint8_t **signature, size_t *signatureLength) noexcept {
  using namespace talvo;
  const SignatureAlgorithm *method = signatureByNumber(signatureMethod);
  if (method == nullptr || method->crypto == 0 || method->family == KeyFamily::hmac) {
    return 0;
  }
  CryptoBuffer value = signBytes(keyPair, method->crypto, {bytes, length});
  if (value.bytes && hasTwoHalves(method->crypto)) {
    value = toFixedWidth(keyPair, value);
  }
  if (!value.bytes) {
    return 0;
  }
  *signatureLength = value.length;
  *signature = value.bytes.release();
  return 1;
}

int32_t verifysignaturebypubkey(TalvoPKIPublicKey *key, int32_t algorithm, const uint8_t *bytes,
                                size_t length, const uint8_t *value, size_t valueLength) noexcept {
  using namespace talvo;
  const Bytes octets{bytes, length};
  if (!hasTwoHalves(algorithm)) {
    return verifyBytes(key, algorithm, octets, {value, valueLength}) ? 1 : 0;
  }
  const CryptoBuffer der = toDer({value, valueLength});
  return der.bytes && verifyBytes(key, algorithm, octets, {der.bytes.get(), der.length}) ? 1 : 0;
}
}
