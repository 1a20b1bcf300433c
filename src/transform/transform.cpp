// The transforms themselves: canonicalisation, Base64, and the two that narrow a node set.
#include "transform/transform.h"

#include <array>
#include <string_view>
#include <utility>

#include <libxml/tree.h>

#include "base/base64_decoder.h"
#include "base/boundary.h"
#include "transform/selection.h"
#include "xml/native.h"
#include "xml/node.h"

namespace talvo {
namespace {

constexpr const char *kSource = "transform";

TransformData *newOctets(Blob octets, bool isSameDocument) noexcept {
  return octets == nullptr
             ? nullptr
             : make<TransformData>(kSource, nullptr, std::move(octets), isSameDocument).release();
}

// Wraps a node set, and, where no further step follows, makes octets of it.
TransformData *finish(OwnedNodeSet nodes, int32_t isLast, bool isSameDocument) noexcept {
  TransformInput result(talvo_xml_transform_newnodeset(nodes.release(), isSameDocument ? 1 : 0));
  return isLast != 0 ? talvo_xml_siganture_c14n(result.get(), 1, nullptr) : result.release();
}

// The chain with one more rule; null when there is none or it cannot be linked.
OwnedNodeSet extend(OwnedNodeSet nodes, NodeSet *newRule) noexcept {
  OwnedNodeSet rule(newRule);
  if (talvo_xml_nodeset_add(nodes.get(), rule.get()) == nullptr) {
    return nullptr;
  }
  return rule;  // it holds a reference of its own on the chain
}

XmlNode *elementOf(void *parameter) noexcept {
  return parameter == nullptr ? nullptr : *static_cast<XmlNode **>(parameter);
}

bool envelops(const TransformData &input, XmlNode *signature) noexcept {
  return input.nodes != nullptr && input.isSameDocument &&
         talvo_xml_nodeset_contains(input.nodes.get(), signature,
                                    talvo_xml_node_getparent(signature)) == 1;
}

// ---- Base64 ----

// Decodes Base64 that arrives in pieces, and hands it on in blocks.
class Base64Sink {
 public:
  explicit Base64Sink(OctetSink &sink) noexcept : sink_(sink) {}

  bool write(std::string_view text) noexcept;
  bool isComplete() const noexcept { return decoder_.isComplete(); }
  bool isEmpty() const noexcept { return isEmpty_; }

 private:
  static constexpr size_t kPiece = 16384;

  OctetSink &sink_;
  Base64Decoder decoder_;
  bool isEmpty_ = true;
  std::array<uint8_t, Base64Decoder::outputBound(kPiece)> block_;
};

bool Base64Sink::write(std::string_view text) noexcept {
  while (!text.empty()) {
    const std::string_view piece = text.substr(0, kPiece);
    uint8_t *end = block_.data();
    if (!decoder_.feed(piece.data(), piece.size(), end)) {
      return false;
    }
    const auto length = static_cast<size_t>(end - block_.data());
    if (length > 0 && !sink_.write({block_.data(), length})) {
      return false;
    }
    isEmpty_ = isEmpty_ && length == 0;
    text.remove_prefix(piece.size());
  }
  return true;
}

bool isText(const xmlNode *node) noexcept {
  return node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE;
}

bool writeSelectedText(Base64Sink &sink, NodeSet *nodes) noexcept {
  return guard([&] {
    Selection selection(nodes);
    const bool isWritten = selection.forEachNode([&sink](xmlNode *node) {
      const bool isWanted = isText(node) && xmlIsBlankNode(node) == 0;
      return !isWanted || sink.write(viewOf(node->content));
    });
    return isWritten && !selection.hasFailed();
  });
}

}  // namespace

OwnedNodeSet nodesOf(const TransformData &input) noexcept {
  if (input.nodes != nullptr) {
    return OwnedNodeSet(talvo_xml_nodeset_dup(input.nodes.get()));
  }
  const Bytes octets = bytesOf(input.octets.get());
  // Octets that a reference names are parsed without reaching for the network, whatever its flags.
  Handle<XmlDoc, talvo_xml_doc_free> document(talvo_xml_parse_ex(
      octets.data(), static_cast<int64_t>(octets.size()), TALVO_PARSE_NO_NETWORK));
  OwnedNodeSet nodes(talvo_xml_nodeset_getwholexml(document.get(), 1, 1));
  if (nodes != nullptr) {
    document.release();  // the set owns it now
  }
  return nodes;
}

bool canonicalizeData(OctetSink &sink, const TransformData &data, int32_t method,
                      char **prefixes) noexcept {
  const OwnedNodeSet nodes = nodesOf(data);
  return nodes != nullptr && canonicalizeInto(sink, nodes.get(), method, prefixes);
}

bool decodeBase64Into(OctetSink &sink, const TransformData &input) noexcept {
  Base64Sink base64(sink);
  if (input.nodes != nullptr) {
    return writeSelectedText(base64, input.nodes.get()) && base64.isComplete();
  }
  // Unlike a node set without text, octets without a digit are no Base64.
  const Bytes octets = bytesOf(input.octets.get());
  return base64.write({reinterpret_cast<const char *>(octets.data()), octets.size()}) &&
         base64.isComplete() && !base64.isEmpty();
}

}  // namespace talvo

