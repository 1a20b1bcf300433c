// The order of the look: everything is decoded, then what costs nothing is judged, then keys and
// trust, then references, then what is covered. Acceptance is earned: the verdict starts as invalid
// and becomes valid only when every step was done and none of them noted anything.
#include <algorithm>

#include "base/boundary.h"
#include "base/list.h"
#include "base/utf8.h"
#include "policy/certificate.h"
#include "policy/run.h"
#include "signature/decode/element_reader.h"
#include "signature/decode/signature.h"

namespace talvo::policy {
namespace {

constexpr const char *kSource = "policy";

// A signature in an unsigned property vouches for the signature around it, not for the document.
bool isCounterSignature(const XmlNode *element) noexcept {
  return isElement(talvo_xml_node_getparent(element), g_xml_xades_countersignature,
                   g_xml_xadesv132_nsuri);
}

void decode(Run &run, XmlNode *element) {
  auto &signatures = run.report().signatures;
  const auto index = static_cast<int32_t>(signatures.size());
  SignatureEntry &entry = signatures.emplace_back();
  entry.element = element;
  entry.isCounterSignature = isCounterSignature(element);
  entry.record = decodeSignature(element, Registration::skip);
  if (!entry.record) {
    run.refuse(index, {Reason::undecodable, {}, TALVO_VERIFY_ERROR_UNDECODABLE});
    return;
  }
  entry.id = Text(viewOf(entry.record->id.get()));
  if (run.basePath() != nullptr &&
      talvo_xml_signature_setbasepath(entry.record.get(), run.basePath()) != 1) {
    run.runOut();
  }
}

// False when there is nothing more to look at.
bool findSignatures(Run &run, List *elements) {
  talvo_arraylist *found = nullptr;
  talvo_xml_node_findsignature(talvo_xml_doc_getrootelement(run.document()), &found);
  elements->reset(found);
  const int32_t count = items<XmlNode>(*elements).size();
  if (count == 0) {
    run.refuse(-1, {Reason::noSignature, {}, TALVO_VERIFY_ERROR_NO_SIGNATURE});
    return false;
  }
  if (count > run.policy().limits.signatures) {
    run.refuse(-1, {Reason::tooManySignatures, std::to_string(count)});
    return false;
  }
  return true;
}

bool prepare(Run &run) {
  if (!run.policy().allowDtd && hasDocumentType(run.document())) {
    run.refuse(-1, {Reason::dtd});
    return false;
  }
  List elements;
  if (!findSignatures(run, &elements)) {
    return false;
  }
  run.report().signatures.reserve(static_cast<size_t>(items<XmlNode>(elements).size()));
  for (XmlNode *element : items<XmlNode>(elements)) {
    decode(run, element);
  }
  if (talvo_xml_signature_setid(run.document()) != 1) {
    run.refuse(-1, {Reason::undecodable, "identifiers", TALVO_VERIFY_ERROR_ID_REGISTRATION});
  }
  examineIdentifiers(run);
  return true;
}

template <class Step>
void eachDecoded(Run &run, Step step) {
  const auto count = static_cast<int32_t>(run.report().signatures.size());
  for (int32_t i = 0; i < count && !run.isExhausted(); ++i) {
    if (run.entry(i).record != nullptr) {
      step(run, i);
    }
  }
}

// A countersignature has to name the value that it stands beside.
void examineCounterSignature(Run &run, int32_t index) {
  SignatureEntry &entry = run.entry(index);
  if (!entry.isCounterSignature) {
    return;
  }
  const XmlNode *parent = entry.element;
  do {
    parent = talvo_xml_node_getparent(parent);
  } while (parent != nullptr && talvo_xml_signature_issignaturenode(parent) != 1);
  const XmlNode *value = parent == nullptr ? nullptr : firstElementChild(parent);
  while (value != nullptr && !isSignatureElement(value, g_xml_signature_signaturevalue)) {
    value = nextElement(value);
  }
  const bool namesValue = std::any_of(
      entry.references.begin(), entry.references.end(), [&](const ReferenceEntry &item) {
        const std::string_view uri = item.uri;
        const UString id = uri.starts_with('#') ? makeString(uri.substr(1)) : nullptr;
        return item.verdict == TALVO_XML_REFERENCE_VALID && value != nullptr && id != nullptr &&
               talvo_xml_getidelemnode(run.document(), id.get()) == value;
      });
  if (!namesValue) {
    run.refuse(index, {Reason::counterSignature});
  }
}

void settle(Run &run, int32_t index) {
  SignatureEntry &entry = run.entry(index);
  const bool isWhole = std::all_of(
      entry.references.begin(), entry.references.end(),
      [](const ReferenceEntry &item) { return item.verdict == TALVO_XML_REFERENCE_VALID; });
  const bool isBelieved = entry.isTrusted || !run.policy().isJudging;
  entry.isValid =
      entry.hasValue && isBelieved && isWhole && !entry.references.empty() && entry.reasons.empty();
  if (entry.isValid && !entry.isCounterSignature) {
    addCoverage(run, index);
  }
}

// ---- the document as a whole ----

bool isExpected(const TalvoXmlPolicy &policy, const SignatureEntry &entry) {
  for (const TalvoPKICert *expected : items<TalvoPKICert>(policy.expected)) {
    if (isSameCertificate(expected, entry.certificate.get())) {
      return true;
    }
  }
  return false;
}

void moveReasons(Run &run, const SignatureEntry &entry, bool mayRefuse) {
  for (const Note &note : entry.reasons) {
    const bool counts = !entry.isCounterSignature && (mayRefuse || isInvalidity(note.reason));
    (counts ? run.report().reasons : run.report().warnings).push_back(note);
  }
}

void judgeSigners(Run &run) {
  const TalvoXmlPolicy &policy = run.policy();
  int64_t valid = 0;
  int64_t all = 0;
  bool hasExpected = items<TalvoPKICert>(policy.expected).empty();
  for (const SignatureEntry &entry : run.report().signatures) {
    all += entry.isCounterSignature ? 0 : 1;
    if (entry.isValid && !entry.isCounterSignature) {
      ++valid;
      hasExpected = hasExpected || isExpected(policy, entry);
    }
  }
  const int64_t needed = policy.atLeast == 0 ? all : policy.atLeast;
  for (const SignatureEntry &entry : run.report().signatures) {
    moveReasons(run, entry, valid < needed || policy.atLeast == 0);
  }
  auto &report = run.report();
  if (valid < needed && report.reasons.empty()) {
    run.refuse(-1, {Reason::signerNotTrusted,
                    std::to_string(valid) + " of " + std::to_string(needed) + " signatures"});
  }
  if (all == 0) {
    run.refuse(-1, {Reason::noSignature, {}, TALVO_VERIFY_ERROR_NO_SIGNATURE});
  }
  if (!hasExpected) {
    run.refuse(-1, {Reason::signerUnexpected});
  }
}

void conclude(Run &run) {
  TalvoXmlReport &report = run.report();
  const bool isInvalid = std::any_of(report.reasons.begin(), report.reasons.end(),
                                     [](const Note &note) { return isInvalidity(note.reason); });
  report.verdict = isInvalid                ? TALVO_XML_VERDICT_INVALID
                   : report.reasons.empty() ? TALVO_XML_VERDICT_VALID
                                            : TALVO_XML_VERDICT_REFUSED;
  if (report.verdict != TALVO_XML_VERDICT_INVALID) {
    report.error = 0;
    return;
  }
  for (const SignatureEntry &entry : report.signatures) {
    report.error = report.error != 0 || entry.isCounterSignature ? report.error : entry.error;
  }
}

void examine(Run &run) {
  if (prepare(run)) {
    eachDecoded(run, examineSigner);
    eachDecoded(run, examineReferences);
    eachDecoded(run, examineProperties);
    eachDecoded(run, examineCounterSignature);
    eachDecoded(run, settle);
    judgeSigners(run);
    examineCoverage(run);
  }
  conclude(run);
}

Owned<TalvoXmlReport> newReport(XmlDoc *document, const TalvoXmlPolicy &policy) {
  Owned<TalvoXmlReport> report = make<TalvoXmlReport>(kSource);
  if (!report) {
    return nullptr;
  }
  report->document = document;
  report->preset = policy.preset;
  report->time.reset(policy.time == nullptr ? talvo_time_newnow()
                                            : talvo_time_dup(policy.time.get()));
  return report;
}

int32_t verify(XmlDoc *document, const TalvoXmlPolicy &policy, const talvo_ustring *basePath,
               Bytes external, talvo_xml_report **out, uint32_t *error) {
  const int64_t refusals = talvo_memory_getrefusals();
  Owned<TalvoXmlReport> report = newReport(document, policy);
  if (!report) {
    return fail(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY);
  }
  Run run(policy, *report, basePath, external);
  examine(run);
  // What was lost for want of memory must not look like what was never there.
  if (run.isExhausted() || talvo_memory_getrefusals() != refusals) {
    return fail(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY);
  }
  const bool isValid = report->verdict == TALVO_XML_VERDICT_VALID;
  if (!isValid) {
    *error = report->error;
  }
  if (out != nullptr) {
    *out = report.release();
  }
  return isValid ? 1 : 0;
}

}  // namespace

void Run::refuse(int32_t signature, const Finding &finding) {
  const Note note{finding.reason, signature, finding.reference, Text(finding.where), finding.node};
  if (signature < 0) {
    report_.reasons.push_back(note);
    report_.error = report_.error == 0 ? finding.error : report_.error;
    return;
  }
  SignatureEntry &owner = entry(signature);
  owner.reasons.push_back(note);
  owner.error = owner.error == 0 ? finding.error : owner.error;
}

void Run::warn(int32_t signature, const Finding &finding) {
  report_.warnings.push_back(
      {finding.reason, signature, finding.reference, Text(finding.where), finding.node});
}

bool Run::fetch(size_t length) noexcept {
  const int64_t left = fetchable();
  if (left < 0 || length > static_cast<uint64_t>(left)) {
    return false;
  }
  fetched_ += static_cast<int64_t>(length);
  return true;
}

}  // namespace talvo::policy

extern "C" {

int32_t talvo_xml_signature_verify_policy(XmlDoc *doc, const talvo_xml_policy *policy,
                                          const talvo_ustring *basePath, const void *externalData,
                                          size_t length, talvo_xml_report **report,
                                          uint32_t *error) noexcept {
  using namespace talvo;
  return guardWithError(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY, [&] {
    if (report != nullptr) {
      *report = nullptr;
    }
    if (kindOf(doc) != NodeKind::document || policy == nullptr) {
      return fail(error, TALVO_VERIFY_ERROR_MISSING_ARGUMENT);
    }
    const Bytes external = externalData == nullptr
                               ? Bytes()
                               : Bytes(static_cast<const uint8_t *>(externalData), length);
    return policy::verify(doc, *policy, basePath, external, report, error);
  });
}
}
