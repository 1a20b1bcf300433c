#include "cli/program.h"

namespace talvo::test {
namespace {

class SignTest : public ProgramTest {
 protected:
  SignTest() { writeIdentity("signer", makeIdentity()); }

  void expectValid(const Arguments &verify) {
    const Outcome outcome = run(verify);
    EXPECT_EQ(outcome.status, 0) << outcome.output << outcome.errors;
  }
};

TEST_F(SignTest, SignsWithEveryKindOfKey) {
  struct Row {
    KeyKind kind;
    const char *method;
  };
  for (const Row &row :
       {Row{KeyKind::rsa, "RSA-SHA256 \\(68\\)"}, Row{KeyKind::p256, "ECDSA-SHA256 \\(75\\)"},
        Row{KeyKind::p521, "ECDSA-SHA256 \\(75\\)"}, Row{KeyKind::dsa, "DSA-SHA1 \\(72\\)"},
        Row{KeyKind::sm2, "SM2-SM3 \\(83\\)"}}) {
    SCOPED_TRACE(row.method);
    IdentityOptions options;
    options.kind = row.kind;
    writeIdentity("other", makeIdentity(options));
    const Outcome outcome = run(signArguments({"-o", "out.xml", "in.xml"}, "other"));
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    expectRow({"verdict", {"verify", "--policy", "plain", "out.xml"}, 0, row.method, "^$"});
  }
}

TEST_F(SignTest, KeepsTheDocumentAndItsDeclaration) {
  const std::string signedDocument = run(signArguments({"in.xml"})).output;
  const std::string content(kInvoice);
  const size_t end = content.find("</inv:Invoice>");
  EXPECT_EQ(signedDocument.substr(0, end), content.substr(0, end));
  EXPECT_TRUE(signedDocument.ends_with("</ds:Signature></inv:Invoice>\n"));
  EXPECT_EQ(run(signArguments({"-"}), "<a>\xC3\xA4</a>").output.substr(0, 5), "<a>\xC3\xA4");
}

TEST_F(SignTest, EveryOptionLeadsToAValidSignature) {
  write("data/a b.bin", "binary\r\n");
  write("list.xml", "<l xmlns:p='urn:p'><p:one Id='one'>1</p:one><two xml:id='two'>2</two></l>");
  struct Row {
    const char *name;
    Arguments options;
    const char *pattern;  // of the signed document
  };
  for (const Row &row : std::initializer_list<Row>{
           {"Ids", {"--id", "S", "--signature-value-id", "V", "list.xml"}, "Id=\"S\".*Id=\"V\""},
           {"c14n", {"--c14n", "c14n11", "list.xml"}, "2006/12/xml-c14n11\""},
           {"prefixes", {"--c14n", "exclusive", "--prefixes", "p", "list.xml"}, "PrefixList=\"p\""},
           {"digest", {"--digest", "sha512", "list.xml"}, "xmlenc#sha512\""},
           {"method", {"--method", "RSA-SHA384", "list.xml"}, "rsa-sha384\""},
           {"no certificate",
            {"--include-certs", "none", "list.xml"},
            "</ds:SignatureValue>\n"
            "</ds:Signature>"},
           {"into", {"--into", "/l/p:one", "list.xml"}, "1<ds:Signature"},
           {"at", {"--at", "one", "list.xml"}, "1<ds:Signature"},
           {"element", {"--reference", "#two", "list.xml"}, "URI=\"#two\""},
           {"file", {"--reference", "data/a%20b.bin", "list.xml"}, "URI=\"data/a%20b.bin\""},
           {"manifest", {"--manifest", "--reference", "data/a%20b.bin", "list.xml"}, "ds:Manifest"},
           {"enveloping", {"--enveloping", "--object-id", "O", "list.xml"}, "URI=\"#O\""},
           {"detached", {"--detached", "data/a%20b.bin", "--detached", "list.xml"}, "^<\\?xml"},
           {"signing time", {"--signing-time", "list.xml"}, "xa:SigningTime"},
           {"signing certificate", {"--signing-certificate", "list.xml"}, "xa:CertDigest"},
           {"place",
            {"--production-place", "Kiel,,24103,DE", "list.xml"},
            "<xa:City>Kiel</xa:City>\n<xa:PostalCode>24103"},
           {"policy", {"--policy-implied", "list.xml"}, "xa:SignaturePolicyImplied"},
       }) {
    SCOPED_TRACE(row.name);
    Arguments arguments = signArguments({"-o", "out.xml"});
    arguments.insert(arguments.end(), row.options.begin(), row.options.end());
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_TRUE(matches(read("out.xml"), row.pattern)) << read("out.xml");
    expectValid(
        {"verify", "--policy", "plain", "--cert", "signer.pem", "--follow-manifests", "out.xml"});
  }
}

// What XAdES promises about the signing time is worth nothing when it is not signed.
TEST_F(SignTest, XadesPropertiesAreCoveredAndCountersignable) {
  ASSERT_EQ(run(signArguments({"--signing-time", "-o", "out.xml", "in.xml"})).status, 0);
  EXPECT_TRUE(matches(read("out.xml"), "<ds:SignatureValue Id=\"[^\"]+\""));
  replaceIn("out.xml", "<xa:SigningTime>2", "<xa:SigningTime>1");
  expectRow({"changed time", {"verify", "--policy", "plain", "out.xml"}, 1, "error 2:", "^$"});
}

TEST_F(SignTest, CredentialsInEveryUsualForm) {
  const Identity identity = makeIdentity();
  write("bundle.pem", privateKeyPem(KeyKind::rsa) + identity.pem());
  write("cert.der", identity.der());
  write("key.der", privateKeyDer(KeyKind::rsa));
  write("password", "secret\nsecond line\n");
  write("locked.key", encryptedKeyPem(KeyKind::rsa, "secret"));
  write("locked.pem", encryptedKeyPem(KeyKind::rsa, "secret") + identity.pem());
  write("both.p12", makePkcs12(identity, {}, "secret"));
  for (const ProgramRow &row : std::initializer_list<ProgramRow>{
           {"bundle", {"sign", "--cert", "bundle.pem", "in.xml"}, 0, "Signature", "^$"},
           {"DER", {"sign", "--cert", "cert.der", "--key", "key.der", "in.xml"}, 0, "Sig", "^$"},
           {"locked",
            {"sign", "--cert", "cert.der", "--key", "locked.key", "--password-file", "password",
             "in.xml"},
            0,
            "Signature",
            "^$"},
           {"locked bundle",
            {"sign", "--cert", "locked.pem", "--password-file", "password", "in.xml"},
            0,
            "Signature",
            "^$"},
           {"PKCS #12",
            {"sign", "--cert", "both.p12", "--password-file", "password", "in.xml"},
            0,
            "Signature",
            "^$"},
       }) {
    expectRow(row);
  }
}

// The engine's place is where Debian puts it.
TEST_F(SignTest, KeyMayStayOnAToken) {
  constexpr char kModule[] = "/usr/lib/softhsm/libsofthsm2.so";
  if (!hasProgram("softhsm2-util") || ::access(kModule, R_OK) != 0 ||
      ::access("/usr/lib/x86_64-linux-gnu/engines-3/pkcs11.so", R_OK) != 0) {
    GTEST_SKIP() << "SoftHSM or the PKCS #11 engine is not installed";
  }
  write("conf", "directories.tokendir = " + path("") + "\nobjectstore.backend = file\n");
  ::setenv("SOFTHSM2_CONF", path("conf").c_str(), 1);
  ::setenv("PKCS11_MODULE_PATH", kModule, 1);
  ASSERT_TRUE(
      shell("softhsm2-util --init-token --free --label talvo --so-pin 1234 --pin 5678 && "
            "softhsm2-util --import signer.key --token talvo --label k --id 01 --pin 5678"));
  write("pin", "5678\n");
  write("wrong", "9999\n");
  const Arguments sign = {"sign", "--cert", "signer.pem", "--key", "pkcs11:token=talvo;object=k"};
  for (const auto &[pin, status, errors] :
       {std::tuple{"pin", 0, "^$"}, {"wrong", 2, "PIN is wrong"}}) {
    SCOPED_TRACE(pin);
    Arguments arguments = sign;
    arguments.insert(arguments.end(), {"--password-file", pin, "-o", "out.xml", "in.xml"});
    expectRow({"token", arguments, status, "^$", errors});
  }
  expectRow({"no PIN",
             {"sign", "--cert", "signer.pem", "--key", "pkcs11:token=talvo;object=k", "in.xml"},
             2,
             "^$",
             "locked: give its password"});
  expectValid({"verify", "--policy", "plain", "out.xml"});
  ::unsetenv("SOFTHSM2_CONF");
  ::unsetenv("PKCS11_MODULE_PATH");
}

TEST_F(SignTest, BadCredentialsAreNamed) {
  writeIdentity("other", makeIdentity({.kind = KeyKind::p256}));
  write("weak.pem", makeIdentity({.keyUsage = kKeyAgreement}).pem());
  write("wrong", "guess\n");
  write("junk", "junk");
  write("empty", "");
  write("locked.key", encryptedKeyPem(KeyKind::rsa, "secret"));
  write("both.p12", makePkcs12(makeIdentity(), {}, "secret"));
  for (const ProgramRow &row : std::initializer_list<ProgramRow>{
           {"no key",
            {"sign", "--cert", "signer.pem", "-o", "o", "in.xml"},
            2,
            "^$",
            "without private key"},
           {"other key",
            {"sign", "--cert", "signer.pem", "--key", "other.key", "-o", "o", "in.xml"},
            2,
            "^$",
            "does not belong"},
           {"no certificate",
            {"sign", "--cert", "junk", "--key", "signer.key", "-o", "o", "in.xml"},
            2,
            "^$",
            "junk: holds no certificate"},
           {"absent certificate",
            {"sign", "--cert", "gone", "-o", "o", "in.xml"},
            2,
            "^$",
            "gone: cannot be read"},
           {"no private key",
            {"sign", "--cert", "signer.pem", "--key", "junk", "-o", "o", "in.xml"},
            2,
            "^$",
            "junk: holds no private key"},
           {"empty key",
            {"sign", "--cert", "signer.pem", "--key", "empty", "-o", "o", "in.xml"},
            2,
            "^$",
            "empty: is empty"},
           {"no password",
            {"sign", "--cert", "signer.pem", "--key", "locked.key", "-o", "o", "in.xml"},
            2,
            "^$",
            "locked.key: it is locked"},
           {"wrong password",
            {"sign", "--cert", "signer.pem", "--key", "locked.key", "--password-file", "wrong",
             "-o", "o", "in.xml"},
            2,
            "^$",
            "password is wrong"},
           {"locked PKCS #12",
            {"sign", "--cert", "both.p12", "-o", "o", "in.xml"},
            2,
            "^$",
            "both.p12: it is locked"},
           {"key usage",
            {"sign", "--cert", "weak.pem", "--key", "signer.key", "-o", "o", "in.xml"},
            1,
            "^$",
            "error 18: .*key usage"},
       }) {
    expectRow(row);
    EXPECT_FALSE(exists("o"));
  }
}

TEST_F(SignTest, RefusalsWriteNothing) {
  write("based.xml", "<a xml:base='http://127.0.0.1:9/'/>");
  write("broken.xml", "<a>");
  struct Row {
    const char *name;
    Arguments options;
    int status;
    const char *errors;
  };
  for (const Row &row : std::initializer_list<Row>{
           {"network",
            {"--reference", "HTTP://127.0.0.1/a", "in.xml"},
            2,
            "reference to the network"},
           {"network base", {"--reference", "a", "based.xml"}, 2, "xml:base"},
           {"exclusive alone", {"--c14n", "exclusive", "in.xml"}, 2, "--prefixes"},
           {"prefixes alone", {"--prefixes", "a", "in.xml"}, 2, "--prefixes"},
           {"no digest", {"--digest", "sha3", "in.xml"}, 2, "sha3: is no digest method"},
           {"unsafe digest", {"--digest", "md5", "in.xml"}, 2, "digest method MD5"},
           {"unsafe method", {"--method", "RSA-MD5", "in.xml"}, 2, "RSA-MD5: cannot be used"},
           {"method of another key", {"--method", "ECDSA-SHA256", "in.xml"}, 1, "error 1:"},
           {"absent target", {"--reference", "#gone", "in.xml"}, 1, "error 5:"},
           {"absent file", {"--reference", "gone.bin", "in.xml"}, 1, "error 5:"},
           {"broken", {"broken.xml"}, 2, "not well-formed"},
           {"nothing to sign", {}, 2, "name the document"},
           {"detached with document", {"--detached", "in.xml", "in.xml"}, 2, "--detached takes no"},
           {"at nothing", {"--at", "gone", "in.xml"}, 2, "gone: is the identifier of no"},
       }) {
    SCOPED_TRACE(row.name);
    Arguments arguments = signArguments({"-o", "o"});
    arguments.insert(arguments.end(), row.options.begin(), row.options.end());
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.status, row.status) << outcome.errors;
    EXPECT_TRUE(matches(outcome.errors, row.errors)) << outcome.errors;
    EXPECT_EQ(outcome.output, "");
    EXPECT_FALSE(exists("o"));
  }
}

}  // namespace
}  // namespace talvo::test
