#include "cli/program.h"

namespace talvo::test {
namespace {

class InspectTest : public ProgramTest {
 protected:
  InspectTest() { writeIdentity("signer", makeIdentity({.subject = "/C=DE/CN=Jane Doe"})); }
};

TEST_F(InspectTest, ShowsEverythingThatWasDecoded) {
  expectDone(sign(
      "--manifest --signing-time --signing-certificate --signature-value-id V -o s.xml in.xml"));
  const Outcome outcome = run("inspect s.xml");
  EXPECT_EQ(outcome.status, 0) << outcome.errors;
  for (const char *pattern :
       {"signature count: 1\n", "path: /inv:Invoice/ds:Signature\n", "signature value id: V\n",
        "canonicalisation: C14N 1.0 \\(1\\)\n", "method: RSA-SHA256 \\(68\\)\n",
        "reference 1:\n +URI: #Manifest-[0-9A-F]+\n +type: [^\n]*#Manifest\n",
        "reference 2:\n +URI: #SignedProperties-", "kind: X509Data\n",
        "certificate 1:\n +subject: CN=Jane Doe,C=DE\n",
        "kind: Manifest\n +element: Manifest\n +reference 1:\n +URI: \"\"\n +transform 1: "
        "Enveloped",
        "element: QualifyingProperties\n", "signing certificate 1:\n +issuer: CN=Jane Doe,C=DE\n",
        "signing time: 20"}) {
    EXPECT_TRUE(matches(outcome.output, pattern)) << pattern << "\n" << outcome.output;
  }
  expectRow({"as JSON", "inspect --json s.xml", 0,
             "\"method\": ?\\{\"name\": ?\"RSA-SHA256\", ?\"number\": ?68\\}"});
}

TEST_F(InspectTest, WhatCannotBeDecodedIsNoFailure) {
  write("none.xml", "<a/>");
  expectDone(sign("-o s.xml in.xml"));
  replaceIn("s.xml", "<ds:SignatureValue>", "<ds:SignatureValue>!");
  expectRows({{"none", "inspect none.xml", 0, "signature count: 0\n$"},
              {"malformed", "inspect s.xml", 0, "decoded: no\n"}});
}

}  // namespace
}  // namespace talvo::test
