// The verdict on one file by a policy.
#pragma once

#include "cli/verify_file.h"

namespace talvo::cli {

FileVerdict judgeFile(const std::string &path, const VerifySetting &setting);

}  // namespace talvo::cli
