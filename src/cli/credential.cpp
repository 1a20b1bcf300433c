#include "cli/credential.h"

#include <optional>
#include <string_view>

#include <CLI/CLI.hpp>

#include "cli/file.h"
#include "cli/text.h"

namespace talvo::cli {

namespace {

constexpr int32_t kUnlock = 0x40000000;
constexpr int32_t kSigningKey = 2;
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

// The outermost SEQUENCE of a PKCS #12 file begins with the version 3; that of a certificate, with a
// SEQUENCE.
bool looksLikePkcs12(const Octets &octets) {
  const std::string_view text(octets.data(), std::min<size_t>(octets.size(), 16));
  return text.starts_with('\x30') && text.find(std::string_view("\x02\x01\x03", 3)) <= 6;
}

bool looksEncrypted(const Octets &octets) {
  const std::string_view text(octets.data(), octets.size());
  return text.find("ENCRYPTED") != std::string_view::npos || looksLikePkcs12(octets);
}

std::string passwordProblem(const Password &password) {
  return password ? "the password is wrong, or the file uses an encryption that is not available"
                  : "it is locked: give its password with --password-file";
}

Result<Octets> readKey(const std::string &name) {
  if (std::string_view(name).starts_with(kToken)) {
    return Octets(name.begin(), name.end());
  }
  return readFile(name);
}

Result<KeyPair> openKey(const std::string &name, const Password &password) {
  const Result<Octets> octets = readKey(name);
  if (!octets) {
    return octets.failure();
  }
  KeyPair key(TalvoPKICryptoOpenKeyPair(octets->data(), octets->size(), textOf(password)));
  if (key != nullptr) {
    return key;
  }
  if (std::string_view(name).starts_with(kToken)) {
    return badInput(shown(name) + ": the token, its key or the PIN cannot be used");
  }
  return badInput(fileLabel(name) + ": " +
                  (looksEncrypted(*octets) ? passwordProblem(password) : "holds no private key"));
}

Result<Certificate> openCertificate(const std::string &path, const Password &password) {
  const Result<Octets> octets = readFile(path);
  if (!octets) {
    return octets.failure();
  }
  Certificate certificate(TalvoPKICertOpen(octets->data(), octets->size(), textOf(password)));
  if (certificate != nullptr) {
    return certificate;
  }
  return badInput(fileLabel(path) + ": " +
                  (looksLikePkcs12(*octets) ? passwordProblem(password) : "holds no certificate"));
}

Result<KeyPair> keyOfCertificate(const Certificate &certificate, const SignerOptions &options,
                                 const Password &password) {
  if (TalvoPKICertHasKeyPair(certificate.get()) == 0) {
    return badInput(fileLabel(options.certificate) +
                    ": comes without private key: name its file with --key");
  }
  KeyPair key(
      TalvoPKICertGetCertKeyPair(certificate.get(), kUnlock, kSigningKey, textOf(password)));
  if (key == nullptr) {
    return badInput(fileLabel(options.certificate) +
                    ": its private key: " + passwordProblem(password));
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
  return openCertificate(path, {});
}

Result<Signer> loadSigner(const SignerOptions &options) {
  const Result<Password> password = readPassword(options.passwordFile);
  if (!password) {
    return password.failure();
  }
  Result<Certificate> certificate = openCertificate(options.certificate, *password);
  if (!certificate) {
    return certificate.failure();
  }
  Result<KeyPair> key = options.key.empty() ? keyOfCertificate(*certificate, options, *password)
                                            : openKey(options.key, *password);
  if (!key) {
    return key.failure();
  }
  if (TalvoPKICertSetKeyPair(certificate->get(), key->get()) != 1) {
    return badInput("the private key does not belong to the certificate " +
                    fileLabel(options.certificate));
  }
  return Signer{std::move(*certificate), std::move(*key)};
}

}  // namespace talvo::cli