using namespace talvo;

TransformData *talvo_xml_transform_newnodeset(NodeSet *nodes, int32_t isSameDocument) noexcept {
  OwnedNodeSet adopted(nodes);
  if (adopted == nullptr) {
    return nullptr;
  }
  return make<TransformData>(kSource, std::move(adopted), nullptr, isSameDocument != 0).release();
}

TransformData *talvo_xml_transform_newocts(const void *bytes, size_t length,
                                           int32_t isSameDocument) noexcept {
  return newOctets(Blob(talvo_data_blob_new(bytes, length)), isSameDocument != 0);
}

void talvo_xml_transform_free(TransformData *data) noexcept {
  destroy(data);
}

TransformData *talvo_xml_siganture_excute_c14n(int32_t method, const TransformData *input, int32_t,
                                               char **prefixes) noexcept {
  OctetCollector collector;
  if (input == nullptr || !canonicalizeData(collector, *input, method, prefixes)) {
    return nullptr;
  }
  return newOctets(collector.take(), input->isSameDocument);
}

TransformData *talvo_xml_siganture_c14n(const TransformData *input, int32_t isLast,
                                        void *) noexcept {
  return talvo_xml_siganture_excute_c14n(TALVO_C14N_10, input, isLast, nullptr);
}

TransformData *talvo_xml_siganture_c14n_with_comments(const TransformData *input, int32_t isLast,
                                                      void *) noexcept {
  return talvo_xml_siganture_excute_c14n(TALVO_C14N_10_WITH_COMMENTS, input, isLast, nullptr);
}

TransformData *talvo_xml_siganture_exc_c14n(const TransformData *input, int32_t isLast,
                                            void *parameter) noexcept {
  return talvo_xml_siganture_excute_c14n(TALVO_C14N_EXCLUSIVE, input, isLast,
                                         static_cast<char **>(parameter));
}

TransformData *talvo_xml_siganture_exc_c14n_with_comments(const TransformData *input,
                                                          int32_t isLast,
                                                          void *parameter) noexcept {
  return talvo_xml_siganture_excute_c14n(TALVO_C14N_EXCLUSIVE_WITH_COMMENTS, input, isLast,
                                         static_cast<char **>(parameter));
}

TransformData *talvo_xml_siganture_c14nv1_1(const TransformData *input, int32_t isLast,
                                            void *) noexcept {
  return talvo_xml_siganture_excute_c14n(TALVO_C14N_11, input, isLast, nullptr);
}

TransformData *talvo_xml_siganture_c14nv1_1_with_comments(const TransformData *input,
                                                          int32_t isLast, void *) noexcept {
  return talvo_xml_siganture_excute_c14n(TALVO_C14N_11_WITH_COMMENTS, input, isLast, nullptr);
}

TransformData *talvo_xml_siganture_base64decode_transform(const TransformData *input, int32_t,
                                                          void *) noexcept {
  OctetCollector collector;
  if (input == nullptr || !decodeBase64Into(collector, *input)) {
    return nullptr;
  }
  return newOctets(collector.take(), input->isSameDocument);
}

TransformData *talvo_xml_siganture_xpath_filtering_transform(const TransformData *input,
                                                             int32_t isLast,
                                                             void *parameter) noexcept {
  OwnedNodeSet nodes = input == nullptr ? nullptr : nodesOf(*input);
  if (nodes == nullptr) {
    return nullptr;
  }
  NodeSet *filter = talvo_xml_nodeset_xpath_filter(documentOf(nodes.get()), elementOf(parameter));
  return finish(extend(std::move(nodes), filter), isLast, input->isSameDocument);
}

TransformData *talvo_xml_siganture_enveloped_signature_transform(const TransformData *input,
                                                                 int32_t isLast,
                                                                 void *parameter) noexcept {
  XmlNode *signature = elementOf(parameter);
  if (input == nullptr || signature == nullptr) {
    return nullptr;
  }
  OwnedNodeSet nodes = nodesOf(*input);
  if (nodes != nullptr && envelops(*input, signature)) {
    NodeSet *exclusion = talvo_xml_nodeset_enveloped_signature(documentOf(nodes.get()), signature);
    nodes = extend(std::move(nodes), exclusion);
  }
  // Deliberate: for data that the signature does not lie in, the transform removes nothing and is
  // no error.
  return finish(std::move(nodes), isLast, input->isSameDocument);
}
