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
    {"c14n", 1},   {"c14n-comments", 2},   {"exc", 3},       {"exc-comments", 4},
    {"c14n11", 6}, {"c14n11-comments", 7}, {"exclusive", 3}, {"exclusive-comments", 4},
};

std::string withoutHyphens(std::string_view name) {
  std::string result(name);
  result.erase(std::remove(result.begin(), result.end(), '-'), result.end());
  return result;
}

bool sameName(std::string_view first, std::string_view second) {
  return equalIgnoringCase(withoutHyphens(first), withoutHyphens(second));
}

Result<int32_t> byName(AlgorithmKind kind, std::string_view what, std::string_view name) {
  std::string known;
  for (int32_t number = 0; number < kAlgorithmNumbersEnd; ++number) {
    const char *own = talvo_xml_algorithm_getname(static_cast<uint32_t>(kind), number);
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

std::string algorithmName(AlgorithmKind kind, int32_t number) {
  const char *name = talvo_xml_algorithm_getname(static_cast<uint32_t>(kind), number);
  return name == nullptr ? "unknown" : name;
}

std::string jsonName(AlgorithmKind kind, int32_t number) {
  const char *name = talvo_xml_algorithm_getjsonname(static_cast<uint32_t>(kind), number);
  return name == nullptr ? "" : name;
}

Result<int32_t> digestByName(std::string_view name) {
  return byName(AlgorithmKind::digest, "digest method", name);
}

Result<int32_t> signatureByName(std::string_view name) {
  return byName(AlgorithmKind::signature, "signature method", name);
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
