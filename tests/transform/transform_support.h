// What the tests of this folder share: inputs and results of transforms, and decoded transforms without a signature
// around them.
#pragma once

#include <string>

#include "signature/vocabulary/algorithm.h"
#include "support/documents.h"
#include "transform/canonicalize.h"
#include "transform/reference/transform_lookup.h"
#include "transform/transform.h"

namespace talvo::test {

constexpr std::string_view kDs = "http://www.w3.org/2000/09/xmldsig#";

inline std::string octetsOf(const talvo_data_blob *blob) {
  return blob == nullptr ? "(null)" : textOf(bytesOf(blob));
}

// The octets of a transform's result, which is released; "(nodes)" for a node set.
inline std::string take(TransformData *data) {
  const TransformInput owner(data);
  if (owner == nullptr) {
    return "(null)";
  }
  return owner->nodes != nullptr ? "(nodes)" : octetsOf(owner->octets.get());
}

inline OwnedNodeSet wholeDocument(XmlDoc *document, bool withComments = true) {
  return OwnedNodeSet(talvo_xml_nodeset_getwholexml(document, 0, withComments ? 1 : 0));
}

inline OwnedNodeSet subtreeOf(XmlDoc *document, XmlNode *node, bool withComments = true) {
  return OwnedNodeSet(talvo_xml_nodeset_getsubtree(document, node, withComments ? 1 : 0));
}

// `rule` behind `chain`; the result is the whole chain.
inline OwnedNodeSet chained(OwnedNodeSet chain, NodeSet *rule) {
  OwnedNodeSet tail(rule);
  return talvo_xml_nodeset_add(chain.get(), rule) == rule ? std::move(tail) : nullptr;
}

inline std::string c14n(NodeSet *nodes, int32_t method = 1, char **prefixes = nullptr) {
  return octetsOf(canonicalize(nodes, method, prefixes).get());
}

inline TransformInput nodesInput(OwnedNodeSet nodes, bool isSameDocument = true) {
  return TransformInput(talvo_xml_transform_newnodeset(nodes.release(), isSameDocument ? 1 : 0));
}

inline TransformInput octetsInput(std::string_view octets) {
  return TransformInput(talvo_xml_transform_newocts(octets.data(), octets.size(), 0));
}

// A transform as decoding leaves it, for a Transform element of a document.
inline Owned<Transform> transformOf(XmlDoc *document, std::string_view transformPath,
                                    std::string_view signaturePath = "/*") {
  Owned<Transform> transform = make<Transform>("test");
  transform->element = find(document, transformPath);
  transform->signatureElement = find(document, signaturePath);
  talvo_ustring *algorithm =
      talvo_xml_node_getattributevalue(transform->element, str("Algorithm").get(), nullptr);
  transform->algorithm.reset(algorithm);
  return transform;
}

}  // namespace talvo::test
