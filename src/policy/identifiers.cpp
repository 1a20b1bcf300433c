// Identifiers that stand twice. What a reference to one of them digests is then a matter of who
// looks: the verifier may find one element, and the program that acts on the document another.
#include <algorithm>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "base/list.h"
#include "base/utf8.h"
#include "policy/run.h"

namespace talvo::policy {
namespace {

constexpr std::string_view kXmlNamespace = "http://www.w3.org/XML/1998/namespace";

// A name in a namespace; the views point into the document.
struct Name {
  std::string_view local;
  std::string_view space;

  bool operator==(const Name &other) const noexcept = default;
};

Name nameOf(const XmlNode *attribute) noexcept {
  return {localName(attribute), namespaceUri(attribute)};
}

// The value of an attribute without a copy where it is one text; else a copy.
class Value {
 public:
  explicit Value(const XmlNode *attribute) noexcept : text_(talvo_xml_node_getvalue(attribute)) {}

  bool isRead() const noexcept { return text_ != nullptr; }
  std::string_view view() const noexcept { return viewOf(text_.get()); }

 private:
  UString text_;
};

bool isNamedLikeId(std::string_view local) noexcept {
  return local == "Id" || local == "ID" || local == "id";
}

class IdScan {
 public:
  explicit IdScan(Run &run) : run_(run) {}

  void scan();

 private:
  template <class Visit>
  void eachAttribute(Visit visit);
  void noteName(XmlNode *attribute, bool isInSignature);
  void noteTargets();
  void noteTarget(const Reference &reference);
  void check(XmlNode *attribute, bool isInSignature);
  bool isIdentifier(const Name &name, bool isInSignature) const noexcept;
  void report(XmlNode *attribute);

  Run &run_;
  std::vector<Name> declared_;  // names of attributes that are IDs by declaration
  std::unordered_set<std::string> targets_;
  std::unordered_set<std::string> seen_;         // values of identifiers
  std::unordered_set<std::string> seenTargets_;  // values that a reference names
};

// Visits attributes that may matter, with whether they stand in a ds:Signature.
template <class Visit>
void IdScan::eachAttribute(Visit visit) {
  XmlNode *root = talvo_xml_doc_getrootelement(run_.document());
  const XmlNode *signature = nullptr;  // the outermost one around
  XmlNode *node = root;
  while (node != nullptr) {
    if (kindOf(node) == NodeKind::element) {
      const bool isOpening = signature == nullptr && talvo_xml_signature_issignaturenode(node) == 1;
      signature = isOpening ? node : signature;
      for (XmlNode *attribute = talvo_xml_node_getattribute(node); attribute != nullptr;
           attribute = talvo_xml_node_getnextsibling(attribute)) {
        visit(attribute, signature != nullptr);
      }
    }
    XmlNode *next = firstChildOf(node);
    if (next == nullptr && signature != nullptr) {
      next = nextOutside(node, signature);
      node = next == nullptr ? const_cast<XmlNode *>(signature) : node;
      signature = next == nullptr ? nullptr : signature;
    }
    node = next != nullptr ? next : nextOutside(node, root);
  }
}

void IdScan::noteName(XmlNode *attribute, bool isInSignature) {
  if (!isIdAttribute(attribute)) {
    return;
  }
  const Name name = nameOf(attribute);
  const bool isUsual =
      (isInSignature && name == Name{"Id", {}}) || name == Name{"id", kXmlNamespace};
  if (!isUsual && std::find(declared_.begin(), declared_.end(), name) == declared_.end()) {
    declared_.push_back(name);
  }
}

void IdScan::noteTarget(const Reference &reference) {
  std::string_view uri = viewOf(reference.uri.get());
  if (!uri.starts_with('#')) {
    return;
  }
  uri.remove_prefix(1);
  constexpr std::string_view kXPointer = "xpointer(id(";
  if (uri.starts_with(kXPointer) && uri.size() > kXPointer.size() + 4) {
    uri = uri.substr(kXPointer.size() + 1, uri.size() - kXPointer.size() - 4);
  }
  targets_.emplace(uri);
}

void IdScan::noteTargets() {
  for (const SignatureEntry &entry : run_.report().signatures) {
    if (entry.record == nullptr) {
      continue;
    }
    for (const Reference *reference : items<Reference>(entry.record->signedInfo->references)) {
      noteTarget(*reference);
    }
  }
}

bool IdScan::isIdentifier(const Name &name, bool isInSignature) const noexcept {
  return (isInSignature && name == Name{"Id", {}}) || name == Name{"id", kXmlNamespace} ||
         std::find(declared_.begin(), declared_.end(), name) != declared_.end();
}

void IdScan::report(XmlNode *attribute) {
  const Value value(attribute);
  if (run_.policy().duplicateIds == Severity::refuse) {
    run_.refuse(-1, {Reason::duplicateId, value.view()});
  } else {
    run_.warn(-1, {Reason::idTwice, value.view()});
  }
}

void IdScan::check(XmlNode *attribute, bool isInSignature) {
  const Name name = nameOf(attribute);
  const bool isId = isIdentifier(name, isInSignature);
  if (!isId && !isNamedLikeId(name.local)) {
    return;
  }
  const Value value(attribute);
  if (!value.isRead()) {
    return;
  }
  const std::string text(value.view());
  const bool isTwice = isId && !seen_.insert(text).second;
  const bool isTargetTwice = targets_.contains(text) && !seenTargets_.insert(text).second;
  if (isTwice || isTargetTwice) {
    report(attribute);
  }
}

void IdScan::scan() {
  noteTargets();
  eachAttribute([this](XmlNode *attribute, bool isInside) { noteName(attribute, isInside); });
  eachAttribute([this](XmlNode *attribute, bool isInside) {
    if (run_.report().reasons.size() < 100) {
      check(attribute, isInside);
    }
  });
}

}  // namespace

void examineIdentifiers(Run &run) {
  IdScan(run).scan();
}

}  // namespace talvo::policy
