// A policy as JSON: one row for each member. Whatever is not understood is an error that names it,
// since a rule that was passed over would be one that is not kept.
#include <array>
#include <filesystem>
#include <span>

#include "base/boundary.h"
#include "base/list.h"
#include "base/utf8.h"
#include "policy/bundle.h"
#include "policy/policy.h"
#include "signature/decode/time.h"
#include "transform/reference/file.h"

namespace talvo::policy {
namespace {

constexpr size_t kLargestFile = size_t{64} << 20;

// One member on its way into a policy.
struct Member {
  TalvoXmlPolicy &policy;
  std::string_view name;
  const talvo_json *value;
  std::string_view folder;
  std::string *problem;

  bool refuse(std::string_view why) const {
    *problem = std::string(name) + ": " + std::string(why);
    return false;
  }
};

// Null when it is no text, or one that holds a NUL.
std::string_view textOf(const talvo_json *value) noexcept {
  const char *text = nullptr;
  size_t length = 0;
  if (talvo_json_getstring(value, &text, &length) != 1 ||
      std::string_view(text, length).find('\0') != std::string_view::npos) {
    return {};
  }
  return {text, length};
}

template <bool TalvoXmlPolicy::*Slot>
bool readFlag(const Member &member) {
  int32_t flag = 0;
  if (talvo_json_getboolean(member.value, &flag) != 1) {
    return member.refuse("must be true or false");
  }
  member.policy.*Slot = flag != 0;
  return true;
}

bool readNumber(const Member &member, int64_t lowest, int64_t *number) {
  int64_t read = 0;
  if (talvo_json_getinteger(member.value, &read) != 1 || read < lowest) {
    return member.refuse("must be a whole number from " + std::to_string(lowest));
  }
  *number = read;
  return true;
}

template <int64_t TalvoXmlPolicy::*Slot>
bool readBits(const Member &member) {
  return readNumber(member, 0, &(member.policy.*Slot));
}

template <auto Slot, size_t Count>
bool readChoice(const Member &member, const std::array<std::string_view, Count> &names) {
  const std::string_view text = textOf(member.value);
  std::string list;
  for (size_t i = 0; i < Count; ++i) {
    if (text == names[i]) {
      using Choice = std::remove_reference_t<decltype(member.policy.*Slot)>;
      member.policy.*Slot = static_cast<Choice>(i);
      return true;
    }
    list += (i == 0 ? "" : i + 1 == Count ? " or " : ", ") + std::string(names[i]);
  }
  return member.refuse("must be " + list);
}

bool readKeyValues(const Member &member) {
  return readChoice<&TalvoXmlPolicy::keyValues, 3>(member, {"pinned", "refuse", "accept"});
}
bool readFiles(const Member &member) {
  return readChoice<&TalvoXmlPolicy::files, 3>(member, {"below-base", "refuse", "any"});
}
bool readRevocation(const Member &member) {
  return readChoice<&TalvoXmlPolicy::revocation, 3>(member, {"none", "if-available", "required"});
}
bool readDuplicateIds(const Member &member) {
  return readChoice<&TalvoXmlPolicy::duplicateIds, 2>(member, {"refuse", "warn"});
}
bool readManifests(const Member &member) {
  return readChoice<&TalvoXmlPolicy::manifests, 2>(member, {"ignore", "follow"});
}
bool readTimeStamps(const Member &member) {
  return readChoice<&TalvoXmlPolicy::timeStamps, 2>(member, {"warn", "require"});
}

// Hands each text of a list to `take`; a single text is a list of one where that is allowed.
template <class Take>
bool eachText(const Member &member, Take take) {
  if (talvo_json_gettype(member.value) != TALVO_JSON_ARRAY) {
    return member.refuse("must be a list of texts");
  }
  for (int32_t i = 0; i < talvo_json_getcount(member.value); ++i) {
    const Json item(talvo_json_getitem(member.value, i));
    const std::string_view text = textOf(item.get());
    if (text.empty()) {
      return member.refuse("must be a list of texts");
    }
    if (!take(text)) {
      return false;
    }
  }
  return true;
}

std::string folded(std::string_view text) {
  std::string result;
  for (const char letter : text) {
    if (letter != '-' && letter != ' ') {
      result += letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter;
    }
  }
  return result;
}

// An algorithm is meant by the name that signing parameters use, by its short English name, or by
// its identifier.
bool isNamed(uint32_t kind, int32_t number, std::string_view name) {
  const char *json = talvo_xml_algorithm_getjsonname(kind, number);
  const char *plain = talvo_xml_algorithm_getname(kind, number);
  const UString uri(talvo_xml_algorithm_geturi(kind, number));
  return (json != nullptr && folded(json) == folded(name)) ||
         (plain != nullptr && folded(plain) == folded(name)) ||
         (uri != nullptr && viewOf(uri.get()) == name);
}

template <AllowedSet TalvoXmlPolicy::*Slot, uint32_t Kind>
bool readAlgorithms(const Member &member) {
  AllowedSet allowed;
  allowed.isListed = true;
  const bool isRead = eachText(member, [&](std::string_view name) {
    bool isFound = false;
    for (int32_t number = 0; number < 256; ++number) {
      if (isNamed(Kind, number, name)) {
        allowed.numbers.set(static_cast<size_t>(number));
        isFound = true;
      }
    }
    return isFound || member.refuse("no such algorithm: " + std::string(name));
  });
  if (isRead) {
    member.policy.*Slot = allowed;
  }
  return isRead;
}

bool readFile(const std::string &path, std::string *content) {
  RegularFile file(path.c_str());
  if (!file || file.size() > kLargestFile) {
    return false;
  }
  std::array<uint8_t, 16384> chunk;
  for (;;) {
    const int64_t count = file.read(chunk.data(), chunk.size());
    if (count <= 0) {
      return count == 0;
    }
    content->append(reinterpret_cast<const char *>(chunk.data()), static_cast<size_t>(count));
    if (content->size() > kLargestFile) {
      return false;
    }
  }
}

// PEM text stands for itself; anything else is a path.
bool addFromText(const Member &member, uint32_t role, std::string_view text) {
  if (text.find("-----BEGIN ") != std::string_view::npos) {
    return addBundle(member.policy, role, text) || member.refuse("holds PEM that cannot be used");
  }
  const std::filesystem::path path = std::filesystem::path(member.folder) / text;
  std::string content;
  if (!readFile(path.string(), &content)) {
    return member.refuse("cannot be read: " + std::string(text));
  }
  return addBundle(member.policy, role, content) ||
         member.refuse("holds nothing that can be used here: " + std::string(text));
}

template <uint32_t Role>
bool readBundles(const Member &member) {
  return eachText(member, [&](std::string_view text) { return addFromText(member, Role, text); });
}

bool readTime(const Member &member) {
  const std::string_view text = textOf(member.value);
  Time time(parsePolicyTime(text));
  if (time == nullptr) {
    return member.refuse("must be a date, or a date and time with zone (RFC 3339)");
  }
  member.policy.time = std::move(time);
  return true;
}

struct LimitRow {
  std::string_view name;
  int64_t Limits::*slot;
};

constexpr std::array<LimitRow, 6> kLimits = {{
    {"signatures", &Limits::signatures},
    {"references", &Limits::references},
    {"transforms", &Limits::transforms},
    {"manifestDepth", &Limits::manifestDepth},
    {"xpathOperations", &Limits::xpathOperations},
    {"fetchedBytes", &Limits::fetchedBytes},
}};

// Calls `take` with the name and value of each member of an object.
template <class Take>
bool eachMember(const talvo_json *object, std::string *problem, Take take) {
  for (int32_t i = 0; i < talvo_json_getcount(object); ++i) {
    const UString key(talvo_json_getkey(object, i));
    const std::string_view name = viewOf(key.get());
    const Json value(key ? talvo_json_getmember(object, name.data(), name.size()) : nullptr);
    if (!value) {
      *problem = "out of memory";
      return false;
    }
    if (!take(name, value.get())) {
      return false;
    }
  }
  return true;
}

bool readLimits(const Member &member) {
  if (talvo_json_gettype(member.value) != TALVO_JSON_OBJECT) {
    return member.refuse("must be an object");
  }
  return eachMember(member.value, member.problem,
                    [&](std::string_view name, const talvo_json *value) {
                      const std::string full = "limits." + std::string(name);
                      const Member inner{member.policy, full, value, member.folder, member.problem};
                      for (const LimitRow &row : kLimits) {
                        if (row.name == name) {
                          return readNumber(inner, 0, &(member.policy.limits.*row.slot));
                        }
                      }
                      return inner.refuse("is no member of a policy");
                    });
}

bool readCover(const Member &member) {
  Vec<Text> cover;
  const bool isRead = eachText(member, [&](std::string_view text) {
    cover.emplace_back(text);
    return true;
  });
  if (!isRead) {
    return false;
  }
  if (cover.empty()) {
    return member.refuse("must name something; \"any\" asks for nothing");
  }
  member.policy.cover = std::move(cover);
  return true;
}

bool readAtLeast(const Member &member) {
  if (textOf(member.value) == "all") {
    member.policy.atLeast = 0;
    return true;
  }
  return readNumber(member, 1, &member.policy.atLeast);
}

bool readSigners(const Member &member) {
  if (talvo_json_gettype(member.value) != TALVO_JSON_OBJECT) {
    return member.refuse("must be an object");
  }
  return eachMember(member.value, member.problem,
                    [&](std::string_view name, const talvo_json *value) {
                      const std::string full = "signers." + std::string(name);
                      const Member inner{member.policy, full, value, member.folder, member.problem};
                      if (name == "atLeast") {
                        return readAtLeast(inner);
                      }
                      return name == "expected" ? readBundles<TALVO_XML_POLICY_EXPECTED>(inner)
                                                : inner.refuse("is no member of a policy");
                    });
}

struct MemberRow {
  std::string_view name;
  bool (*read)(const Member &member);
};

constexpr MemberRow kMembers[] = {
    {"digests", readAlgorithms<&TalvoXmlPolicy::digests, 2>},
    {"signatureMethods", readAlgorithms<&TalvoXmlPolicy::signatureMethods, 3>},
    {"canonicalizations", readAlgorithms<&TalvoXmlPolicy::canonicalizations, 1>},
    {"transforms", readAlgorithms<&TalvoXmlPolicy::transforms, 4>},
    {"allowSha1", readFlag<&TalvoXmlPolicy::allowSha1>},
    {"allowDtd", readFlag<&TalvoXmlPolicy::allowDtd>},
    {"minRsaBits", readBits<&TalvoXmlPolicy::minRsaBits>},
    {"minDsaBits", readBits<&TalvoXmlPolicy::minDsaBits>},
    {"minEcBits", readBits<&TalvoXmlPolicy::minEcBits>},
    {"minHmacBits", readBits<&TalvoXmlPolicy::minHmacBits>},
    {"keyValues", readKeyValues},
    {"anchors", readBundles<TALVO_XML_POLICY_ANCHOR>},
    {"intermediates", readBundles<TALVO_XML_POLICY_INTERMEDIATE>},
    {"pins", readBundles<TALVO_XML_POLICY_PIN>},
    {"crls", readBundles<TALVO_XML_POLICY_CRL>},
    {"timeStampAnchors", readBundles<TALVO_XML_POLICY_TIMESTAMP_ANCHOR>},
    {"time", readTime},
    {"keyUsage", readFlag<&TalvoXmlPolicy::keyUsage>},
    {"revocation", readRevocation},
    {"pinIgnoresDates", readFlag<&TalvoXmlPolicy::pinIgnoresDates>},
    {"limits", readLimits},
    {"network", readFlag<&TalvoXmlPolicy::network>},
    {"files", readFiles},
    {"duplicateIds", readDuplicateIds},
    {"cover", readCover},
    {"signers", readSigners},
    {"manifests", readManifests},
    {"timeStamps", readTimeStamps},
};

// The preset comes first, whatever the order of the text.
bool readPreset(const talvo_json *json, uint32_t *preset, std::string *problem) {
  const Json value(talvo_json_getmember(json, "preset", 6));
  *preset = TALVO_XML_POLICY_STANDARD;
  if (!value) {
    *problem = talvo_json_hasmember(json, "preset", 6) == 1 ? "out of memory" : "";
    return problem->empty();
  }
  for (uint32_t number = TALVO_XML_POLICY_PLAIN; number <= TALVO_XML_POLICY_STRICT; ++number) {
    if (textOf(value.get()) == presetName(number)) {
      *preset = number;
      return true;
    }
  }
  *problem = "preset: must be plain, standard or strict";
  return false;
}

talvo_xml_policy *policyFromJson(const talvo_json *json, std::string_view folder,
                                 std::string *problem) {
  uint32_t preset = 0;
  if (talvo_json_gettype(json) != TALVO_JSON_OBJECT) {
    *problem = "a policy is a JSON object";
    return nullptr;
  }
  if (!readPreset(json, &preset, problem)) {
    return nullptr;
  }
  Ref<TalvoXmlPolicy> policy(talvo_xml_policy_new(preset));
  if (!policy) {
    *problem = "out of memory";
    return nullptr;
  }
  const bool isRead =
      eachMember(json, problem, [&](std::string_view name, const talvo_json *value) {
        return name == "preset" || readMember(*policy, name, value, folder, problem);
      });
  return isRead ? policy.release() : nullptr;
}

}  // namespace

talvo_time *parsePolicyTime(std::string_view text) noexcept {
  constexpr size_t kDate = 10;
  constexpr std::string_view kMidnight = "T00:00:00Z";
  if (text.size() != kDate) {
    return decodedateTimeString(text.data(), text.size());
  }
  std::array<char, kDate + kMidnight.size()> whole{};
  text.copy(whole.data(), kDate);
  kMidnight.copy(whole.data() + kDate, kMidnight.size());
  return decodedateTimeString(whole.data(), whole.size());
}

bool readMember(TalvoXmlPolicy &policy, std::string_view name, const talvo_json *value,
                std::string_view folder, std::string *problem) {
  const Member member{policy, name, value, folder, problem};
  for (const MemberRow &row : kMembers) {
    if (row.name == name) {
      if (!row.read(member)) {
        return false;
      }
      return applyTrustRules(policy) || member.refuse("out of memory");
    }
  }
  return member.refuse("is no member of a policy");
}

}  // namespace talvo::policy

