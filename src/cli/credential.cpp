#include "cli/credential.h"

#include <optional>
#include <string_view>

#include <CLI/CLI.hpp>

#include "cli/file.h"
#include "cli/text.h"

namespace talvo::cli {

namespace {

constexpr std::string_view kToken = "pkcs11:";

using Password = std::optional<std::string>;

const char *textOf(const Password &password) {
  return password ? password->c_str() : nullptr;
}

Result<Password> readPassword(const std::string &path) {
  if (path.empty()) {
    return Password();
  }
  const Result<Octets> octets = readFileOrEmpty(path);
  if (!octets) {
    return octets.failure();
  }
  std::string line(octets->data(), octets->size());
  line.resize(std::min(line.size(), line.find('\n')));
  if (line.ends_with('\r')) {
    line.pop_back();
  }
  if (line.find('\0') != std::string::npos) {
    return badInput(fileLabel(path) + ": a password cannot hold a NUL");
  }
  return Password(line);
}

struct OpenProblem {
  int32_t reason;
  const char *text;
};

constexpr OpenProblem kOpenProblems[] = {
    {TALVO_OPEN_PASSWORD_MISSING, "it is locked: give its password with --password-file"},
    {TALVO_OPEN_PASSWORD_WRONG, "the password is wrong"},
    {TALVO_OPEN_LEGACY_PROVIDER_MISSING,
     "it is encrypted with old algorithms, and OpenSSL's legacy provider cannot be loaded"},
    {TALVO_OPEN_NO_KEY, "there is no such private key, or the PIN is wrong"},
    {TALVO_OPEN_TOKEN_UNAVAILABLE,
     "the PKCS #11 engine (package libengine-pkcs11-openssl) cannot be loaded"},
    {TALVO_OPEN_OUT_OF_MEMORY, "out of memory"},
};

std::string openProblem(int32_t reason, const char *otherwise) {
  for (const OpenProblem &problem : kOpenProblems) {
    if (problem.reason == reason) {
      return problem.text;
    }
  }
  return otherwise;
}

bool isToken(const std::string &name) {
  return std::string_view(name).starts_with(kToken);
}

Result<KeyPair> openKey(const std::string &name, const Password &password) {
  const Result<Octets> octets =
      isToken(name) ? Result<Octets>(Octets(name.begin(), name.end())) : readFile(name);
  if (!octets) {
    return octets.failure();
  }
  int32_t reason = 0;
  KeyPair key(
      TalvoPKICryptoOpenKeyPairEx(octets->data(), octets->size(), textOf(password), &reason));
  if (key != nullptr) {
    return key;
  }
  const bool nothing = !isToken(name) && reason == TALVO_OPEN_NO_KEY;
  return badInput(fileLabel(name) + ": " +
                  openProblem(nothing ? TALVO_OPEN_UNREADABLE : reason, "holds no private key"));
}

struct OpenedCertificate {
  Certificate certificate;
  int32_t keyProblem = 0;  // why its key is still locked
};

Result<OpenedCertificate> openCertificate(const std::string &path, const Password &password) {
  const Result<Octets> octets = readFile(path);
  if (!octets) {
    return octets.failure();
  }
  OpenedCertificate opened;
  opened.certificate.reset(
      TalvoPKICertOpenEx(octets->data(), octets->size(), textOf(password), &opened.keyProblem));
  if (opened.certificate == nullptr) {
    return badInput(fileLabel(path) + ": " +
                    openProblem(opened.keyProblem, "holds no certificate"));
  }
  return opened;
}

Result<KeyPair> keyOfCertificate(const OpenedCertificate &opened, const std::string &path,
                                 const Password &password) {
  if (TalvoPKICertHasKeyPair(opened.certificate.get()) == TALVO_KEY_PAIR_NONE) {
    return badInput(fileLabel(path) + ": comes without private key: name its file with --key");
  }
  KeyPair key(TalvoPKICertGetCertKeyPair(opened.certificate.get(), TALVO_KEY_PAIR_UNLOCK,
                                         TALVO_USE_SIGN, textOf(password)));
  if (key == nullptr) {
    return badInput(fileLabel(path) + ": its private key: " +
                    openProblem(opened.keyProblem, "it cannot be unlocked"));
  }
  return key;
}

}  // namespace

void addSignerOptions(CLI::App &command, SignerOptions &options) {
  command
      .add_option("--cert", options.certificate,
                  "The signer's certificate: DER, PEM, a PEM bundle with key and chain, PKCS #12")
      ->required()
      ->type_name("FILE");
  command
      .add_option(
          "--key", options.key,
          "The private key, when it does not come with the certificate: PEM, DER, PKCS #12, "
          "or pkcs11:... on a token")
      ->type_name("FILE");
  command
      .add_option("--password-file", options.passwordFile,
                  "A file whose first line is the password of the key, or the token's PIN")
      ->type_name("FILE");
}

Result<Certificate> loadCertificate(const std::string &path) {
  Result<OpenedCertificate> opened = openCertificate(path, {});
  return opened ? Result<Certificate>(std::move(opened->certificate)) : opened.failure();
}

Result<Signer> loadSigner(const SignerOptions &options) {
  const Result<Password> password = readPassword(options.passwordFile);
  if (!password) {
    return password.failure();
  }
  Result<OpenedCertificate> opened = openCertificate(options.certificate, *password);
  if (!opened) {
    return opened.failure();
  }
  Result<KeyPair> key = options.key.empty()
                            ? keyOfCertificate(*opened, options.certificate, *password)
                            : openKey(options.key, *password);
  if (!key) {
    return key.failure();
  }
  if (TalvoPKICertSetKeyPair(opened->certificate.get(), key->get()) != 1) {
    return badInput("the private key does not belong to the certificate " +
                    fileLabel(options.certificate));
  }
  return Signer{std::move(opened->certificate), std::move(*key)};
}

}  // namespace talvo::cli
