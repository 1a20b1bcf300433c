// The issuers of a signer's certificate that a certificate option asks to write.
#pragma once

#include <cstdint>

#include "talvo_crypto.h"

#include "signature/context/context.h"

namespace talvo {

class CertificatePath {
 public:
  explicit CertificatePath(const TalvoPKICert *certificate) noexcept {
    if (!TalvoPKICertGetCertPath(certificate, &certificates_, &count_)) {
      certificates_ = nullptr;
      count_ = 0;
    }
  }
  CertificatePath(const CertificatePath &) = delete;
  CertificatePath &operator=(const CertificatePath &) = delete;
  ~CertificatePath() { TalvoPKICertFreeCertPath(certificates_, count_); }

  explicit operator bool() const noexcept { return count_ > 0; }

  static bool isAskedFor(int32_t option) noexcept {
    return option == kIncludePath || option == kIncludePathWithRoot;
  }

  // Calls write(certificate) from the signer's issuer upwards, with or without the root, until it
  // answers false. The path stands the other way round: root first, signer last.
  template <class Write>
  bool forEachIssuer(int32_t option, Write &&write) const noexcept {
    const int32_t top = option == kIncludePathWithRoot ? 0 : 1;
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
};

}  // namespace talvo
