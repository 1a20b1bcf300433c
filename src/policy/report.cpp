// The getters of a report. They copy what they hand out, but for nodes and names.
#include "policy/report.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "base/boundary.h"
#include "base/list.h"
#include "base/utf8.h"

namespace talvo::policy {
namespace {

template <class T>
const T *at(const Vec<T> &items, int32_t index) noexcept {
  return index >= 0 && static_cast<size_t>(index) < items.size()
             ? &items[static_cast<size_t>(index)]
             : nullptr;
}

const Note *reasonAt(const talvo_xml_report *report, int32_t index) noexcept {
  return report == nullptr ? nullptr : at(report->reasons, index);
}

const Note *warningAt(const talvo_xml_report *report, int32_t index) noexcept {
  return report == nullptr ? nullptr : at(report->warnings, index);
}

const SignatureEntry *signatureAt(const talvo_xml_report *report, int32_t index) noexcept {
  return report == nullptr ? nullptr : at(report->signatures, index);
}

const ReferenceEntry *referenceAt(const talvo_xml_report *report, int32_t signature,
                                  int32_t index) noexcept {
  const SignatureEntry *entry = signatureAt(report, signature);
  return entry == nullptr ? nullptr : at(entry->references, index);
}

talvo_ustring *newText(std::string_view text) noexcept {
  return makeString(text).release();
}

talvo_ustring *sentence(const Note *note) noexcept {
  return guard([&]() -> talvo_ustring * {
    NodePaths paths;
    return note == nullptr ? nullptr : newText(sentenceOf(*note, paths));
  });
}

talvo_data_blob *newBlob(const ReferenceEntry *entry,
                         Vec<uint8_t> ReferenceEntry::*member) noexcept {
  return entry == nullptr || (entry->*member).empty()
             ? nullptr
             : talvo_data_blob_new((entry->*member).data(), (entry->*member).size());
}

template <class T>
int32_t countOf(const Vec<T> &items) noexcept {
  return static_cast<int32_t>(std::min<size_t>(items.size(), INT32_MAX));
}

}  // namespace

std::string sentenceOf(const Note &note, NodePaths &paths) {
  std::string text = rowOf(note.reason).text;
  if (note.node != nullptr) {
    text += ": " + paths.of(note.node);
  } else if (!note.where.empty()) {
    text += ": " + std::string(note.where);
  }
  return text;
}

const char *verdictName(int32_t verdict) noexcept {
  switch (verdict) {
    case TALVO_XML_VERDICT_VALID:
      return "valid";
    case TALVO_XML_VERDICT_REFUSED:
      return "refused";
    default:
      return "invalid";
  }
}

int32_t verdictOf(const SignatureEntry &entry) noexcept {
  if (entry.isValid) {
    return TALVO_XML_VERDICT_VALID;
  }
  const bool isInvalid = entry.reasons.empty() ||
                         std::any_of(entry.reasons.begin(), entry.reasons.end(),
                                     [](const Note &note) { return isInvalidity(note.reason); });
  return isInvalid ? TALVO_XML_VERDICT_INVALID : TALVO_XML_VERDICT_REFUSED;
}

std::string isoTime(const talvo_time *time) {
  std::array<char, 64> text{};
  const int length = std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02dZ",
                                   talvo_time_getyear(time), talvo_time_getmonth(time),
                                   talvo_time_getday(time), talvo_time_gethour(time),
                                   talvo_time_getminute(time), talvo_time_getsecond(time));
  return {text.data(), static_cast<size_t>(std::max(length, 0))};
}

}  // namespace talvo::policy

using namespace talvo;
using namespace talvo::policy;

