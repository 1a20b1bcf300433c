// Presets, and the functions by which a program fills a policy.
#include "policy/policy.h"

#include <algorithm>
#include <array>

#include "base/boundary.h"
#include "base/list.h"
#include "base/utf8.h"
#include "policy/bundle.h"
#include "policy/reason.h"

namespace talvo::policy {
namespace {

constexpr const char *kSource = "policy";
constexpr std::array<const char *, 3> kPresets = {"plain", "standard", "strict"};

template <class T, auto Free>
void freeItem(void *item) noexcept {
  Free(static_cast<T *>(item));
}

List newCertificates() noexcept {
  return List(talvo_arraylist_new(nullptr, freeItem<TalvoPKICert, TalvoPKICertFreeCert>));
}

// What the plain calls do: no rule but the arithmetic.
void applyPlain(TalvoXmlPolicy &policy) {
  constexpr int64_t kAny = INT32_MAX;
  policy.isJudging = false;
  policy.allowSha1 = true;
  policy.allowDtd = true;
  policy.minRsaBits = policy.minDsaBits = policy.minEcBits = 0;
  policy.minHmacBits = 1;
  policy.keyValues = KeyValues::accept;
  policy.keyUsage = false;
  policy.revocation = Revocation::none;
  policy.limits = {kAny, kAny, kAny, 32, INT64_MAX, INT64_MAX};
  policy.network = true;
  policy.files = Files::any;
  policy.duplicateIds = Severity::warn;
  policy.cover.emplace_back("any");
}

// The rules of `standard`, drawn tighter.
void applyStrict(TalvoXmlPolicy &policy) noexcept {
  policy.mayAllowSha1 = false;
  policy.minRsaBits = policy.minDsaBits = 3072;
  policy.transforms.isListed = true;
  policy.transforms.numbers.set();
  policy.transforms.numbers.reset(static_cast<size_t>(TALVO_TRANSFORM_XPATH));
  policy.files = Files::refuse;
  policy.revocation = Revocation::required;
  policy.timeStamps = TimeStamps::require;
  policy.limits.references = 30;
  policy.refuseAnyComment = true;
}

bool makeParts(TalvoXmlPolicy &policy) noexcept {
  policy.trust.reset(TalvoPKITrustNew());
  policy.pins = newCertificates();
  policy.addedCerts = newCertificates();
  policy.expected = newCertificates();
  policy.tsaAnchors = newCertificates();
  policy.anchors = newCertificates();
  policy.pinnedKeys.reset(
      talvo_arraylist_new(nullptr, freeItem<TalvoPKIPublicKey, TalvoPKICryptoFreePublicKey>));
  return policy.trust && policy.pins && policy.addedCerts && policy.expected && policy.tsaAnchors &&
         policy.anchors && policy.pinnedKeys;
}

bool setRule(TalvoXmlPolicy &policy, int32_t rule, int64_t value) noexcept {
  const auto bounded = static_cast<int32_t>(std::clamp<int64_t>(value, 0, INT32_MAX));
  return TalvoPKITrustSetRule(policy.trust.get(), rule, bounded) == 1;
}

}  // namespace

bool applyTrustRules(TalvoXmlPolicy &policy) noexcept {
  return setRule(policy, TALVO_TRUST_RULE_MIN_RSA_BITS, policy.minRsaBits) &&
         setRule(policy, TALVO_TRUST_RULE_MIN_DSA_BITS, policy.minDsaBits) &&
         setRule(policy, TALVO_TRUST_RULE_MIN_EC_BITS, policy.minEcBits) &&
         setRule(policy, TALVO_TRUST_RULE_ALLOW_SHA1, policy.allowsSha1() ? 1 : 0) &&
         setRule(policy, TALVO_TRUST_RULE_KEY_USAGE, policy.keyUsage ? 1 : 0) &&
         setRule(policy, TALVO_TRUST_RULE_REVOCATION, static_cast<int32_t>(policy.revocation)) &&
         setRule(policy, TALVO_TRUST_RULE_PIN_IGNORES_DATES, policy.pinIgnoresDates ? 1 : 0) &&
         TalvoPKITrustSetTime(policy.trust.get(), policy.time.get()) == 1;
}

void applyPreset(TalvoXmlPolicy &policy, uint32_t preset) {
  policy.preset = preset;
  if (preset == TALVO_XML_POLICY_PLAIN) {
    applyPlain(policy);
  } else if (preset == TALVO_XML_POLICY_STRICT) {
    applyStrict(policy);
  }
}

const char *presetName(uint32_t preset) noexcept {
  return preset < kPresets.size() ? kPresets[preset] : "";
}

bool isBroken(std::string_view name) noexcept {
  return name.find("MD5") != std::string_view::npos ||
         name.find("RIPEMD") != std::string_view::npos;
}

// "SHA1" and "SHA-1", but not "SHA-128".
bool isSha1(std::string_view name) noexcept {
  for (const std::string_view word : {std::string_view("SHA1"), std::string_view("SHA-1")}) {
    const size_t at = name.find(word);
    const size_t end = at + word.size();
    if (at != std::string_view::npos &&
        (end >= name.size() || name[end] < '0' || name[end] > '9')) {
      return true;
    }
  }
  return false;
}

}  // namespace talvo::policy

