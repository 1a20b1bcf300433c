// What the canonical writer is told: names, declarations, attributes, as views that need to be
// valid during the call only.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace talvo {

enum class C14nMode { inclusive10, inclusive11, exclusive };

// Makes of a base URI and one that is relative to it, in place, what both together name.
enum class Joined { done, impossible, outOfMemory };
using JoinBase = Joined (*)(std::string *uri, std::string_view base);

struct C14nForm {
  C14nMode mode = C14nMode::inclusive10;
  bool withComments = false;
  // Of the exclusive mode: prefixes to be treated as the inclusive modes do. "#default" and the
  // empty prefix stand for the default namespace.
  std::span<const std::string_view> prefixes;
  JoinBase joinBase = nullptr;  // needed by C14N 1.1
};

// A namespace as it is declared, and as a name is bound to it. `declaration` tells declarations
// apart where a name can be bound to another one than its prefix says; a parser, whose names
// cannot, leaves it null.
struct NamespaceView {
  std::string_view prefix;  // empty for the default namespace
  std::string_view uri;
  const void *declaration = nullptr;
};

struct NameView {
  std::string_view local;
  bool hasNamespace = false;
  NamespaceView ns;
};

struct AttributeView {
  NameView name;
  std::string_view value;  // without data when the attribute has no text, not even an empty one
  bool isSelected = true;
};

struct ElementView {
  NameView name;
  std::span<const NamespaceView> declarations;  // of this element alone
  std::span<const AttributeView> attributes;
  bool isSelected = true;
};

// Says which namespaces in scope at the element that is being told are selected.
class NamespaceFilter {
 public:
  virtual bool keeps(const void *declaration) = 0;

 protected:
  ~NamespaceFilter() = default;
};

constexpr std::string_view kXmlPrefix = "xml";
constexpr std::string_view kXmlUri = "http://www.w3.org/XML/1998/namespace";

// The namespace of xml:lang and its like, which nobody declares.
inline bool isXmlNamespace(const NamespaceView &ns) noexcept {
  return ns.prefix == kXmlPrefix && ns.uri == kXmlUri;
}

}  // namespace talvo
