// What can be asked of a key, and the forms in which public keys come in.
#include "crypto/key.h"

#include <cassert>

#include <openssl/core_names.h>

#include "crypto/ecc_signature.h"

namespace talvo::crypto {

namespace {

constexpr char kSm2[] = "SM2";

// OpenSSL's names but "EC", which may be SM2 too.
struct NamedFamily {
  const char *name;
  KeyFamily family;
};
constexpr NamedFamily kFamilies[] = {
    {"RSA", KeyFamily::rsa}, {"RSA-PSS", KeyFamily::rsaPss},  {"DSA", KeyFamily::dsa},
    {kSm2, KeyFamily::sm2},  {"ED25519", KeyFamily::ed25519}, {"ED448", KeyFamily::ed448},
};

constexpr size_t kMaxRsaBits = 16384;
constexpr size_t kMaxDsaBits = 10000;

bool isOnSm2Curve(const EVP_PKEY *key) noexcept {
  assert(key != nullptr);
  char group[32] = "";
  size_t length = 0;
  return EVP_PKEY_get_group_name(key, group, sizeof group, &length) == 1 &&
         textOf({reinterpret_cast<const uint8_t *>(group), length}) == kSm2;
}

EvpKey keyFromParameters(const char *type, int selection, OSSL_PARAM *parameters) noexcept {
  EvpKeyContext context(EVP_PKEY_CTX_new_from_name(nullptr, type, nullptr));
  EVP_PKEY *key = nullptr;
  if (!context || parameters == nullptr || EVP_PKEY_fromdata_init(context.get()) != 1 ||
      EVP_PKEY_fromdata(context.get(), &key, selection, parameters) != 1) {
    return nullptr;
  }
  return EvpKey(key);
}

// The same key as type "SM2"; a key whose private part cannot be read out stays what it was.
EvpKey toSm2(EvpKey key) noexcept {
  assert(familyOf(key.get()) == KeyFamily::sm2);
  if (EVP_PKEY_is_a(key.get(), kSm2) == 1) {
    return key;
  }
  for (int selection : {EVP_PKEY_KEYPAIR, EVP_PKEY_PUBLIC_KEY}) {
    OSSL_PARAM *exported = nullptr;
    if (EVP_PKEY_todata(key.get(), selection, &exported) == 1) {
      Parameters parameters(exported);
      EvpKey converted = keyFromParameters(kSm2, selection, parameters.get());
      return converted ? std::move(converted) : std::move(key);
    }
  }
  return key;
}

struct NamedNumber {
  const char *name;
  Bytes magnitude;
};

// A public key from unsigned big-endian numbers.
template <size_t Count>
Key publicKeyOf(const char *type, const NamedNumber (&numbers)[Count]) noexcept {
  ParameterBuilder builder(OSSL_PARAM_BLD_new());
  Bn values[Count];  // the builder borrows them
  for (size_t i = 0; i < Count; ++i) {
    const Bytes bytes = numbers[i].magnitude;
    values[i].reset(BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr));
    if (!builder || !values[i] ||
        OSSL_PARAM_BLD_push_BN(builder.get(), numbers[i].name, values[i].get()) != 1) {
      return {};
    }
  }
  Parameters parameters(OSSL_PARAM_BLD_to_param(builder.get()));
  return makeKey(keyFromParameters(type, EVP_PKEY_PUBLIC_KEY, parameters.get()));
}

size_t bitsOf(Bytes magnitude) noexcept {
  if (magnitude.size() > INT_MAX) {
    return SIZE_MAX;
  }
  Bn number(BN_bin2bn(magnitude.data(), static_cast<int>(magnitude.size()), nullptr));
  return number ? static_cast<size_t>(BN_num_bits(number.get())) : SIZE_MAX;
}

Key readRsaKey(Bytes der) noexcept {
  const IntegerPair numbers = decodeIntegerPair(der);
  if (!numbers || bitsOf(numbers.first.view()) > kMaxRsaBits) {
    return {};
  }
  return publicKeyOf("RSA", {{OSSL_PKEY_PARAM_RSA_N, numbers.first.view()},
                             {OSSL_PKEY_PARAM_RSA_E, numbers.second.view()}});
}

// Takes parts off the front of the blob; a part that is not there makes it false for good.
class BlobReader {
 public:
  explicit BlobReader(Bytes bytes) noexcept : rest_(bytes) {}
  explicit operator bool() const noexcept { return valid_; }
  bool atEnd() const noexcept { return valid_ && rest_.empty(); }
  size_t left() const noexcept { return rest_.size(); }

