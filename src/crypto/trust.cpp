// Paths are built and checked by OpenSSL; what it would say about dates is collected instead of
// ending the look, and revocation is judged by hand, because OpenSSL's own flags ask for a CRL of
// every certificate or of none.
#include "crypto/trust.h"

#include <openssl/x509v3.h>

#include "base/boundary.h"
#include "base/list.h"

using namespace talvo;
using namespace talvo::crypto;

// What the verifier's callback notes.
struct PathNotes {
  uint32_t findings = 0;
  bool memory = false;
};

extern "C" {

static int notePathError(int ok, X509_STORE_CTX *context) noexcept {
  auto *notes = static_cast<PathNotes *>(X509_STORE_CTX_get_app_data(context));
  if (ok != 0) {
    return ok;
  }
  switch (X509_STORE_CTX_get_error(context)) {
    case X509_V_ERR_CERT_HAS_EXPIRED:
      notes->findings |= TALVO_TRUST_EXPIRED;
      return 1;
    case X509_V_ERR_CERT_NOT_YET_VALID:
      notes->findings |= TALVO_TRUST_NOT_YET_VALID;
      return 1;
    case X509_V_ERR_OUT_OF_MEM:
      notes->memory = true;
      return 0;
    default:
      return 0;
  }
}
}

namespace {

using StoreContext = Handle<X509_STORE_CTX, X509_STORE_CTX_free>;
using OctetString = Handle<ASN1_OCTET_STRING, ASN1_OCTET_STRING_free>;

// Signatures of SM2 cover an identifier that OpenSSL has to be told. It is set on a copy, since the
// object may be shared with other threads.
X509Ptr withIdentifier(X509 *x509) noexcept {
  if (X509_get_signature_nid(x509) != NID_SM2_with_SM3) {
    return share(x509);
  }
  X509Ptr copy(X509_dup(x509));
  OctetString identifier(ASN1_OCTET_STRING_new());
  const auto *text = reinterpret_cast<const unsigned char *>(kSm2Identifier.data());
  if (!copy || !identifier ||
      ASN1_OCTET_STRING_set(identifier.get(), text, static_cast<int>(kSm2Identifier.size())) != 1) {
    return nullptr;
  }
  X509_set0_distinguishing_id(copy.get(), identifier.release());  // it owns that now
  return copy;
}

bool pushShared(const X509Stack &stack, X509 *x509) noexcept {
  return push(stack, withIdentifier(x509));
}

bool pushAll(const X509Stack &stack, const STACK_OF(X509) * more) noexcept {
  for (int i = 0; i < sk_X509_num(more); ++i) {
    if (!push(stack, share(sk_X509_value(more, i)))) {
      return false;
    }
  }
  return true;
}

// One question to a trust object, with everything that the answer needs.
class Judgement {
 public:
  Judgement(const TalvoPKITrust &trust, const TalvoPKICert *certificate) noexcept
      : trust_(trust),
        now_(trust.time.value_or(std::time(nullptr))),
        signer_(withIdentifier(certificate->x509.get())),
        others_(sk_X509_new_null()) {}

  // False when memory is exhausted.
  bool prepare(const talvo_arraylist *certificates) noexcept;
  bool run(const talvo_arraylist *carried) noexcept;

  uint32_t findings() const noexcept { return findings_; }
  // The signer first; null when memory is exhausted.
  List chain() const noexcept;

 private:
  bool buildPath() noexcept;
  void judgePin() noexcept;
  void judgeDates() noexcept;
  void judgeUsage() noexcept;
  void judgeStrength() noexcept;
  void judgeRevocation(const talvo_arraylist *carried) noexcept;
  void judgeRevocationOf(int index, const talvo_arraylist *carried) noexcept;
  X509 *issuerOf(int index) const noexcept;
  bool isAnchor(const X509 *x509) const noexcept;

