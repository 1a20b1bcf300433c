// Owning handles of OpenSSL's objects. The scope that leaves its error queue as the caller left it
// is the utility library's.
#pragma once

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <openssl/pkcs12.h>
#include <openssl/provider.h>
#include <openssl/ts.h>
#include <openssl/x509.h>

#include "base/handle.h"
#include "util/openssl.h"

namespace talvo::crypto {

using util::ErrorQueueScope;
using util::OpensslMemory;

// sk_X509_pop_free and the like are macros, so each needs a function of its own.
inline void freeX509Stack(STACK_OF(X509) * stack) noexcept {
  sk_X509_pop_free(stack, X509_free);
}
inline void freeBorrowedX509Stack(STACK_OF(X509) * stack) noexcept {
  sk_X509_free(stack);
}
inline void unloadProvider(OSSL_PROVIDER *provider) noexcept {
  OSSL_PROVIDER_unload(provider);
}

using EvpKey = Handle<EVP_PKEY, EVP_PKEY_free>;
using EvpKeyContext = Handle<EVP_PKEY_CTX, EVP_PKEY_CTX_free>;
using EvpDigest = Handle<EVP_MD_CTX, EVP_MD_CTX_free>;
using EvpMac = Handle<EVP_MAC_CTX, EVP_MAC_CTX_free>;
using Bn = Handle<BIGNUM, BN_clear_free>;
using Bio = Handle<BIO, BIO_free_all>;
using BitString = Handle<ASN1_BIT_STRING, ASN1_BIT_STRING_free>;
using EcdsaSignature = Handle<ECDSA_SIG, ECDSA_SIG_free>;
using EncryptedKey = Handle<X509_SIG, X509_SIG_free>;
using Pkcs8Key = Handle<PKCS8_PRIV_KEY_INFO, PKCS8_PRIV_KEY_INFO_free>;
using Pkcs12 = Handle<PKCS12, PKCS12_free>;
using Pkcs7 = Handle<PKCS7, PKCS7_free>;
using ParameterBuilder = Handle<OSSL_PARAM_BLD, OSSL_PARAM_BLD_free>;
using Parameters = Handle<OSSL_PARAM, OSSL_PARAM_free>;
using LibraryContext = Handle<OSSL_LIB_CTX, OSSL_LIB_CTX_free>;
using Provider = Handle<OSSL_PROVIDER, unloadProvider>;
using X509Ptr = Handle<X509, X509_free>;
using X509Store = Handle<X509_STORE, X509_STORE_free>;
using X509Stack = Handle<STACK_OF(X509), freeX509Stack>;
using BorrowedX509Stack = Handle<STACK_OF(X509), freeBorrowedX509Stack>;
using OpensslBytes = OpensslMemory<unsigned char>;
using OpensslText = OpensslMemory<char>;

// A second owning handle of a reference-counted object. The counts are atomic.
inline EvpKey share(EVP_PKEY *key) noexcept {
  return EvpKey(key != nullptr && EVP_PKEY_up_ref(key) == 1 ? key : nullptr);
}

inline X509Ptr share(X509 *certificate) noexcept {
  return X509Ptr(certificate != nullptr && X509_up_ref(certificate) == 1 ? certificate : nullptr);
}

// Appends one reference to a certificate.
inline bool push(const X509Stack &stack, X509Ptr certificate) noexcept {
  if (!certificate || sk_X509_push(stack.get(), certificate.get()) <= 0) {
    return false;
  }
  certificate.release();  // the stack owns it now
  return true;
}

}  // namespace talvo::crypto
