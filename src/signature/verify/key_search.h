// The search for the key that verifies a signature value: among the certificates and key values of
// KeyInfo, then the certificates that the application added, then those of the XAdES certificate
// values. The first key that verifies ends the search.
#pragma once

#include "base/bytes.h"
#include "crypto/handle.h"
#include "signature/context/context.h"
#include "signature/record/record.h"
#include "signature/vocabulary/algorithm.h"

namespace talvo {

// What a key has to verify, and how.
struct ValueCheck {
  KeyFamily family;
  int32_t algorithm;  // number of the cryptographic library
  Bytes octets;
  Bytes value;
};

class KeySearch {
 public:
  KeySearch(const Signature *signature, const ValueCheck &check) noexcept
      : signature_(signature), check_(check) {}

  // True when a key verified. Key values are only looked at for RSA and DSA.
  bool run() noexcept;

  // Whether anything could be tried at all.
  bool triedAny() const noexcept { return tried_; }
  // After success: a new key that holds the certificate or the key value; null when memory is
  // exhausted.
  Key makeKey() const noexcept;

 private:
  bool tryKeyInfo() noexcept;
  bool tryX509Data(const List &dataItems) noexcept;
  bool tryKeyValue(const KeyValue *keyValue) noexcept;
  bool tryCertificates(const List &certificates) noexcept;
  bool tryCertificate(Certificate candidate) noexcept;
  bool tryKey(PublicKey key) noexcept;
  PublicKey importDsa(const DsaKeyValue &keyValue) noexcept;
  PublicKey importRsa(const RsaKeyValue &keyValue) noexcept;

  const Signature *signature_;
  ValueCheck check_;
  bool tried_ = false;
  Certificate certificate_;
  PublicKey publicKey_;
};

}  // namespace talvo
