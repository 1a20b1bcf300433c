// The issuers of a signer's certificate that a certificate option asks to write.
#pragma once

#include <cstdint>

#include "talvo_crypto.h"

#include "signature/context/context.h"

namespace talvo {

class CertificatePath {
 public:
  explicit CertificatePath(const TalvoPKICert *certificate) noexcept {
    const int64_t refusals = talvo_memory_getrefusals();
    if (!TalvoPKICertGetCertPath(certificate, &certificates_, &count_)) {
      certificates_ = nullptr;
      count_ = 0;
      lackedMemory_ = talvo_memory_getrefusals() != refusals;
    }
  }
  CertificatePath(const CertificatePath &) = delete;
  CertificatePath &operator=(const CertificatePath &) = delete;
  ~CertificatePath() { TalvoPKICertFreeCertPath(certificates_, count_); }

  explicit operator bool() const noexcept { return count_ > 0; }
  // There may be a path that could not be built; to leave it out would be another signature.
  bool lackedMemory() const noexcept { return lackedMemory_; }

  static bool isAskedFor(int32_t option) noexcept {
    return option == TALVO_CERTIFICATES_PATH || option == TALVO_CERTIFICATES_PATH_WITH_ROOT;
  }

  // Calls write(certificate) from the signer's issuer upwards, with or without the root, until it
  // answers false. The path stands the other way round: root first, signer last.
  template <class Write>
  bool forEachIssuer(int32_t option, Write &&write) const noexcept {
    const int32_t top = option == TALVO_CERTIFICATES_PATH_WITH_ROOT ? 0 : 1;
    for (int32_t i = count_ - 2; i >= top; --i) {
      if (!write(certificates_[i])) {
        return false;
      }
    }
    return true;
  }

 private:
  TalvoPKICert **certificates_ = nullptr;
  int32_t count_ = 0;
  bool lackedMemory_ = false;
};

}  // namespace talvo
