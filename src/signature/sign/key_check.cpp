// The trial message is three octets long; what it says does not matter.
#include "signature/sign/key_check.h"

#include <array>

#include "base/boundary.h"
#include "crypto/handle.h"
#include "signature/context/context.h"
#include "signature/sign/raw_signature.h"
#include "signature/vocabulary/algorithm.h"

namespace talvo {
namespace {

constexpr std::array<uint8_t, 3> kTrial = {'1', '2', '3'};

// Null for a key that holds neither a certificate nor a public key.
PublicKey publicKeyOf(const SignatureKey &key) noexcept {
  if (key.certificate() != nullptr) {
    return PublicKey(TalvoPKICertGetCertPublicKey(key.certificate(), TALVO_USE_VERIFY));
  }
  return PublicKey(key.publicKey() == nullptr ? nullptr
                                              : TalvoPKICryptoDupPublicKey(key.publicKey()));
}

}  // namespace

bool keyPairFits(TalvoPKIKeyPair *keyPair, const SignatureKey &key, int32_t signatureMethod,
                 uint32_t *error) noexcept {
  const SignatureAlgorithm *method = signatureByNumber(signatureMethod);
  if (method == nullptr || method->crypto == 0) {
    return refuse(error, TALVO_SIGN_ERROR_SIGNATURE_METHOD);
  }
  const CryptoOctets value =
      octetsFrom(sign, keyPair, signatureMethod, kTrial.data(), kTrial.size());
  if (!value) {
    return refuse(error, TALVO_SIGN_ERROR_FAILED);
  }
  const PublicKey publicKey = publicKeyOf(key);
  if (!publicKey || verifysignaturebypubkey(publicKey.get(), method->crypto, kTrial.data(),
                                            kTrial.size(), value.bytes.get(), value.length) != 1) {
    return refuse(error, TALVO_SIGN_ERROR_KEY_MISMATCH);
  }
  return true;
}

}  // namespace talvo
