// The references of a signature: what the policy says about each, its digest, and what its
// selection covers. A Manifest that is followed puts its references behind the one that leads to
// it.
#include <algorithm>
#include <unordered_set>

#include "base/list.h"
#include "base/utf8.h"
#include "policy/fetch.h"
#include "policy/run.h"
#include "signature/decode/reference.h"
#include "transform/reference/dereference.h"
#include "transform/reference/digest.h"

namespace talvo::policy {
namespace {

// Counts what goes into a digest, and keeps it where that is asked for. A limit of memory ends in
// std::bad_alloc, which must not leave a sink: it is remembered.
class CountingSink final : public OctetSink {
 public:
  CountingSink(HashSink &hash, Vec<uint8_t> *kept) noexcept : hash_(hash), kept_(kept) {}

  bool write(Bytes octets) noexcept override {
    count_ += octets.size();
    if (kept_ != nullptr && !keep(octets)) {
      isExhausted_ = true;
      return false;
    }
    return hash_.write(octets);
  }
  uint64_t count() const noexcept { return count_; }
  bool isExhausted() const noexcept { return isExhausted_; }

 private:
  bool keep(Bytes octets) noexcept {
    return guard([&] {
      kept_->insert(kept_->end(), octets.begin(), octets.end());
      return true;
    });
  }

  HashSink &hash_;
  Vec<uint8_t> *kept_;
  uint64_t count_ = 0;
  bool isExhausted_ = false;
};

bool isOfSameDocument(const Reference &reference) noexcept {
  const std::string_view uri = viewOf(reference.uri.get());
  return reference.uri != nullptr && (uri.empty() || uri.front() == '#');
}

// The element that "#id" and the XPointer form of it name; null for other references.
XmlNode *targetOf(const Reference &reference, XmlDoc *document) noexcept {
  std::string_view uri = viewOf(reference.uri.get());
  if (!uri.starts_with('#') || uri.starts_with("#xpointer(/")) {
    return nullptr;
  }
  uri.remove_prefix(1);
  constexpr std::string_view kXPointer = "xpointer(id(";
  if (uri.starts_with(kXPointer) && uri.size() > kXPointer.size() + 4) {
    uri = uri.substr(kXPointer.size() + 1, uri.size() - kXPointer.size() - 4);
  }
  const UString id = makeString(uri);
  XmlNode *target = talvo_xml_getidelemnode(document, id.get());
  return kindOf(target) == NodeKind::element ? target : nullptr;
}

struct Listed {
  const Reference *reference;
  size_t entry;
};

class ReferenceExamination {
 public:
  ReferenceExamination(Run &run, int32_t signature)
      : run_(run), policy_(run.policy()), signature_(signature), entry_(run.entry(signature)) {
    budget_.left = static_cast<uint64_t>(std::max<int64_t>(policy_.limits.xpathOperations, 0));
    // Files and network are asked only for somebody who is trusted so far.
    mayLeave_ = entry_.hasValue && entry_.isTrusted && entry_.reasons.empty();
  }

  void examine();

 private:
  using References = ListView<Reference>;

  void examineList(const References &references, int32_t depth);
  void examineOne(const Reference &reference, int32_t depth);
  bool examineRules(const Reference &reference, const ReferenceEntry &entry);
  bool examineTransform(const Transform &transform);
  bool examineDigestMethod(const DigestMethod &method);
  void digest(const Reference &reference, size_t index);
  bool digestOctets(const Reference &reference, CountingSink &sink, size_t index);
  bool digestDocument(const Reference &reference, CountingSink &sink, size_t index);
  bool digestExternal(CountingSink &sink, size_t index);
  bool digestElsewhere(const Reference &reference, CountingSink &sink, size_t index);
  bool transformOctets(const Reference &reference, Bytes octets, CountingSink &sink, size_t index);
  void compare(HashSink &hash, uint64_t count, bool isOfDocument, size_t index);
  void fail(size_t index, int32_t verdict, const Finding &finding);
  void noteDigestError(uint32_t error, size_t index);
  void followManifest(const Reference &reference, size_t index, int32_t depth);
  void walkManifest(XmlNode *target, size_t index, int32_t depth);
  bool coversTarget(const Reference &reference, XmlNode *target);
  ReferenceEntry &at(size_t index) { return entry_.references[index]; }

