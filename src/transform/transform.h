// The transforms of a reference. Each maps data, a node set or octets, to new data and leaves its
// input alone; null means that it failed. Node-set transforms only append a rule to the chain of
// their input: the work is done when a later step needs octets.
#pragma once

#include "talvo_xml.h"

#include "base/handle.h"
#include "base/memory.h"
#include "transform/canonicalize.h"
#include "transform/nodeset.h"

// Exactly one of the two is there.
struct TransformData {
  talvo::OwnedNodeSet nodes;
  talvo::Blob octets;
  // Taken from the document that holds the signature, not from a file or the network.
  bool isSameDocument = false;
};

// `isLast` tells the transforms that append a rule to canonicalise their result at once with C14N
// 1.0. The parameter is a block of talvo_malloc that the caller frees: a prefix block for exclusive
// canonicalisation, one pointer to an element for the XPath filter and the enveloped signature,
// null for the others.
using TransformFunc = TransformData *(*)(const TransformData *input, int32_t isLast,
                                         void *parameter);

extern "C" {

// Adopts the reference; null for a null set. When it fails, the set is released.
TransformData *talvo_xml_transform_newnodeset(NodeSet *nodes, int32_t isSameDocument) noexcept;
// Copies the bytes.
TransformData *talvo_xml_transform_newocts(const void *bytes, size_t length,
                                           int32_t isSameDocument) noexcept;
void talvo_xml_transform_free(TransformData *data) noexcept;

TransformData *talvo_xml_siganture_c14n(const TransformData *input, int32_t isLast,
                                        void *parameter) noexcept;
TransformData *talvo_xml_siganture_c14n_with_comments(const TransformData *input, int32_t isLast,
                                                      void *parameter) noexcept;
TransformData *talvo_xml_siganture_exc_c14n(const TransformData *input, int32_t isLast,
                                            void *parameter) noexcept;
TransformData *talvo_xml_siganture_exc_c14n_with_comments(const TransformData *input,
                                                          int32_t isLast, void *parameter) noexcept;
TransformData *talvo_xml_siganture_c14nv1_1(const TransformData *input, int32_t isLast,
                                            void *parameter) noexcept;
TransformData *talvo_xml_siganture_c14nv1_1_with_comments(const TransformData *input,
                                                          int32_t isLast, void *parameter) noexcept;
TransformData *talvo_xml_siganture_base64decode_transform(const TransformData *input,
                                                          int32_t isLast, void *parameter) noexcept;
TransformData *talvo_xml_siganture_xpath_filtering_transform(const TransformData *input,
                                                             int32_t isLast,
                                                             void *parameter) noexcept;
TransformData *talvo_xml_siganture_enveloped_signature_transform(const TransformData *input,
                                                                 int32_t isLast,
                                                                 void *parameter) noexcept;

// The step that the six canonicalisations share; octets are parsed first.
TransformData *talvo_xml_siganture_excute_c14n(int32_t method, const TransformData *input,
                                               int32_t isLast, char **prefixes) noexcept;
}

namespace talvo {

using TransformInput = Handle<TransformData, talvo_xml_transform_free>;

// What the input selects as a node set: a new reference on its chain, or the whole document parsed
// from its octets.
OwnedNodeSet nodesOf(const TransformData &input) noexcept;
// The data as octets for a sink: a node set is canonicalised.
bool canonicalizeData(OctetSink &sink, const TransformData &data, int32_t method,
                      char **prefixes) noexcept;
// The Base64 transform without its result in memory.
bool decodeBase64Into(OctetSink &sink, const TransformData &input) noexcept;

}  // namespace talvo