  const TalvoPKITrust &trust_;
  time_t now_;
  X509Ptr signer_;
  X509Stack others_;
  X509Stack chain_;
  bool isPinned_ = false;
  bool hasPath_ = false;
  uint32_t findings_ = 0;
};

bool Judgement::prepare(const talvo_arraylist *certificates) noexcept {
  if (!signer_ || !others_ || !pushAll(others_, trust_.intermediates.get())) {
    return false;
  }
  for (const TalvoPKICert *certificate : items<TalvoPKICert>(certificates)) {
    if (!pushShared(others_, certificate->x509.get())) {
      return false;
    }
  }
  return true;
}

bool Judgement::buildPath() noexcept {
  const StoreContext context(X509_STORE_CTX_new());
  PathNotes notes;
  if (!context ||
      X509_STORE_CTX_init(context.get(), trust_.store.get(), signer_.get(), others_.get()) != 1 ||
      X509_STORE_CTX_set_app_data(context.get(), &notes) != 1) {
    return false;
  }
  X509_VERIFY_PARAM *parameters = X509_STORE_CTX_get0_param(context.get());
  X509_VERIFY_PARAM_set_time(parameters, now_);
  if (X509_VERIFY_PARAM_set_flags(parameters, X509_V_FLAG_PARTIAL_CHAIN) != 1) {
    return false;
  }
  X509_STORE_CTX_set_verify_cb(context.get(), notePathError);
  hasPath_ = X509_verify_cert(context.get()) == 1;
  chain_.reset(hasPath_ ? X509_STORE_CTX_get1_chain(context.get()) : sk_X509_new_null());
  if (hasPath_) {
    findings_ |= notes.findings;
  }
  return !notes.memory && chain_ != nullptr && (hasPath_ || push(chain_, share(signer_.get())));
}

void Judgement::judgePin() noexcept {
  for (int i = 0; i < sk_X509_num(trust_.pins.get()); ++i) {
    isPinned_ = isPinned_ || X509_cmp(sk_X509_value(trust_.pins.get(), i), signer_.get()) == 0;
  }
  const Key own = publicKeyOf(signer_.get());
  for (const TalvoPKIPublicKey *key : items<TalvoPKIPublicKey>(trust_.pinnedKeys)) {
    isPinned_ = isPinned_ || (own && samePublicKey(own, key->key));
  }
  findings_ |= isPinned_ ? TALVO_TRUST_PINNED : hasPath_ ? TALVO_TRUST_ANCHORED : 0;
  if (!isPinned_ && !hasPath_) {
    findings_ |= TALVO_TRUST_UNTRUSTED;
  }
}

// A pin stands for the certificate itself, so the dates of a path above it do not matter.
void Judgement::judgeDates() noexcept {
  if (!isPinned_ && hasPath_) {
    return;  // the verifier judged the whole path
  }
  findings_ &= ~static_cast<uint32_t>(TALVO_TRUST_EXPIRED | TALVO_TRUST_NOT_YET_VALID);
  if (isPinned_ && trust_.rules.pinIgnoresDates) {
    return;
  }
  if (ASN1_TIME_cmp_time_t(X509_get0_notAfter(signer_.get()), now_) < 0) {
    findings_ |= TALVO_TRUST_EXPIRED;
  }
  const int start = ASN1_TIME_cmp_time_t(X509_get0_notBefore(signer_.get()), now_);
  if (start > 0 || start == -2) {
    findings_ |= TALVO_TRUST_NOT_YET_VALID;
  }
}

void Judgement::judgeUsage() noexcept {
  constexpr uint32_t kSigning = KU_DIGITAL_SIGNATURE | KU_NON_REPUDIATION;
  if (!trust_.rules.keyUsage) {
    return;
  }
  // An extension that cannot be read makes the usage 0.
  const bool maySign = (X509_get_key_usage(signer_.get()) & kSigning) != 0;
  if (!maySign || isForServicesOnly(signer_.get())) {
    findings_ |= TALVO_TRUST_KEY_USAGE;
  }
}

// The signature of an anchor, or of a pinned certificate, is nothing that anybody relies on.
void Judgement::judgeStrength() noexcept {
  const int count = sk_X509_num(chain_.get());
  for (int i = 0; i < count; ++i) {
    X509 *x509 = sk_X509_value(chain_.get(), i);
    if (!isStrongKey(x509, trust_.rules)) {
      findings_ |= TALVO_TRUST_WEAK_KEY;
    }
    const bool isRelied = hasPath_ && !isPinned_ && i + 1 < count;
    if (isRelied && !isStrongSignature(x509, trust_.rules)) {
      findings_ |= TALVO_TRUST_WEAK_DIGEST;
    }
  }
}

bool Judgement::isAnchor(const X509 *x509) const noexcept {
  for (int i = 0; i < sk_X509_num(trust_.anchors.get()); ++i) {
    if (X509_cmp(sk_X509_value(trust_.anchors.get(), i), x509) == 0) {
      return true;
    }
  }
  return false;
}

X509 *findIssuer(const STACK_OF(X509) * candidates, X509 *x509) noexcept {
  for (int i = 0; i < sk_X509_num(candidates); ++i) {
    X509 *candidate = sk_X509_value(candidates, i);
    if (X509_check_issued(candidate, x509) == X509_V_OK &&
        X509_verify(x509, X509_get0_pubkey(candidate)) == 1) {
      return candidate;
    }
  }
  return nullptr;
}

X509 *Judgement::issuerOf(int index) const noexcept {
  if (index + 1 < sk_X509_num(chain_.get())) {
    return sk_X509_value(chain_.get(), index + 1);
  }
  X509 *x509 = sk_X509_value(chain_.get(), index);
  X509 *issuer = findIssuer(trust_.anchors.get(), x509);
  return issuer != nullptr ? issuer : findIssuer(others_.get(), x509);
}

// The answers of several CRLs: one usable one decides, and a revocation always.
struct CrlAnswers {
  bool isKnown = false;
  bool isRevoked = false;
  bool hasUnusable = false;

