// The transforms of a reference, decoded or yet to be signed, as functions with their parameters.
#pragma once

#include "signature/context/context.h"
#include "signature/record/record.h"
#include "transform/transform.h"

namespace talvo {

using TransformParameter = Handle<void, talvo_free>;

// The canonicalisation method behind a transform function, or 0 for another function.
int32_t c14nMethodOf(TransformFunc function) noexcept;

}  // namespace talvo

extern "C" {

// The function of a decoded transform, and of a transform that is to be signed, with a new
// parameter block. Null with a code of the verifying family.
TransformFunc talvo_xml_transformnode2func(const talvo::Transform *transform, void **parameter,
                                           uint32_t *error) noexcept;
TransformFunc talvo_xml_transformctx2func(const TransformCtx *transform, void **parameter,
                                          uint32_t *error) noexcept;
}
