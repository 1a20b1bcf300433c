#include "policy/bundle.h"

#include "base/list.h"

namespace talvo::policy {
namespace {

constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kEnd = "-----END ";

bool appendCopy(const List &list, const TalvoPKICert *certificate) noexcept {
  return append(list, Certificate(TalvoPKICertDupCert(certificate)));
}

bool addTrusted(TalvoXmlPolicy &policy, int32_t role, const TalvoPKICert *certificate) noexcept {
  policy.isJudging = true;
  return TalvoPKITrustAddCert(policy.trust.get(), role, certificate) == 1;
}

bool addCrlText(TalvoXmlPolicy &policy, std::string_view text) noexcept {
  const Crl crl(talvo_crl_new(text.data(), text.size(), 0));
  return crl != nullptr && TalvoPKITrustAddCrl(policy.trust.get(), crl.get()) == 1;
}

bool addCertificateText(TalvoXmlPolicy &policy, uint32_t role, std::string_view text) noexcept {
  const Certificate certificate(TalvoPKICertNewCert(text.data(), text.size()));
  return certificate != nullptr && addCertificate(policy, role, certificate.get());
}

bool addKeyText(TalvoXmlPolicy &policy, std::string_view text) noexcept {
  const PublicKey key(TalvoPKICryptoReadPublicKey(text.data(), text.size()));
  return key != nullptr && addKey(policy, key.get());
}

// One object, whatever of the three it is.
bool addObject(TalvoXmlPolicy &policy, uint32_t role, std::string_view bytes) noexcept {
  if (role == TALVO_XML_POLICY_CRL) {
    return addCrlText(policy, bytes);
  }
  return addCertificateText(policy, role, bytes) ||
         (role == TALVO_XML_POLICY_PIN && addKeyText(policy, bytes));
}

// The block at the front of the text, with its lines; empty when it does not end.
std::string_view takeBlock(std::string_view *text) {
  const size_t end = text->find(kEnd);
  const size_t close = end == std::string_view::npos ? end : text->find("-----", end + kEnd.size());
  if (close == std::string_view::npos) {
    return {};
  }
  const std::string_view block = text->substr(0, close + 5);
  text->remove_prefix(block.size());
  return block;
}

}  // namespace

bool addCertificate(TalvoXmlPolicy &policy, uint32_t role,
                    const TalvoPKICert *certificate) noexcept {
  switch (role) {
    case TALVO_XML_POLICY_ANCHOR:
      return addTrusted(policy, TALVO_TRUST_ANCHOR, certificate) &&
             appendCopy(policy.anchors, certificate);
    case TALVO_XML_POLICY_INTERMEDIATE:
      return TalvoPKITrustAddCert(policy.trust.get(), TALVO_TRUST_INTERMEDIATE, certificate) == 1;
    case TALVO_XML_POLICY_PIN:
      return addTrusted(policy, TALVO_TRUST_PIN, certificate) &&
             appendCopy(policy.pins, certificate);
    case TALVO_XML_POLICY_TIMESTAMP_ANCHOR:
      return appendCopy(policy.tsaAnchors, certificate);
    case TALVO_XML_POLICY_EXPECTED:
      return appendCopy(policy.expected, certificate);
    case TALVO_XML_POLICY_CANDIDATE:
      return appendCopy(policy.addedCerts, certificate);
    default:
      return false;
  }
}

bool addKey(TalvoXmlPolicy &policy, TalvoPKIPublicKey *key) noexcept {
  policy.isJudging = true;
  return TalvoPKITrustAddKey(policy.trust.get(), key) == 1 &&
         append(policy.pinnedKeys, PublicKey(TalvoPKICryptoDupPublicKey(key)));
}

bool addBundle(TalvoXmlPolicy &policy, uint32_t role, std::string_view bytes) {
  size_t start = bytes.find(kBegin);
  if (start == std::string_view::npos) {
    return addObject(policy, role, bytes);
  }
  for (; start != std::string_view::npos; start = bytes.find(kBegin)) {
    bytes.remove_prefix(start);
    const std::string_view block = takeBlock(&bytes);
    if (block.empty() || !addObject(policy, role, block)) {
      return false;
    }
  }
  return true;
}

}  // namespace talvo::policy