using namespace talvo;
using namespace talvo::policy;

extern "C" {

talvo_xml_policy *talvo_xml_policy_new(uint32_t preset) noexcept {
  return guard([&]() -> talvo_xml_policy * {
    if (preset > TALVO_XML_POLICY_STRICT) {
      return nullptr;
    }
    Ref<TalvoXmlPolicy> made(make<TalvoXmlPolicy>(kSource).release());
    if (!made || !makeParts(*made)) {
      return nullptr;
    }
    applyPreset(*made, preset);
    return applyTrustRules(*made) ? made.release() : nullptr;
  });
}

talvo_xml_policy *talvo_xml_policy_dup(talvo_xml_policy *policy) noexcept {
  return dup(policy);
}

void talvo_xml_policy_free(talvo_xml_policy *policy) noexcept {
  release(policy);
}

int32_t talvo_xml_policy_addcert(talvo_xml_policy *policy, uint32_t role,
                                 const TalvoPKICert *certificate) noexcept {
  return policy != nullptr && certificate != nullptr && addCertificate(*policy, role, certificate)
             ? 1
             : 0;
}

int32_t talvo_xml_policy_addkey(talvo_xml_policy *policy, TalvoPKIPublicKey *key) noexcept {
  return policy != nullptr && key != nullptr && addKey(*policy, key) ? 1 : 0;
}

int32_t talvo_xml_policy_addcrl(talvo_xml_policy *policy, const talvo_crl *crl) noexcept {
  return policy == nullptr ? 0 : TalvoPKITrustAddCrl(policy->trust.get(), crl);
}

int32_t talvo_xml_policy_addbundle(talvo_xml_policy *policy, uint32_t role, const void *bytes,
                                   size_t length) noexcept {
  return guard([&] {
    if (policy == nullptr || bytes == nullptr) {
      return 0;
    }
    return addBundle(*policy, role, {static_cast<const char *>(bytes), length}) ? 1 : 0;
  });
}

int32_t talvo_xml_policy_settime(talvo_xml_policy *policy, const talvo_time *time) noexcept {
  if (policy == nullptr) {
    return 0;
  }
  Time copy(time == nullptr ? nullptr : talvo_time_dup(time));
  if (time != nullptr && copy == nullptr) {
    return 0;
  }
  policy->time = std::move(copy);
  return applyTrustRules(*policy) ? 1 : 0;
}

int32_t talvo_xml_policy_sethmackey(talvo_xml_policy *policy, const void *key,
                                    size_t length) noexcept {
  Blob copy(policy == nullptr || length == 0 ? nullptr : talvo_data_blob_new(key, length));
  if (!copy) {
    return 0;
  }
  policy->hmacKey = std::move(copy);
  return 1;
}

int32_t talvo_xml_policy_setdomainparam(talvo_xml_policy *policy, const talvo_biginteger *p,
                                        const talvo_biginteger *q,
                                        const talvo_biginteger *g) noexcept {
  if (policy == nullptr) {
    return 0;
  }
  BigInteger copies[] = {BigInteger(talvo_biginteger_dup(p)), BigInteger(talvo_biginteger_dup(q)),
                         BigInteger(talvo_biginteger_dup(g))};
  if (!copies[0] || !copies[1] || !copies[2]) {
    return 0;
  }
  std::move(std::begin(copies), std::end(copies), std::begin(policy->domainParameters));
  return 1;
}

int32_t talvo_xml_policy_setresolver(talvo_xml_policy *policy, talvo_xml_resolver resolver,
                                     void *userData) noexcept {
  if (policy == nullptr) {
    return 0;
  }
  policy->resolver = resolver;
  policy->resolverData = userData;
  return 1;
}

int32_t talvo_xml_policy_addnamespace(talvo_xml_policy *policy, const talvo_ustring *prefix,
                                      const talvo_ustring *uri) noexcept {
  return guard([&] {
    const Utf8 prefixText(prefix);
    const Utf8 uriText(uri);
    if (policy == nullptr || !prefixText || !uriText || prefixText.length() == 0) {
      return 0;
    }
    policy->namespaces.push_back({Text(prefixText.view()), Text(uriText.view())});
    return 1;
  });
}

int32_t talvo_xml_policy_keepoctets(talvo_xml_policy *policy, int32_t keep) noexcept {
  if (policy == nullptr) {
    return 0;
  }
  policy->keepOctets = keep != 0;
  return 1;
}

uint32_t talvo_xml_policy_getpreset(const talvo_xml_policy *policy) noexcept {
  return policy == nullptr ? UINT32_MAX : policy->preset;
}
}
