// What the error codes of the library mean, in words.
#pragma once

#include <cstdint>
#include <string>

namespace talvo::cli {

// Of the functions that verify.
std::string verifyErrorText(uint32_t error);
// Of the functions that sign and that add properties to a signature.
std::string signErrorText(uint32_t error);

}  // namespace talvo::cli
