// From a decoded reference back to a context that would make the same reference.
#pragma once

#include "signature/context/context.h"
#include "signature/record/record.h"

extern "C" {

// A new context with the digest of the reference as a given digest; null for a reference without
// URI, an unknown algorithm, a digest of the wrong length or a malformed transform.
ReferenceCtx *toSignature_ReferenceCtx(const Reference *reference) noexcept;
}
