#include "cli/program.h"

namespace talvo::test {
namespace {

class SignTest : public ProgramTest {
 protected:
  SignTest() { writeIdentity("signer", makeIdentity()); }
};

TEST_F(SignTest, SignsWithEveryKindOfKey) {
  for (const auto &[kind, method] : {std::pair{KeyKind::rsa, "RSA-SHA256 \\(68\\)"},
                                     {KeyKind::p521, "ECDSA-SHA256 \\(75\\)"},
                                     {KeyKind::dsa, "DSA-SHA1 \\(72\\)"},
                                     {KeyKind::sm2, "SM2-SM3 \\(83\\)"}}) {
    writeIdentity("signer", makeIdentity({.kind = kind}));
    expectDone(sign("-o out.xml in.xml"));
    expectRow({method, "verify --policy plain out.xml", 0, method});
  }
}

TEST_F(SignTest, KeepsTheDocumentAndItsDeclaration) {
  const std::string signedDocument = run(sign("in.xml")).output;
  const std::string content(kInvoice);
  const size_t end = content.find("</inv:Invoice>");
  EXPECT_EQ(signedDocument.substr(0, end), content.substr(0, end));
  EXPECT_TRUE(signedDocument.ends_with("</ds:Signature></inv:Invoice>\n"));
  EXPECT_EQ(run(sign("-"), "<a>\xC3\xA4</a>").output.substr(0, 5), "<a>\xC3\xA4");
}

TEST_F(SignTest, EveryOptionLeadsToAValidSignature) {
  write("data/a b.bin", "binary\r\n");
  write("list.xml", "<l xmlns:p='urn:p'><p:one Id='one'>1</p:one><two xml:id='two'>2</two></l>");
  const std::pair<const char *, const char *> rows[] = {
      {"--id S --signature-value-id V", "Id=\"S\".*Id=\"V\""},
      {"--c14n c14n11", "2006/12/xml-c14n11\""},
      {"--c14n exclusive --prefixes p", "PrefixList=\"p\""},
      {"--digest sha512", "xmlenc#sha512\""},
      {"--method RSA-SHA384", "rsa-sha384\""},
      {"--include-certs none", "</ds:SignatureValue>\n</ds:Signature>"},
      {"--into /l/p:one", "1<ds:Signature"},
      {"--at one", "1<ds:Signature"},
      {"--reference #two", "URI=\"#two\""},
      {"--reference data/a%20b.bin", "URI=\"data/a%20b.bin\""},
      {"--manifest --reference data/a%20b.bin", "ds:Manifest"},
      {"--enveloping --object-id O", "URI=\"#O\""},
      {"--detached data/a%20b.bin --detached", "^<\\?xml"},
      {"--signing-time", "xa:SigningTime"},
      {"--signing-certificate", "xa:CertDigest"},
      {"--production-place Kiel,,24103,DE", "<xa:City>Kiel</xa:City>\n<xa:PostalCode>24103"},
      {"--policy-implied", "xa:SignaturePolicyImplied"},
  };
  for (const auto &[options, pattern] : rows) {
    SCOPED_TRACE(options);
    expectDone(sign(std::string("-o out.xml ") + options + " list.xml"));
    EXPECT_TRUE(matches(read("out.xml"), pattern)) << read("out.xml");
    expectDone("verify --policy plain --cert signer.pem --follow-manifests out.xml");
  }
}

// What XAdES promises about the signing time is worth nothing when it is not signed.
TEST_F(SignTest, XadesPropertiesAreCoveredAndCountersignable) {
  expectDone(sign("--signing-time -o out.xml in.xml"));
  EXPECT_TRUE(matches(read("out.xml"), "<ds:SignatureValue Id=\"[^\"]+\""));
  replaceIn("out.xml", "<xa:SigningTime>2", "<xa:SigningTime>1");
  expectRow({"changed time", "verify --policy plain out.xml", 1, "error 2:"});
}

TEST_F(SignTest, CredentialsInEveryUsualForm) {
  const Identity identity = makeIdentity();
  write("bundle.pem", privateKeyPem(KeyKind::rsa) + identity.pem());
  write("cert.der", identity.der());
  write("key.der", privateKeyDer(KeyKind::rsa));
  write("secret", "secret\nsecond line\n");
  write("locked.key", encryptedKeyPem(KeyKind::rsa, "secret"));
  write("locked.pem", encryptedKeyPem(KeyKind::rsa, "secret") + identity.pem());
  write("both.p12", makePkcs12(identity, {}, "secret"));
  for (const std::string credential :
       {"bundle.pem", "cert.der --key key.der", "cert.der --key locked.key --password-file secret",
        "locked.pem --password-file secret", "both.p12 --password-file secret"}) {
    expectRow({credential.c_str(), "sign --cert " + credential + " in.xml", 0, "Signature"});
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
  const std::string command =
      "sign --cert signer.pem --key pkcs11:token=talvo;object=k -o out.xml in.xml";
  expectRows({{"no PIN", command, 2, "^$", "locked: give its password"},
              {"wrong PIN", command + " --password-file wrong", 2, "^$", "PIN is wrong"},
              {"PIN", command + " --password-file pin", 0},
              {"verdict", "verify --policy plain out.xml", 0, ": valid"}});
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
  struct Row {
    const char *credential;
    int status;
    const char *errors;
  };
  for (const auto &[credential, status, errors] :
       {Row{"signer.pem", 2, "without private key"},
        {"signer.pem --key other.key", 2, "does not belong"},
        {"junk --key signer.key", 2, "junk: holds no certificate"},
        {"gone", 2, "gone: cannot be read"},
        {"signer.pem --key junk", 2, "junk: holds no private key"},
        {"signer.pem --key empty", 2, "empty: is empty"},
        {"signer.pem --key locked.key", 2, "locked.key: it is locked"},
        {"signer.pem --key locked.key --password-file wrong", 2, "password is wrong"},
        {"both.p12", 2, "both.p12: it is locked"},
        {"weak.pem --key signer.key", 1, "error 18: .*key usage"}}) {
    const std::string command = std::string("sign -o o in.xml --cert ") + credential;
    expectRefusals({{credential, command, status, "^$", errors}}, "o");
  }
}

TEST_F(SignTest, RefusalsWriteNothing) {
  write("based.xml", "<a xml:base='http://127.0.0.1:9/'/>");
  write("broken.xml", "<a>");
  struct Row {
    const char *options;
    int status;
    const char *errors;
  };
  for (const auto &[options, status, errors] :
       {Row{"--reference HTTP://127.0.0.1/a in.xml", 2, "reference to the network"},
        {"--reference a based.xml", 2, "xml:base"},
        {"--c14n exclusive in.xml", 2, "--prefixes"},
        {"--prefixes a in.xml", 2, "--prefixes"},
        {"--digest sha3 in.xml", 2, "sha3: is no digest method"},
        {"--digest md5 in.xml", 2, "digest method MD5"},
        {"--method RSA-MD5 in.xml", 2, "RSA-MD5: cannot be used"},
        {"--method ECDSA-SHA256 in.xml", 1, "error 1:"},
        {"--reference #gone in.xml", 1, "error 5:"},
        {"--reference gone.bin in.xml", 1, "error 5:"},
        {"broken.xml", 2, "not well-formed"},
        {"", 2, "name the document"},
        {"--detached in.xml in.xml", 2, "--detached takes no"},
        {"--at gone in.xml", 2, "gone: is the identifier of no"}}) {
    const std::string command = sign(std::string("-o o ") + options);
    expectRefusals({{options, command, status, "^$", errors}}, "o");
  }
}

}  // namespace
}  // namespace talvo::test
