// One verification under way: what is asked, what was found so far, and the steps, in their order.
#pragma once

#include "base/bytes.h"
#include "policy/report.h"

namespace talvo::policy {

struct Finding {
  Reason reason;
  std::string_view where = {};
  uint32_t error = 0;  // the plain code, for what makes a document invalid
  int32_t reference = -1;
  XmlNode *node = nullptr;
};

class Run {
 public:
  Run(const TalvoXmlPolicy &policy, TalvoXmlReport &report, const talvo_ustring *basePath,
      Bytes external) noexcept
      : policy_(policy), report_(report), basePath_(basePath), external_(external) {}

  const TalvoXmlPolicy &policy() const noexcept { return policy_; }
  TalvoXmlReport &report() const noexcept { return report_; }
  const talvo_ustring *basePath() const noexcept { return basePath_; }
  Bytes external() const noexcept { return external_; }
  XmlDoc *document() const noexcept { return report_.document; }
  SignatureEntry &entry(int32_t signature) const noexcept {
    return report_.signatures[static_cast<size_t>(signature)];
  }

  // These may throw when memory is exhausted. -1 stands for the document.
  void refuse(int32_t signature, const Finding &finding);
  void warn(int32_t signature, const Finding &finding);
  // The same, where plain verification has no such rule.
  void judge(int32_t signature, const Finding &finding) {
    if (policy_.isJudging) {
      refuse(signature, finding);
    }
  }

  // Counts octets that come from outside of the document; false over the limit.
  bool fetch(size_t length) noexcept;
  int64_t fetchable() const noexcept { return policy_.limits.fetchedBytes - fetched_; }

  void runOut() noexcept { isExhausted_ = true; }
  bool isExhausted() const noexcept { return isExhausted_; }

 private:
  const TalvoXmlPolicy &policy_;
  TalvoXmlReport &report_;
  const talvo_ustring *basePath_;
  Bytes external_;
  int64_t fetched_ = 0;
  bool isExhausted_ = false;
};

// The steps. Each looks at one signature but those that say otherwise, and notes what it finds.
void examineIdentifiers(Run &run);  // of the document
void examineSigner(Run &run, int32_t signature);
void examineReferences(Run &run, int32_t signature);
void examineProperties(Run &run, int32_t signature);
void examineCoverage(Run &run);  // of the document
// Selections of a signature that is valid, added to the coverage.
void addCoverage(Run &run, int32_t signature);

}  // namespace talvo::policy
