#include "cli/program.h"
#include "support/tsa.h"

namespace talvo::test {
namespace {

class ExtendTest : public ProgramTest {
 protected:
  ExtendTest() {
    writeIdentity("signer", makeIdentity());
    EXPECT_EQ(
        run(signArguments({"--id", "S", "--signature-value-id", "V", "-o", "s.xml", "in.xml"}))
            .status,
        0);
  }

  // The command with what comes before and after its own options.
  Arguments extend(Arguments arguments, const std::string &output = "o.xml") const {
    arguments.insert(arguments.end(), {"-o", output, "s.xml"});
    return arguments;
  }
  void expectShown(const char *pattern) const {
    expectRow({"verify", {"verify", "--policy", "plain", "o.xml"}, 0, pattern, "^$"});
    expectRow({"inspect", {"inspect", "o.xml"}, 0, pattern, "^$"});
  }
};

TEST_F(ExtendTest, TimeStampIsAddedVerifiedAndShown) {
  const TimeStampAuthority authority;
  for (const Arguments &options :
       {Arguments{}, Arguments{"--digest", "SHA-512", "--c14n", "c14n11", "--id", "T"},
        Arguments{"--c14n", "exc", "--prefixes", "ds"}}) {
    SCOPED_TRACE(::testing::PrintToString(options));
    Arguments arguments = {"timestamp", "--tsa", authority.url()};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const Outcome outcome = run(extend(arguments));
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    expectShown("time stamp 1:\n +valid: yes\n +time: 20[^\n]*Z\n +authority: CN=");
  }
}

TEST_F(ExtendTest, RefusedTimeStampWritesNothing) {
  for (const TsaMode mode : {TsaMode::rejected, TsaMode::wrongImprint, TsaMode::garbage}) {
    const TimeStampAuthority authority(mode);
    expectRow({"refused", extend({"timestamp", "--tsa", authority.url()}), 1, "^$", "error 23"});
    EXPECT_FALSE(exists("o.xml"));
  }
}

TEST_F(ExtendTest, StampOfAnotherValueIsShownAsInvalid) {
  const TimeStampAuthority authority;
  ASSERT_EQ(run(extend({"timestamp", "--tsa", authority.url()})).status, 0);
  replaceIn("o.xml", "<ds:SignatureValue Id=\"V\">", "<ds:SignatureValue Id=\"W\">");
  expectRow(
      {"verify", {"verify", "--policy", "plain", "o.xml"}, 0, "time stamp 1:\n +valid: no", "^$"});
}

TEST_F(ExtendTest, CertificatesAndRevocationListsAreAddedAndShown) {
  const Chain chain = makeChain();
  write("root.der", chain.root.der());
  write("chain.pem", chain.leaf.pem() + chain.intermediate.pem() + chain.root.pem());
  write("list.crl", makeCrl(chain.root, 5));
  for (const ProgramRow &row : std::initializer_list<ProgramRow>{
           {"values",
            {"add-certs", "--cert", "root.der", "--cert", "signer.pem", "--id", "C"},
            0,
            "certificate value 1:\n.*certificate value 2:",
            "<xa:CertificateValues Id=\"C\""},
           {"certificate references",
            {"add-certs", "--refs", "--cert", "chain.pem"},
            0,
            ": ",
            "<xa:CertRefs>"},
           {"lists",
            {"add-crl", "--crl", "list.crl", "--id", "R"},
            0,
            "revocation value 1:\n +kind: CRL\n +issuer: CN=",
            "RevocationValues Id=\"R\""},
           {"list references", {"add-crl", "--refs", "--crl", "list.crl"}, 0, ": ", "CRLRef"},
       }) {
    SCOPED_TRACE(row.name);
    const Outcome outcome = run(extend(row.arguments));
    EXPECT_EQ(outcome.status, row.status) << outcome.errors;
    EXPECT_TRUE(matches(read("o.xml"), row.errors)) << read("o.xml");
    expectShown(row.output);
  }
}

TEST_F(ExtendTest, CountersignatureIsAddedVerifiedAndShown) {
  writeIdentity("second", makeIdentity({.kind = KeyKind::p256, .subject = "/CN=Second"}));
  const Outcome outcome =
      run(extend({"countersign", "--cert", "second.pem", "--key", "second.key", "--id", "CS"}));
  ASSERT_EQ(outcome.status, 0) << outcome.errors;
  expectShown("counter signature 1:\n +Id: CS\n +valid: yes\n +signer:\n +subject: CN=Second");
  replaceIn("o.xml", "<ds:SignatureValue Id=\"V\">", "<ds:SignatureValue Id=\"W\">");
  expectRow({"moved",
             {"verify", "--policy", "plain", "o.xml"},
             1,
             "counter signature 1:\n +Id: CS\n +valid: no",
             "^$"});
}

TEST_F(ExtendTest, ChoiceOfTheSignature) {
  ASSERT_EQ(run(signArguments({"--id", "S2", "-o", "two.xml", "s.xml"})).status, 0);
  write("none.xml", "<a/>");
  for (const ProgramRow &row : std::initializer_list<ProgramRow>{
           {"by number",
            {"add-certs", "--cert", "signer.pem", "--signature", "2", "two.xml"},
            0,
            "Target=\"#S2\"",
            "^$"},
           {"by Id",
            {"add-certs", "--cert", "signer.pem", "--signature", "S", "two.xml"},
            0,
            "Target=\"#S\"",
            "^$"},
           {"not chosen",
            {"add-certs", "--cert", "signer.pem", "two.xml"},
            2,
            "^$",
            "2 signatures"},
           {"too high",
            {"add-certs", "--cert", "signer.pem", "--signature", "3", "two.xml"},
            2,
            "^$",
            "no signature 3"},
           {"no such Id",
            {"add-certs", "--cert", "signer.pem", "--signature", "X", "two.xml"},
            2,
            "^$",
            "Id X"},
           {"none", {"add-certs", "--cert", "signer.pem", "none.xml"}, 2, "^$", "no signature"},
       }) {
    expectRow(row);
  }
}

TEST_F(ExtendTest, BadInputWritesNothing) {
  ASSERT_EQ(run(signArguments({"-o", "plain.xml", "in.xml"})).status, 0);
  for (const ProgramRow &row : std::initializer_list<ProgramRow>{
           {"no list",
            {"add-crl", "--crl", "in.xml", "-o", "o.xml", "s.xml"},
            2,
            "^$",
            "in.xml: holds no revocation"},
           {"no certificate",
            {"add-certs", "--cert", "in.xml", "-o", "o.xml", "s.xml"},
            2,
            "^$",
            "in.xml: holds no cert"},
           {"no value Id",
            {"countersign", "--cert", "signer.pem", "--key", "signer.key", "-o", "o.xml",
             "plain.xml"},
            1,
            "^$",
            "error 26"},
           {"bad digest",
            {"timestamp", "--tsa", "http://127.0.0.1:1", "--digest", "md5", "-o", "o.xml", "s.xml"},
            1,
            "^$",
            "error 12"},
           {"nobody there",
            {"timestamp", "--tsa", "http://127.0.0.1:1/", "-o", "o.xml", "s.xml"},
            1,
            "^$",
            "error 23"},
       }) {
    expectRow(row);
    EXPECT_FALSE(exists("o.xml"));
  }
}

}  // namespace
}  // namespace talvo::test
