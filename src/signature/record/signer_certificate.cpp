#include "signature/record/signer_certificate.h"

namespace {

constexpr int32_t kKeyUsage = 6;
// Bit n of the extension is 1 << n: digitalSignature, nonRepudiation, keyCertSign, cRLSign.
constexpr int32_t kSigningUsages = 0x63;

}  // namespace

int32_t issigncert(const TalvoPKICert *certificate) noexcept {
  int32_t usage = 0;
  return TalvoPKICertGetCertIntegerAttribute(certificate, kKeyUsage, &usage) == 1 &&
                 (usage & kSigningUsages) != 0
             ? 1
             : 0;
}