extern "C" {

void talvo_xml_report_free(talvo_xml_report *report) noexcept {
  destroy(report);
}

int32_t talvo_xml_report_getverdict(const talvo_xml_report *report) noexcept {
  return report == nullptr ? 0 : report->verdict;
}

uint32_t talvo_xml_report_geterror(const talvo_xml_report *report) noexcept {
  return report == nullptr ? 0 : report->error;
}

int32_t talvo_xml_report_getreasoncount(const talvo_xml_report *report) noexcept {
  return report == nullptr ? -1 : countOf(report->reasons);
}

const char *talvo_xml_report_getreasonname(const talvo_xml_report *report, int32_t index) noexcept {
  const Note *note = reasonAt(report, index);
  return note == nullptr ? nullptr : nameOf(note->reason);
}

talvo_ustring *talvo_xml_report_getreasontext(const talvo_xml_report *report,
                                              int32_t index) noexcept {
  return sentence(reasonAt(report, index));
}

int32_t talvo_xml_report_getreasonsignature(const talvo_xml_report *report,
                                            int32_t index) noexcept {
  const Note *note = reasonAt(report, index);
  return note == nullptr ? -1 : note->signature;
}

int32_t talvo_xml_report_getwarningcount(const talvo_xml_report *report) noexcept {
  return report == nullptr ? -1 : countOf(report->warnings);
}

const char *talvo_xml_report_getwarningname(const talvo_xml_report *report,
                                            int32_t index) noexcept {
  const Note *note = warningAt(report, index);
  return note == nullptr ? nullptr : nameOf(note->reason);
}

talvo_ustring *talvo_xml_report_getwarningtext(const talvo_xml_report *report,
                                               int32_t index) noexcept {
  return sentence(warningAt(report, index));
}

int32_t talvo_xml_report_getsignaturecount(const talvo_xml_report *report) noexcept {
  return report == nullptr ? -1 : countOf(report->signatures);
}

XmlNode *talvo_xml_report_getsignaturenode(const talvo_xml_report *report,
                                           int32_t signature) noexcept {
  const SignatureEntry *entry = signatureAt(report, signature);
  return entry == nullptr ? nullptr : entry->element;
}

talvo_ustring *talvo_xml_report_getsignaturepath(const talvo_xml_report *report,
                                                 int32_t signature) noexcept {
  return guard([&]() -> talvo_ustring * {
    const SignatureEntry *entry = signatureAt(report, signature);
    NodePaths paths;
    return entry == nullptr ? nullptr : newText(paths.of(entry->element));
  });
}

talvo_ustring *talvo_xml_report_getsignatureid(const talvo_xml_report *report,
                                               int32_t signature) noexcept {
  const SignatureEntry *entry = signatureAt(report, signature);
  return entry == nullptr || entry->id.empty() ? nullptr : newText(entry->id);
}

int32_t talvo_xml_report_getsignaturemethod(const talvo_xml_report *report,
                                            int32_t signature) noexcept {
  const SignatureEntry *entry = signatureAt(report, signature);
  return entry == nullptr ? -1 : entry->method;
}

int32_t talvo_xml_report_getsignatureverdict(const talvo_xml_report *report,
                                             int32_t signature) noexcept {
  const SignatureEntry *entry = signatureAt(report, signature);
  return entry == nullptr ? 0 : verdictOf(*entry);
}

int32_t talvo_xml_report_istrusted(const talvo_xml_report *report, int32_t signature) noexcept {
  const SignatureEntry *entry = signatureAt(report, signature);
  return entry != nullptr && entry->isTrusted ? 1 : 0;
}

int32_t talvo_xml_report_getkeysource(const talvo_xml_report *report, int32_t signature) noexcept {
  const SignatureEntry *entry = signatureAt(report, signature);
  return entry == nullptr ? TALVO_XML_KEY_NONE : entry->keySource;
}

TalvoPKICert *talvo_xml_report_getcertificate(const talvo_xml_report *report,
                                              int32_t signature) noexcept {
  const SignatureEntry *entry = signatureAt(report, signature);
  return entry == nullptr ? nullptr : TalvoPKICertDupCert(entry->certificate.get());
}

static void freeCertificateItem(void *certificate) noexcept {
  TalvoPKICertFreeCert(static_cast<TalvoPKICert *>(certificate));
}

talvo_arraylist *talvo_xml_report_getchain(const talvo_xml_report *report,
                                           int32_t signature) noexcept {
  const SignatureEntry *entry = signatureAt(report, signature);
  if (entry == nullptr || entry->chain == nullptr) {
    return nullptr;
  }
  List copy(talvo_arraylist_new(nullptr, freeCertificateItem));
  for (const TalvoPKICert *certificate : items<TalvoPKICert>(entry->chain)) {
    if (!copy || !append(copy, Certificate(TalvoPKICertDupCert(certificate)))) {
      return nullptr;
    }
  }
  return copy.release();
}

int32_t talvo_xml_report_getreferencecount(const talvo_xml_report *report,
                                           int32_t signature) noexcept {
  const SignatureEntry *entry = signatureAt(report, signature);
  return entry == nullptr ? -1 : countOf(entry->references);
}

talvo_ustring *talvo_xml_report_getreferenceuri(const talvo_xml_report *report, int32_t signature,
                                                int32_t reference) noexcept {
  const ReferenceEntry *entry = referenceAt(report, signature, reference);
  return entry == nullptr || !entry->hasUri ? nullptr : newText(entry->uri);
}

int32_t talvo_xml_report_getreferenceverdict(const talvo_xml_report *report, int32_t signature,
                                             int32_t reference) noexcept {
  const ReferenceEntry *entry = referenceAt(report, signature, reference);
  return entry == nullptr ? 0 : entry->verdict;
}

talvo_data_blob *talvo_xml_report_getexpecteddigest(const talvo_xml_report *report,
                                                    int32_t signature, int32_t reference) noexcept {
  return newBlob(referenceAt(report, signature, reference), &ReferenceEntry::expected);
}

talvo_data_blob *talvo_xml_report_getcomputeddigest(const talvo_xml_report *report,
                                                    int32_t signature, int32_t reference) noexcept {
  return newBlob(referenceAt(report, signature, reference), &ReferenceEntry::computed);
}

int64_t talvo_xml_report_getdigestedlength(const talvo_xml_report *report, int32_t signature,
                                           int32_t reference) noexcept {
  const ReferenceEntry *entry = referenceAt(report, signature, reference);
  return entry == nullptr ? -1 : entry->digested;
}

talvo_data_blob *talvo_xml_report_getdigestedoctets(const talvo_xml_report *report,
                                                    int32_t signature, int32_t reference) noexcept {
  return newBlob(referenceAt(report, signature, reference), &ReferenceEntry::octets);
}

int32_t talvo_xml_report_iscovered(const talvo_xml_report *report, XmlNode *node) noexcept {
  return guard([&] {
    const NodeKind kind = kindOf(node);
    if (report == nullptr || node == nullptr || kind == NodeKind::unsupported ||
        kind == NodeKind::namespaceDeclaration || talvo_xml_node_getdoc(node) != report->document) {
      return 0;
    }
    Uncovered uncovered;
    XmlNode *top = kind == NodeKind::document ? nullptr : node;
    findUncovered(report->coverage, report->document, top, false, &uncovered);
    return uncovered.nodes.empty() && uncovered.comments.empty() ? 1 : 0;
  });
}

int32_t talvo_xml_report_getuncoveredcount(const talvo_xml_report *report) noexcept {
  return report == nullptr ? -1 : countOf(report->uncovered.nodes);
}

XmlNode *talvo_xml_report_getuncovered(const talvo_xml_report *report, int32_t index) noexcept {
  XmlNode *const *node = report == nullptr ? nullptr : at(report->uncovered.nodes, index);
  return node == nullptr ? nullptr : *node;
}
}
