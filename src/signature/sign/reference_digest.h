// Filling the empty DigestValue elements of a new signature, and the digest of a reference that exists already.
#pragma once

#include <cstdint>

#include "talvo_xml.h"

extern "C" {

// Hands the Signature element to every transform of the reference, so that the enveloped-signature transform knows
// what to cut out; null takes it back.
void setrefssignnode(ReferenceCtx *context, XmlNode *signatureElement) noexcept;

// Digests what the context describes and writes the text into the reference's DigestValue. 1, or 0 with an error.
int32_t calcref(XmlDoc *doc, XmlNode *referenceElement, ReferenceCtx *context,
                const talvo_ustring *basePath, uint32_t dereferenceFlag, uint32_t *error) noexcept;
}
