// Paths from a certificate up to a self-issued one, found by names and key identifiers among the
// certificate's companions. Nothing is said about trust, and no signature is checked: a path is
// what a signer writes down, not what a verifier believes.
#include <cassert>

#include "crypto/certificate.h"

using namespace talvo;
using namespace talvo::crypto;

namespace {

// OpenSSL's order: the certificate first, the anchor last.
X509Stack buildChain(const TalvoPKICert *cert) noexcept {
  return X509Stack(
      X509_build_chain(cert->x509.get(), cert->companions.get(), nullptr, 1, nullptr, nullptr));
}

bool isSelfIssued(const X509 *x509) noexcept {
  return x509 != nullptr &&
         X509_NAME_cmp(X509_get_subject_name(x509), X509_get_issuer_name(x509)) == 0;
}

// An array of handles that frees what it holds.
class Path {
 public:
  explicit Path(int count) noexcept
      : certificates_(static_cast<TalvoPKICert **>(
            talvo_malloc(static_cast<size_t>(count) * sizeof(TalvoPKICert *), kSource, __LINE__))),
        capacity_(count) {}
  ~Path() { TalvoPKICertFreeCertPath(certificates_, count_); }
  Path(const Path &) = delete;
  Path &operator=(const Path &) = delete;

  bool append(X509 *x509) noexcept {
    assert(count_ < capacity_);
    TalvoPKICert *certificate = certificates_ == nullptr ? nullptr : newCertificate(share(x509));
    if (certificate == nullptr) {
      return false;
    }
    certificates_[count_++] = certificate;
    return true;
  }

  TalvoPKICert **release() noexcept { return std::exchange(certificates_, nullptr); }

 private:
  TalvoPKICert **certificates_;
  [[maybe_unused]] int32_t capacity_;
  int32_t count_ = 0;
};

}  // namespace

int32_t TalvoPKICertGetCertPath(const TalvoPKICert *cert, TalvoPKICert ***path,
                                int32_t *count) noexcept {
  if (cert == nullptr || path == nullptr || count == nullptr) {
    return 0;
  }
  ErrorQueueScope errors;
  const X509Stack chain = buildChain(cert);
  const int length = sk_X509_num(chain.get());
  if (length <= 0 || !isSelfIssued(sk_X509_value(chain.get(), length - 1))) {
    return 0;
  }
  Path result(length);
  for (int i = length - 1; i >= 0; --i) {
    if (!result.append(sk_X509_value(chain.get(), i))) {
      return 0;
    }
  }
  *path = result.release();
  *count = length;
  return 1;
}

void TalvoPKICertFreeCertPath(TalvoPKICert **path, int32_t count) noexcept {
  for (int32_t i = 0; path != nullptr && i < count; ++i) {
    TalvoPKICertFreeCert(path[i]);
  }
  talvo_free(path);
}
