// The octets are collected, not streamed: several keys may have to be tried over them.
#include "signature/sign/signed_info_octets.h"

#include "signature/vocabulary/vocabulary.h"
#include "transform/canonicalize.h"
#include "xml/node.h"

namespace talvo {

Blob signedInfoOctets(XmlNode *signedInfo, int32_t c14nMethod,
                      const PrefixBlock &prefixes) noexcept {
  constexpr int32_t kWithComments = 1;
  const OwnedNodeSet nodes(
      talvo_xml_nodeset_getsubtree(talvo_xml_node_getdoc(signedInfo), signedInfo, kWithComments));
  return nodes ? canonicalize(nodes.get(), c14nMethod, prefixes.get()) : nullptr;
}

XmlNode *signatureChild(const XmlNode *signatureElement, const talvo_ustring *name) noexcept {
  XmlNode *child = firstElementChild(signatureElement);
  while (child != nullptr && !isElement(child, name, g_xml_signature_nsuri)) {
    child = nextElement(child);
  }
  return child;
}

}  // namespace talvo
