// The options of verify that say what is demanded, and the policy that they make.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cli/command.h"
#include "cli/file.h"
#include "cli/handle.h"
#include "cli/result.h"

namespace talvo::cli {

using Policy = Handle<talvo_xml_policy, talvo_xml_policy_free>;

struct PolicyOptions {
  std::string policy = "standard";
  std::vector<std::string> trust;
  std::vector<std::string> trustTsa;
  std::vector<std::string> intermediates;
  std::vector<std::string> pins;
  std::vector<std::string> crls;
  std::vector<std::string> expected;
  std::vector<std::string> cover;
  std::vector<std::string> namespaces;
  std::string at;
  std::string signers;
  bool allowSha1 = false;
};

void declarePolicy(CLI::App &command, PolicyOptions &options);

// Null for `plain`, which judges nothing and takes none of the other options.
Result<Policy> makePolicy(const PolicyOptions &options);

// Sets a member of a policy as in JSON.
Check setMember(talvo_xml_policy *policy, const char *name, const Json &value,
                const std::string &option);

}  // namespace talvo::cli
