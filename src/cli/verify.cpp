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
  std::string report = "text";
  std::string output;
  PolicyOptions policy;
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
  declarePolicy(command, options.policy);
  command
      .add_option("--report", options.report,
                  "text, json (as --json), or html: a page to look at, of one file")
      ->type_name("FORM")
      ->check(CLI::IsMember({"text", "json", "html"}));
  command.add_option("-o,--output", options.output, "Write the report to this file")
      ->type_name("OUT");
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

// What concerns keys and references goes into the policy, where there is one.
Check fillPolicy(talvo_xml_policy *policy, const VerifySetting &setting) {
  for (const Certificate &certificate : setting.certificates) {
    if (talvo_xml_policy_addcert(policy, TALVO_XML_POLICY_CANDIDATE, certificate.get()) != 1) {
      return failed("out of memory");
    }
  }
  if (!setting.hmacKey.empty()) {
    talvo_xml_policy_sethmackey(policy, setting.hmacKey.data(), setting.hmacKey.size());
  }
  if (setting.p != nullptr) {
    talvo_xml_policy_setdomainparam(policy, setting.p.get(), setting.q.get(), setting.g.get());
  }
  if (setting.allowNetwork) {
    if (Check problem =
            setMember(policy, "network", Json(talvo_json_newboolean(1)), "--allow-network")) {
      return problem;
    }
  }
  constexpr std::string_view kFollow = "follow";
  return setting.followManifests
             ? setMember(policy, "manifests",
                         Json(talvo_json_newstring(kFollow.data(), kFollow.size())),
                         "--follow-manifests")
             : std::nullopt;
}

Check readPolicy(const VerifyOptions &options, VerifySetting &setting) {
  Result<Policy> policy = makePolicy(options.policy);
  if (!policy) {
    return policy.failure();
  }
  if (setting.html && options.files.size() > 1) {
    return badInput("--report html: a page is about one file");
  }
  if (setting.html && *policy == nullptr) {
    return badInput("--policy plain judges nothing, so there is no page about it");
  }
  setting.policyName = options.policy.policy;
  setting.trustsAnybody = !options.policy.trust.empty() || !options.policy.pins.empty();
  setting.policy = std::move(*policy);
  return setting.policy == nullptr ? std::nullopt : fillPolicy(setting.policy.get(), setting);
}

Check readSetting(const VerifyOptions &options, VerifySetting &setting) {
  setting.basePath = options.basePath;
  setting.idAttribute = options.idAttribute;
  setting.allowNetwork = options.allowNetwork;
  setting.followManifests = options.followManifests;
  setting.json = options.json || options.report == "json";
  setting.html = !setting.json && options.report == "html";
  for (const auto read : {readCertificates, readHmacKey, readDsaParameters, readData, readPolicy}) {
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

// Collects what goes to a file; anything else is written as it comes.
class Output {
 public:
  explicit Output(std::string path) : path_(std::move(path)) {}

  void print(const FileVerdict &verdict) {
    if (!verdict.problem.empty()) {
      report({verdict.status, verdict.problem});
    }
    if (!path_.empty() && path_ != "-") {
      collected_ += verdict.output;
      return;
    }
    std::fwrite(verdict.output.data(), 1, verdict.output.size(), stdout);
    std::fflush(stdout);
  }
  Check finish() {
    if (!path_.empty() && path_ != "-") {
      return writeFile(path_, collected_);
    }
    return std::ferror(stdout) != 0 ? Check(failed("standard output: cannot be written"))
                                    : std::nullopt;
  }

 private:
  std::string path_;
  std::string collected_;
};

ExitStatus verifyFiles(const VerifyOptions &options) {
  VerifySetting setting;
  if (const Check problem = readSetting(options, setting)) {
    return report(*problem);
  }
  ExitStatus worst = ExitStatus::done;
  Progress progress(options.files.size());
  Output output(options.output);
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
        output.print(verdict);
        worst = worse(worst, verdict.status);
        progress.show(index + 1);
      });
  if (const Check problem = output.finish()) {
    return report(*problem);
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
