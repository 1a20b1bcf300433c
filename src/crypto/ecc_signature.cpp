// OpenSSL reads and writes the pair; here its numbers go in and out as octets.
#include "crypto/ecc_signature.h"

#include <cassert>

#include "talvo_crypto.h"

#include "crypto/der.h"

namespace talvo::crypto {

namespace {

constexpr size_t kMaxLength = 0xffff;

Bn numberOf(Bytes magnitude) noexcept {
  if (magnitude.size() > kMaxLength) {
    return nullptr;
  }
  return Bn(BN_bin2bn(magnitude.data(), static_cast<int>(magnitude.size()), nullptr));
}

Octets magnitudeOf(const BIGNUM *number) noexcept {
  assert(number != nullptr && !BN_is_negative(number));
  Octets octets = makeOctets(kSource, static_cast<size_t>(BN_num_bytes(number)));
  if (octets) {
    BN_bn2bin(number, octets.bytes.get());
  }
  return octets;
}

}  // namespace

IntegerPair decodeIntegerPair(Bytes der) noexcept {
  const EcdsaSignature pair = decodeDer<EcdsaSignature>(d2i_ECDSA_SIG, der);
  if (!pair) {
    return {};
  }
  return {magnitudeOf(ECDSA_SIG_get0_r(pair.get())), magnitudeOf(ECDSA_SIG_get0_s(pair.get()))};
}

Octets encodeIntegerPair(Bytes first, Bytes second) noexcept {
  EcdsaSignature pair(ECDSA_SIG_new());
  Bn r = numberOf(first);
  Bn s = numberOf(second);
  if (!pair || !r || !s || ECDSA_SIG_set0(pair.get(), r.get(), s.get()) != 1) {
    return {};
  }
  static_cast<void>(r.release());  // both belong to the pair now
  static_cast<void>(s.release());
  return encodeDer<ECDSA_SIG>(i2d_ECDSA_SIG, pair.get());
}

}  // namespace talvo::crypto

using namespace talvo;
using namespace talvo::crypto;

int32_t TalvoPKICryptoDecodeECCSignature(const uint8_t *der, size_t length, uint8_t **r,
                                         size_t *rLength, uint8_t **s, size_t *sLength) noexcept {
  if (r == nullptr || rLength == nullptr || s == nullptr || sLength == nullptr) {
    return 0;
  }
  ErrorQueueScope errors;
  IntegerPair pair = decodeIntegerPair(bytesAt(der, length));
  return pair && handOut(std::move(pair.first), r, rLength) == 1 &&
         handOut(std::move(pair.second), s, sLength) == 1;
}

int32_t TalvoPKICryptoEncodeECCSignature(const uint8_t *r, size_t rLength, const uint8_t *s,
                                         size_t sLength, uint8_t **der, size_t *length) noexcept {
  if ((r == nullptr && rLength != 0) || (s == nullptr && sLength != 0)) {
    return 0;
  }
  ErrorQueueScope errors;
  return handOut(encodeIntegerPair(bytesAt(r, rLength), bytesAt(s, sLength)), der, length);
}
