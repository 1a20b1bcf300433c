// OpenSSL's objects behind the handles of names, extensions and CRLs, and what the files that use
// OpenSSL share.
#pragma once

#include <openssl/err.h>
#include <openssl/x509.h>

#include "base/handle.h"

namespace talvo {

// What OpenSSL calls leave in the thread's error queue is taken out again at the end of the scope:
// the queue belongs to the host application.
class ErrorQueueScope {
 public:
  ErrorQueueScope() noexcept { ERR_set_mark(); }
  ~ErrorQueueScope() { ERR_pop_to_mark(); }
  ErrorQueueScope(const ErrorQueueScope &) = delete;
  ErrorQueueScope &operator=(const ErrorQueueScope &) = delete;
};

inline void freeOpenssl(void *memory) noexcept {
  OPENSSL_free(memory);
}

template <class T>
using OpensslMemory = Handle<T, freeOpenssl>;

using X509Name = Handle<X509_NAME, X509_NAME_free>;
using X509Extension = Handle<X509_EXTENSION, X509_EXTENSION_free>;
using X509Crl = Handle<X509_CRL, X509_CRL_free>;

}  // namespace talvo

struct talvo_cert_dn {
  talvo::X509Name name;
};

struct talvo_cert_extension {
  talvo::X509Extension extension;
};

struct talvo_crl {
  talvo::X509Crl crl;
};
