// What a verification found, as plain structs; the getters, the JSON and the page read it.
#pragma once

#include <string>

#include "base/memory.h"
#include "policy/coverage.h"
#include "policy/path.h"
#include "policy/policy.h"
#include "policy/reason.h"

namespace talvo::policy {

struct ReferenceEntry {
  XmlNode *element = nullptr;
  bool hasUri = false;
  Text uri;
  Text id;
  Text type;
  Vec<Text> transforms;  // identifiers
  int32_t digestMethod = -1;
  Text digestUri;
  Vec<uint8_t> expected;
  Vec<uint8_t> computed;
  int32_t verdict = TALVO_XML_REFERENCE_NOT_EXAMINED;
  int64_t digested = -1;
  Vec<uint8_t> octets;  // when they are kept
  int32_t depth = 0;    // in how many Manifests it stands
};

struct TimeStampEntry {
  bool isSound = false;
  bool isTrusted = false;
  Time time;
  Certificate authority;
};

struct PropertyEntry {
  Text name;
  bool isSigned = false;
};

struct SignatureEntry {
  XmlNode *element = nullptr;
  SignatureRecord record;  // null when it cannot be decoded
  Text id;
  int32_t method = -1;
  bool isCounterSignature = false;
  bool hasValue = false;   // the signature value verified
  bool isTrusted = false;  // and so is the signer
  bool isValid = false;    // nothing at all speaks against it
  uint32_t error = 0;      // the plain code of the first failure
  int32_t keySource = TALVO_XML_KEY_NONE;
  Certificate certificate;
  List chain;  // of TalvoPKICert
  uint32_t findings = 0;
  Vec<Note> reasons;
  Vec<ReferenceEntry> references;
  Vec<TimeStampEntry> timeStamps;
  Vec<PropertyEntry> properties;
};

}  // namespace talvo::policy

struct TalvoXmlReport {
  XmlDoc *document = nullptr;
  uint32_t preset = 0;
  int32_t verdict = TALVO_XML_VERDICT_INVALID;
  uint32_t error = 0;
  talvo::Time time;  // of verification
  talvo::policy::Vec<talvo::policy::Note> reasons;
  talvo::policy::Vec<talvo::policy::Note> warnings;
  talvo::policy::Vec<talvo::policy::SignatureEntry> signatures;
  talvo::policy::Coverage coverage;
  talvo::policy::Uncovered uncovered;
};

namespace talvo::policy {

// The sentence of a reason with its place. May throw when memory is exhausted.
std::string sentenceOf(const Note &note, NodePaths &paths);
// "valid", "refused", "invalid".
const char *verdictName(int32_t verdict) noexcept;
int32_t verdictOf(const SignatureEntry &entry) noexcept;
std::string isoTime(const talvo_time *time);

}  // namespace talvo::policy
