#include "policy/certificate.h"

#include <algorithm>

#include "base/utf8.h"

namespace talvo::policy {
namespace {

using CryptoBytes = Handle<uint8_t, TalvoPKICryptoFreeMemory>;

void freeItem(void *certificate) noexcept {
  TalvoPKICertFreeCert(static_cast<TalvoPKICert *>(certificate));
}

struct Der {
  CryptoBytes octets;
  size_t length = 0;

  Bytes view() const noexcept { return {octets.get(), length}; }
};

Der derOf(const TalvoPKICert *certificate) noexcept {
  uint8_t *octets = nullptr;
  size_t length = 0;
  if (TalvoPKICertGetCertEncode(certificate, 1, &octets, &length) != 1) {
    return {};
  }
  return {CryptoBytes(octets), length};
}

}  // namespace

List newCertificateList() noexcept {
  return List(talvo_arraylist_new(nullptr, freeItem));
}

std::string subjectOf(const TalvoPKICert *certificate) {
  constexpr int32_t kSubject = 48;
  const UString subject(
      certificate == nullptr ? nullptr : TalvoPKICertGetCertStringAttribute(certificate, kSubject));
  return std::string(viewOf(subject.get()));
}

bool isSameCertificate(const TalvoPKICert *first, const TalvoPKICert *second) noexcept {
  const Der one = derOf(first);
  const Der other = derOf(second);
  return one.octets != nullptr && other.octets != nullptr &&
         std::ranges::equal(one.view(), other.view());
}

}  // namespace talvo::policy
