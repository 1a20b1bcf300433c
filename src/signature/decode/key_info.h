// ds:KeyInfo: what it holds is only recorded. Certificates and CRLs stay DER, nothing is followed,
// and a child that is not known is kept as its node.
#pragma once

#include "signature/record/record.h"

namespace talvo {

// Null for anything but the exact structure. `signatureElement` goes to the transforms of a
// RetrievalMethod.
Owned<KeyInfo> decodeKeyInfo(XmlNode *element, XmlNode *signatureElement) noexcept;

}  // namespace talvo

extern "C" {

// One child of KeyInfo as a new item, or null when it is a known element of the wrong structure.
talvo::KeyInfoItem *talvo_xml_decode_signature_keyinfoelem(XmlNode *node,
                                                           XmlNode *signatureElement) noexcept;
}
