// Reads what users keep keys and certificates in: DER, PEM, Base64 text, PEM bundles and PKCS #12,
// locked by a password or not.
#pragma once

#include "crypto/key.h"

namespace talvo::crypto {

// Why something could not be opened; the values of the public TALVO_OPEN_ constants.
enum class OpenReason : int32_t {
  none = TALVO_OPEN_DONE,
  unreadable = TALVO_OPEN_UNREADABLE,
  passwordMissing = TALVO_OPEN_PASSWORD_MISSING,
  passwordWrong = TALVO_OPEN_PASSWORD_WRONG,
  legacyProviderMissing = TALVO_OPEN_LEGACY_PROVIDER_MISSING,
  noKey = TALVO_OPEN_NO_KEY,
  tokenUnavailable = TALVO_OPEN_TOKEN_UNAVAILABLE,
  outOfMemory = TALVO_OPEN_OUT_OF_MEMORY
};

struct Bundle {
  X509Stack certificates;  // in the order in which they were found
  Key key;
  Octets lockedKey;  // the PEM text of an encrypted key that could not be read yet
  OpenReason reason = OpenReason::unreadable;
};

// Everything the bytes hold. `password` may be null; nothing is ever asked on a terminal.
Bundle openBundle(Bytes bytes, const char *password) noexcept;

// The certificate alone, as DER, PEM or Base64 text.
X509Ptr readCertificate(Bytes bytes) noexcept;

// The key named by "pkcs11:..." text.
Key openTokenKey(std::string_view uri, const char *pin, OpenReason *reason) noexcept;

// What lies below, format by format.
bool isPkcs12(Bytes der) noexcept;
Bundle openPkcs12(Bytes der, const char *password) noexcept;
Key openEncryptedKey(Bytes der, const char *password, OpenReason *reason) noexcept;

// A library context of its own that has the old algorithms beside the usual ones. Loading them into
// the default context would switch the default provider off for the whole process.
class LegacyContext {
 public:
  LegacyContext() noexcept;
  explicit operator bool() const noexcept { return default_ != nullptr && legacy_ != nullptr; }
  OSSL_LIB_CTX *get() const noexcept { return context_.get(); }

 private:
  LibraryContext context_;
  Provider default_;
  Provider legacy_;
};

}  // namespace talvo::crypto
