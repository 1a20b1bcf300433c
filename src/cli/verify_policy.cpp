#include "cli/verify_policy.h"

#include <algorithm>
#include <array>

#include "cli/text.h"

namespace talvo::cli {

namespace {

struct BundleRow {
  const char *option;
  std::vector<std::string> PolicyOptions::*files;
  uint32_t role;
  const char *description;
};

constexpr std::array<BundleRow, 6> kBundles = {{
    {"--trust", &PolicyOptions::trust, TALVO_XML_POLICY_ANCHOR,
     "Certificates of authorities that you trust; signers need a path to one of them"},
    {"--pin", &PolicyOptions::pins, TALVO_XML_POLICY_PIN,
     "Certificates or public keys of the signers themselves"},
    {"--intermediate", &PolicyOptions::intermediates, TALVO_XML_POLICY_INTERMEDIATE,
     "Certificates that paths may lead through"},
    {"--crl", &PolicyOptions::crls, TALVO_XML_POLICY_CRL, "Revocation lists"},
    {"--trust-tsa", &PolicyOptions::trustTsa, TALVO_XML_POLICY_TIMESTAMP_ANCHOR,
     "Certificates of authorities for time-stamps (default: those of --trust)"},
    {"--expect-signer", &PolicyOptions::expected, TALVO_XML_POLICY_EXPECTED,
     "One of these certificates has to be that of a signer"},
}};

Check addBundle(talvo_xml_policy *policy, const BundleRow &row, const std::string &path) {
  const Result<Octets> bytes = readFile(path);
  if (!bytes) {
    return bytes.failure();
  }
  if (talvo_xml_policy_addbundle(policy, row.role, bytes->data(), bytes->size()) != 1) {
    return badInput(fileLabel(path) + ": holds nothing that " + row.option + " takes");
  }
  return std::nullopt;
}

Check addBundles(talvo_xml_policy *policy, const PolicyOptions &options) {
  for (const BundleRow &row : kBundles) {
    for (const std::string &path : options.*row.files) {
      if (Check problem = addBundle(policy, row, path)) {
        return problem;
      }
    }
  }
  return std::nullopt;
}

Json textValue(std::string_view text) {
  return Json(talvo_json_newstring(text.data(), text.size()));
}

Check setCover(talvo_xml_policy *policy, const PolicyOptions &options) {
  if (options.cover.empty()) {
    return std::nullopt;
  }
  const Json list(talvo_json_newarray());
  for (const std::string &entry : options.cover) {
    talvo_json_additem(list.get(), textValue(entry).get());
  }
  return setMember(policy, "cover", list, "--cover");
}

Check addNamespaces(talvo_xml_policy *policy, const PolicyOptions &options) {
  for (const std::string &binding : options.namespaces) {
    const size_t equals = binding.find('=');
    const bool isWhole = equals != std::string::npos && equals > 0;
    if (!isWhole ||
        talvo_xml_policy_addnamespace(policy, makeString(binding.substr(0, equals)).get(),
                                      makeString(binding.substr(equals + 1)).get()) != 1) {
      return badInput("--ns: " + shown(binding) + " is not PREFIX=URI");
    }
  }
  return std::nullopt;
}

Check setSigners(talvo_xml_policy *policy, const PolicyOptions &options) {
  if (options.signers.empty()) {
    return std::nullopt;
  }
  const bool isNumber = std::all_of(options.signers.begin(), options.signers.end(),
                                    [](char digit) { return digit >= '0' && digit <= '9'; });
  const Json count = isNumber && options.signers.size() < 10
                         ? Json(talvo_json_newinteger(std::stol(options.signers)))
                         : textValue(options.signers);
  const Json signers(talvo_json_newobject());
  talvo_json_setmember(signers.get(), "atLeast", 7, count.get());
  return setMember(policy, "signers", signers, "--signers");
}

Check setRest(talvo_xml_policy *policy, const PolicyOptions &options) {
  if (!options.at.empty()) {
    if (Check problem = setMember(policy, "time", textValue(options.at), "--at")) {
      return problem;
    }
  }
  if (options.allowSha1) {
    return setMember(policy, "allowSha1", Json(talvo_json_newboolean(1)), "--allow-sha1");
  }
  return std::nullopt;
}

Result<Policy> policyFromFile(const std::string &path) {
  const Result<Octets> text = readFile(path);
  if (!text) {
    return text.failure();
  }
  const Json json(talvo_json_parse(text->data(), text->size()));
  if (json == nullptr) {
    return badInput(fileLabel(path) + ": is no JSON");
  }
  const Result<std::string> folder = folderOf(path);
  if (!folder) {
    return folder.failure();
  }
  talvo_ustring *problem = nullptr;
  Policy policy(talvo_xml_policy_fromjson(json.get(), makeString(*folder).get(), &problem));
  const UString owner(problem);
  if (policy == nullptr) {
    return badInput(fileLabel(path) + ": " + shown(view(owner)));
  }
  return policy;
}

constexpr std::array<std::pair<const char *, uint32_t>, 2> kPresets = {
    {{"standard", TALVO_XML_POLICY_STANDARD}, {"strict", TALVO_XML_POLICY_STRICT}}};

Result<Policy> basePolicy(const std::string &name) {
  for (const auto &[preset, number] : kPresets) {
    if (name == preset) {
      return Policy(talvo_xml_policy_new(number));
    }
  }
  return policyFromFile(name);
}

bool hasOther(const PolicyOptions &options) {
  const bool hasBundle = std::any_of(kBundles.begin(), kBundles.end(), [&](const BundleRow &row) {
    return !(options.*row.files).empty();
  });
  return hasBundle || !options.cover.empty() || !options.namespaces.empty() ||
         !options.at.empty() || !options.signers.empty() || options.allowSha1;
}

}  // namespace

void declarePolicy(CLI::App &command, PolicyOptions &options) {
  command
      .add_option("--policy", options.policy,
                  "What is demanded: plain, standard, strict, or a policy as JSON")
      ->type_name("NAME|FILE")
      ->capture_default_str();
  for (const BundleRow &row : kBundles) {
    addRepeatable(command, row.option, options.*row.files, row.description, "FILE");
  }
  command.add_option("--at", options.at, "The time of verification (default: now)")
      ->type_name("TIME");
  addRepeatable(command, "--cover", options.cover,
                "What must be signed: root (default), any, #ID, or an XPath expression", "WHAT");
  addRepeatable(command, "--ns", options.namespaces, "A prefix for --cover", "PREFIX=URI");
  command
      .add_option("--signers", options.signers, "How many signatures have to be trusted: all or N")
      ->type_name("N");
  command.add_flag("--allow-sha1", options.allowSha1, "Rely on SHA-1, which is broken");
}

Check setMember(talvo_xml_policy *policy, const char *name, const Json &value,
                const std::string &option) {
  talvo_ustring *problem = nullptr;
  const int32_t isSet = talvo_xml_policy_setmember(policy, name, value.get(), nullptr, &problem);
  const UString owner(problem);
  if (isSet != 1) {
    return badInput(option + ": " + shown(view(owner)));
  }
  return std::nullopt;
}

Result<Policy> makePolicy(const PolicyOptions &options) {
  if (options.policy == "plain") {
    if (hasOther(options)) {
      return badInput("--policy plain judges nothing, so no option about trust goes with it");
    }
    return Policy();
  }
  Result<Policy> policy = basePolicy(options.policy);
  if (!policy) {
    return policy;
  }
  if (*policy == nullptr) {
    return failed("out of memory");
  }
  for (const auto fill : {addBundles, setCover, addNamespaces, setSigners, setRest}) {
    if (const Check problem = fill(policy->get(), options)) {
      return *problem;
    }
  }
  return policy;
}

}  // namespace talvo::cli
