// What the tests of this folder share: strings from literals, texts of results, quick look-ups, and
// decoded transforms without a signature around them.
#pragma once

#include <string>

#include "talvo_xml.h"

#include "base/utf8.h"
#include "signature/vocabulary/algorithm.h"
#include "support/library_test.h"
#include "transform/canonicalize.h"
#include "transform/reference/transform_lookup.h"
#include "transform/transform.h"

namespace talvo::test {

constexpr std::string_view kDs = "http://www.w3.org/2000/09/xmldsig#";

inline UString str(std::string_view text) {
  return makeString(text);
}

inline std::string take(talvo_ustring *string) {
  const UString owner(string);
  return owner ? std::string(viewOf(string)) : "(null)";
}

inline std::string take(char *text) {
  const TextBuffer owner(text);
  return owner ? std::string(text) : "(null)";
}

inline std::string octetsOf(const talvo_data_blob *blob) {
  const Bytes bytes = bytesOf(blob);
  return blob == nullptr ? "(null)" : std::string(bytes.begin(), bytes.end());
}

inline std::string take(talvo_data_blob *blob) {
  return octetsOf(Blob(blob).get());
}

// The octets of a transform's result, which is released; "(nodes)" for a node set.
inline std::string take(TransformData *data) {
  const TransformInput owner(data);
  if (owner == nullptr) {
    return "(null)";
  }
  return owner->nodes != nullptr ? "(nodes)" : octetsOf(owner->octets.get());
}

// The first node that the XPath expression selects; its prefixes are those of the root element.
inline XmlNode *find(XmlDoc *document, std::string_view expression) {
  talvo_arraylist *list = nullptr;
  XmlNode *root = talvo_xml_doc_getrootelement(document);
  if (talvo_xml_node_findxpath(root, str(expression).get(), &list) != 1) {
    return nullptr;
  }
  const List found(list);
  return static_cast<XmlNode *>(talvo_arraylist_getitem(list, 0));
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
