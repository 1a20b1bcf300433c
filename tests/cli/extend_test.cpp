#include "cli/program.h"
#include "support/tsa.h"

namespace talvo::test {
namespace {

class ExtendTest : public ProgramTest {
 protected:
  ExtendTest() {
    writeIdentity("signer", makeIdentity());
    expectDone(sign("--id S --signature-value-id V -o s.xml in.xml"));
  }

  static std::string extend(const std::string &command) { return command + " -o o.xml s.xml"; }
  static std::string stamp(const TimeStampAuthority &authority, const std::string &options = "") {
    return extend("timestamp --tsa " + authority.url() + " " + options);
  }
  void expectShown(const char *pattern) const {
    expectRows({{"verify", "verify --policy plain o.xml", 0, pattern},
                {"inspect", "inspect o.xml", 0, pattern}});
  }
};

TEST_F(ExtendTest, TimeStampIsAddedVerifiedAndShown) {
  const TimeStampAuthority authority;
  for (const char *options :
       {"", "--digest SHA-512 --c14n c14n11 --id T", "--c14n exc --prefixes ds"}) {
    SCOPED_TRACE(options);
    expectDone(stamp(authority, options));
    expectShown("time stamp 1:\n +valid: yes\n +time: 20[^\n]*Z\n +authority: CN=");
  }
}

TEST_F(ExtendTest, RefusedTimeStampWritesNothing) {
  for (const TsaMode mode : {TsaMode::rejected, TsaMode::wrongImprint, TsaMode::garbage}) {
    const TimeStampAuthority authority(mode);
    expectRefusals({{"refused", stamp(authority), 1, "^$", "error 23"}}, "o.xml");
  }
}

TEST_F(ExtendTest, StampOfAnotherValueIsShownAsInvalid) {
  const TimeStampAuthority authority;
  expectDone(stamp(authority));
  replaceIn("o.xml", "<ds:SignatureValue Id=\"V\">", "<ds:SignatureValue Id=\"W\">");
  expectRow({"verify", "verify --policy plain o.xml", 0, "time stamp 1:\n +valid: no"});
}

TEST_F(ExtendTest, CertificatesAndRevocationListsAreAddedAndShown) {
  const Chain chain = makeChain();
  write("root.der", chain.root.der());
  write("chain.pem", chain.leaf.pem() + chain.intermediate.pem() + chain.root.pem());
  write("list.crl", makeCrl(chain.root, 5));
  struct Row {
    const char *command;
    const char *shown;
    const char *written;
  };
  for (const auto &[command, shown, written] :
       {Row{"add-certs --cert root.der --cert signer.pem --id C",
            "certificate value 1:\n.*certificate value 2:", "<xa:CertificateValues Id=\"C\""},
        {"add-certs --refs --cert chain.pem", ": ", "<xa:CertRefs>"},
        {"add-crl --crl list.crl --id R",
         "revocation value 1:\n +kind: CRL\n +issuer: CN=", "RevocationValues Id=\"R\""},
        {"add-crl --refs --crl list.crl", ": ", "CRLRef"}}) {
    SCOPED_TRACE(command);
    expectDone(extend(command));
    EXPECT_TRUE(matches(read("o.xml"), written)) << read("o.xml");
    expectShown(shown);
  }
}

TEST_F(ExtendTest, CountersignatureIsAddedVerifiedAndShown) {
  writeIdentity("second", makeIdentity({.kind = KeyKind::p256, .subject = "/CN=Second"}));
  expectDone(extend("countersign --cert second.pem --key second.key --id CS"));
  expectShown("counter signature 1:\n +Id: CS\n +valid: yes\n +signer:\n +subject: CN=Second");
  replaceIn("o.xml", "<ds:SignatureValue Id=\"V\">", "<ds:SignatureValue Id=\"W\">");
  expectRow(
      {"moved", "verify --policy plain o.xml", 1, "counter signature 1:\n +Id: CS\n +valid: no"});
}

TEST_F(ExtendTest, ChoiceOfTheSignature) {
  expectDone(sign("--id S2 -o two.xml s.xml"));
  write("none.xml", "<a/>");
  const std::string add = "add-certs --cert signer.pem ";
  expectRows({
      {"by number", add + "--signature 2 two.xml", 0, "Target=\"#S2\""},
      {"by Id", add + "--signature S two.xml", 0, "Target=\"#S\""},
      {"not chosen", add + "two.xml", 2, "^$", "2 signatures"},
      {"too high", add + "--signature 3 two.xml", 2, "^$", "no signature 3"},
      {"no such Id", add + "--signature X two.xml", 2, "^$", "Id X"},
      {"none", add + "none.xml", 2, "^$", "no signature"},
  });
}

TEST_F(ExtendTest, BadInputWritesNothing) {
  expectDone(sign("-o plain.xml in.xml"));
  const std::string stamp = "timestamp --tsa http://127.0.0.1:1/";
  expectRefusals(
      {
          {"no list", extend("add-crl --crl in.xml"), 2, "^$", "in.xml: holds no revocation"},
          {"no certificate", extend("add-certs --cert in.xml"), 2, "^$", "in.xml: holds no cert"},
          {"no value Id", "countersign --cert signer.pem --key signer.key -o o.xml plain.xml", 1,
           "^$", "error 26"},
          {"bad digest", extend(stamp + " --digest md5"), 1, "^$", "error 12"},
          {"nobody there", extend(stamp), 1, "^$", "error 23"},
      },
      "o.xml");
}

}  // namespace
}  // namespace talvo::test
