// The signature value, the key that it verifies with, and whose key that is. The value is computed
// by the plain code; which certificate speaks for the key, and whether anybody believes it, is
// judged here.
#include <algorithm>

#include "base/list.h"
#include "base/utf8.h"
#include "policy/certificate.h"
#include "policy/run.h"
#include "policy/signing_certificate.h"
#include "signature/context/context.h"
#include "signature/decode/element_reader.h"
#include "signature/decode/transform_params.h"
#include "signature/decode/xades.h"
#include "signature/sign/raw_signature.h"
#include "signature/sign/signed_info_octets.h"

namespace talvo::policy {
namespace {

constexpr int32_t kVerificationUsage = 0x10000002;

struct ErrorRow {
  uint32_t error;
  Reason reason;
};

constexpr ErrorRow kValueErrors[] = {
    {TALVO_VERIFY_ERROR_INVALID_SIGNATURE, Reason::signatureMismatch},
    {TALVO_VERIFY_ERROR_OUT_OF_MEMORY, Reason::notCanonical},
    {TALVO_VERIFY_ERROR_C14N_METHOD, Reason::unsupportedAlgorithm},
    {TALVO_VERIFY_ERROR_NO_KEY, Reason::noKey},
    {TALVO_VERIFY_ERROR_HMAC_METHOD, Reason::unsupportedAlgorithm},
    {TALVO_VERIFY_ERROR_SIGNATURE_METHOD, Reason::unsupportedAlgorithm},
    {TALVO_VERIFY_ERROR_SIGNING_CERTIFICATE, Reason::signingCertificateMismatch},
};

Reason reasonOf(uint32_t error) noexcept {
  for (const ErrorRow &row : kValueErrors) {
    if (row.error == error) {
      return row.reason;
    }
  }
  return Reason::undecodable;
}

class SignerExamination {
 public:
  SignerExamination(Run &run, int32_t signature)
      : run_(run),
        policy_(run.policy()),
        signature_(signature),
        entry_(run.entry(signature)),
        record_(*entry_.record) {}

  void examine();

 private:
  void examineMethods();
  void examineMethod(const SignatureAlgorithm &method);
  void examineHmacLength(const SignatureAlgorithm &method);
  bool prepare();
  bool verify();
  bool verifyWithPins();
  bool verifyWith(TalvoPKIPublicKey *key, Bytes octets) const;
  void take(Key key);
  void gatherCandidates();
  void addCandidate(Certificate certificate);
  void gatherCrls(const List &crls);
  void judgeCertificates();
  void judgeBareKey();
  bool judgeOne(TalvoPKICert *candidate, const List &crls, bool isLast);
  void noteFindings(uint32_t findings);

