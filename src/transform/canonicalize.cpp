#include "transform/canonicalize.h"

#include <string_view>
#include <vector>

#include "base/boundary.h"
#include "signature/vocabulary/algorithm.h"
#include "transform/canonical/refusal.h"
#include "transform/canonical/tree_walk.h"
#include "transform/selection.h"
#include "xml/native.h"
#include "xml/node.h"

namespace talvo {
namespace {

C14nMode modeOf(C14nKind kind) noexcept {
  switch (kind) {
    case C14nKind::exclusive:
      return C14nMode::exclusive;
    case C14nKind::inclusive11:
      return C14nMode::inclusive11;
    default:
      return C14nMode::inclusive10;
  }
}

// The texts of a prefix block; none for null.
std::vector<std::string_view> viewsOf(char **prefixes) {
  std::vector<std::string_view> views;
  for (; prefixes != nullptr && *prefixes != nullptr; ++prefixes) {
    views.emplace_back(*prefixes);
  }
  return views;
}

}  // namespace

bool OctetCollector::write(Bytes octets) noexcept {
  return guard([&] {
    octets_.append(reinterpret_cast<const char *>(octets.data()), octets.size());
    return true;
  });
}

bool canonicalizeInto(OctetSink &sink, NodeSet *nodes, int32_t method, char **prefixes) noexcept {
  XmlDoc *document = documentOf(nodes);
  if (!canCanonicalize(method) || !isCanonical(document)) {
    return false;
  }
  return guard([&] {
    const TransformAlgorithm &row = *c14nByNumber(method);
    const std::vector<std::string_view> listed = viewsOf(prefixes);
    Selection selection(nodes);
    const bool isDone = selection.isEmpty() ||
                        canonicalizeTree(sink, nativeDoc(document), selection.tree(),
                                         {modeOf(row.c14n), row.withComments, listed, nullptr});
    return isDone && !selection.hasFailed();
  });
}

bool canonicalizeSubtree(OctetSink &sink, XmlNode *node, int32_t method, char **prefixes) noexcept {
  XmlDoc *document = talvo_xml_node_getdoc(node);
  if (!isInDocument(node, document)) {
    return false;
  }
  XmlNode *apex = node == document ? nullptr : node;
  const OwnedNodeSet nodes(talvo_xml_nodeset_getsubtree(document, apex, 1));
  return canonicalizeInto(sink, nodes.get(), method, prefixes);
}

Blob canonicalize(NodeSet *nodes, int32_t method, char **prefixes) noexcept {
  OctetCollector collector;
  return canonicalizeInto(collector, nodes, method, prefixes) ? collector.take() : nullptr;
}

}  // namespace talvo

using namespace talvo;

talvo_data_blob *talvo_xml_c14nnode(XmlNode *node, uint32_t mode,
                                    const talvo_arraylist *prefixes) noexcept {
  const auto method = static_cast<int32_t>(mode);
  const bool takesPrefixes = prefixes != nullptr && isExclusive(method);
  const PrefixBlock block(takesPrefixes ? getexcc14nparam2(prefixes) : nullptr);
  if (takesPrefixes && !block) {
    return nullptr;
  }
  OctetCollector collector;
  return canonicalizeSubtree(collector, node, method, block.get()) ? collector.take().release()
                                                                   : nullptr;
}
