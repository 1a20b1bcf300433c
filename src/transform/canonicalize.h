// Canonical XML of node sets. The octets go to a sink piece by piece as they arise: whoever digests
// or signs them never holds them all.
#pragma once

#include <string>

#include "talvo_xml.h"

#include "base/bytes.h"
#include "base/handle.h"
#include "transform/canonical/octet_sink.h"
#include "transform/canonical/prefix_list.h"
#include "transform/nodeset.h"

namespace talvo {

// Collects octets.
class OctetCollector final : public OctetSink {
 public:
  bool write(Bytes octets) noexcept override;
  // A new blob of what was written; null when memory is exhausted.
  Blob take() const noexcept { return Blob(talvo_data_blob_new(octets_.data(), octets_.size())); }

 private:
  std::string octets_;
};

// Where a node set must become octets and nobody said how.
constexpr int32_t kDefaultC14n = TALVO_C14N_10;

// The three functions take every method but the minimal one; prefixes count for the exclusive ones
// only and may be null. A canonicalisation can fail after octets were written: then they mean
// nothing.
bool canonicalizeInto(OctetSink &sink, NodeSet *nodes, int32_t method, char **prefixes) noexcept;
// Comments are part of it when the method writes them. A document node stands for the whole
// document; an element that is not linked into its document fails.
bool canonicalizeSubtree(OctetSink &sink, XmlNode *node, int32_t method, char **prefixes) noexcept;
Blob canonicalize(NodeSet *nodes, int32_t method, char **prefixes) noexcept;

}  // namespace talvo
