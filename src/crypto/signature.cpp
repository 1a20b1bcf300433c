// Signing and verifying. Both are a digest context that OpenSSL joins with the key; which keys go
// with which algorithm is decided here, before OpenSSL could take one for the other.
#include "talvo_crypto.h"

#include "crypto/key.h"

using namespace talvo;
using namespace talvo::crypto;

struct TalvoPKISign {
  EvpDigest context;  // null once the signature was taken
};

struct TalvoPKIVerify {
  EvpDigest context;  // null once the verdict was given
};

namespace {

bool setIdentifier(EVP_PKEY_CTX *context) noexcept {
  return EVP_PKEY_CTX_set1_id(context, kSm2Identifier.data(), kSm2Identifier.size()) == 1;
}

// `init` is EVP_DigestSignInit or EVP_DigestVerifyInit.
template <class Init>
EvpDigest start(const Key &key, int32_t algorithm, Init init) noexcept {
  const SigningAlgorithm *method = signingByNumber(algorithm);
  if (method == nullptr || method->family != key.family) {
    return nullptr;
  }
  // An SM2 key held by a token keeps the type "EC", and signing with it would be plain ECDSA.
  const bool sm2 = key.family == KeyFamily::sm2;
  if (sm2 && EVP_PKEY_is_a(key.handle.get(), "SM2") != 1) {
    return nullptr;
  }
  const EVP_MD *digest = digestOf(hashByNumber(method->hash));
  EvpDigest context(EVP_MD_CTX_new());
  EVP_PKEY_CTX *keyContext = nullptr;  // borrowed from the digest context
  if (digest == nullptr || !context ||
      init(context.get(), &keyContext, digest, nullptr, key.handle.get()) != 1 ||
      (sm2 && !setIdentifier(keyContext))) {
    return nullptr;
  }
  return context;
}

Octets takeSignature(EVP_MD_CTX *context) noexcept {
  size_t length = 0;
  if (EVP_DigestSignFinal(context, nullptr, &length) != 1) {
    return {};
  }
  Octets signature = makeOctets(kSource, length);
  if (!signature || EVP_DigestSignFinal(context, signature.bytes.get(), &length) != 1) {
    return {};
  }
  signature.length = length;  // DER signatures vary; the first answer was an upper bound
  return signature;
}

}  // namespace

TalvoPKISign *TalvoPKICryptoNewSign(TalvoPKIKeyPair *keyPair, int32_t algorithm) noexcept {
  if (keyPair == nullptr) {
    return nullptr;
  }
  ErrorQueueScope errors;
  EvpDigest context = start(keyPair->key, algorithm, EVP_DigestSignInit);
  return context ? make<TalvoPKISign>(kSource, std::move(context)).release() : nullptr;
}

int32_t TalvoPKICryptoSignUpdate(TalvoPKISign *sign, const void *bytes, size_t length) noexcept {
  if (sign == nullptr || !sign->context || (bytes == nullptr && length != 0)) {
    return 0;
  }
  ErrorQueueScope errors;
  return EVP_DigestSignUpdate(sign->context.get(), bytes, length) == 1;
}

int32_t TalvoPKICryptoSignFinal(TalvoPKISign *sign, uint8_t **signature, size_t *length) noexcept {
  if (sign == nullptr || !sign->context || signature == nullptr || length == nullptr) {
    return 0;
  }
  ErrorQueueScope errors;
  const EvpDigest context = std::move(sign->context);
  return handOut(takeSignature(context.get()), signature, length);
}

void TalvoPKICryptoFreeSign(TalvoPKISign *sign) noexcept {
  destroy(sign);
}

TalvoPKIVerify *TalvoPKICryptoNewVerify(TalvoPKIPublicKey *key, int32_t algorithm) noexcept {
  if (key == nullptr) {
    return nullptr;
  }
  ErrorQueueScope errors;
  EvpDigest context = start(key->key, algorithm, EVP_DigestVerifyInit);
  return context ? make<TalvoPKIVerify>(kSource, std::move(context)).release() : nullptr;
}

int32_t TalvoPKICryptoVerifyUpdate(TalvoPKIVerify *verify, const void *bytes,
                                   size_t length) noexcept {
  if (verify == nullptr || !verify->context || (bytes == nullptr && length != 0)) {
    return 0;
  }
  ErrorQueueScope errors;
  return EVP_DigestVerifyUpdate(verify->context.get(), bytes, length) == 1;
}

int32_t TalvoPKICryptoVerifyFinal(TalvoPKIVerify *verify, const uint8_t *signature,
                                  size_t length) noexcept {
  if (verify == nullptr || !verify->context || signature == nullptr) {
    return 0;
  }
  ErrorQueueScope errors;
  const EvpDigest context = std::move(verify->context);
  // A negative answer is a signature that could not be read: as invalid as a wrong one.
  return EVP_DigestVerifyFinal(context.get(), signature, length) == 1;
}

void TalvoPKICryptoFreeVerify(TalvoPKIVerify *verify) noexcept {
  destroy(verify);
}
