// The second half of verification: each reference's data, digested, against its DigestValue.
#pragma once

#include <cstddef>
#include <cstdint>

#include "talvo_xml.h"

extern "C" {

// Checks one decoded reference. 1 valid; anything else is a failure with an error.
int32_t talvo_xml_signature_iverifyref(const Reference *reference, uint32_t flags,
                                       const talvo_ustring *basePath, const void *externalData,
                                       size_t length, uint32_t *error) noexcept;
}