  Run &run_;
  const TalvoXmlPolicy &policy_;
  int32_t signature_;
  SignatureEntry &entry_;
  Signature &record_;
  PublicKey key_;
  List others_;      // of TalvoPKICert: all that the signature brings, and those that were added
  List candidates_;  // of TalvoPKICert: those with the key
};

void SignerExamination::examineHmacLength(const SignatureAlgorithm &method) {
  const int64_t bits = record_.signedInfo->signatureMethod->hmacOutputLength;
  constexpr int64_t kLeast = 80;
  const int64_t least = policy_.minHmacBits > 0 ? policy_.minHmacBits
                                                : std::max<int64_t>(kLeast, method.hmacBits / 2);
  if (bits < std::min<int64_t>(least, method.hmacBits)) {
    run_.judge(signature_, {Reason::hmacTruncated, std::to_string(bits) + " bits"});
  }
}

void SignerExamination::examineMethod(const SignatureAlgorithm &method) {
  const std::string_view name = method.name;
  const bool isWeak = isBroken(name) || (isSha1(name) && !policy_.allowsSha1());
  if (isWeak || !policy_.signatureMethods.has(method.number)) {
    run_.judge(signature_, {Reason::weakSignatureMethod, name});
  }
  if (method.family == KeyFamily::hmac) {
    examineHmacLength(method);
  }
}

void SignerExamination::examineMethods() {
  const CanonicalizationMethod &c14n = *record_.signedInfo->canonicalizationMethod;
  if (!policy_.canonicalizations.has(c14n.algorithmId)) {
    run_.judge(signature_, {Reason::canonicalizationNotAllowed, viewOf(c14n.algorithm.get())});
  }
  entry_.method = record_.signedInfo->signatureMethod->algorithmId;
  if (const SignatureAlgorithm *method = signatureByNumber(entry_.method)) {
    examineMethod(*method);
  }
}

// A certificate that may not sign is not taken, which is no failure: it may be meant for another
// signature.
bool SignerExamination::prepare() {
  const SignatureAlgorithm *method = signatureByNumber(entry_.method);
  const bool isHmac = method != nullptr && method->family == KeyFamily::hmac;
  const Bytes secret = bytesOf(policy_.hmacKey.get());
  if (isHmac && !secret.empty() &&
      talvo_xml_signature_sethmackey(&record_, secret.data(), secret.size()) != 1) {
    return false;
  }
  const auto &numbers = policy_.domainParameters;
  if (numbers[0] != nullptr &&
      talvo_xml_signature_sethdomainparam(&record_, numbers[0].get(), numbers[1].get(),
                                          numbers[2].get()) != 1) {
    return false;
  }
  for (const TalvoPKICert *certificate : items<TalvoPKICert>(policy_.addedCerts)) {
    talvo_xml_signature_addcert(&record_, certificate);
  }
  return true;
}

bool SignerExamination::verifyWith(TalvoPKIPublicKey *key, Bytes octets) const {
  const SignatureAlgorithm *method = signatureByNumber(entry_.method);
  const Bytes value = bytesOf(record_.signatureValue->value.get());
  return key != nullptr && verifysignaturebypubkey(key, method->crypto, octets.data(),
                                                   octets.size(), value.data(), value.size()) == 1;
}

// Keys that the verifier knows, for a signature that does not bring the one that it was made with.
bool SignerExamination::verifyWithPins() {
  const SignatureAlgorithm *method = signatureByNumber(entry_.method);
  const SignedInfo &signedInfo = *record_.signedInfo;
  PrefixBlock prefixes;
  uint32_t error = 0;
  const int32_t c14n = signedInfo.canonicalizationMethod->algorithmId;
  if (method == nullptr || method->crypto == 0 || method->family == KeyFamily::hmac ||
      !canCanonicalize(c14n) ||
      (isExclusive(c14n) &&
       !decodeexcc14nnode(signedInfo.canonicalizationMethod->element, &prefixes, &error))) {
    return false;
  }
  const Blob octets = signedInfoOctets(signedInfo.element, c14n, prefixes);
  if (!octets) {
    return false;
  }
  for (const TalvoPKICert *pin : items<TalvoPKICert>(policy_.pins)) {
    PublicKey key(TalvoPKICertGetCertPublicKey(pin, kVerificationUsage));
    if (verifyWith(key.get(), bytesOf(octets.get()))) {
      key_ = std::move(key);
      return true;
    }
  }
  for (TalvoPKIPublicKey *pin : items<TalvoPKIPublicKey>(policy_.pinnedKeys)) {
    if (verifyWith(pin, bytesOf(octets.get()))) {
      key_.reset(TalvoPKICryptoDupPublicKey(pin));
      return key_ != nullptr;
    }
  }
  return false;
}

void SignerExamination::take(Key key) {
  if (const TalvoPKICert *certificate = key->certificate()) {
    entry_.keySource = TALVO_XML_KEY_CERTIFICATE;
    key_.reset(TalvoPKICertGetCertPublicKey(certificate, kVerificationUsage));
    entry_.certificate.reset(TalvoPKICertDupCert(certificate));
  } else if (key->publicKey() != nullptr) {
    entry_.keySource = TALVO_XML_KEY_VALUE;
    key_.reset(TalvoPKICryptoDupPublicKey(key->publicKey()));
  } else {
    entry_.keySource = TALVO_XML_KEY_SECRET;
  }
}

// The plain check compares with the SigningCertificate, too loosely and before the other sources of
// keys are looked at, so the property is kept from it where it is judged here.
bool SignerExamination::verify() {
  SignatureKey *key = nullptr;
  uint32_t error = 0;
  List named = policy_.isJudging ? std::move(record_.signingCertificate) : nullptr;
  const bool isVerified = talvo_xml_signature_signaturevalidation(&record_, &key, &error) == 1;
  if (named != nullptr) {
    record_.signingCertificate = std::move(named);
  }
  if (isVerified) {
    take(Key(key));
    return true;
  }
  const bool lacksKey =
      error == TALVO_VERIFY_ERROR_NO_KEY || error == TALVO_VERIFY_ERROR_INVALID_SIGNATURE;
  if (lacksKey && verifyWithPins()) {
    entry_.keySource = TALVO_XML_KEY_PINNED;
    return true;
  }
  run_.refuse(signature_, {reasonOf(error), {}, error});
  return false;
}

void SignerExamination::addCandidate(Certificate certificate) {
  if (certificate == nullptr) {
    return;
  }
  const PublicKey key(TalvoPKICertGetCertPublicKey(certificate.get(), kVerificationUsage));
  const bool hasKey = TalvoPKICryptoEqualPublicKey(key.get(), key_.get()) == 1;
  Certificate copy(hasKey ? TalvoPKICertDupCert(certificate.get()) : nullptr);
  if ((hasKey && !append(candidates_, std::move(copy))) ||
      !append(others_, std::move(certificate))) {
    run_.runOut();
  }
}

void SignerExamination::gatherCandidates() {
  others_ = newCertificateList();
  candidates_ = newCertificateList();
  if (!others_ || !candidates_) {
    run_.runOut();
    return;
  }
  const int32_t count = talvo_xml_signature_getkeyinfocertcount(&record_);
  for (int32_t i = 0; i < count; ++i) {
    addCandidate(Certificate(talvo_xml_signature_getkeyinfocert(&record_, i)));
  }
  for (const talvo_arraylist *list : {record_.certificateValues.get(), policy_.addedCerts.get()}) {
    for (const TalvoPKICert *certificate : items<TalvoPKICert>(list)) {
      addCandidate(Certificate(TalvoPKICertDupCert(certificate)));
    }
  }
  if (items<TalvoPKICert>(candidates_).empty()) {
    for (const TalvoPKICert *pin : items<TalvoPKICert>(policy_.pins)) {
      addCandidate(Certificate(TalvoPKICertDupCert(pin)));
    }
  }
}

void freeCrl(void *crl) noexcept {
  talvo_crl_free(static_cast<talvo_crl *>(crl));
}

void SignerExamination::gatherCrls(const List &crls) {
  const auto add = [&](Bytes der) {
    Crl crl(talvo_crl_new(der.data(), der.size(), 0));
    if (crl == nullptr) {
      run_.warn(signature_, {Reason::carriedCrlUnusable});
    } else if (!append(crls, std::move(crl))) {
      run_.runOut();
    }
  };
  if (record_.keyInfo) {
    for (const KeyInfoItem *item : items<KeyInfoItem>(record_.keyInfo->items)) {
      const auto *data = std::get_if<List>(&item->data);
      for (const X509DataItem *part :
           items<X509DataItem>(data == nullptr ? nullptr : data->get())) {
        const auto *der = std::get_if<Blob>(&part->data);
        if (part->kind == X509Kind::crl && der != nullptr) {
          add(bytesOf(der->get()));
        }
      }
    }
  }
  const XmlNode *values =
      findUnsignedSignatureProperty(record_.element, g_xml_xades_revocationvalues);
  for (const XmlNode *list = firstElementChild(values); list != nullptr; list = nextElement(list)) {
    for (const XmlNode *value = firstElementChild(list); value != nullptr;
         value = nextElement(value)) {
      if (localName(value) != viewOf(g_xml_xades_encapsulatedcrlvalue)) {
        continue;
      }
      const UString text(DecodeChildTextValue(value));
      const Blob der(decodeb64(text.get()));
      add(bytesOf(der.get()));
    }
  }
}

struct FindingRow {
  uint32_t bit;
  Reason reason;
};

constexpr FindingRow kFindings[] = {
    {TALVO_TRUST_UNTRUSTED, Reason::signerNotTrusted},
    {TALVO_TRUST_EXPIRED, Reason::certificateExpired},
    {TALVO_TRUST_NOT_YET_VALID, Reason::certificateNotYetValid},
    {TALVO_TRUST_REVOKED, Reason::certificateRevoked},
    {TALVO_TRUST_REVOCATION_UNKNOWN, Reason::revocationUnknown},
    {TALVO_TRUST_KEY_USAGE, Reason::keyUsage},
    {TALVO_TRUST_WEAK_KEY, Reason::weakKey},
    {TALVO_TRUST_WEAK_DIGEST, Reason::weakDigest},
};

void SignerExamination::noteFindings(uint32_t findings) {
  const std::string subject = subjectOf(entry_.certificate.get());
  for (const FindingRow &row : kFindings) {
    if ((findings & row.bit) != 0) {
      run_.refuse(signature_, {row.reason, subject});
    }
  }
  if ((findings & TALVO_TRUST_CARRIED_CRL_UNUSABLE) != 0) {
    run_.warn(signature_, {Reason::carriedCrlUnusable, subject});
  }
}

// True when the candidate is the one that the signature stands for.
bool SignerExamination::judgeOne(TalvoPKICert *candidate, const List &crls, bool isLast) {
  uint32_t findings = 0;
  talvo_arraylist *chain = nullptr;
  const int32_t answer = TalvoPKITrustJudge(policy_.trust.get(), candidate, others_.get(),
                                            crls.get(), &findings, &chain);
  List path(chain);
  if (answer < 0) {
    run_.runOut();
    return true;
  }
  if (answer != 1 && !isLast) {
    return false;
  }
  entry_.certificate.reset(TalvoPKICertDupCert(candidate));
  entry_.chain = std::move(path);
  entry_.findings = findings;
  if (entry_.certificate == nullptr) {
    run_.runOut();
  }
  noteFindings(findings);
  return true;
}

// Several certificates can hold the one key. The properties may say which is meant; of those that
// are left, one that is trusted will do, and without any the first is named.
void SignerExamination::judgeCertificates() {
  List crls(talvo_arraylist_new(nullptr, freeCrl));
  List meant = newCertificateList();
  if (!crls || !meant) {
    run_.runOut();
    return;
  }
  gatherCrls(crls);
  for (const bool mustBeNamed : {true, false}) {
    for (const TalvoPKICert *candidate : items<TalvoPKICert>(candidates_)) {
      if (!mustBeNamed || isNamedBy(record_, candidate)) {
        Certificate copy(TalvoPKICertDupCert(candidate));
        if (!append(meant, std::move(copy))) {
          run_.runOut();
          return;
        }
      }
    }
    if (!items<TalvoPKICert>(meant).empty()) {
      break;
    }
  }
  for (TalvoPKICert *candidate : items<TalvoPKICert>(meant)) {
    if (judgeOne(candidate, crls, false)) {
      return;
    }
  }
  judgeOne(items<TalvoPKICert>(meant)[0], crls, true);
}

bool isStrong(const TalvoPKIPublicKey *key, const TalvoXmlPolicy &policy) noexcept {
  const int32_t bits = TalvoPKICryptoGetPublicKeyBits(key);
  switch (TalvoPKICryptoGetPublicKeyType(key)) {
    case 1:
      return bits >= policy.minRsaBits;
    case 2:
      return bits >= policy.minDsaBits;
    case 4:
      return bits >= policy.minEcBits;
    default:
      return true;
  }
}

void SignerExamination::judgeBareKey() {
  const bool isPinned = TalvoPKITrustHasKey(policy_.trust.get(), key_.get()) == 1;
  const bool isAccepted = entry_.keySource == TALVO_XML_KEY_PINNED ||
                          policy_.keyValues == KeyValues::accept ||
                          (policy_.keyValues == KeyValues::pinned && isPinned);
  if (!isAccepted) {
    run_.refuse(signature_, {Reason::keyValueNotPinned});
  }
  if (!isStrong(key_.get(), policy_)) {
    run_.refuse(signature_, {Reason::weakKey});
  }
}

void SignerExamination::examine() {
  examineMethods();
  if (!prepare()) {
    run_.runOut();
    return;
  }
  if (!verify()) {
    return;
  }
  entry_.hasValue = true;
  if (entry_.keySource == TALVO_XML_KEY_SECRET) {
    entry_.isTrusted = true;
    return;
  }
  if (key_ == nullptr) {
    run_.runOut();
    return;
  }
  if (!policy_.isJudging) {
    return;
  }
  const size_t before = entry_.reasons.size();
  gatherCandidates();
  if (run_.isExhausted()) {
    return;
  }
  if (items<TalvoPKICert>(candidates_).empty()) {
    judgeBareKey();
  } else {
    judgeCertificates();
  }
  entry_.isTrusted = entry_.reasons.size() == before && !run_.isExhausted();
}

}  // namespace

void examineSigner(Run &run, int32_t signature) {
  SignerExamination(run, signature).examine();
}

}  // namespace talvo::policy