  void add(CrlAnswer answer) noexcept {
    isRevoked = isRevoked || answer == CrlAnswer::revoked;
    isKnown = isKnown || answer == CrlAnswer::good || answer == CrlAnswer::revoked;
    hasUnusable = hasUnusable || answer == CrlAnswer::unusable;
  }
};

void Judgement::judgeRevocationOf(int index, const talvo_arraylist *carried) noexcept {
  X509 *x509 = sk_X509_value(chain_.get(), index);
  X509 *issuer = issuerOf(index);
  CrlAnswers given;
  for (int i = 0; i < sk_X509_CRL_num(trust_.crls.get()); ++i) {
    given.add(askCrl(sk_X509_CRL_value(trust_.crls.get(), i), x509, issuer, now_));
  }
  CrlAnswers brought;
  for (const talvo_crl *crl : items<talvo_crl>(carried)) {
    brought.add(askCrl(crl->crl.get(), x509, issuer, now_));
  }
  const bool isKnown = given.isKnown || brought.isKnown;
  if (given.isRevoked || brought.isRevoked) {
    findings_ |= TALVO_TRUST_REVOKED;
  }
  if ((given.hasUnusable && !given.isKnown) ||
      (!isKnown && trust_.rules.revocation == TALVO_REVOCATION_REQUIRED)) {
    findings_ |= TALVO_TRUST_REVOCATION_UNKNOWN;
  }
  if (brought.hasUnusable) {
    findings_ |= TALVO_TRUST_CARRIED_CRL_UNUSABLE;
  }
}

bool isSelfSigned(X509 *x509) noexcept {
  return X509_self_signed(x509, 1) == 1;
}

// An anchor is believed whatever its issuer says, and what signed itself has nobody to revoke it.
void Judgement::judgeRevocation(const talvo_arraylist *carried) noexcept {
  if (trust_.rules.revocation == TALVO_REVOCATION_NONE) {
    return;
  }
  const int count = isPinned_ ? 1 : sk_X509_num(chain_.get());
  for (int i = 0; i < count; ++i) {
    X509 *x509 = sk_X509_value(chain_.get(), i);
    if (!isAnchor(x509) && !isSelfSigned(x509)) {
      judgeRevocationOf(i, carried);
    }
  }
}

bool Judgement::run(const talvo_arraylist *carried) noexcept {
  if (!buildPath()) {
    return false;
  }
  judgePin();
  judgeDates();
  judgeUsage();
  judgeStrength();
  judgeRevocation(carried);
  return true;
}

void freeCertificate(void *certificate) noexcept {
  TalvoPKICertFreeCert(static_cast<TalvoPKICert *>(certificate));
}

List Judgement::chain() const noexcept {
  List list(talvo_arraylist_new(nullptr, freeCertificate));
  for (int i = 0; list && i < sk_X509_num(chain_.get()); ++i) {
    Handle<TalvoPKICert, TalvoPKICertFreeCert> certificate(
        newCertificate(share(sk_X509_value(chain_.get(), i))));
    if (!append(list, std::move(certificate))) {
      return nullptr;
    }
  }
  return list;
}

constexpr uint32_t kRefusing = TALVO_TRUST_UNTRUSTED | TALVO_TRUST_EXPIRED |
                               TALVO_TRUST_NOT_YET_VALID | TALVO_TRUST_REVOKED |
                               TALVO_TRUST_REVOCATION_UNKNOWN | TALVO_TRUST_KEY_USAGE |
                               TALVO_TRUST_WEAK_KEY | TALVO_TRUST_WEAK_DIGEST;

void freeKey(void *key) noexcept {
  TalvoPKICryptoFreePublicKey(static_cast<TalvoPKIPublicKey *>(key));
}

// Seconds since 1970 of a time in UTC.
time_t secondsOf(const talvo_time *time) noexcept {
  tm utc{};
  utc.tm_year = talvo_time_getyear(time) - 1900;
  utc.tm_mon = talvo_time_getmonth(time) - 1;
  utc.tm_mday = talvo_time_getday(time);
  utc.tm_hour = talvo_time_gethour(time);
  utc.tm_min = talvo_time_getminute(time);
  utc.tm_sec = talvo_time_getsecond(time);
  return timegm(&utc);
}

bool setRule(TrustRules &rules, int32_t rule, int32_t value) noexcept {
  switch (rule) {
    case TALVO_TRUST_RULE_MIN_RSA_BITS:
      rules.minRsaBits = value;
      return true;
    case TALVO_TRUST_RULE_MIN_DSA_BITS:
      rules.minDsaBits = value;
      return true;
    case TALVO_TRUST_RULE_MIN_EC_BITS:
      rules.minEcBits = value;
      return true;
    case TALVO_TRUST_RULE_ALLOW_SHA1:
      rules.allowSha1 = value != 0;
      return true;
    case TALVO_TRUST_RULE_KEY_USAGE:
      rules.keyUsage = value != 0;
      return true;
    case TALVO_TRUST_RULE_REVOCATION:
      rules.revocation = value;
      return value <= TALVO_REVOCATION_REQUIRED;
    case TALVO_TRUST_RULE_PIN_IGNORES_DATES:
      rules.pinIgnoresDates = value != 0;
      return true;
    default:
      return false;
  }
}

}  // namespace