  Run &run_;
  const TalvoXmlPolicy &policy_;
  int32_t signature_;
  SignatureEntry &entry_;
  XPathBudget budget_;
  bool mayLeave_ = false;
  bool isFull_ = false;
  std::vector<const XmlNode *> open_;
  std::unordered_set<const XmlNode *> done_;
};

Text textOf(const talvo_ustring *text) {
  return Text(viewOf(text));
}

ReferenceEntry describe(const Reference &reference, int32_t depth) {
  ReferenceEntry entry;
  entry.element = reference.element;
  entry.hasUri = reference.uri != nullptr;
  entry.uri = textOf(reference.uri.get());
  entry.id = textOf(reference.id.get());
  entry.type = textOf(reference.type.get());
  for (const Transform *transform : items<Transform>(reference.transforms)) {
    entry.transforms.push_back(textOf(transform->algorithm.get()));
  }
  entry.digestMethod = reference.digestMethod->algorithmId;
  entry.digestUri = textOf(reference.digestMethod->algorithm.get());
  const Bytes expected = bytesOf(reference.digestValue->value.get());
  entry.expected.assign(expected.begin(), expected.end());
  entry.depth = depth;
  return entry;
}

void ReferenceExamination::fail(size_t index, int32_t verdict, const Finding &finding) {
  at(index).verdict = verdict;
  Finding placed = finding;
  placed.reference = static_cast<int32_t>(index);
  run_.refuse(signature_, placed);
}

bool ReferenceExamination::examineTransform(const Transform &transform) {
  const TransformAlgorithm *row = transformByUri(transform.algorithm.get());
  const std::string_view uri = viewOf(transform.algorithm.get());
  const auto index = static_cast<int32_t>(entry_.references.size() - 1);
  if (row == nullptr) {
    constexpr auto kUnknown = TALVO_VERIFY_ERROR_UNKNOWN_TRANSFORM;
    run_.refuse(signature_, {Reason::unsupportedAlgorithm, uri, kUnknown, index});
    return false;
  }
  if (c14nByNumber(row->number) != nullptr) {
    if (policy_.canonicalizations.has(row->number)) {
      return true;
    }
    run_.refuse(signature_, {Reason::canonicalizationNotAllowed, uri, 0, index});
    return false;
  }
  if (policy_.transforms.has(row->number)) {
    return true;
  }
  run_.refuse(signature_, {Reason::transformNotAllowed, uri, 0, index});
  return false;
}

// A digest that is too weak is computed all the same, so that a change is called one.
bool ReferenceExamination::examineDigestMethod(const DigestMethod &method) {
  const DigestAlgorithm *row = digestByNumber(method.algorithmId);
  const auto index = static_cast<int32_t>(entry_.references.size() - 1);
  const std::string_view name = row == nullptr ? viewOf(method.algorithm.get()) : row->name;
  const bool isWeak = row != nullptr && (isBroken(name) || (isSha1(name) && !policy_.allowsSha1()));
  if (policy_.isJudging && row != nullptr && (isWeak || !policy_.digests.has(row->number))) {
    run_.refuse(signature_, {Reason::weakDigest, name, 0, index});
    return row->length != 0;
  }
  if (row == nullptr || row->length == 0) {
    constexpr auto kDiffers = TALVO_VERIFY_ERROR_INVALID_REFERENCE;
    run_.refuse(signature_, {Reason::unsupportedAlgorithm, name, kDiffers, index});
    return false;
  }
  return true;
}

// Whether the reference may be computed.
bool ReferenceExamination::examineRules(const Reference &reference, const ReferenceEntry &entry) {
  const auto index = static_cast<int32_t>(entry_.references.size() - 1);
  if (static_cast<int64_t>(entry.transforms.size()) > policy_.limits.transforms) {
    run_.refuse(signature_, {Reason::tooManyTransforms, entry.uri, 0, index});
    return false;
  }
  bool isAllowed = examineDigestMethod(*reference.digestMethod);
  for (const Transform *transform : items<Transform>(reference.transforms)) {
    isAllowed = examineTransform(*transform) && isAllowed;
  }
  return isAllowed;
}

void ReferenceExamination::noteDigestError(uint32_t error, size_t index) {
  if (budget_.isExhausted) {
    fail(index, TALVO_XML_REFERENCE_REFUSED, {Reason::xpathBudget, at(index).uri});
    return;
  }
  const bool isMissing =
      error == TALVO_VERIFY_ERROR_NOT_FOUND || error == TALVO_VERIFY_ERROR_UNSUPPORTED_URI;
  fail(index, TALVO_XML_REFERENCE_UNAVAILABLE,
       {isMissing ? Reason::referenceUnavailable : Reason::transformFailed, at(index).uri, error});
}

bool ReferenceExamination::digestDocument(const Reference &reference, CountingSink &sink,
                                          size_t index) {
  const Reach reach{run_.document(), reference.element, run_.basePath(), 0};
  TransformData *data = nullptr;
  uint32_t error = 0;
  if (talvo_xml_siganture_uri2input(reach, reference.uri.get(), &data, &error) != 1 ||
      !writeReferenceData(sink, TransformInput(data), reference.transforms.get(), &budget_,
                          &error)) {
    noteDigestError(error, index);
    return false;
  }
  return true;
}

bool ReferenceExamination::digestExternal(CountingSink &sink, size_t index) {
  if (run_.external().empty()) {
    constexpr auto kMissing = TALVO_VERIFY_ERROR_MISSING_ARGUMENT;
    fail(index, TALVO_XML_REFERENCE_UNAVAILABLE, {Reason::referenceUnavailable, {}, kMissing});
    return false;
  }
  return sink.write(run_.external());
}

bool ReferenceExamination::transformOctets(const Reference &reference, Bytes octets,
                                           CountingSink &sink, size_t index) {
  uint32_t error = 0;
  TransformInput data(talvo_xml_transform_newocts(octets.data(), octets.size(), 0));
  if (data == nullptr) {
    run_.runOut();
    return false;
  }
  if (!writeReferenceData(sink, std::move(data), reference.transforms.get(), &budget_, &error)) {
    noteDigestError(error, index);
    return false;
  }
  return true;
}

bool ReferenceExamination::digestElsewhere(const Reference &reference, CountingSink &sink,
                                           size_t index) {
  OctetCollector collector;
  const bool isTransformed = !items<Transform>(reference.transforms).empty();
  OctetSink &target = isTransformed ? static_cast<OctetSink &>(collector) : sink;
  const FetchOutcome outcome = fetchInto(target, run_, reference);
  if (!outcome.isDone) {
    fail(index,
         isInvalidity(outcome.reason) ? TALVO_XML_REFERENCE_UNAVAILABLE
                                      : TALVO_XML_REFERENCE_REFUSED,
         {outcome.reason, at(index).uri, outcome.error});
    return false;
  }
  if (!isTransformed) {
    return true;
  }
  const Blob octets = collector.take();
  if (!octets) {
    run_.runOut();
    return false;
  }
  return transformOctets(reference, bytesOf(octets.get()), sink, index);
}

bool ReferenceExamination::digestOctets(const Reference &reference, CountingSink &sink,
                                        size_t index) {
  if (reference.uri == nullptr) {
    return digestExternal(sink, index);
  }
  return isOfSameDocument(reference) ? digestDocument(reference, sink, index)
                                     : digestElsewhere(reference, sink, index);
}

void ReferenceExamination::compare(HashSink &hash, uint64_t count, bool isOfDocument,
                                   size_t index) {
  Digest digest;
  if (!hash.finish(&digest)) {
    run_.runOut();
    return;
  }
  ReferenceEntry &entry = at(index);
  entry.computed.assign(digest.view().begin(), digest.view().end());
  entry.digested = static_cast<int64_t>(count);
  if (!equalOctets(digest.view(), entry.expected)) {
    constexpr auto kDiffers = TALVO_VERIFY_ERROR_INVALID_REFERENCE;
    fail(index, TALVO_XML_REFERENCE_INVALID, {Reason::digestMismatch, entry.uri, kDiffers});
    return;
  }
  entry.verdict = TALVO_XML_REFERENCE_VALID;
  if (policy_.isJudging && isOfDocument && count == 0) {
    fail(index, TALVO_XML_REFERENCE_REFUSED, {Reason::emptySelection, entry.uri});
  }
}

void ReferenceExamination::digest(const Reference &reference, size_t index) {
  HashSink hash(reference.digestMethod->algorithmId);
  CountingSink sink(hash, policy_.keepOctets ? &at(index).octets : nullptr);
  const bool isDigested = digestOctets(reference, sink, index);
  if (sink.isExhausted()) {
    run_.runOut();
  } else if (isDigested) {
    compare(hash, sink.count(), isOfSameDocument(reference), index);
  }
}

void ReferenceExamination::examineOne(const Reference &reference, int32_t depth) {
  const size_t index = entry_.references.size();
  if (static_cast<int64_t>(index) >= policy_.limits.references) {
    isFull_ = true;
    return;
  }
  entry_.references.push_back(describe(reference, depth));
  if (!examineRules(reference, at(index))) {
    at(index).verdict = TALVO_XML_REFERENCE_REFUSED;
    return;
  }
  const bool isInside = reference.uri == nullptr || isOfSameDocument(reference);
  if (!isInside && policy_.isJudging && !mayLeave_) {
    return;  // not examined
  }
  digest(reference, index);
  if (at(index).verdict == TALVO_XML_REFERENCE_VALID && isOfSameDocument(reference)) {
    followManifest(reference, index, depth);
  }
}

// Nothing may be taken out of a Manifest whose references are to count.
bool ReferenceExamination::coversTarget(const Reference &reference, XmlNode *target) {
  const Reach reach{run_.document(), reference.element, run_.basePath(), 0};
  Selection selection;
  Coverage coverage;
  if (!selectionOf(reference, reach, budget_.left, &selection)) {
    return false;
  }
  coverage.add(std::move(selection));
  return CoverageWalk(coverage).isSubtreeFine(target);
}

void ReferenceExamination::followManifest(const Reference &reference, size_t index, int32_t depth) {
  XmlNode *target = targetOf(reference, run_.document());
  if (talvo_xml_signature_ismanifestnode(target) != 1) {
    return;
  }
  if (policy_.manifests != Manifests::follow) {
    run_.warn(signature_, {Reason::manifestNotFollowed, at(index).uri});
    return;
  }
  if (policy_.isJudging && !coversTarget(reference, target)) {
    run_.warn(signature_, {Reason::manifestNotFollowed, at(index).uri});
    return;
  }
  walkManifest(target, index, depth);
}

void ReferenceExamination::walkManifest(XmlNode *target, size_t index, int32_t depth) {
  constexpr auto kManifest = TALVO_VERIFY_ERROR_MANIFEST;
  if (done_.contains(target)) {
    return;
  }
  const bool isOpen = std::find(open_.begin(), open_.end(), target) != open_.end();
  if (isOpen || static_cast<int64_t>(open_.size()) >= policy_.limits.manifestDepth) {
    fail(index, TALVO_XML_REFERENCE_REFUSED, {Reason::manifestDepth, at(index).uri});
    return;
  }
  const Owned<Manifest> manifest(
      talvo_xml_decode_signature_manifest(target, findEnclosingSignature(target)));
  if (!manifest) {
    fail(index, TALVO_XML_REFERENCE_UNAVAILABLE, {Reason::undecodable, at(index).uri, kManifest});
    return;
  }
  open_.push_back(target);
  examineList(items<Reference>(manifest->references), depth + 1);
  open_.pop_back();
  done_.insert(target);
}

void ReferenceExamination::examineList(const References &references, int32_t depth) {
  for (const Reference *reference : references) {
    examineOne(*reference, depth);
    if (isFull_ || run_.isExhausted()) {
      return;
    }
  }
}

void ReferenceExamination::examine() {
  const References references = items<Reference>(entry_.record->signedInfo->references);
  int32_t withoutUri = 0;
  for (const Reference *reference : references) {
    withoutUri += reference->uri == nullptr ? 1 : 0;
  }
  if (withoutUri > 1) {
    run_.refuse(signature_, {Reason::undecodable, "several references without URI",
                             TALVO_VERIFY_ERROR_REFERENCES_WITHOUT_URI});
    return;
  }
  if (references.size() > policy_.limits.references) {
    run_.refuse(signature_, {Reason::tooManyReferences, std::to_string(references.size())});
    return;
  }
  entry_.references.reserve(static_cast<size_t>(references.size()));
  examineList(references, 0);
  if (isFull_) {
    run_.refuse(signature_, {Reason::tooManyReferences, "with those of Manifests"});
  }
}

void addSelections(Run &run, const SignatureEntry &entry, const Reference &reference) {
  const Reach reach{run.document(), reference.element, run.basePath(), 0};
  const auto operations =
      static_cast<uint64_t>(std::max<int64_t>(run.policy().limits.xpathOperations, 0));
  const bool isHeld = std::any_of(
      entry.references.begin(), entry.references.end(), [&](const ReferenceEntry &item) {
        return item.element == reference.element && item.verdict == TALVO_XML_REFERENCE_VALID;
      });
  Selection selection;
  if (isHeld && isOfSameDocument(reference) &&
      selectionOf(reference, reach, operations, &selection)) {
    run.report().coverage.add(std::move(selection));
  }
}

}  // namespace

void examineReferences(Run &run, int32_t signature) {
  ReferenceExamination(run, signature).examine();
}

void addCoverage(Run &run, int32_t signature) {
  const SignatureEntry &entry = run.entry(signature);
  for (const Reference *reference : items<Reference>(entry.record->signedInfo->references)) {
    addSelections(run, entry, *reference);
  }
  for (const ReferenceEntry &item : entry.references) {
    if (item.depth == 0 || item.verdict != TALVO_XML_REFERENCE_VALID) {
      continue;
    }
    const OwnedReference reference(
        talvo_xml_decode_signature_reference(item.element, findEnclosingSignature(item.element)));
    if (reference) {
      addSelections(run, entry, *reference);
    }
  }
}

}  // namespace talvo::policy
