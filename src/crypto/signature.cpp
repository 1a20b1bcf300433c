// Signing and verifying. Both are a digest context that OpenSSL joins with the key; which keys go
// with which algorithm is decided here, before OpenSSL could take one for the other.
#include <algorithm>
#include <cassert>

#include "talvo_crypto.h"

#include "crypto/key.h"

namespace talvo::crypto {

namespace {

// What a signature is made with. The hash is null for a method that takes its text as a whole.
struct Scheme {
  KeyFamily family;
  const HashAlgorithm *hash;
  const HashAlgorithm *mask = nullptr;  // for RSA-PSS alone
  int32_t saltLength = 0;
};

bool fits(const Key &key, const Scheme &scheme) noexcept {
  // An SM2 key held by a token keeps the type "EC", and signing with it would be plain ECDSA.
  if (key.family == KeyFamily::sm2 && EVP_PKEY_is_a(key.handle.get(), "SM2") != 1) {
    return false;
  }
  return key.family == scheme.family || (key.family == KeyFamily::rsaPss && scheme.mask != nullptr);
}

bool setIdentifier(EVP_PKEY_CTX *context) noexcept {
  return EVP_PKEY_CTX_set1_id(context, kSm2Identifier.data(), kSm2Identifier.size()) == 1;
}

bool setPss(EVP_PKEY_CTX *context, const Scheme &scheme) noexcept {
  return EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_PSS_PADDING) == 1 &&
         EVP_PKEY_CTX_set_rsa_mgf1_md_name(context, scheme.mask->name, nullptr) == 1 &&
         EVP_PKEY_CTX_set_rsa_pss_saltlen(context, scheme.saltLength) == 1;
}

bool setParameters(EVP_PKEY_CTX *context, const Scheme &scheme) noexcept {
  if (scheme.family == KeyFamily::sm2) {
    return setIdentifier(context);
  }
  return scheme.mask == nullptr || setPss(context, scheme);
}

// `init` is EVP_DigestSignInit or EVP_DigestVerifyInit.
template <class Init>
EvpDigest start(const Key &key, const Scheme &scheme, Init init) noexcept {
  assert(key);
  const EVP_MD *digest = digestOf(scheme.hash);
  // Without a digest OpenSSL would take the key's usual one.
  if (!fits(key, scheme) || (scheme.hash != nullptr && digest == nullptr)) {
    return nullptr;
  }
  EvpDigest context(EVP_MD_CTX_new());
  EVP_PKEY_CTX *keyContext = nullptr;  // borrowed from the digest context
  if (!context || init(context.get(), &keyContext, digest, nullptr, key.handle.get()) != 1 ||
      !setParameters(keyContext, scheme)) {
    return nullptr;
  }
  return context;
}

// EdDSA goes over its text twice, so that OpenSSL takes that only in one piece.
class WholeText {
 public:
  bool append(Bytes bytes) noexcept {
    if (bytes.size() > capacity_ - text_.length && !makeRoom(bytes.size())) {
      return false;
    }
    std::copy(bytes.begin(), bytes.end(), text_.bytes.get() + text_.length);
    text_.length += bytes.size();
    return true;
  }

  // Some address also for the empty text.
  const uint8_t *data() const noexcept { return text_ ? text_.bytes.get() : &kNothing; }
  size_t length() const noexcept { return text_.length; }

 private:
  static constexpr uint8_t kNothing = 0;
  static constexpr size_t kFirstCapacity = 4096;

  bool makeRoom(size_t more) noexcept {
    size_t needed = 0;
    if (__builtin_add_overflow(text_.length, more, &needed) || needed > SIZE_MAX / 2) {
      return false;
    }
    const size_t capacity = std::max({needed, 2 * capacity_, kFirstCapacity});
    if (!resize(kSource, text_.bytes, capacity)) {
      return false;
    }
    capacity_ = capacity;
    return true;
  }

  Octets text_;
  size_t capacity_ = 0;
};

// Signing or verifying under way.
struct Operation {
  EvpDigest context;  // null once the result was taken
  bool isWhole;
  WholeText text;
};

Operation operationOf(EvpDigest context, const Scheme &scheme) noexcept {
  return {std::move(context), scheme.hash == nullptr, {}};
}

// `update` is EVP_DigestSignUpdate or EVP_DigestVerifyUpdate.
template <class Update>
int32_t feed(Operation &operation, const void *bytes, size_t length, Update update) noexcept {
  if (!operation.context || (bytes == nullptr && length != 0)) {
    return 0;
  }
  ErrorQueueScope errors;
  if (operation.isWhole) {
    return operation.text.append(bytesAt(bytes, length)) ? 1 : 0;
  }
  return update(operation.context.get(), bytes, length) == 1 ? 1 : 0;
}

// Without room it only answers the length.
bool signInto(const Operation &operation, uint8_t *signature, size_t *length) noexcept {
  EVP_MD_CTX *context = operation.context.get();
  return operation.isWhole ? EVP_DigestSign(context, signature, length, operation.text.data(),
                                            operation.text.length()) == 1
                           : EVP_DigestSignFinal(context, signature, length) == 1;
}

Octets takeSignature(const Operation &operation) noexcept {
  size_t length = 0;
  if (!signInto(operation, nullptr, &length)) {
    return {};
  }
  Octets signature = makeOctets(kSource, length);
  if (!signature || !signInto(operation, signature.bytes.get(), &length)) {
    return {};
  }
  assert(length <= signature.length);
  signature.length = length;  // DER signatures vary; the first answer was an upper bound
  return signature;
}

// A negative answer is a signature that could not be read: as invalid as a wrong one.
bool accepts(const Operation &operation, Bytes signature) noexcept {
  EVP_MD_CTX *context = operation.context.get();
  return operation.isWhole
             ? EVP_DigestVerify(context, signature.data(), signature.size(), operation.text.data(),
                                operation.text.length()) == 1
             : EVP_DigestVerifyFinal(context, signature.data(), signature.size()) == 1;
}

bool schemeByNumber(int32_t algorithm, Scheme *scheme) noexcept {
  const SigningAlgorithm *method = signingByNumber(algorithm);
  if (method == nullptr) {
    return false;
  }
  const HashAlgorithm *hash = hashByNumber(method->hash);
  assert((hash == nullptr) == (method->hash == 0));
  *scheme = method->isPss ? Scheme{method->family, hash, hash, static_cast<int32_t>(hash->length)}
                          : Scheme{method->family, hash};
  return true;
}

bool schemeOfPss(int32_t hash, int32_t maskHash, int32_t saltLength, Scheme *scheme) noexcept {
  *scheme = {KeyFamily::rsa, hashByNumber(hash), hashByNumber(maskHash), saltLength};
  return scheme->hash != nullptr && scheme->mask != nullptr && saltLength >= 0;
}

}  // namespace
}  // namespace talvo::crypto