using namespace talvo;
using namespace talvo::policy;

namespace {

void handOutProblem(const std::string &text, talvo_ustring **problem) noexcept {
  if (problem != nullptr) {
    *problem = makeString(text).release();
  }
}

}  // namespace

extern "C" {

talvo_xml_policy *talvo_xml_policy_fromjson(const talvo_json *json, const talvo_ustring *folder,
                                            talvo_ustring **problem) noexcept {
  return guard([&]() -> talvo_xml_policy * {
    if (problem != nullptr) {
      *problem = nullptr;
    }
    std::string text;
    talvo_xml_policy *policy = policyFromJson(json, viewOf(folder), &text);
    if (policy == nullptr) {
      handOutProblem(text, problem);
    }
    return policy;
  });
}

int32_t talvo_xml_policy_setmember(talvo_xml_policy *policy, const char *name,
                                   const talvo_json *value, const talvo_ustring *folder,
                                   talvo_ustring **problem) noexcept {
  return guard([&] {
    if (problem != nullptr) {
      *problem = nullptr;
    }
    if (policy == nullptr || name == nullptr || value == nullptr) {
      return 0;
    }
    std::string text;
    const bool isSet = readMember(*policy, name, value, viewOf(folder), &text);
    if (!isSet) {
      handOutProblem(text, problem);
    }
    return isSet ? 1 : 0;
  });
}
}