TalvoPKITrust *TalvoPKITrustNew() noexcept {
  const ErrorQueueScope errors;
  Owned<TalvoPKITrust> trust = make<TalvoPKITrust>(kSource);
  if (!trust) {
    return nullptr;
  }
  trust->store.reset(X509_STORE_new());
  trust->anchors.reset(sk_X509_new_null());
  trust->intermediates.reset(sk_X509_new_null());
  trust->pins.reset(sk_X509_new_null());
  trust->pinnedKeys.reset(talvo_arraylist_new(nullptr, freeKey));
  trust->crls.reset(sk_X509_CRL_new_null());
  const bool isWhole = trust->store && trust->anchors && trust->intermediates && trust->pins &&
                       trust->pinnedKeys && trust->crls;
  return isWhole ? trust.release() : nullptr;
}

void TalvoPKITrustFree(TalvoPKITrust *trust) noexcept {
  destroy(trust);
}

int32_t TalvoPKITrustAddCert(TalvoPKITrust *trust, int32_t role,
                             const TalvoPKICert *cert) noexcept {
  if (trust == nullptr || cert == nullptr || role < TALVO_TRUST_ANCHOR || role > TALVO_TRUST_PIN) {
    return 0;
  }
  const ErrorQueueScope errors;
  X509Ptr x509 = withIdentifier(cert->x509.get());
  if (!x509) {
    return 0;
  }
  if (role == TALVO_TRUST_ANCHOR && X509_STORE_add_cert(trust->store.get(), x509.get()) != 1) {
    return 0;
  }
  const X509Stack &stack = role == TALVO_TRUST_ANCHOR         ? trust->anchors
                           : role == TALVO_TRUST_INTERMEDIATE ? trust->intermediates
                                                              : trust->pins;
  return push(stack, std::move(x509)) ? 1 : 0;
}

