// What a verifier demands. A policy is filled, then only asked; one row of the table of members
// says how each of them is read from JSON.
#pragma once

#include <bitset>
#include <string>

#include "talvo_xml.h"

#include "base/handle.h"
#include "base/refcount.h"
#include "policy/heap.h"
#include "signature/record/record.h"
#include "signature/vocabulary/algorithm.h"

namespace talvo::policy {

using Trust = Handle<TalvoPKITrust, TalvoPKITrustFree>;
using PublicKey = Handle<TalvoPKIPublicKey, TalvoPKICryptoFreePublicKey>;

enum class KeyValues : int32_t { pinned, refuse, accept };
enum class Files : int32_t { belowBase, refuse, any };
enum class Severity : int32_t { refuse, warn };
enum class Manifests : int32_t { ignore, follow };
enum class TimeStamps : int32_t { warn, require };
enum class Revocation : int32_t { none, ifAvailable, required };

struct Limits {
  int64_t signatures = 100;
  int64_t references = 1000;  // of one signature, those of its Manifests included
  int64_t transforms = 5;     // of one reference
  int64_t manifestDepth = 4;
  int64_t xpathOperations = 10'000'000;  // of one signature
  int64_t fetchedBytes = int64_t{1} << 30;
};

// Numbers of algorithms that a list names; without list all that are known.
struct AllowedSet {
  bool isListed = false;
  std::bitset<256> numbers;

  bool has(int32_t number) const noexcept {
    return !isListed || (number >= 0 && number < 256 && numbers[static_cast<size_t>(number)]);
  }
};

struct NamespaceBinding {
  Text prefix;
  Text uri;
};

}  // namespace talvo::policy

struct TalvoXmlPolicy : talvo::Counted {
  uint32_t preset = TALVO_XML_POLICY_STANDARD;
  // Whether anything is judged besides the arithmetic.
  bool isJudging = true;

  talvo::policy::AllowedSet digests;
  talvo::policy::AllowedSet signatureMethods;
  talvo::policy::AllowedSet canonicalizations;
  talvo::policy::AllowedSet transforms;
  bool allowSha1 = false;
  bool mayAllowSha1 = true;  // false: allowSha1 has no effect
  bool allowDtd = false;
  int64_t minRsaBits = 2048;
  int64_t minDsaBits = 2048;
  int64_t minEcBits = 256;
  int64_t minHmacBits = 0;  // 0: the greater of 80 and half the hash

  talvo::policy::KeyValues keyValues = talvo::policy::KeyValues::pinned;
  talvo::policy::Trust trust;
  talvo::List pins;        // of TalvoPKICert
  talvo::List pinnedKeys;  // of TalvoPKIPublicKey
  talvo::List addedCerts;  // of TalvoPKICert: may hold the key
  talvo::List expected;    // of TalvoPKICert
  talvo::List tsaAnchors;  // of TalvoPKICert
  talvo::List anchors;     // of TalvoPKICert, again, for time-stamps
  talvo::Time time;        // null: now
  talvo::Blob hmacKey;
  talvo::BigInteger domainParameters[3];
  bool keyUsage = true;
  talvo::policy::Revocation revocation = talvo::policy::Revocation::ifAvailable;
  bool pinIgnoresDates = false;

  talvo::policy::Limits limits;
  bool network = false;
  talvo::policy::Files files = talvo::policy::Files::belowBase;
  talvo_xml_resolver resolver = nullptr;
  void *resolverData = nullptr;

  talvo::policy::Severity duplicateIds = talvo::policy::Severity::refuse;
  talvo::policy::Vec<talvo::policy::Text> cover;  // empty: root
  talvo::policy::Vec<talvo::policy::NamespaceBinding> namespaces;
  bool refuseAnyComment = false;
  int64_t atLeast = 0;  // 0: all
  talvo::policy::Manifests manifests = talvo::policy::Manifests::ignore;
  talvo::policy::TimeStamps timeStamps = talvo::policy::TimeStamps::warn;
  bool keepOctets = false;

  bool allowsSha1() const noexcept { return allowSha1 && mayAllowSha1; }
};

namespace talvo::policy {

// Of a new policy. May throw when memory is exhausted.
void applyPreset(TalvoXmlPolicy &policy, uint32_t preset);
const char *presetName(uint32_t preset) noexcept;

// Whether a name of an algorithm says that it rests on a broken hash, and on SHA-1.
bool isBroken(std::string_view algorithmName) noexcept;
bool isSha1(std::string_view algorithmName) noexcept;

// Reads one member. False with a problem in words that names it. May throw when memory is
// exhausted.
bool readMember(TalvoXmlPolicy &policy, std::string_view name, const talvo_json *value,
                std::string_view folder, std::string *problem);
// A date (its first second, UTC), or a date and time with zone; a new time, or null.
talvo_time *parsePolicyTime(std::string_view text) noexcept;
// The rules of the policy for certificates, handed to its trust object.
bool applyTrustRules(TalvoXmlPolicy &policy) noexcept;

}  // namespace talvo::policy
