// Signs documents and verifies them by a policy: what the tests of policies share.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "talvo_xml.h"

#include "base/utf8.h"
#include "signature/vocabulary/vocabulary.h"
#include "support/json.h"
#include "support/keys.h"
#include "support/library_test.h"

namespace talvo::test {

using Policy = Handle<talvo_xml_policy, talvo_xml_policy_free>;
using Report = Handle<talvo_xml_report, talvo_xml_report_free>;

constexpr const char *kSignatureHere =
    "<ds:Signature xmlns:ds='http://www.w3.org/2000/09/xmldsig#'/>";

// What came of a verification; the report borrows from the document.
struct Verified {
  Document document;
  Report report;
  int32_t result = 0;
  uint32_t error = 0;

  std::string verdict() const {
    switch (talvo_xml_report_getverdict(report.get())) {
      case TALVO_XML_VERDICT_VALID:
        return "valid";
      case TALVO_XML_VERDICT_REFUSED:
        return "refused";
      case TALVO_XML_VERDICT_INVALID:
        return "invalid";
      default:
        return "none";
    }
  }
  // The names of the reasons, each once, in the order in which they came.
  std::string reasons() const {
    return joined(talvo_xml_report_getreasoncount, talvo_xml_report_getreasonname);
  }
  std::string warnings() const {
    return joined(talvo_xml_report_getwarningcount, talvo_xml_report_getwarningname);
  }
  std::string json() const {
    const Json value(talvo_xml_report_getjson(report.get()));
    return value == nullptr ? "" : jsonText(value.get());
  }

 private:
  std::string joined(int32_t (*count)(const talvo_xml_report *),
                     const char *(*name)(const talvo_xml_report *, int32_t)) const {
    std::vector<std::string> names;
    std::string text;
    for (int32_t i = 0; i < count(report.get()); ++i) {
      const std::string one = name(report.get(), i);
      if (std::find(names.begin(), names.end(), one) == names.end()) {
        names.push_back(one);
        text += (text.empty() ? "" : " ") + one;
      }
    }
    return text;
  }
};

class PolicyTest : public LibraryTest {
 protected:
  static const Identity &signer() {
    static const Identity identity =
        makeIdentity({.subject = "/CN=Good Signer", .keyUsage = kDigitalSignature});
    return identity;
  }
  static const Identity &stranger() {
    static const Identity identity = makeIdentity(
        {.kind = KeyKind::rsaOther, .subject = "/CN=Stranger", .keyUsage = kDigitalSignature});
    return identity;
  }

  static std::string parameters(const std::string &references, const std::string &more = "",
                                const std::string &method = "Sha256WithRSA") {
    return R"({"C14NAlgo": "C14N", "SignAlgo": ")" + method + R"(", "References": [)" + references +
           "]" + (more.empty() ? "" : ", " + more) + "}";
  }
  static std::string enveloped(const std::string &digest = "Sha256") {
    return R"({"HashAlgo": ")" + digest +
           R"(", "URI": "", "Transforms": [{"TransformAlgo": "EnvelopedSignature"}]})";
  }
  static std::string to(const std::string &uri, const std::string &more = "") {
    return R"({"HashAlgo": "Sha256", "URI": ")" + uri + "\"" + (more.empty() ? "" : ", " + more) +
           "}";
  }
  static std::string document(const std::string &content = "<b>12.50</b>") {
    return "<a>" + content + kSignatureHere + "</a>";
  }

  static void declareIds(XmlDoc *document, const char *name) {
    talvo_xml_node_setsubtreeidattr(document, talvo_xml_doc_getrootelement(document),
                                    makeString(name).get());
  }

  // The text with its last empty Signature element filled.
  static std::string sign(const std::string &text, const std::string &parameters,
                          const Identity &identity = signer(), const char *idName = "ID") {
    const Document document = parse(text);
    declareIds(document.get(), idName);
    talvo_arraylist *found = nullptr;
    talvo_xml_node_findsignature(document.get(), &found);
    const List signatures(found);
    XmlNode *empty = nullptr;
    for (int32_t i = 0; i < talvo_arraylist_getcount(found); ++i) {
      auto *element = static_cast<XmlNode *>(talvo_arraylist_getitem(found, i));
      const XmlNode *value = talvo_xml_node_findelemnode(element, g_xml_signature_signaturevalue,
                                                         g_xml_signature_nsuri);
      empty = value == nullptr ? element : empty;
    }
    const Certificate certificate = identity.certificate();
    uint32_t error = 0;
    EXPECT_EQ(
        talvo_xml_signature_sign_ex(empty, certificate.get(), test::json(parameters).get(), &error),
        1)
        << error << " " << parameters;
    return dumped(document.get());
  }

  static std::string dumped(XmlDoc *document) {
    const Blob octets(talvo_xml_doc_dump(document, 1));
    const Bytes bytes = bytesOf(octets.get());
    return {bytes.begin(), bytes.end()};
  }

  static std::string replaced(std::string text, const std::string &from, const std::string &to) {
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from << " in " << text;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
  }

  using Fill = std::function<void(talvo_xml_policy *)>;

  static void set(talvo_xml_policy *policy, const char *name, const std::string &value) {
    talvo_ustring *problem = nullptr;
    EXPECT_EQ(talvo_xml_policy_setmember(policy, name, test::json(value).get(), nullptr, &problem),
              1)
        << name << ": " << viewOf(problem);
    talvo_ustring_free(problem);
  }
  static void add(talvo_xml_policy *policy, uint32_t role, const Identity &identity) {
    const Certificate certificate = identity.publicCertificate();
    EXPECT_EQ(talvo_xml_policy_addcert(policy, role, certificate.get()), 1);
  }
  // Pins the good signer, then does what the test asks for.
  static Policy policyOf(const Fill &fill = {}, uint32_t preset = TALVO_XML_POLICY_STANDARD) {
    Policy policy(talvo_xml_policy_new(preset));
    add(policy.get(), TALVO_XML_POLICY_PIN, signer());
    if (fill) {
      fill(policy.get());
    }
    return policy;
  }

  static Verified verify(const std::string &text, const Policy &policy,
                         const std::string &basePath = "", const char *idName = "ID") {
    Verified outcome;
    outcome.document = parse(text);
    declareIds(outcome.document.get(), idName);
    const UString base = basePath.empty() ? nullptr : makeString(basePath);
    talvo_xml_report *report = nullptr;
    outcome.result = talvo_xml_signature_verify_policy(
        outcome.document.get(), policy.get(), base.get(), nullptr, 0, &report, &outcome.error);
    outcome.report.reset(report);
    EXPECT_EQ(outcome.result == 1, outcome.verdict() == "valid");
    return outcome;
  }
  static Verified verify(const std::string &text, const Fill &fill = {}) {
    return verify(text, policyOf(fill));
  }
};

}  // namespace talvo::test
