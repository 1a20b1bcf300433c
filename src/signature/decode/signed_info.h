// ds:SignedInfo and its methods.
#pragma once

#include "signature/record/record.h"

extern "C" {

// New records, or null for anything but the exact structure.
talvo::SignedInfo *talvo_xml_decode_signature_signedinfo(XmlNode *element,
                                                         XmlNode *signatureElement) noexcept;
talvo::CanonicalizationMethod *talvo_xml_decode_signature_c14nmethod(XmlNode *element) noexcept;
// The bits that an HMACOutputLength element gives, or -1.
int32_t getHMACOutputLength(const XmlNode *element) noexcept;
}
