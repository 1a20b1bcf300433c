// Canonical XML: libxml2 walks the document and writes octets, which go to a sink piece by piece as
// they arise. Whoever digests or signs them never holds them all.
#pragma once

#include <optional>
#include <string>

#include "talvo_xml.h"

#include "base/bytes.h"
#include "base/handle.h"
#include "transform/nodeset.h"
#include "transform/prefix_list.h"

namespace talvo {

// Takes octets piece by piece; false stops the work, which then fails.
class OctetSink {
 public:
  virtual bool write(Bytes octets) noexcept = 0;

 protected:
  ~OctetSink() = default;
};

// Collects octets.
class OctetCollector final : public OctetSink {
 public:
  bool write(Bytes octets) noexcept override;
  // A new blob of what was written; null when memory is exhausted.
  Blob take() const noexcept { return Blob(talvo_data_blob_new(octets_.data(), octets_.size())); }

 private:
  std::string octets_;
};

constexpr int32_t kDefaultC14n = 1;  // where a node set must become octets and nobody said how

// The three functions take methods 1 to 4, 6 and 7; prefixes count for 3 and 4 only and may be
// null. A canonicalisation can fail after octets were written: then they mean nothing.
bool canonicalizeInto(OctetSink &sink, NodeSet *nodes, int32_t method, char **prefixes) noexcept;
// Comments are part of it when the method writes them. A document node stands for the whole
// document; an element that is not linked into its document fails.
bool canonicalizeSubtree(OctetSink &sink, XmlNode *node, int32_t method, char **prefixes) noexcept;
Blob canonicalize(NodeSet *nodes, int32_t method, char **prefixes) noexcept;

// What inspecting a document found.
struct Fitness {
  bool isCanonical = true;   // no relative namespace URI, no entity reference
  bool isAffordable = true;  // for inclusive canonicalisation

  bool allows(bool isInclusive) const noexcept {
    return isCanonical && (isAffordable || !isInclusive);
  }
};

// While one of these lives, its document is inspected once and not again for the next subtree: with
// many references in one document that would cost the square of their number. The owner promises
// that the document lives and gets no element, attribute or namespace declaration meanwhile; text
// may be added. Scopes nest; the outermost one remembers, for its own thread.
class FitnessScope {
 public:
  explicit FitnessScope(const XmlDoc *document) noexcept;
  ~FitnessScope();
  FitnessScope(const FitnessScope &) = delete;
  FitnessScope &operator=(const FitnessScope &) = delete;

  // Whether libxml2 would canonicalise the document, or a part of it, at an acceptable cost.
  static bool isFit(const XmlDoc *document, bool isInclusive) noexcept;

 private:
  const XmlDoc *document_;
  std::optional<Fitness> fitness_;
  bool isOutermost_;
};

}  // namespace talvo
