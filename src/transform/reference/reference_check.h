// One decoded reference, from its URI to the comparison of its digest.
#pragma once

#include "base/bytes.h"
#include "signature/record/record.h"
#include "transform/reference/reach.h"

extern "C" {

// talvo_xml_signature_iverifyref checks one reference: 1 valid; anything else is a failure with an
// error. What has no URI is compared with the digest of `external`.
int32_t talvo_xml_signature_iverifyref(const Reference *reference, const talvo::Reach &reach,
                                       talvo::Bytes external, uint32_t *error) noexcept;
}
