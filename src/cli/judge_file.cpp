// One call of the library gives verdict and report. Its JSON has what is new; the members that the
// program always had are made beside it, by the functions that make them without a policy.
#include "cli/judge_file.h"

#include <algorithm>

#include "cli/base_path.h"
#include "cli/describe.h"
#include "cli/document.h"
#include "cli/error_text.h"
#include "cli/list.h"
#include "cli/text.h"

namespace talvo::cli {

namespace {

using Report = Handle<talvo_xml_report, talvo_xml_report_free>;

constexpr uint32_t kOutOfMemory = 3;

ExitStatus statusOf(const Report &report) {
  switch (talvo_xml_report_getverdict(report.get())) {
    case TALVO_XML_VERDICT_VALID:
      return ExitStatus::done;
    case TALVO_XML_VERDICT_REFUSED:
      return ExitStatus::refused;
    default:
      return ExitStatus::failed;
  }
}

std::string errorMessage(uint32_t error) {
  return error == 0 ? "valid" : verifyErrorText(error);
}

Json memberOf(const talvo_json *object, std::string_view key) {
  return Json(talvo_json_getmember(object, key.data(), key.size()));
}

std::string textOf(const Json &value) {
  const char *text = nullptr;
  size_t length = 0;
  return talvo_json_getstring(value.get(), &text, &length) == 1 ? std::string(text, length) : "";
}

int64_t numberOf(const Json &value) {
  int64_t number = 0;
  talvo_json_getinteger(value.get(), &number);
  return number;
}

// Members that are there already stay.
void addMissing(JsonObject &target, const talvo_json *source) {
  for (int32_t i = 0; i < talvo_json_getcount(source); ++i) {
    const UString key(talvo_json_getkey(source, i));
    const std::string_view name = view(key);
    if (talvo_json_hasmember(target.json(), name.data(), name.size()) != 1) {
      target.member(name, memberOf(source, name).get());
    }
  }
}

std::string reasonText(const talvo_json *reason) {
  return textOf(memberOf(reason, "name")) + ": " + textOf(memberOf(reason, "text"));
}

std::string firstReason(const talvo_json *described) {
  const Json reasons = memberOf(described, "reasons");
  const Json first(talvo_json_getitem(reasons.get(), 0));
  return first == nullptr ? "" : reasonText(first.get());
}

// The verdict in one line, for a person.
std::string verdictLine(const talvo_json *described) {
  std::string verdict = textOf(memberOf(described, "verdict"));
  const int64_t error = numberOf(memberOf(described, "error"));
  if (verdict == "valid") {
    return verdict;
  }
  if (verdict == "invalid" && error != 0) {
    return verdict + ": error " + std::to_string(error) + ": " +
           errorMessage(static_cast<uint32_t>(error));
  }
  return verdict + ": " + firstReason(described);
}

// References of Manifests stand among the others; those of the signature itself have no depth.
const Reference *ownReference(const List &references, const talvo_json *described, int32_t index) {
  int32_t own = -1;
  for (int32_t i = 0; i <= index; ++i) {
    const Json item(talvo_json_getitem(described, i));
    own += talvo_json_hasmember(item.get(), "manifestDepth", 13) == 1 ? 0 : 1;
  }
  return items<Reference>(references)[own];
}

JsonObject describeFailed(const Reference *reference, int32_t number, uint32_t error) {
  JsonObject failed;
  failed.number("number", number);
  failed.optionalText("id", UString(talvo_xml_signature_reference_getid(reference)));
  failed.optionalText("uri", UString(talvo_xml_signature_reference_geturi(reference)));
  failed.object("digest",
                describeAlgorithm(TALVO_ALGORITHM_DIGEST,
                                  talvo_xml_signature_reference_getdigestmethod(reference),
                                  UString(talvo_xml_signature_reference_getdigesturi(reference))));
  return failed.number("error", error).text("message", errorMessage(error));
}

void addFailedReference(JsonObject &report, const Signature *signature, const talvo_json *described,
                        uint32_t error) {
  const Json references = memberOf(described, "references");
  const List own(talvo_xml_signature_getreflist(signature));
  for (int32_t i = 0; i < talvo_json_getcount(references.get()); ++i) {
    const Json reference(talvo_json_getitem(references.get(), i));
    const std::string verdict = textOf(memberOf(reference.get(), "verdict"));
    if (verdict == "invalid" || verdict == "unavailable") {
      report.object("failedReference",
                    describeFailed(ownReference(own, references.get(), i), i + 1, error));
      return;
    }
  }
}

// What the program says of a signature with or without policy.
JsonObject describeSignature(const Report &report, int32_t index, const talvo_json *described,
                             bool forPerson) {
  const auto error = static_cast<uint32_t>(numberOf(memberOf(described, "error")));
  const bool isValid =
      talvo_xml_report_getsignatureverdict(report.get(), index) == TALVO_XML_VERDICT_VALID;
  JsonObject object;
  object.text("path", textOf(memberOf(described, "path")));
  object.optionalText("id", textOf(memberOf(described, "id")));
  object.flag("valid", isValid).number("error", forPerson ? 0 : error);
  object.text("message", forPerson ? verdictLine(described) : errorMessage(error));
  const SignatureRecord signature(
      talvo_xml_decode_signature(talvo_xml_report_getsignaturenode(report.get(), index)));
  if (signature == nullptr) {
    return object;
  }
  object.object("method",
                describeAlgorithm(TALVO_ALGORITHM_SIGNATURE,
                                  talvo_xml_report_getsignaturemethod(report.get(), index),
                                  UString(talvo_xml_signature_getsignatureuri(signature.get()))));
  const Certificate signer(talvo_xml_report_getcertificate(report.get(), index));
  if (signer != nullptr) {
    object.object("signer", describeCertificate(signer.get()));
  }
  if (error != 0) {
    addFailedReference(object, signature.get(), described, error);
  }
  describeXades(signature.get(), false, object);
  return object;
}

JsonArray describeSignatures(const Report &report, const talvo_json *described, bool forPerson) {
  const Json list = memberOf(described, "signatures");
  JsonArray signatures;
  for (int32_t i = 0; i < talvo_json_getcount(list.get()); ++i) {
    const Json item(talvo_json_getitem(list.get(), i));
    JsonObject object = describeSignature(report, i, item.get(), forPerson);
    if (!forPerson) {
      addMissing(object, item.get());
    }
    signatures.add(object);
  }
  return signatures;
}

std::string jsonOutput(const std::string &path, const Report &report, const VerifySetting &setting,
                       const talvo_json *described) {
  const uint32_t error = talvo_xml_report_geterror(report.get());
  JsonObject record;
  record.text("file", path);
  record.flag("valid", statusOf(report) == ExitStatus::done);
  record.number("error", error).text("message", errorMessage(error));
  record.member("signatures", describeSignatures(report, described, false).json());
  record.text("verdict", textOf(memberOf(described, "verdict"))).text("policy", setting.policyName);
  addMissing(record, described);
  return jsonLine(record.json()) + "\n";
}

std::string noteLines(const talvo_json *described, std::string_view list, const char *label) {
  const Json notes = memberOf(described, list);
  std::string lines;
  for (int32_t i = 0; i < talvo_json_getcount(notes.get()); ++i) {
    const Json note(talvo_json_getitem(notes.get(), i));
    lines += std::string("  ") + label + ": " + shown(reasonText(note.get())) + "\n";
  }
  return lines;
}

std::string hint(const talvo_json *described, const VerifySetting &setting) {
  const Json reasons = memberOf(described, "reasons");
  for (int32_t i = 0; i < talvo_json_getcount(reasons.get()) && !setting.trustsAnybody; ++i) {
    const Json reason(talvo_json_getitem(reasons.get(), i));
    const std::string name = textOf(memberOf(reason.get(), "name"));
    if (name == "signer-not-trusted" || name == "key-value-not-pinned") {
      return "  nobody is trusted yet: pass --trust FILE with the certificate of an authority, or "
             "--pin FILE with that of the signer\n";
    }
  }
  return "";
}

std::string textOutput(const std::string &path, const Report &report, const VerifySetting &setting,
                       const talvo_json *described) {
  JsonObject details;
  details.member("signatures", describeSignatures(report, described, true).json());
  const std::string label = path == "-" ? path : shown(path);
  return label + ": " + shown(verdictLine(described)) + "\n" + hint(described, setting) +
         noteLines(described, "reasons", "reason") + noteLines(described, "warnings", "warning") +
         textLines(details.json(), 2);
}

FileVerdict presentPage(const std::string &path, const Report &report,
                        const VerifySetting &setting) {
  const UString page(talvo_xml_report_gethtml(report.get(), makeString(validUtf8(path)).get()));
  if (page == nullptr) {
    return withoutVerdict(path, setting, failed(fileLabel(path) + ": " + verifyErrorText(3)));
  }
  return {statusOf(report), std::string(view(page)), ""};
}

FileVerdict present(const std::string &path, const Report &report, const VerifySetting &setting) {
  if (setting.html) {
    return presentPage(path, report, setting);
  }
  const Json described(talvo_xml_report_getjson(report.get()));
  if (described == nullptr) {
    return withoutVerdict(path, setting, failed(fileLabel(path) + ": " + verifyErrorText(3)));
  }
  FileVerdict verdict{statusOf(report), "", ""};
  verdict.output = setting.json ? jsonOutput(path, report, setting, described.get())
                                : textOutput(path, report, setting, described.get());
  return verdict;
}

// Behind blanks, comments and instructions, as far as they can be told in a text in ASCII.
bool hasDoctype(OctetView octets) {
  std::string_view text(octets.data(), octets.size());
  if (text.starts_with("\xEF\xBB\xBF")) {
    text.remove_prefix(3);
  }
  for (;;) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
    const std::string_view end = text.starts_with("<?")     ? "?>"
                                 : text.starts_with("<!--") ? "-->"
                                                            : "";
    const size_t at = end.empty() ? std::string_view::npos : text.find(end, 2);
    if (at == std::string_view::npos) {
      return text.starts_with("<!DOCTYPE");
    }
    text.remove_prefix(at + end.size());
  }
}

// A document type that the parser did not survive without loading something is refused all the
// same.
FileVerdict refuseDoctype(const std::string &path, const VerifySetting &setting) {
  const std::string text = "the document has a document type, which may change what it says";
  FileVerdict verdict{ExitStatus::refused, "", ""};
  if (!setting.json) {
    verdict.output = (path == "-" ? path : shown(path)) + ": refused: dtd: " + text + "\n";
    return verdict;
  }
  JsonObject reason;
  reason.text("name", "dtd").text("text", text);
  JsonArray reasons;
  reasons.add(reason);
  JsonObject record;
  record.text("file", path).flag("valid", false).number("error", 0).text("message", "valid");
  record.member("signatures", JsonArray().json()).text("verdict", "refused");
  record.text("policy", setting.policyName).member("reasons", reasons.json());
  verdict.output = jsonLine(record.json()) + "\n";
  return verdict;
}

}  // namespace