  Bytes take(size_t length) noexcept {
    valid_ = valid_ && length <= rest_.size();
    if (!valid_) {
      return {};
    }
    const Bytes part = rest_.first(length);
    rest_ = rest_.subspan(length);
    return part;
  }

  size_t takeLength() noexcept {
    size_t length = 0;
    for (uint8_t byte : take(4)) {
      length = length << 8U | byte;
    }
    return length;
  }

 private:
  Bytes rest_;
  bool valid_ = true;
};

constexpr std::string_view kDsaBlobStart("_PUBKEY_\0\0\0\2", 12);

bool isDsaBlob(Bytes bytes) noexcept {
  return textOf(bytes).starts_with(kDsaBlobStart);
}

Key readDsaBlob(Bytes bytes) noexcept {
  assert(isDsaBlob(bytes));
  BlobReader reader(bytes.subspan(kDsaBlobStart.size()));
  const size_t announced = reader.takeLength();
  if (announced != reader.left()) {
    return {};
  }
  const size_t pLength = reader.takeLength();
  const Bytes p = reader.take(pLength);
  const Bytes q = reader.take(reader.takeLength());
  const Bytes g = reader.take(pLength);
  const Bytes y = reader.take(pLength);
  if (!reader.atEnd() || p.empty() || q.empty() || bitsOf(p) > kMaxDsaBits ||
      bitsOf(q) > kMaxDsaBits) {
    return {};
  }
  return publicKeyOf("DSA", {{OSSL_PKEY_PARAM_FFC_P, p},
                             {OSSL_PKEY_PARAM_FFC_Q, q},
                             {OSSL_PKEY_PARAM_FFC_G, g},
                             {OSSL_PKEY_PARAM_PUB_KEY, y}});
}

Key withinLimits(Key key) noexcept {
  const auto bits = key ? static_cast<size_t>(EVP_PKEY_get_bits(key.handle.get())) : 0;
  const bool isRsa = key.family == KeyFamily::rsa || key.family == KeyFamily::rsaPss;
  if ((isRsa && bits > kMaxRsaBits) || (key.family == KeyFamily::dsa && bits > kMaxDsaBits)) {
    return {};
  }
  return key;
}

Key readPublicKey(Bytes bytes) noexcept {
  if (isDsaBlob(bytes)) {
    return readDsaBlob(bytes);
  }
  if (Key rsa = readRsaKey(bytes)) {
    return rsa;
  }
  return withinLimits(makeKey(decodeDer<EvpKey>(d2i_PUBKEY, bytes)));
}

// Q fixes the width of a DSA signature half; OpenSSL's own answer for the key's bits is that of P.
int32_t dsaGroupBits(const EVP_PKEY *key) noexcept {
  assert(familyOf(key) == KeyFamily::dsa);
  BIGNUM *q = nullptr;
  if (EVP_PKEY_get_bn_param(key, OSSL_PKEY_PARAM_FFC_Q, &q) != 1) {
    return -1;
  }
  return BN_num_bits(Bn(q).get());
}

}  // namespace

KeyFamily familyOf(const EVP_PKEY *key) noexcept {
  if (key == nullptr) {
    return KeyFamily::other;
  }
  if (EVP_PKEY_is_a(key, "EC") == 1) {
    return isOnSm2Curve(key) ? KeyFamily::sm2 : KeyFamily::ec;
  }
  for (const auto &[name, family] : kFamilies) {
    if (EVP_PKEY_is_a(key, name) == 1) {
      return family;
    }
  }
  return KeyFamily::other;
}

