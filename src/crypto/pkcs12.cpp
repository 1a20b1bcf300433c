// Containers and keys that a password locks: PKCS #12 and encrypted PKCS #8. Old ones need
// algorithms that only OpenSSL's legacy provider has; they are opened in a library context of their
// own, and what was inside is read again in the usual one, so that nothing refers to that context.
#include <cassert>

#include "crypto/open.h"

namespace talvo::crypto {

namespace {

struct Contents {
  EvpKey key;
  X509Ptr certificate;
  X509Stack others;
};

// `context` is null for the default one.
Pkcs12 readPkcs12(Bytes der, OSSL_LIB_CTX *context) noexcept {
  PKCS12 *container = PKCS12_init_ex(NID_pkcs7_data, context, nullptr);
  const unsigned char *end = der.data();
  if (container == nullptr || der.size() > static_cast<size_t>(INT_MAX)) {
    return Pkcs12(container);
  }
  // On failure d2i has freed the container and set the pointer to null.
  d2i_PKCS12(&container, &end, static_cast<long>(der.size()));
  return Pkcs12(container);
}

bool parse(PKCS12 *container, const char *password, Contents *contents) noexcept {
  EVP_PKEY *key = nullptr;
  X509 *certificate = nullptr;
  STACK_OF(X509) *others = nullptr;
  if (container == nullptr || PKCS12_parse(container, password, &key, &certificate, &others) != 1) {
    return false;
  }
  contents->key.reset(key);
  contents->certificate.reset(certificate);
  contents->others.reset(others);
  return true;
}

X509Ptr readAgain(X509 *certificate) noexcept {
  return decodeDer<X509Ptr>(d2i_X509, encodeDer<X509>(i2d_X509, certificate).view());
}

Key readAgain(EVP_PKEY *key) noexcept {
  Pkcs8Key plain(EVP_PKEY2PKCS8(key));
  return makeKey(EvpKey(plain ? EVP_PKCS82PKEY(plain.get()) : nullptr));
}

Bundle bundleOf(const Contents &contents) noexcept {
  Bundle bundle;
  bundle.certificates.reset(sk_X509_new_null());
  bundle.reason = OpenReason::outOfMemory;
  if (!bundle.certificates) {
    return bundle;
  }
  if (contents.certificate && !push(bundle.certificates, readAgain(contents.certificate.get()))) {
    return bundle;
  }
  for (int i = 0; i < sk_X509_num(contents.others.get()); ++i) {
    if (!push(bundle.certificates, readAgain(sk_X509_value(contents.others.get(), i)))) {
      return bundle;
    }
  }
  if (contents.key) {
    bundle.key = readAgain(contents.key.get());
  }
  bundle.reason = OpenReason::none;
  return bundle;
}

Bundle failed(OpenReason reason) noexcept {
  Bundle bundle;
  bundle.reason = reason;
  return bundle;
}

OpenReason passwordReason(const char *password) noexcept {
  return password == nullptr ? OpenReason::passwordMissing : OpenReason::passwordWrong;
}

// Whether the cipher of an encryption scheme of the first generation is out of reach. PBES2 has no
// cipher of its own and its usual ones are always there.
bool isOutOfReach(const X509_ALGOR *scheme) noexcept {
  int cipher = -1;
  if (EVP_PBE_find(EVP_PBE_TYPE_OUTER, OBJ_obj2nid(scheme->algorithm), &cipher, nullptr, nullptr) !=
          1 ||
      cipher <= 0) {
    return false;
  }
  const Handle<EVP_CIPHER, EVP_CIPHER_free> fetched(
      EVP_CIPHER_fetch(nullptr, OBJ_nid2sn(cipher), nullptr));
  return fetched == nullptr;
}

Key decryptKey(const X509_SIG *encrypted, const char *password, OSSL_LIB_CTX *context) noexcept {
  assert(encrypted != nullptr && password != nullptr);
  const int length = static_cast<int>(std::strlen(password));
  const Pkcs8Key plain(PKCS8_decrypt_ex(encrypted, password, length, context, nullptr));
  return makeKey(EvpKey(plain ? EVP_PKCS82PKEY(plain.get()) : nullptr));
}

}  // namespace

LegacyContext::LegacyContext() noexcept : context_(OSSL_LIB_CTX_new()) {
  if (context_) {
    default_.reset(OSSL_PROVIDER_load(context_.get(), "default"));
    legacy_.reset(OSSL_PROVIDER_load(context_.get(), "legacy"));
  }
}

bool isPkcs12(Bytes der) noexcept {
  return decodeDer<Pkcs12>(d2i_PKCS12, der) != nullptr;
}

Bundle openPkcs12(Bytes der, const char *password) noexcept {
  Contents contents;
  if (parse(readPkcs12(der, nullptr).get(), password, &contents)) {
    return bundleOf(contents);
  }
  if (ERR_GET_REASON(ERR_peek_last_error()) == PKCS12_R_MAC_VERIFY_FAILURE) {
    return failed(passwordReason(password));
  }
  // The password is right, so what is inside must be encrypted in a way of old.
  const LegacyContext legacy;
  if (!legacy) {
    return failed(OpenReason::legacyProviderMissing);
  }
  Contents old;  // released before the context is
  if (!parse(readPkcs12(der, legacy.get()).get(), password, &old)) {
    return failed(OpenReason::unreadable);
  }
  return bundleOf(old);
}

Key openEncryptedKey(Bytes der, const char *password, OpenReason *reason) noexcept {
  const EncryptedKey encrypted = decodeDer<EncryptedKey>(d2i_X509_SIG, der);
  if (!encrypted) {
    *reason = OpenReason::unreadable;
    return {};
  }
  *reason = passwordReason(password);
  if (password == nullptr) {
    return {};
  }
  const X509_ALGOR *scheme = nullptr;
  X509_SIG_get0(encrypted.get(), &scheme, nullptr);
  if (!isOutOfReach(scheme)) {
    return decryptKey(encrypted.get(), password, nullptr);
  }
  const LegacyContext legacy;
  if (!legacy) {
    *reason = OpenReason::legacyProviderMissing;
    return {};
  }
  return decryptKey(encrypted.get(), password, legacy.get());
}

}  // namespace talvo::crypto
