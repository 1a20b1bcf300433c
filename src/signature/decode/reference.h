// References, with their transforms and digests, as SignedInfo and Manifest hold them. Each decoder
// answers a new record, or null for anything but the exact structure. `signatureElement` is the
// enclosing ds:Signature or null; transforms keep it.
#pragma once

#include "signature/decode/element_reader.h"
#include "signature/record/record.h"

namespace talvo {

// The references that remain under the cursor, at least one; null when there is none or one fails.
List readReferences(ElementCursor &children, XmlNode *signatureElement) noexcept;

// The ds:Signature around a node, the innermost one; null when there is none.
XmlNode *findEnclosingSignature(const XmlNode *node) noexcept;

}  // namespace talvo

extern "C" {

Reference *talvo_xml_decode_signature_reference(XmlNode *element,
                                                XmlNode *signatureElement) noexcept;
// A list of Transform records.
talvo_arraylist *talvo_xml_decode_signature_transforms(XmlNode *element,
                                                       XmlNode *signatureElement) noexcept;
talvo::DigestMethod *talvo_xml_decode_signature_digestmethod(XmlNode *element) noexcept;
talvo::DigestValue *talvo_xml_decode_signature_digestvalue(XmlNode *element) noexcept;
talvo::Manifest *talvo_xml_decode_signature_manifest(XmlNode *element,
                                                     XmlNode *signatureElement) noexcept;
}
