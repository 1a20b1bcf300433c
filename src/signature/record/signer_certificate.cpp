#include "signature/record/signer_certificate.h"

namespace {

constexpr int32_t kSigningUsages = TALVO_KEY_USAGE_DIGITAL_SIGNATURE |
                                   TALVO_KEY_USAGE_NON_REPUDIATION | TALVO_KEY_USAGE_KEY_CERT_SIGN |
                                   TALVO_KEY_USAGE_CRL_SIGN;

}  // namespace

int32_t issigncert(const TalvoPKICert *certificate) noexcept {
  int32_t usage = 0;
  return TalvoPKICertGetCertIntegerAttribute(certificate, TALVO_CERT_KEY_USAGE, &usage) == 1 &&
                 (usage & kSigningUsages) != 0
             ? 1
             : 0;
}
