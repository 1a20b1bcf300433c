// Keys on a token: SoftHSM's, in a process of its own, since engine and token keep state that
// nobody takes down.
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "talvo_crypto.h"

#include "support/keys.h"
#include "support/workshop.h"

namespace talvo::test {
namespace {

constexpr char kModule[] = "/usr/lib/softhsm/libsofthsm2.so";
constexpr char kEngine[] = "/usr/lib/x86_64-linux-gnu/engines-3/pkcs11.so";

class Pkcs11Test : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!hasProgram("softhsm2-util") || access(kModule, R_OK) != 0 || access(kEngine, R_OK) != 0) {
      GTEST_SKIP() << "SoftHSM or the PKCS #11 engine is not installed";
    }
    workshop_.write("conf", "directories.tokendir = " + workshop_.path("") +
                                "\nobjectstore.backend = file\nlog.level = ERROR\n");
    setenv("SOFTHSM2_CONF", workshop_.path("conf").c_str(), 1);
    setenv("PKCS11_MODULE_PATH", kModule, 1);
    ASSERT_TRUE(
        workshop_.run("softhsm2-util --init-token --free --label talvo --so-pin 1234 "
                      "--pin 5678"))
        << workshop_.read("log");
  }

  void TearDown() override {
    unsetenv("SOFTHSM2_CONF");
    unsetenv("PKCS11_MODULE_PATH");
  }

  void import(KeyKind kind, const std::string &label, const std::string &id) {
    workshop_.write(label, privateKeyPem(kind));
    workshop_.write(label + ".pub", publicKeyPem(kind));
    ASSERT_TRUE(workshop_.run("softhsm2-util --import " + label + " --token talvo --label " +
                              label + " --id " + id + " --pin 5678"))
        << workshop_.read("log");
  }

  // Signs "text" in a child process and writes "signature"; the child's exit status is the reason
  // why the key did not open, or 100 when it did not sign.
  int signInChild(const std::string &uri, const char *pin, int32_t algorithm) {
    const pid_t child = fork();
    if (child == 0) {
      _exit(signHere(uri, pin, algorithm));
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  Workshop workshop_;

 private:
  int signHere(const std::string &uri, const char *pin, int32_t algorithm) {
    int32_t reason = 0;
    TalvoPKIKeyPair *key = TalvoPKICryptoOpenKeyPairEx(uri.data(), uri.size(), pin, &reason);
    if (key == nullptr) {
      return reason;
    }
    TalvoPKISign *sign = TalvoPKICryptoNewSign(key, algorithm);
    uint8_t *bytes = nullptr;
    size_t length = 0;
    if (TalvoPKICryptoSignUpdate(sign, "text", 4) != 1 ||
        TalvoPKICryptoSignFinal(sign, &bytes, &length) != 1) {
      return 100;
    }
    workshop_.write("signature", {reinterpret_cast<char *>(bytes), length});
    return 0;
  }
};

TEST_F(Pkcs11Test, SignsWithKeysOnAToken) {
  import(KeyKind::rsa, "rsa", "01");
  import(KeyKind::p256, "ec", "02");
  workshop_.write("text", "text");
  for (const auto &[label, algorithm] : {std::pair<std::string, int32_t>{"rsa", 4}, {"ec", 18}}) {
    SCOPED_TRACE(label);
    EXPECT_EQ(signInChild("pkcs11:token=talvo;object=" + label, "5678", algorithm), 0);
    EXPECT_TRUE(
        workshop_.run("openssl dgst -sha256 -verify " + label + ".pub -signature signature text"))
        << workshop_.read("log");
  }
  EXPECT_EQ(signInChild("pkcs11:token=talvo;object=rsa?pin-value=5678", nullptr, 4), 0);
  EXPECT_EQ(signInChild("pkcs11:token=talvo;object=rsa", "5678", 18), 100);
}

TEST_F(Pkcs11Test, TellsWhatIsMissingWithoutPrintingThePin) {
  import(KeyKind::rsa, "rsa", "01");
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(signInChild("pkcs11:token=talvo;object=rsa", nullptr, 4), TALVO_OPEN_PASSWORD_MISSING);
  EXPECT_EQ(signInChild("pkcs11:token=talvo;object=rsa", "9999", 4), TALVO_OPEN_NO_KEY);
  EXPECT_EQ(signInChild("pkcs11:token=talvo;object=nothing", "5678", 4), TALVO_OPEN_NO_KEY);
  setenv("OPENSSL_ENGINES", "/nowhere", 1);
  EXPECT_EQ(signInChild("pkcs11:token=talvo;object=rsa", "5678", 4), TALVO_OPEN_TOKEN_UNAVAILABLE);
  unsetenv("OPENSSL_ENGINES");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace talvo::test
