// One conversion in each direction; everything else is the cryptographic library's.
#include "signature/sign/raw_signature.h"

#include <algorithm>
#include <cassert>

#include "crypto/handle.h"
#include "signature/vocabulary/algorithm.h"

namespace talvo {
namespace {

CryptoOctets signOctets(TalvoPKIKeyPair *keyPair, int32_t algorithm, Bytes octets) noexcept {
  const SignOperation operation(TalvoPKICryptoNewSign(keyPair, algorithm));
  if (!operation || TalvoPKICryptoSignUpdate(operation.get(), octets.data(), octets.size()) != 1) {
    return {};
  }
  return octetsFrom(TalvoPKICryptoSignFinal, operation.get());
}

// Right-aligned in the field, which is zero.
void putNumber(Bytes number, std::span<uint8_t> field) noexcept {
  assert(number.size() <= field.size());
  std::copy(number.begin(), number.end(), field.end() - static_cast<ptrdiff_t>(number.size()));
}

// r || s, each in as many octets as the group order has.
CryptoOctets toHalves(const TalvoPKIKeyPair *keyPair, Bytes der) noexcept {
  uint8_t *first = nullptr;
  uint8_t *second = nullptr;
  size_t firstLength = 0;
  size_t secondLength = 0;
  const int32_t bits = TalvoPKICryptoGetKeypairBits(keyPair);
  if (bits < 0 || TalvoPKICryptoDecodeECCSignature(der.data(), der.size(), &first, &firstLength,
                                                   &second, &secondLength) != 1) {
    return {};
  }
  const CryptoOctets r{CryptoBytes(first), firstLength};
  const CryptoOctets s{CryptoBytes(second), secondLength};
  const size_t width = (static_cast<size_t>(bits) + 7) / 8;
  CryptoBytes value(static_cast<uint8_t *>(TalvoPKICryptoAllocMemory(2 * width)));
  if (!value || r.length > width || s.length > width) {
    return {};
  }
  std::fill_n(value.get(), 2 * width, uint8_t{0});
  putNumber(r.view(), {value.get(), width});
  putNumber(s.view(), {value.get() + width, width});
  return {std::move(value), 2 * width};
}

CryptoOctets toDer(Bytes value) noexcept {
  const size_t half = value.size() / 2;
  if (value.size() % 2 != 0) {
    return {};
  }
  return octetsFrom(TalvoPKICryptoEncodeECCSignature, value.data(), half, value.data() + half,
                    half);
}

bool verifyOctets(TalvoPKIPublicKey *key, int32_t algorithm, Bytes octets, Bytes value) noexcept {
  const VerifyOperation operation(TalvoPKICryptoNewVerify(key, algorithm));
  return operation &&
         TalvoPKICryptoVerifyUpdate(operation.get(), octets.data(), octets.size()) == 1 &&
         TalvoPKICryptoVerifyFinal(operation.get(), value.data(), value.size()) == 1;
}

}  // namespace
}  // namespace talvo

using namespace talvo;

extern "C" {

int32_t sign(TalvoPKIKeyPair *keyPair, int32_t signatureMethod, const uint8_t *bytes, size_t length,
             uint8_t **signature, size_t *signatureLength) noexcept {
  const SignatureAlgorithm *method = signatureByNumber(signatureMethod);
  if (method == nullptr || method->crypto == 0 || method->family == KeyFamily::hmac) {
    return 0;
  }
  CryptoOctets value = signOctets(keyPair, method->crypto, {bytes, length});
  if (value && method->form == ValueForm::halves) {
    value = toHalves(keyPair, value.view());
  }
  if (!value) {
    return 0;
  }
  *signatureLength = value.length;
  *signature = value.bytes.release();
  return 1;
}

int32_t verifysignaturebypubkey(TalvoPKIPublicKey *key, int32_t algorithm, const uint8_t *bytes,
                                size_t length, const uint8_t *value, size_t valueLength) noexcept {
  const Bytes octets{bytes, length};
  const SignatureAlgorithm *method = signatureByCrypto(algorithm);
  if (method == nullptr || method->form == ValueForm::octets) {
    return verifyOctets(key, algorithm, octets, {value, valueLength}) ? 1 : 0;
  }
  const CryptoOctets der = toDer({value, valueLength});
  return der && verifyOctets(key, algorithm, octets, der.view()) ? 1 : 0;
}
}
