// Policies as JSON: what is not understood is an error that names it.
#include "policy/policy_support.h"

namespace talvo::test {
namespace {

class PolicyJsonTest : public PolicyTest {
 protected:
  static std::string problemOf(const std::string &text) {
    talvo_ustring *problem = nullptr;
    const Policy policy(talvo_xml_policy_fromjson(json(text).get(), nullptr, &problem));
    const UString owner(problem);
    EXPECT_EQ(policy == nullptr, problem != nullptr) << text;
    return std::string(viewOf(problem));
  }
};

TEST_F(PolicyJsonTest, WhatIsNotUnderstoodIsNamed) {
  struct Row {
    const char *text;
    const char *problem;
  };
  for (const Row &row : std::initializer_list<Row>{
           {R"([])", "a policy is a JSON object"},
           {R"({"preset": "loose"})", "preset: must be plain, standard or strict"},
           {R"({"pin": []})", "pin: is no member of a policy"},
           {R"({"allowSha1": 1})", "allowSha1: must be true or false"},
           {R"({"minRsaBits": -1})", "minRsaBits: must be a whole number from 0"},
           {R"({"files": "all"})", "files: must be below-base, refuse or any"},
           {R"({"digests": ["Sha999"]})", "digests: no such algorithm: Sha999"},
           {R"({"anchors": ["/gone.pem"]})", "anchors: cannot be read: /gone.pem"},
           {R"({"anchors": ["-----BEGIN CERTIFICATE-----\nAA==\n-----END CERTIFICATE-----"]})",
            "anchors: holds PEM that cannot be used"},
           {R"({"time": "2024-01-01T00:00:00"})",
            "time: must be a date, or a date and time with zone (RFC 3339)"},
           {R"({"limits": {"files": 1}})", "limits.files: is no member of a policy"},
           {R"({"cover": []})", "cover: must name something; \"any\" asks for nothing"},
           {R"({"signers": {"atLeast": 0}})", "signers.atLeast: must be a whole number from 1"},
       }) {
    EXPECT_EQ(problemOf(row.text), row.problem) << row.text;
  }
}

TEST_F(PolicyJsonTest, EveryMemberIsTaken) {
  EXPECT_EQ(problemOf(R"({"time": "2024-01-01", "preset": "strict", "digests": ["SHA-256",
      "http://www.w3.org/2001/04/xmlenc#sha512"], "signatureMethods": ["Sha256WithRSA"],
      "canonicalizations": ["C14N"], "transforms": ["EnvelopedSignature"], "allowSha1": true,
      "allowDtd": true, "minRsaBits": 1024, "minDsaBits": 1, "minEcBits": 1, "minHmacBits": 96,
      "keyValues": "accept", "anchors": [], "intermediates": [], "pins": [], "crls": [],
      "timeStampAnchors": [], "keyUsage": false, "revocation": "none", "pinIgnoresDates": true,
      "limits": {"signatures": 1, "references": 1, "transforms": 1, "manifestDepth": 1,
      "xpathOperations": 1, "fetchedBytes": 1}, "network": false, "files": "any",
      "duplicateIds": "warn", "cover": ["any"], "signers": {"atLeast": "all", "expected": []},
      "manifests": "follow", "timeStamps": "require"})"),
            "");
}

TEST_F(PolicyJsonTest, ListsOfAlgorithmsAreKept) {
  const std::string text = sign(document(), parameters(enveloped("Sha512")));
  const auto only = [](const char *name, const char *list) {
    return [=](talvo_xml_policy *policy) { set(policy, name, list); };
  };
  EXPECT_EQ(verify(text, only("digests", R"(["Sha512"])")).verdict(), "valid");
  EXPECT_EQ(verify(text, only("digests", R"(["Sha256"])")).reasons(), "weak-digest");
  EXPECT_EQ(verify(text, only("signatureMethods", R"(["ECDSAWithSha256"])")).reasons(),
            "weak-signature-method");
  EXPECT_EQ(verify(text, only("canonicalizations", R"(["ExcC14N"])")).reasons(),
            "canonicalization-not-allowed");
  EXPECT_EQ(verify(text, only("transforms", R"(["Base64"])")).reasons(), "transform-not-allowed");
}

}  // namespace
}  // namespace talvo::test
