// talvo-xml verify: the verdict on each file, and the worst of them as exit status.
#include <algorithm>
#include <cstdio>

#include "cli/base_path.h"
#include "cli/command.h"
#include "cli/credential.h"
#include "cli/parallel.h"
#include "cli/progress.h"
#include "cli/text.h"
#include "cli/verify_file.h"

namespace talvo::cli {

namespace {

struct VerifyOptions {
  std::string basePath;
  std::vector<std::string> certificates;
  std::string hmacKey;
  std::string data;
  std::string dsaParameters;
  std::string idAttribute;
  bool json = false;
  bool allowNetwork = false;
  bool followManifests = false;
  size_t processes = 1;
  std::vector<std::string> files;
};

void declareKeys(CLI::App &command, VerifyOptions &options) {
  addRepeatable(command, "--cert", options.certificates,
                "A certificate that may hold the key, beside those in the signature", "FILE");
  command.add_option("--hmac-key", options.hmacKey, "The key of HMAC signatures")->type_name("HEX");
  command
      .add_option("--dsa-params", options.dsaParameters,
                  "P, Q and G for DSA keys that leave them out: three lines of hexadecimal digits")
      ->type_name("FILE");
}

void declare(CLI::App &command, VerifyOptions &options) {
  declareKeys(command, options);
  addBasePath(command, options.basePath);
  addIdAttribute(command, options.idAttribute);
  command.add_option("--data", options.data, "The content of the reference without URI")
      ->type_name("FILE");
  command.add_flag("--json", options.json, "One JSON object a line");
  command.add_flag("--allow-network", options.allowNetwork,
                   "Let references be fetched by http and https");
  command.add_flag("--follow-manifests", options.followManifests,
                   "Verify the references of a Manifest that is signed, too");
  command.add_option("-j,--jobs", options.processes, "Verify in this many processes")
      ->type_name("N")
      ->check(CLI::Range(1, 1024));
  command.add_option("FILE", options.files, "The documents (- for standard input)")
      ->required()
      ->type_name("");
}

Check readCertificates(const VerifyOptions &options, VerifySetting &setting) {
  for (const std::string &path : options.certificates) {
    Result<Certificate> certificate = loadCertificate(path);
    if (!certificate) {
      return certificate.failure();
    }
    setting.certificates.push_back(std::move(*certificate));
  }
  return std::nullopt;
}

Result<Octets> decodeHex(std::string_view digits, const std::string &what) {
  uint8_t *bytes = nullptr;
  size_t length = 0;
  if (talvo_hex_decode(digits.data(), digits.size(), &bytes, &length) != 1) {
    return badInput(what + ": needs an even number of hexadecimal digits");
  }
  const ByteBuffer owner(bytes);
  return Octets(bytes, bytes + length);
}

Check readHmacKey(const VerifyOptions &options, VerifySetting &setting) {
  if (options.hmacKey.empty()) {
    return std::nullopt;
  }
  Result<Octets> key = decodeHex(options.hmacKey, "--hmac-key");
  if (!key) {
    return key.failure();
  }
  setting.hmacKey = std::move(*key);
  return std::nullopt;
}

Check readDsaParameters(const VerifyOptions &options, VerifySetting &setting) {
  if (options.dsaParameters.empty()) {
    return std::nullopt;
  }
  const Result<Octets> text = readFile(options.dsaParameters);
  if (!text) {
    return text.failure();
  }
  std::vector<std::string> lines = split({text->data(), text->size()}, '\n');
  lines.resize(std::max<size_t>(lines.size(), 3));
  BigInteger *const numbers[] = {&setting.p, &setting.q, &setting.g};
  for (size_t at = 0; at < std::size(numbers); ++at) {
    const std::string &line = lines[at];
    const Result<Octets> magnitude = decodeHex(std::string_view(line).substr(0, line.find('\r')),
                                               fileLabel(options.dsaParameters));
    if (!magnitude) {
      return magnitude.failure();
    }
    numbers[at]->reset(talvo_biginteger_newunsigneddata(magnitude->data(), magnitude->size()));
  }
  return std::nullopt;
}

Check readData(const VerifyOptions &options, VerifySetting &setting) {
  if (options.data.empty()) {
    return std::nullopt;
  }
  Result<Octets> data = readFile(options.data);
  if (!data) {
    return data.failure();
  }
  setting.externalData = std::move(*data);
  return std::nullopt;
}

Check readSetting(const VerifyOptions &options, VerifySetting &setting) {
  setting.basePath = options.basePath;
  setting.idAttribute = options.idAttribute;
  setting.allowNetwork = options.allowNetwork;
  setting.followManifests = options.followManifests;
  setting.json = options.json;
  for (const auto read : {readCertificates, readHmacKey, readDsaParameters, readData}) {
    if (Check problem = read(options, setting)) {
      return problem;
    }
  }
  return std::nullopt;
}

// Unreadable input weighs more than an invalid signature, and that more than a refusal.
ExitStatus worse(ExitStatus first, ExitStatus second) {
  for (const ExitStatus status : {ExitStatus::badInput, ExitStatus::failed, ExitStatus::refused}) {
    if (first == status || second == status) {
      return status;
    }
  }
  return ExitStatus::done;
}

void print(const FileVerdict &verdict) {
  if (!verdict.problem.empty()) {
    report({verdict.status, verdict.problem});
  }
  std::fwrite(verdict.output.data(), 1, verdict.output.size(), stdout);
  std::fflush(stdout);
}

ExitStatus verifyFiles(const VerifyOptions &options) {
  VerifySetting setting;
  if (const Check problem = readSetting(options, setting)) {
    return report(*problem);
  }
  ExitStatus worst = ExitStatus::done;
  Progress progress(options.files.size());
  runInOrder(
      options.files.size(), options.processes,
      [&](size_t index) { return verifyFile(options.files[index], setting); },
      [&](size_t index) {
        const std::string &path = options.files[index];
        return withoutVerdict(
            path, setting, badInput(fileLabel(path) + ": the process that verified it was ended"));
      },
      [&](size_t index, const FileVerdict &verdict) {
        progress.clear();
        print(verdict);
        worst = worse(worst, verdict.status);
        progress.show(index + 1);
      });
  if (std::ferror(stdout) != 0) {
    return report(failed("standard output: cannot be written"));
  }
  return worst;
}

}  // namespace

void addVerify(CLI::App &program, ExitStatus &status) {
  CLI::App *command = program.add_subcommand("verify", "Verify all signatures of documents");
  auto options = std::make_shared<VerifyOptions>();
  declare(*command, *options);
  command->callback([&status, options] { status = verifyFiles(*options); });
}

}  // namespace talvo::cli
