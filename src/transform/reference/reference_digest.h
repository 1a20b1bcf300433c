// What the DigestValue of a reference should say, as Base64 text. The codes are those of signing.
#pragma once

#include "base/handle.h"
#include "signature/context/context.h"
#include "signature/record/record.h"
#include "transform/reference/reach.h"

namespace talvo {

// Of a reference that is to be signed; without a URI its supplied content is digested.
UString digestOfContext(const ReferenceCtx &context, const Reach &reach, uint32_t *error) noexcept;
// Of one that stands in a document; it needs a URI.
UString digestOfReference(const Reference &reference, const Reach &reach, uint32_t *error) noexcept;

}  // namespace talvo
