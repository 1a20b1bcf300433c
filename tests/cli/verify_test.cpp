#include "cli/program.h"

namespace talvo::test {
namespace {

class VerifyTest : public ProgramTest {
 protected:
  VerifyTest() {
    writeIdentity("signer", makeIdentity({.subject = "/C=DE/CN=Jane Doe", .serial = "77"}));
    expectDone(sign("--id S -o good.xml in.xml"));
    write("changed.xml", read("good.xml"));
    replaceIn("changed.xml", ">12.50", ">92.50");
    write("forged.xml", read("good.xml"));
    replaceIn("forged.xml", "<ds:DigestValue>", "<ds:DigestValue> ");
    write("none.xml", "<a/>");
    write("broken.xml", "<a>");
  }
};

TEST_F(VerifyTest, SaysWhoSignedWhatAndHow) {
  expectRow(
      {"valid", "verify --policy plain good.xml", 0,
       "^good.xml: valid\n  signature 1:\n    path: /inv:Invoice/ds:Signature\n"
       "    Id: S\n    verdict: valid\n    method: RSA-SHA256 \\(68\\)\n    signer:\n"
       "      subject: CN=Jane Doe,C=DE\n      issuer: CN=Jane Doe,C=DE\n      serial: 77\n"});
}

TEST_F(VerifyTest, SaysWhatIsWrong) {
  expectRows({
      {"changed", "verify --policy plain changed.xml", 1,
       "^changed.xml: invalid: error 2: [^\n]*changed.*failed reference:\n"
       "      number: 1\n      URI: \"\"\n"},
      {"forged", "verify --policy plain forged.xml", 1, "^forged.xml: invalid: error 1: "},
      {"none", "verify --policy plain none.xml", 1, "^none.xml: invalid: error 16: [^\n]*\n$"},
      {"broken", "verify --policy plain broken.xml", 2, "^$", "broken.xml: is not well-formed XML"},
      {"absent", "verify --policy plain gone.xml", 2, "^$", "gone.xml: cannot be read"},
      {"bad certificate", "verify --policy plain --cert in.xml good.xml", 2, "^$", "in.xml: holds"},
  });
}

TEST_F(VerifyTest, WorstOfSeveralFilesDecidesAndAllAreDone) {
  expectRows({
      {"invalid among valid", "verify --policy plain changed.xml good.xml", 1,
       "changed.xml: invalid.*good.xml: valid"},
      {"unreadable first", "verify --policy plain broken.xml changed.xml good.xml", 2,
       "^changed.xml: invalid.*good.xml: valid", "broken"},
      {"in processes", "verify --policy plain -j 3 broken.xml changed.xml good.xml none.xml", 2,
       "^changed.xml: .*\ngood.xml: .*\nnone.xml: ", "broken"},
  });
}

TEST_F(VerifyTest, JsonSaysTheSame) {
  expectRow(
      {"JSON", "verify --policy plain --json good.xml changed.xml none.xml broken.xml", 2,
       R"re(^\{"file":"good.xml","valid":true,"error":0,"message":"valid","signatures":\[\{"path".*"subject":"CN=Jane Doe,C=DE".*\}\],"verdict":"valid","policy":"plain","reasons":\[\]\}
\{"file":"changed.xml","valid":false,"error":2,.*"failedReference":\{"number":1.*
\{"file":"none.xml","valid":false,"error":16,"message":"[^"]+","signatures":\[\],"verdict":"invalid",.*\}
\{"file":"broken.xml","valid":false,"error":null,"message":"[^"]+","signatures":\[\],"verdict":"unreadable",.*\}
$)re",
       ""});
}

TEST_F(VerifyTest, RelativeReferencesResolveAgainstTheDocumentOrTheBasePath) {
  write("sub/data.bin", "data");
  expectDone(sign("--detached data.bin -o sub/signature.xml"));
  write("elsewhere/signature.xml", read("sub/signature.xml"));
  expectRows({
      {"beside", "verify --policy plain sub/signature.xml", 0, ": valid"},
      {"away", "verify --policy plain elsewhere/signature.xml", 1, "error 5"},
      {"base", "verify --policy plain --base-path sub elsewhere/signature.xml", 0, "valid"},
      {"no base", "verify --policy plain --base-path gone sub/signature.xml", 2, "^$", "gone"},
  });
}

TEST_F(VerifyTest, KeyMayComeFromTheCaller) {
  expectDone(sign("--include-certs none -o bare.xml in.xml"));
  write("weak.pem", makeIdentity({.keyUsage = kKeyAgreement}).pem());
  expectRows({
      {"none", "verify --policy plain bare.xml", 1, "error 9"},
      {"given", "verify --policy plain --cert signer.pem bare.xml", 0, ": valid"},
      {"refused and given", "verify --policy plain --cert weak.pem --cert signer.pem bare.xml", 0,
       ": valid"},
      {"refused", "verify --policy plain --cert weak.pem bare.xml", 1, "error 9"},
  });
}

TEST_F(VerifyTest, NetworkIsRefusedUnlessAllowed) {
  replaceIn("good.xml", "URI=\"\"", "URI=\"http://127.0.0.1:1/a\"");
  // The changed SignedInfo would be noticed first, so look at the reference alone.
  expectRows({{"refused", "digest good.xml", 1, "^$", "error 28"},
              {"nobody answers", "digest --allow-network good.xml", 1, "^$", "error 5"}});
}

// A name out of a certificate or a file name must not forge a line of output.
TEST_F(VerifyTest, ControlCharactersAreEscaped) {
  write("x\ngood.xml: valid\n", "<a/>");
  expectRow({"file name", "verify --policy plain 'x\ngood.xml: valid\n'", 1,
             "^x\\\\x0Agood.xml: valid\\\\x0A: invalid: error 16"});
}

TEST_F(VerifyTest, StandardInputIsAFile) {
  const Outcome outcome = run("verify --policy plain -", read("good.xml"));
  EXPECT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_EQ(outcome.output.substr(0, 9), "-: valid\n");
}

class VerifyPolicyTest : public VerifyTest {
 protected:
  VerifyPolicyTest() {
    writeIdentity("stranger", makeIdentity({.kind = KeyKind::rsaOther, .subject = "/CN=Stranger"}));
    expectDone("sign --cert stranger.pem --key stranger.key -o strange.xml in.xml");
  }
};

TEST_F(VerifyPolicyTest, SomebodyHasToBeTrusted) {
  write("policy.json", R"({"preset": "standard", "pins": ["signer.pem"]})");
  write("wrong.json", R"({"pin": ["signer.pem"]})");
  expectRows({
      {"nobody is", "verify good.xml", 3,
       "^good.xml: refused: signer-not-trusted: .*\n  nobody is trusted yet: pass --trust", "^$"},
      {"pinned", "verify --pin signer.pem good.xml", 0, "^good.xml: valid\n", "^$"},
      {"anchor", "verify --trust signer.pem good.xml", 0, "^good.xml: valid", "^$"},
      {"by file", "verify --policy policy.json good.xml", 0, ": valid", "^$"},
      {"stranger", "verify --pin signer.pem strange.xml", 3,
       "^strange.xml: refused: signer-not-trusted: .*CN=Stranger\n  reason", "^$"},
      {"changed", "verify --pin signer.pem changed.xml", 1,
       "^changed.xml: invalid: error 2: .*\n  reason: digest-mismatch", "^$"},
      {"unexpected", "verify --pin signer.pem --expect-signer stranger.pem good.xml", 3,
       "refused: signer-unexpected", "^$"},
      {"expired", "verify --pin signer.pem --at 2050-01-01 good.xml", 3,
       "refused: certificate-expired", "^$"},
      {"strict", "verify --policy strict --pin signer.pem good.xml", 3, "refused: weak-key", "^$"},
      {"unknown member", "verify --policy wrong.json good.xml", 2, "^$", "pin: is no"},
      {"plain judges nothing", "verify --policy plain --pin signer.pem good.xml", 2, "^$",
       "--policy plain"},
      {"no time", "verify --at soon good.xml", 2, "^$", "--at: time"},
  });
}

TEST_F(VerifyPolicyTest, WhatMustBeSignedCanBeSaid) {
  write("part.xml", "<a xmlns=\"urn:a\" xml:id=\"r\"><b xml:id=\"b\">1</b><c/></a>");
  expectDone(sign("--reference #b -o b.xml part.xml"));
  expectRows({
      {"root", "verify --pin signer.pem b.xml", 3, "not-covered", "^$"},
      {"any", "verify --pin signer.pem --cover any b.xml", 0, "valid", "^$"},
      {"id", "verify --pin signer.pem --cover #b b.xml", 0, "valid", "^$"},
      {"place", "verify --pin signer.pem --ns n=urn:a --cover /n:a/n:b b.xml", 0, "valid", "^$"},
      {"another place", "verify --pin signer.pem --ns n=urn:a --cover /n:a/n:c b.xml", 3,
       "not-covered", "^$"},
      {"nothing there", "verify --pin signer.pem --cover //gone b.xml", 3, "not-covered", "^$"},
  });
}

TEST_F(VerifyPolicyTest, JsonSaysVerdictPolicyAndReasons) {
  const Outcome outcome = run("verify --json --pin signer.pem good.xml strange.xml changed.xml");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_TRUE(matches(
      outcome.output,
      R"re(^\{"file":"good.xml","valid":true,"error":0,"message":"valid","signatures":\[.*"verdict":"valid","policy":"standard".*"reasons":\[\].*
\{"file":"strange.xml","valid":false,"error":0,"message":"valid",.*"verdict":"refused".*"reasons":\[\{"name":"signer-not-trusted","text":"[^"]+","signature":1\}\].*
\{"file":"changed.xml","valid":false,"error":2,.*"failedReference":\{"number":1,.*"verdict":"invalid".*
$)re"))
      << outcome.output;
}

TEST_F(VerifyPolicyTest, DocumentTypesAreRefusedUnread) {
  write("internal.xml", "<!DOCTYPE a [<!ENTITY e 'x'>]><a>&e;</a>");
  write("external.xml",
        "<?xml version='1.0'?><!-- --><!DOCTYPE a [<!ENTITY e SYSTEM 'in.xml'>]><a>&e;</a>");
  expectRow({"internal", "verify internal.xml", 3, "^internal.xml: refused: dtd: ", "^$"});
  expectRow({"external", "verify external.xml", 3, "^external.xml: refused: dtd: ", "^$"});
}

}  // namespace
}  // namespace talvo::test
