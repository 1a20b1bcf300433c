// Algorithms by the names that a user types and reads. The library's tables answer; only the
// canonicalisation modes have short names of the program's own.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "talvo_xml.h"

#include "cli/result.h"

namespace talvo::cli {

// All numbers of the library lie below.
constexpr int32_t kAlgorithmNumbersEnd = 128;

// The library's name, or "unknown".
std::string algorithmName(uint32_t kind, int32_t number);

// The number for a name of the library or of the JSON parameters, in any case and with or without
// hyphens.
Result<int32_t> digestByName(std::string_view name);
Result<int32_t> signatureByName(std::string_view name);

// The names of the canonicalisation modes, for help texts: "c14n, c14n-comments, ...".
std::string c14nModeNames();
Result<uint32_t> c14nModeByName(std::string_view name);
// The JSON parameters' name for the algorithm; empty where it has none.
std::string jsonName(uint32_t kind, int32_t number);

inline bool isExclusive(uint32_t c14nMode) {
  return c14nMode == TALVO_C14N_EXCLUSIVE || c14nMode == TALVO_C14N_EXCLUSIVE_WITH_COMMENTS;
}
inline bool isHmac(int32_t signatureMethod) {
  return signatureMethod >= TALVO_SIGNATURE_HMAC_SHA1 &&
         signatureMethod <= TALVO_SIGNATURE_HMAC_RIPEMD160;
}

}  // namespace talvo::cli
