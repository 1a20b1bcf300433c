// The verdict on one file.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/file.h"
#include "cli/handle.h"
#include "cli/result.h"
#include "cli/verify_policy.h"

namespace talvo::cli {

// What the user gives besides the files, read once for all of them.
struct VerifySetting {
  std::string basePath;
  std::string idAttribute;
  std::vector<Certificate> certificates;
  Octets hmacKey;
  std::optional<Octets> externalData;
  BigInteger p;  // DSA domain parameters, all three or none
  BigInteger q;
  BigInteger g;
  bool allowNetwork = false;
  bool followManifests = false;
  bool json = false;
  bool html = false;
  Policy policy;  // null: the arithmetic alone
  std::string policyName;
  bool trustsAnybody = false;
};

struct FileVerdict {
  ExitStatus status = ExitStatus::badInput;
  std::string output;   // for standard output
  std::string problem;  // for standard error; empty without one
};

FileVerdict verifyFile(const std::string &path, const VerifySetting &setting);

// The verdict on a file that could not be looked at.
FileVerdict withoutVerdict(const std::string &path, const VerifySetting &setting,
                           const Failure &failure);

}  // namespace talvo::cli
