// Key handles. OpenSSL's keys are counted atomically and not changed once made, so a second handle
// shares the key, even across threads.
#pragma once

#include "talvo_crypto.h"

#include "crypto/algorithm.h"
#include "crypto/der.h"

namespace talvo::crypto {

struct Key {
  EvpKey handle;
  KeyFamily family = KeyFamily::other;

  explicit operator bool() const noexcept { return handle != nullptr; }
};

// What every SM2 signature covers beside its text. OpenSSL would take the empty identifier.
inline constexpr std::string_view kSm2Identifier = "1234567812345678";

KeyFamily familyOf(const EVP_PKEY *key) noexcept;

// Wraps a key that was just read. OpenSSL calls a key on the SM2 curve "EC" or "SM2" depending on
// the way it came in; here it is made "SM2" always, the only form that can sign.
Key makeKey(EvpKey handle) noexcept;
Key share(const Key &key) noexcept;

// Whether two keys have the same public part.
bool samePublicKey(const Key &first, const Key &second) noexcept;

TalvoPKIKeyPair *newKeyPair(Key key) noexcept;
TalvoPKIPublicKey *newPublicKey(Key key) noexcept;

}  // namespace talvo::crypto

struct TalvoPKIKeyPair {
  talvo::crypto::Key key;
};

struct TalvoPKIPublicKey {
  talvo::crypto::Key key;
};
