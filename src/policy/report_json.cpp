// A report as JSON. Anything that memory does not suffice for makes the whole of it fail.
#include "base/base64_text.h"
#include "base/boundary.h"
#include "base/list.h"
#include "base/utf8.h"
#include "policy/certificate.h"
#include "policy/report.h"

namespace talvo::policy {
namespace {

constexpr std::string_view kKeySources[] = {"none", "certificate", "key-value", "pinned", "secret"};
constexpr std::string_view kReferenceVerdicts[] = {
    "", "valid", "invalid", "unavailable", "refused", "not-examined"};

// A JSON object under construction; false once a member could not be set.
class Members {
 public:
  Members() noexcept : json_(talvo_json_newobject()), isWhole_(json_ != nullptr) {}

  void add(std::string_view name, Json value) noexcept {
    isWhole_ = isWhole_ && value != nullptr &&
               talvo_json_setmember(json_.get(), name.data(), name.size(), value.get()) == 1;
  }
  // A name out of a certificate or a URI can hold anything; what is no UTF-8 cannot come here.
  void text(std::string_view name, std::string_view value) noexcept {
    add(name, Json(talvo_json_newstring(value.data(), value.size())));
  }
  void optional(std::string_view name, std::string_view value) noexcept {
    if (!value.empty()) {
      text(name, value);
    }
  }
  void number(std::string_view name, int64_t value) noexcept {
    add(name, Json(talvo_json_newinteger(value)));
  }
  void flag(std::string_view name, bool value) noexcept {
    add(name, Json(talvo_json_newboolean(value ? 1 : 0)));
  }
  Json take() noexcept { return isWhole_ ? std::move(json_) : nullptr; }

 private:
  Json json_;
  bool isWhole_;
};

// The same for an array.
class Items {
 public:
  Items() noexcept : json_(talvo_json_newarray()), isWhole_(json_ != nullptr) {}

  void add(Json value) noexcept {
    isWhole_ = isWhole_ && value != nullptr && talvo_json_additem(json_.get(), value.get()) == 1;
  }
  void text(std::string_view value) noexcept {
    add(Json(talvo_json_newstring(value.data(), value.size())));
  }
  Json take() noexcept { return isWhole_ ? std::move(json_) : nullptr; }

