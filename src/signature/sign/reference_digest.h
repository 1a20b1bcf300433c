// Filling the empty DigestValue elements of a new signature.
#pragma once

#include <cstdint>

#include "talvo_xml.h"

#include "transform/reference/reach.h"

extern "C" {

// Hands the Signature element to every transform of the reference, so that the enveloped-signature
// transform knows what to cut out; null takes it back.
void setrefssignnode(ReferenceCtx *context, XmlNode *signatureElement) noexcept;

// Digests what the context describes and writes the text into the reference's DigestValue. 1, or 0
// with an error.
int32_t calcref(const talvo::Reach &reach, ReferenceCtx *context, uint32_t *error) noexcept;
}
