// Small questions to certificates.
#pragma once

#include <string>

#include "base/handle.h"
#include "signature/record/record.h"

namespace talvo::policy {

List newCertificateList() noexcept;
// Empty for null. May throw when memory is exhausted.
std::string subjectOf(const TalvoPKICert *certificate);
// The same octets.
bool isSameCertificate(const TalvoPKICert *first, const TalvoPKICert *second) noexcept;

}  // namespace talvo::policy