int32_t TalvoPKITrustAddKey(TalvoPKITrust *trust, TalvoPKIPublicKey *key) noexcept {
  Handle<TalvoPKIPublicKey, TalvoPKICryptoFreePublicKey> copy(
      trust == nullptr ? nullptr : TalvoPKICryptoDupPublicKey(key));
  return copy && append(trust->pinnedKeys, std::move(copy)) ? 1 : 0;
}

int32_t TalvoPKITrustAddCrl(TalvoPKITrust *trust, const talvo_crl *crl) noexcept {
  if (trust == nullptr || crl == nullptr || X509_CRL_up_ref(crl->crl.get()) != 1) {
    return 0;
  }
  const ErrorQueueScope errors;
  CrlHandle owned(crl->crl.get());
  if (sk_X509_CRL_push(trust->crls.get(), owned.get()) <= 0) {
    return 0;
  }
  owned.release();  // the stack owns it now
  return 1;
}

int32_t TalvoPKITrustSetTime(TalvoPKITrust *trust, const talvo_time *time) noexcept {
  if (trust == nullptr) {
    return 0;
  }
  trust->time = time == nullptr ? std::nullopt : std::optional<time_t>(secondsOf(time));
  return 1;
}

int32_t TalvoPKITrustSetRule(TalvoPKITrust *trust, int32_t rule, int32_t value) noexcept {
  return trust != nullptr && value >= 0 && setRule(trust->rules, rule, value) ? 1 : 0;
}

int32_t TalvoPKITrustHasKey(const TalvoPKITrust *trust, const TalvoPKIPublicKey *key) noexcept {
  if (trust == nullptr || key == nullptr) {
    return 0;
  }
  const ErrorQueueScope errors;
  for (const TalvoPKIPublicKey *pinned : items<TalvoPKIPublicKey>(trust->pinnedKeys)) {
    if (samePublicKey(pinned->key, key->key)) {
      return 1;
    }
  }
  for (int i = 0; i < sk_X509_num(trust->pins.get()); ++i) {
    if (samePublicKey(publicKeyOf(sk_X509_value(trust->pins.get(), i)), key->key)) {
      return 1;
    }
  }
  return 0;
}

int32_t TalvoPKITrustJudge(const TalvoPKITrust *trust, const TalvoPKICert *cert,
                           const talvo_arraylist *certificates, const talvo_arraylist *crls,
                           uint32_t *findings, talvo_arraylist **chain) noexcept {
  if (trust == nullptr || cert == nullptr || findings == nullptr) {
    return -1;
  }
  const ErrorQueueScope errors;
  Judgement judgement(*trust, cert);
  if (!judgement.prepare(certificates) || !judgement.run(crls)) {
    return -1;
  }
  List path = chain == nullptr ? nullptr : judgement.chain();
  if (chain != nullptr && !path) {
    return -1;
  }
  *findings = judgement.findings();
  if (chain != nullptr) {
    *chain = path.release();
  }
  return (*findings & kRefusing) == 0 ? 1 : 0;
}