 private:
  Json json_;
  bool isWhole_;
};

std::string base64(const Vec<uint8_t> &octets) {
  const UString text = encodeBase64({octets.data(), octets.size()}, TALVO_BASE64_ONE_LINE);
  return std::string(viewOf(text.get()));
}

Json describeNote(const Note &note, NodePaths &paths) {
  Members members;
  members.text("name", nameOf(note.reason));
  members.text("text", sentenceOf(note, paths));
  if (note.signature >= 0) {
    members.number("signature", note.signature + 1);
  }
  if (note.reference >= 0) {
    members.number("reference", note.reference + 1);
  }
  return members.take();
}

Json describeNotes(const Vec<Note> &notes, NodePaths &paths) {
  Items list;
  for (const Note &note : notes) {
    list.add(describeNote(note, paths));
  }
  return list.take();
}

struct AttributeRow {
  std::string_view name;
  int32_t attribute;
};

Json describeCertificate(const TalvoPKICert *certificate) {
  constexpr AttributeRow kAttributes[] = {{"subject", 48}, {"issuer", 49}, {"serial", 32}};
  Members members;
  for (const AttributeRow &row : kAttributes) {
    const UString value(TalvoPKICertGetCertStringAttribute(certificate, row.attribute));
    members.optional(row.name, viewOf(value.get()));
  }
  for (const AttributeRow &row : {AttributeRow{"notBefore", 0}, AttributeRow{"notAfter", 1}}) {
    const Time time(TalvoPKICertGetCertValidity(certificate, row.attribute));
    if (time != nullptr) {
      members.text(row.name, isoTime(time.get()));
    }
  }
  return members.take();
}

Json describeChain(const List &chain) {
  Items list;
  for (const TalvoPKICert *certificate : items<TalvoPKICert>(chain)) {
    list.add(describeCertificate(certificate));
  }
  return list.take();
}

Json describeTexts(const Vec<Text> &texts) {
  Items list;
  for (const Text &text : texts) {
    list.text(text);
  }
  return list.take();
}

Json describeReference(const ReferenceEntry &entry, int64_t number) {
  Members members;
  members.number("number", number);
  members.optional("id", entry.id);
  if (entry.hasUri) {
    members.text("uri", entry.uri);
  }
  members.optional("type", entry.type);
  members.add("transforms", describeTexts(entry.transforms));
  const DigestAlgorithm *method = digestByNumber(entry.digestMethod);
  members.text("digestMethod",
               method == nullptr ? std::string_view(entry.digestUri) : method->name);
  members.text("verdict", kReferenceVerdicts[entry.verdict]);
  members.text("expectedDigest", base64(entry.expected));
  if (!entry.computed.empty()) {
    members.text("computedDigest", base64(entry.computed));
  }
  if (entry.digested >= 0) {
    members.number("octets", entry.digested);
  }
  if (entry.depth > 0) {
    members.number("manifestDepth", entry.depth);
  }
  if (!entry.octets.empty()) {
    members.text("data", base64(entry.octets));
  }
  return members.take();
}

Json describeReferences(const SignatureEntry &entry) {
  Items list;
  int64_t number = 0;
  for (const ReferenceEntry &reference : entry.references) {
    list.add(describeReference(reference, ++number));
  }
  return list.take();
}

Json describeTimeStamp(const TimeStampEntry &stamp) {
  Members members;
  members.flag("sound", stamp.isSound);
  members.flag("trusted", stamp.isTrusted);
  if (stamp.time != nullptr) {
    members.text("time", isoTime(stamp.time.get()));
  }
  if (stamp.authority != nullptr) {
    members.add("authority", describeCertificate(stamp.authority.get()));
  }
  return members.take();
}

void describeXades(Members &members, const SignatureEntry &entry) {
  if (entry.record != nullptr && entry.record->signingTime != nullptr) {
    members.text("claimedSigningTime", isoTime(entry.record->signingTime.get()));
  }
  Items properties;
  for (const PropertyEntry &property : entry.properties) {
    Members one;
    one.text("name", property.name);
    one.flag("signed", property.isSigned);
    properties.add(one.take());
  }
  Items stamps;
  for (const TimeStampEntry &stamp : entry.timeStamps) {
    stamps.add(describeTimeStamp(stamp));
  }
  members.add("properties", properties.take());
  members.add("timeStamps", stamps.take());
}

Json describeSignature(const SignatureEntry &entry, NodePaths &paths) {
  Members members;
  members.text("path", paths.of(entry.element));
  members.optional("id", entry.id);
  members.text("verdict", verdictName(verdictOf(entry)));
  if (entry.isCounterSignature) {
    members.flag("counterSignature", true);
  }
  members.number("error", verdictOf(entry) == TALVO_XML_VERDICT_INVALID ? entry.error : 0);
  const SignatureAlgorithm *method = signatureByNumber(entry.method);
  members.optional("method", method == nullptr ? "" : method->name);
  members.flag("trusted", entry.isTrusted);
  members.text("keySource", kKeySources[entry.keySource]);
  if (entry.certificate != nullptr) {
    members.add("certificate", describeCertificate(entry.certificate.get()));
  }
  if ((entry.findings & (TALVO_TRUST_PINNED | TALVO_TRUST_ANCHORED)) != 0) {
    members.text("trustedBy", (entry.findings & TALVO_TRUST_PINNED) != 0 ? "pin" : "anchor");
  }
  members.add("chain", describeChain(entry.chain));
  members.add("reasons", describeNotes(entry.reasons, paths));
  members.add("references", describeReferences(entry));
  describeXades(members, entry);
  return members.take();
}

Json describePaths(const Vec<XmlNode *> &nodes, const XmlDoc *document, NodePaths &paths) {
  Items list;
  for (const XmlNode *node : nodes) {
    list.text(paths.of(node == nullptr ? document : node));
  }
  return list.take();
}

Json describe(const TalvoXmlReport &report) {
  NodePaths paths;
  Members members;
  members.text("verdict", verdictName(report.verdict));
  members.flag("valid", report.verdict == TALVO_XML_VERDICT_VALID);
  members.number("error", report.error);
  members.text("policy", presetName(report.preset));
  members.text("time", isoTime(report.time.get()));
  members.add("reasons", describeNotes(report.reasons, paths));
  members.add("warnings", describeNotes(report.warnings, paths));
  Items signatures;
  for (const SignatureEntry &entry : report.signatures) {
    signatures.add(describeSignature(entry, paths));
  }
  members.add("signatures", signatures.take());
  members.add("covered", describePaths(report.coverage.tops(), report.document, paths));
  members.add("uncovered", describePaths(report.uncovered.nodes, report.document, paths));
  return members.take();
}

}  // namespace
}  // namespace talvo::policy

extern "C" {

talvo_json *talvo_xml_report_getjson(const talvo_xml_report *report) noexcept {
  using namespace talvo;
  return guard([&]() -> talvo_json * {
    return report == nullptr ? nullptr : policy::describe(*report).release();
  });
}
}