Key makeKey(EvpKey handle) noexcept {
  const KeyFamily family = familyOf(handle.get());
  if (family == KeyFamily::sm2) {
    return {toSm2(std::move(handle)), family};
  }
  return {std::move(handle), family};
}

Key share(const Key &key) noexcept {
  return {share(key.handle.get()), key.family};
}

bool samePublicKey(const Key &first, const Key &second) noexcept {
  return first && second && EVP_PKEY_eq(first.handle.get(), second.handle.get()) == 1;
}

TalvoPKIKeyPair *newKeyPair(Key key) noexcept {
  return key ? make<TalvoPKIKeyPair>(kSource, std::move(key)).release() : nullptr;
}

TalvoPKIPublicKey *newPublicKey(Key key) noexcept {
  return key ? make<TalvoPKIPublicKey>(kSource, std::move(key)).release() : nullptr;
}

}  // namespace talvo::crypto

using namespace talvo;
using namespace talvo::crypto;

TalvoPKIKeyPair *TalvoPKICryptoDupKeyPair(TalvoPKIKeyPair *keyPair) noexcept {
  return keyPair == nullptr ? nullptr : newKeyPair(share(keyPair->key));
}

void TalvoPKICryptoFreeKeyPair(TalvoPKIKeyPair *keyPair) noexcept {
  destroy(keyPair);
}

int32_t TalvoPKICryptoGetKeypairBits(const TalvoPKIKeyPair *keyPair) noexcept {
  if (keyPair == nullptr) {
    return -1;
  }
  ErrorQueueScope errors;
  const EVP_PKEY *key = keyPair->key.handle.get();
  const int bits =
      keyPair->key.family == KeyFamily::dsa ? dsaGroupBits(key) : EVP_PKEY_get_bits(key);
  return bits > 0 ? bits : -1;
}

int32_t TalvoPKICryptoGetKeypairType(const TalvoPKIKeyPair *keyPair) noexcept {
  return keyPair == nullptr ? 0 : keyTypeNumber(keyPair->key.family);
}

int32_t TalvoPKICryptoIsSM2KeyPair(const TalvoPKIKeyPair *keyPair) noexcept {
  return keyPair != nullptr && keyPair->key.family == KeyFamily::sm2;
}

TalvoPKIPublicKey *TalvoPKICryptoGetKeypairPublicKey(const TalvoPKIKeyPair *keyPair) noexcept {
  if (keyPair == nullptr) {
    return nullptr;
  }
  ErrorQueueScope errors;
  // By way of the encoding, so that the public key does not carry the private one along.
  const Octets der = encodeDer<EVP_PKEY>(i2d_PUBKEY, keyPair->key.handle.get());
  return newPublicKey(makeKey(decodeDer<EvpKey>(d2i_PUBKEY, der.view())));
}

TalvoPKIPublicKey *TalvoPKICryptoDupPublicKey(TalvoPKIPublicKey *key) noexcept {
  return key == nullptr ? nullptr : newPublicKey(share(key->key));
}

void TalvoPKICryptoFreePublicKey(TalvoPKIPublicKey *key) noexcept {
  destroy(key);
}

int32_t TalvoPKICryptoGetPublicKeyType(const TalvoPKIPublicKey *key) noexcept {
  return key == nullptr ? 0 : keyTypeNumber(key->key.family);
}

int32_t TalvoPKICryptoEncodeRSAPubKey(const uint8_t *modulus, size_t modulusLength,
                                      const uint8_t *exponent, size_t exponentLength,
                                      uint8_t **encoded, size_t *length) noexcept {
  ErrorQueueScope errors;
  return handOut(
      encodeIntegerPair(bytesAt(modulus, modulusLength), bytesAt(exponent, exponentLength)),
      encoded, length);
}

TalvoPKIPublicKey *TalvoPKICryptoImportPublicKey(TalvoPKIDevice *device, const uint8_t *bytes,
                                                 size_t length) noexcept {
  if (device == nullptr || bytes == nullptr) {
    return nullptr;
  }
  ErrorQueueScope errors;
  return newPublicKey(readPublicKey({bytes, length}));
}
