// What a policy says about sound documents, and in which words it refuses others.
#include "policy/policy_support.h"

namespace talvo::test {
namespace {

class VerdictTest : public PolicyTest {};

TEST_F(VerdictTest, DocumentOfATrustedSignerIsValid) {
  const Verified outcome = verify(sign(document(), parameters(enveloped())));
  EXPECT_EQ(outcome.verdict(), "valid") << outcome.json();
  EXPECT_EQ(outcome.reasons(), "");
  EXPECT_EQ(outcome.warnings(), "");
  EXPECT_EQ(talvo_xml_report_iscovered(outcome.report.get(),
                                       talvo_xml_doc_getrootelement(outcome.document.get())),
            1);
}

TEST_F(VerdictTest, EachTamperingHasItsName) {
  const std::string good = sign(document(), parameters(enveloped()));
  struct Row {
    const char *name;
    std::string text;
    const char *verdict;
    const char *reasons;
    uint32_t error;
  };
  for (const Row &row : std::initializer_list<Row>{
           {"text", replaced(good, "12.50", "92.50"), "invalid", "digest-mismatch", 2},
           {"digest", replaced(good, "<ds:DigestValue>", "<ds:DigestValue> "), "invalid",
            "signature-mismatch", 1},
           {"none", "<a/>", "invalid", "no-signature", 16},
           {"malformed", replaced(good, "SignatureMethod ", "SignatureMethods "), "invalid",
            "undecodable", 17},
           {"stranger", sign(document(), parameters(enveloped()), stranger()), "refused",
            "signer-not-trusted", 0},
       }) {
    SCOPED_TRACE(row.name);
    const Verified outcome = verify(row.text);
    EXPECT_EQ(outcome.verdict(), row.verdict);
    EXPECT_EQ(outcome.reasons(), row.reasons) << outcome.json();
    EXPECT_EQ(outcome.error, row.error);
  }
}

TEST_F(VerdictTest, SignedPropertiesHaveToBeSigned) {
  const std::string properties = R"("XAdES": {"HasSigningTime": true, "SignedPropertiesId": "sp"})";
  const std::string reference =
      to("#sp", R"("Type": "http://uri.etsi.org/01903#SignedProperties")");
  const std::string good = sign(document(), parameters(enveloped() + "," + reference, properties));
  EXPECT_EQ(verify(good).verdict(), "valid") << verify(good).json();
  EXPECT_EQ(verify(sign(document(), parameters(enveloped(), properties))).reasons(),
            "signed-properties-uncovered");
  EXPECT_EQ(
      verify(sign(document(), parameters(enveloped() + "," + to("#sp"), properties))).reasons(),
      "signed-properties-uncovered");
  const std::string second =
      "<ds:Object><xa:QualifyingProperties xmlns:xa=\"http://uri.etsi.org/01903/v1.3.2#\"/>"
      "</ds:Object>";
  EXPECT_EQ(verify(replaced(good, "<ds:Object", second + "<ds:Object")).reasons(),
            "several-qualifying-properties");
}

}  // namespace
}  // namespace talvo::test
