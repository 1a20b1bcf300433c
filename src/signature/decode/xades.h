// XAdES properties, version 1.3.2 only. A property that cannot be read counts as absent: it never
// makes the signature undecodable.
#pragma once

#include "signature/record/record.h"

namespace talvo {

// Fills the XAdES members of a record whose other members are complete. False only when memory ran
// out: a property lost that way must not look like one that was never there.
bool readXades(Signature &signature) noexcept;

}  // namespace talvo

extern "C" {

// The CertIds of the Cert children of an element, as a new list; null when a child is anything
// else. An element without children gives the empty list.
talvo_arraylist *decodeCertIDList(const XmlNode *element) noexcept;
// The time-stamps of that name among `first` and the siblings behind it, as a new list of
// TimeStamp; null when one of them cannot be read.
talvo_arraylist *decodeXAdESTimeStampTypeList(XmlNode *first, const talvo_ustring *name,
                                              const talvo_ustring *nsuri) noexcept;
// The first unsigned signature property of that local name, or null.
XmlNode *findUnsignedSignatureProperty(const XmlNode *signatureElement,
                                       const talvo_ustring *name) noexcept;
// The same inside one UnsignedSignatureProperties element.
XmlNode *findUnsignedSignaturePropertyInUnsignedProperties(const XmlNode *element,
                                                           const talvo_ustring *name) noexcept;
}
