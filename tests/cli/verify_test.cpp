#include "cli/program.h"

namespace talvo::test {
namespace {

class VerifyTest : public ProgramTest {
 protected:
  VerifyTest() {
    writeIdentity("signer", makeIdentity({.subject = "/C=DE/CN=Jane Doe", .serial = "77"}));
    EXPECT_EQ(run(signArguments({"--id", "S", "-o", "good.xml", "in.xml"})).status, 0);
    write("changed.xml", read("good.xml"));
    replaceIn("changed.xml", ">12.50", ">92.50");
    write("forged.xml", read("good.xml"));
    replaceIn("forged.xml", "<ds:DigestValue>", "<ds:DigestValue> ");
    write("none.xml", "<a/>");
    write("broken.xml", "<a>");
  }
};

TEST_F(VerifyTest, SaysWhoSignedWhatAndHow) {
  expectRow({"valid",
             {"verify", "good.xml"},
             0,
             "^good.xml: valid\n  signature 1:\n    path: /inv:Invoice/ds:Signature\n"
             "    Id: S\n    verdict: valid\n    method: RSA-SHA256 \\(68\\)\n    signer:\n"
             "      subject: CN=Jane Doe,C=DE\n      issuer: CN=Jane Doe,C=DE\n      serial: 77\n",
             "^$"});
}

TEST_F(VerifyTest, SaysWhatIsWrong) {
  for (const ProgramRow &row : std::initializer_list<ProgramRow>{
           {"changed",
            {"verify", "changed.xml"},
            1,
            "^changed.xml: invalid: error 2: [^\n]*changed.*failed reference:\n"
            "      number: 1\n      URI: \"\"\n",
            "^$"},
           {"forged", {"verify", "forged.xml"}, 1, "^forged.xml: invalid: error 1: ", "^$"},
           {"none", {"verify", "none.xml"}, 1, "^none.xml: invalid: error 16: [^\n]*\n$", "^$"},
           {"broken", {"verify", "broken.xml"}, 2, "^$", "broken.xml: is not well-formed XML"},
           {"absent", {"verify", "gone.xml"}, 2, "^$", "gone.xml: cannot be read"},
           {"bad certificate",
            {"verify", "--cert", "in.xml", "good.xml"},
            2,
            "^$",
            "in.xml: holds"},
       }) {
    expectRow(row);
  }
}

TEST_F(VerifyTest, WorstOfSeveralFilesDecidesAndAllAreDone) {
  for (const ProgramRow &row : std::initializer_list<ProgramRow>{
           {"invalid among valid",
            {"verify", "changed.xml", "good.xml"},
            1,
            "changed.xml: invalid.*good.xml: valid",
            "^$"},
           {"unreadable first",
            {"verify", "broken.xml", "changed.xml", "good.xml"},
            2,
            "^changed.xml: invalid.*good.xml: valid",
            "broken"},
           {"in processes",
            {"verify", "-j", "3", "broken.xml", "changed.xml", "good.xml", "none.xml"},
            2,
            "^changed.xml: .*\ngood.xml: .*\nnone.xml: ",
            "broken"},
       }) {
    expectRow(row);
  }
}

TEST_F(VerifyTest, JsonSaysTheSame) {
  const Outcome outcome =
      run({"verify", "--json", "good.xml", "changed.xml", "none.xml", "broken.xml"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_TRUE(matches(
      outcome.output,
      R"re(^\{"file":"good.xml","valid":true,"error":0,"message":"valid","signatures":\[\{"path".*"subject":"CN=Jane Doe,C=DE".*\}\]\}
\{"file":"changed.xml","valid":false,"error":2,.*"failedReference":\{"number":1.*
\{"file":"none.xml","valid":false,"error":16,"message":"[^"]+","signatures":\[\]\}
\{"file":"broken.xml","valid":false,"error":null,"message":"[^"]+","signatures":\[\]\}
$)re"))
      << outcome.output;
}

TEST_F(VerifyTest, RelativeReferencesResolveAgainstTheDocumentOrTheBasePath) {
  write("sub/data.bin", "data");
  ASSERT_EQ(run(signArguments({"--detached", "data.bin", "-o", "sub/signature.xml"})).status, 0);
  write("elsewhere/signature.xml", read("sub/signature.xml"));
  for (const ProgramRow &row : std::initializer_list<ProgramRow>{
           {"beside", {"verify", "sub/signature.xml"}, 0, ": valid", "^$"},
           {"away", {"verify", "elsewhere/signature.xml"}, 1, "error 5", "^$"},
           {"base", {"verify", "--base-path", "sub", "elsewhere/signature.xml"}, 0, "valid", "^$"},
           {"no base", {"verify", "--base-path", "gone", "sub/signature.xml"}, 2, "^$", "gone"},
       }) {
    expectRow(row);
  }
}

TEST_F(VerifyTest, KeyMayComeFromTheCaller) {
  ASSERT_EQ(run(signArguments({"--include-certs", "none", "-o", "bare.xml", "in.xml"})).status, 0);
  write("weak.pem", makeIdentity({.keyUsage = kKeyAgreement}).pem());
  for (const ProgramRow &row : std::initializer_list<ProgramRow>{
           {"none", {"verify", "bare.xml"}, 1, "error 9", "^$"},
           {"given", {"verify", "--cert", "signer.pem", "bare.xml"}, 0, ": valid", "^$"},
           {"refused and given",
            {"verify", "--cert", "weak.pem", "--cert", "signer.pem", "bare.xml"},
            0,
            ": valid",
            "^$"},
           {"refused", {"verify", "--cert", "weak.pem", "bare.xml"}, 1, "error 9", "^$"},
       }) {
    expectRow(row);
  }
}

TEST_F(VerifyTest, NetworkIsRefusedUnlessAllowed) {
  replaceIn("good.xml", "URI=\"\"", "URI=\"http://127.0.0.1:1/a\"");
  // The changed SignedInfo would be noticed first, so look at the reference alone.
  expectRow({"digest refuses", {"digest", "good.xml"}, 1, "^$", "error 28"});
  expectRow({"nobody answers", {"digest", "--allow-network", "good.xml"}, 1, "^$", "error 5"});
}

// A name out of a certificate or a file name must not forge a line of output.
TEST_F(VerifyTest, ControlCharactersAreEscaped) {
  write("x\ngood.xml: valid\n", "<a/>");
  expectRow({"file name",
             {"verify", "x\ngood.xml: valid\n"},
             1,
             "^x\\\\x0Agood.xml: valid\\\\x0A: invalid: error 16",
             "^$"});
}

TEST_F(VerifyTest, StandardInputIsAFile) {
  const Outcome outcome = run({"verify", "-"}, read("good.xml"));
  EXPECT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_EQ(outcome.output.substr(0, 9), "-: valid\n");
}

}  // namespace
}  // namespace talvo::test
