// What the files that call OpenSSL share: whose its error queue is, and how its memory is given
// back.
#pragma once

#include <openssl/crypto.h>
#include <openssl/err.h>

#include "base/handle.h"

namespace talvo::util {

// What OpenSSL calls leave in the thread's error queue is taken out again at the end of the scope:
// the queue belongs to the host application.
class ErrorQueueScope {
 public:
  ErrorQueueScope() noexcept { ERR_set_mark(); }
  ~ErrorQueueScope() { ERR_pop_to_mark(); }
  ErrorQueueScope(const ErrorQueueScope &) = delete;
  ErrorQueueScope &operator=(const ErrorQueueScope &) = delete;
};

// OPENSSL_free is a macro.
inline void freeOpenssl(void *memory) noexcept {
  OPENSSL_free(memory);
}

template <class T>
using OpensslMemory = Handle<T, freeOpenssl>;

}  // namespace talvo::util
