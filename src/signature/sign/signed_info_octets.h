// What a signature value is computed over, by signer and verifier alike.
#pragma once

#include "talvo_xml.h"

#include "base/handle.h"
#include "transform/canonical/prefix_list.h"

namespace talvo {

// The canonical octets of SignedInfo; null when canonicalisation fails. The prefixes count for the
// exclusive methods.
Blob signedInfoOctets(XmlNode *signedInfo, int32_t c14nMethod,
                      const PrefixBlock &prefixes) noexcept;

// The child of that name in the namespace of XML signatures; null when there is none.
XmlNode *signatureChild(const XmlNode *signatureElement, const talvo_ustring *name) noexcept;

}  // namespace talvo