using namespace talvo;
using namespace talvo::crypto;

struct TalvoPKISign {
  Operation operation;
};

struct TalvoPKIVerify {
  Operation operation;
};

namespace {

TalvoPKISign *newSign(const TalvoPKIKeyPair *keyPair, const Scheme &scheme) noexcept {
  ErrorQueueScope errors;
  EvpDigest context = start(keyPair->key, scheme, EVP_DigestSignInit);
  return context ? make<TalvoPKISign>(kSource, operationOf(std::move(context), scheme)).release()
                 : nullptr;
}

TalvoPKIVerify *newVerify(const TalvoPKIPublicKey *key, const Scheme &scheme) noexcept {
  ErrorQueueScope errors;
  EvpDigest context = start(key->key, scheme, EVP_DigestVerifyInit);
  return context ? make<TalvoPKIVerify>(kSource, operationOf(std::move(context), scheme)).release()
                 : nullptr;
}

}  // namespace

TalvoPKISign *TalvoPKICryptoNewSign(TalvoPKIKeyPair *keyPair, int32_t algorithm) noexcept {
  Scheme scheme{};
  return keyPair != nullptr && schemeByNumber(algorithm, &scheme) ? newSign(keyPair, scheme)
                                                                  : nullptr;
}

TalvoPKISign *TalvoPKICryptoNewSignPSS(TalvoPKIKeyPair *keyPair, int32_t hash, int32_t maskHash,
                                       int32_t saltLength) noexcept {
  Scheme scheme{};
  return keyPair != nullptr && schemeOfPss(hash, maskHash, saltLength, &scheme)
             ? newSign(keyPair, scheme)
             : nullptr;
}

int32_t TalvoPKICryptoSignUpdate(TalvoPKISign *sign, const void *bytes, size_t length) noexcept {
  return sign == nullptr ? 0 : feed(sign->operation, bytes, length, EVP_DigestSignUpdate);
}

int32_t TalvoPKICryptoSignFinal(TalvoPKISign *sign, uint8_t **signature, size_t *length) noexcept {
  if (sign == nullptr || !sign->operation.context || signature == nullptr || length == nullptr) {
    return 0;
  }
  ErrorQueueScope errors;
  const Operation operation = std::move(sign->operation);
  return handOut(takeSignature(operation), signature, length);
}

void TalvoPKICryptoFreeSign(TalvoPKISign *sign) noexcept {
  destroy(sign);
}

TalvoPKIVerify *TalvoPKICryptoNewVerify(TalvoPKIPublicKey *key, int32_t algorithm) noexcept {
  Scheme scheme{};
  return key != nullptr && schemeByNumber(algorithm, &scheme) ? newVerify(key, scheme) : nullptr;
}

TalvoPKIVerify *TalvoPKICryptoNewVerifyPSS(TalvoPKIPublicKey *key, int32_t hash, int32_t maskHash,
                                           int32_t saltLength) noexcept {
  Scheme scheme{};
  return key != nullptr && schemeOfPss(hash, maskHash, saltLength, &scheme) ? newVerify(key, scheme)
                                                                            : nullptr;
}

int32_t TalvoPKICryptoVerifyUpdate(TalvoPKIVerify *verify, const void *bytes,
                                   size_t length) noexcept {
  return verify == nullptr ? 0 : feed(verify->operation, bytes, length, EVP_DigestVerifyUpdate);
}

int32_t TalvoPKICryptoVerifyFinal(TalvoPKIVerify *verify, const uint8_t *signature,
                                  size_t length) noexcept {
  if (verify == nullptr || !verify->operation.context || signature == nullptr) {
    return 0;
  }
  ErrorQueueScope errors;
  const Operation operation = std::move(verify->operation);
  return accepts(operation, {signature, length}) ? 1 : 0;
}

void TalvoPKICryptoFreeVerify(TalvoPKIVerify *verify) noexcept {
  destroy(verify);
}
