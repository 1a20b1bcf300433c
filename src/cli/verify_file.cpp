// Verification in the steps that the library offers, with nothing fetched from the network unless
// the user allows it. The first failure decides about the file; the other signatures are looked at
// all the same, so that the report is about all of them.
#include "cli/verify_file.h"

#include "cli/base_path.h"
#include "cli/describe.h"
#include "cli/document.h"
#include "cli/error_text.h"
#include "cli/judge_file.h"
#include "cli/list.h"
#include "cli/node_path.h"
#include "cli/select.h"
#include "cli/text.h"

namespace talvo::cli {

namespace {

// What is common to the signatures of one document.
struct Verification {
  const VerifySetting &setting;
  UString basePath;
  NodePaths paths;

  uint32_t flags() const {
    return (setting.allowNetwork ? TALVO_DEREFERENCE_NETWORK : 0) |
           (setting.followManifests ? TALVO_DEREFERENCE_MANIFESTS : 0);
  }
  const void *externalData() const {
    return setting.externalData ? setting.externalData->data() : nullptr;
  }
  size_t externalLength() const { return setting.externalData ? setting.externalData->size() : 0; }
};

std::string errorMessage(uint32_t error) {
  return error == 0 ? "valid" : verifyErrorText(error);
}

void addVerdict(JsonObject &report, uint32_t error) {
  report.flag("valid", error == 0).number("error", error).text("message", errorMessage(error));
}

void prepare(Signature *signature, const Verification &run) {
  talvo_xml_signature_setbasepath(signature, run.basePath.get());
  int32_t method = -1;
  talvo_xml_signature_getsignalgothrim(signature, &method);
  if (isHmac(method) && !run.setting.hmacKey.empty()) {
    talvo_xml_signature_sethmackey(signature, run.setting.hmacKey.data(),
                                   run.setting.hmacKey.size());
  }
  if (method == TALVO_SIGNATURE_DSA_SHA1 && run.setting.p != nullptr) {
    talvo_xml_signature_sethdomainparam(signature, run.setting.p.get(), run.setting.q.get(),
                                        run.setting.g.get());
  }
  // A certificate whose key usage forbids signatures is refused, which is no failure: it may be
  // meant for another signature, or for another document.
  for (const Certificate &certificate : run.setting.certificates) {
    talvo_xml_signature_addcert(signature, certificate.get());
  }
}

// `failed` becomes the index of the reference that fails, or -1.
uint32_t validateReferences(const Signature *signature, const Verification &run, int32_t *failed) {
  uint32_t error = TALVO_VERIFY_ERROR_INVALID_REFERENCE;
  const int32_t valid = talvo_xml_signature_referencevalidation_ex2(
      signature, run.flags(), run.externalData(), run.externalLength(), failed, &error);
  return valid == 1 ? 0 : error;
}

JsonObject describeReference(const Reference *reference, int32_t number, uint32_t error) {
  JsonObject report;
  report.number("number", number);
  report.optionalText("id", UString(talvo_xml_signature_reference_getid(reference)));
  report.optionalText("uri", UString(talvo_xml_signature_reference_geturi(reference)));
  report.object("digest",
                describeAlgorithm(TALVO_ALGORITHM_DIGEST,
                                  talvo_xml_signature_reference_getdigestmethod(reference),
                                  UString(talvo_xml_signature_reference_getdigesturi(reference))));
  return report.number("error", error).text("message", errorMessage(error));
}

void addFailedReference(const Signature *signature, int32_t failed, uint32_t error,
                        JsonObject &report) {
  const List references(talvo_xml_signature_getreflist(signature));
  const Reference *reference = items<Reference>(references)[failed];
  if (reference != nullptr) {
    report.object("failedReference", describeReference(reference, failed + 1, error));
  }
}

void describe(const Signature *signature, JsonObject &report) {
  int32_t method = -1;
  talvo_xml_signature_getsignalgothrim(signature, &method);
  report.object("method",
                describeAlgorithm(TALVO_ALGORITHM_SIGNATURE, method,
                                  UString(talvo_xml_signature_getsignatureuri(signature))));
  const Certificate signer(talvo_xml_signature_getsigncert(signature));
  if (signer != nullptr) {
    report.object("signer", describeCertificate(signer.get()));
  }
}

// The error of one signature, 0 when it is valid.
uint32_t verifySignature(XmlNode *element, Verification &run, JsonObject &report) {
  report.text("path", run.paths.of(element));
  std::string id;
  if (attributeValue(element, "Id", id)) {
    report.text("id", id);
  }
  const SignatureRecord signature(talvo_xml_decode_signature(element));
  if (signature == nullptr) {
    addVerdict(report, TALVO_VERIFY_ERROR_UNDECODABLE);
    return TALVO_VERIFY_ERROR_UNDECODABLE;
  }
  prepare(signature.get(), run);
  uint32_t error = 0;
  const bool value = talvo_xml_signature_signaturevalidation(signature.get(), nullptr, &error) == 1;
  int32_t failed = -1;
  error = value ? validateReferences(signature.get(), run, &failed) : error;
  addVerdict(report, error);
  describe(signature.get(), report);
  if (failed >= 0) {
    addFailedReference(signature.get(), failed, error, report);
  }
  describeXades(signature.get(), run.setting.allowNetwork, report);
  return error;
}

// The error of the document: that of its first invalid signature.
uint32_t verifyDocument(XmlDoc *document, Verification &run, JsonArray &reports) {
  const List signatures = allSignatures(document);
  if (items<XmlNode>(signatures).empty()) {
    return TALVO_VERIFY_ERROR_NO_SIGNATURE;
  }
  if (talvo_xml_signature_setid(document) != 1) {
    return TALVO_VERIFY_ERROR_ID_REGISTRATION;
  }
  uint32_t first = 0;
  for (XmlNode *element : items<XmlNode>(signatures)) {
    JsonObject report;
    const uint32_t error = verifySignature(element, run, report);
    first = first == 0 ? error : first;
    reports.add(report);
  }
  return first;
}

std::string verdictLines(const std::string &path, uint32_t error, const JsonArray &signatures) {
  JsonObject details;
  details.member("signatures", signatures.json());
  const std::string verdict =
      error == 0 ? "valid" : "invalid: error " + std::to_string(error) + ": " + errorMessage(error);
  return (path == "-" ? path : shown(path)) + ": " + verdict + "\n" + textLines(details.json(), 2);
}

}  // namespace

FileVerdict withoutVerdict(const std::string &path, const VerifySetting &setting,
                           const Failure &failure) {
  FileVerdict verdict{failure.status, "", failure.message};
  if (setting.json) {
    JsonObject record;
    record.text("file", path).flag("valid", false).null("error").text("message", failure.message);
    record.member("signatures", JsonArray().json());
    record.text("verdict", "unreadable").text("policy", setting.policyName);
    record.member("reasons", JsonArray().json());
    verdict.output = jsonLine(record.json()) + "\n";
  }
  return verdict;
}

FileVerdict verifyFile(const std::string &path, const VerifySetting &setting) {
  if (setting.policy != nullptr) {
    return judgeFile(path, setting);
  }
  const Result<LoadedDocument> loaded = loadDocument(path);
  if (!loaded) {
    return withoutVerdict(path, setting, loaded.failure());
  }
  Result<UString> basePath = basePathFor(setting.basePath, path);
  if (!basePath) {
    return withoutVerdict(path, setting, basePath.failure());
  }
  if (const Check problem = registerIds(loaded->document.get(), setting.idAttribute)) {
    return withoutVerdict(path, setting, *problem);
  }
  Verification run{setting, std::move(*basePath), {}};
  JsonArray signatures;
  const uint32_t error = verifyDocument(loaded->document.get(), run, signatures);
  FileVerdict verdict{error == 0 ? ExitStatus::done : ExitStatus::failed, "", ""};
  if (!setting.json) {
    verdict.output = verdictLines(path, error, signatures);
    return verdict;
  }
  JsonObject record;
  record.text("file", path);
  addVerdict(record, error);
  record.member("signatures", signatures.json());
  record.text("verdict", error == 0 ? "valid" : "invalid").text("policy", setting.policyName);
  record.member("reasons", JsonArray().json());
  verdict.output = jsonLine(record.json()) + "\n";
  return verdict;
}

}  // namespace talvo::cli
