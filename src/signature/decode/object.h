// ds:Object.
#pragma once

#include "signature/record/record.h"

extern "C" {

// A new record, or null for anything but the exact structure. `depth` counts the signatures around
// the object: a Signature inside it is decoded whole, see decodeSignature.
talvo::Object *talvo_xml_decode_signature_object(XmlNode *element, XmlNode *signatureElement,
                                                 int32_t depth) noexcept;
}
