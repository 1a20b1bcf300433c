#include "cli/algorithm.h"

#include <algorithm>

#include "talvo_xml.h"

#include "cli/text.h"

namespace talvo::cli {

namespace {

struct C14nMode {
  std::string_view name;
  uint32_t number;
};

constexpr C14nMode kC14nModes[] = {
    {"c14n", TALVO_C14N_10},
    {"c14n-comments", TALVO_C14N_10_WITH_COMMENTS},
    {"exc", TALVO_C14N_EXCLUSIVE},
    {"exc-comments", TALVO_C14N_EXCLUSIVE_WITH_COMMENTS},
    {"c14n11", TALVO_C14N_11},
    {"c14n11-comments", TALVO_C14N_11_WITH_COMMENTS},
    {"exclusive", TALVO_C14N_EXCLUSIVE},
    {"exclusive-comments", TALVO_C14N_EXCLUSIVE_WITH_COMMENTS},
};

std::string withoutHyphens(std::string_view name) {
  std::string result(name);
  result.erase(std::remove(result.begin(), result.end(), '-'), result.end());
  return result;
}

bool sameName(std::string_view first, std::string_view second) {
  return equalIgnoringCase(withoutHyphens(first), withoutHyphens(second));
}

Result<int32_t> byName(uint32_t kind, std::string_view what, std::string_view name) {
  std::string known;
  for (int32_t number = 0; number < kAlgorithmNumbersEnd; ++number) {
    const char *own = talvo_xml_algorithm_getname(kind, number);
    if (own == nullptr) {
      continue;
    }
    if (sameName(name, own) || sameName(name, jsonName(kind, number))) {
      return number;
    }
    known += (known.empty() ? "" : ", ") + std::string(own);
  }
  return badInput(shown(name) + ": is no " + std::string(what) + "; known are " + known);
}

}  // namespace

std::string algorithmName(uint32_t kind, int32_t number) {
  const char *name = talvo_xml_algorithm_getname(kind, number);
  return name == nullptr ? "unknown" : name;
}

std::string jsonName(uint32_t kind, int32_t number) {
  const char *name = talvo_xml_algorithm_getjsonname(kind, number);
  return name == nullptr ? "" : name;
}

Result<int32_t> digestByName(std::string_view name) {
  return byName(TALVO_ALGORITHM_DIGEST, "digest method", name);
}

Result<int32_t> signatureByName(std::string_view name) {
  return byName(TALVO_ALGORITHM_SIGNATURE, "signature method", name);
}

std::string c14nModeNames() {
  std::string names;
  for (const C14nMode &mode : kC14nModes) {
    names += (names.empty() ? "" : ", ") + std::string(mode.name);
  }
  return names;
}

Result<uint32_t> c14nModeByName(std::string_view name) {
  for (const C14nMode &mode : kC14nModes) {
    if (mode.name == name) {
      return mode.number;
    }
  }
  return badInput(shown(name) + ": is no canonicalisation; known are " + c14nModeNames());
}

}  // namespace talvo::cli