FileVerdict judgeFile(const std::string &path, const VerifySetting &setting) {
  const Result<Octets> octets = readFile(path);
  if (!octets) {
    return withoutVerdict(path, setting, octets.failure());
  }
  constexpr uint32_t kNoNetwork = 1;
  constexpr uint32_t kNoExternals = 2;
  const Document document(talvo_xml_parse_ex(octets->data(), static_cast<int64_t>(octets->size()),
                                             kNoNetwork | kNoExternals));
  if (document == nullptr) {
    return hasDoctype(*octets)
               ? refuseDoctype(path, setting)
               : withoutVerdict(path, setting,
                                badInput(fileLabel(path) + ": is not well-formed XML"));
  }
  const Result<UString> basePath = basePathFor(setting.basePath, path);
  if (!basePath) {
    return withoutVerdict(path, setting, basePath.failure());
  }
  if (const Check problem = registerIds(document.get(), setting.idAttribute)) {
    return withoutVerdict(path, setting, *problem);
  }
  talvo_xml_report *made = nullptr;
  uint32_t error = 0;
  const bool hasData = setting.externalData.has_value();
  talvo_xml_signature_verify_policy(document.get(), setting.policy.get(), basePath->get(),
                                    hasData ? setting.externalData->data() : nullptr,
                                    hasData ? setting.externalData->size() : 0, &made, &error);
  const Report report(made);
  if (report == nullptr) {
    return withoutVerdict(path, setting,
                          failed(fileLabel(path) + ": " + verifyErrorText(kOutOfMemory)));
  }
  return present(path, report, setting);
}

}  // namespace talvo::cli
