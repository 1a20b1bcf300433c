// What a transform or canonicalisation method carries inside: the prefix list of exclusive
// canonicalisation and the expression of an XPath filter, read from the document when they are
// needed.
#pragma once

#include "signature/context/context.h"
#include "signature/record/record.h"
#include "transform/canonical/prefix_list.h"

namespace talvo {

// The prefixes as a new list of ustrings; without a block null, which is no failure. `ok` tells a
// missing list from exhausted memory.
List toTransformCtxParam(const PrefixBlock &block, bool *ok) noexcept;

}  // namespace talvo

extern "C" {

// Reads the InclusiveNamespaces of a Transform or CanonicalizationMethod element. True with an
// empty block when the element has no content at all. False with TALVO_VERIFY_ERROR_PREFIX_LIST for
// any other content, TALVO_VERIFY_ERROR_OUT_OF_MEMORY otherwise.
bool decodeexcc14nnode(const XmlNode *element, talvo::PrefixBlock *block, uint32_t *error) noexcept;
// A decoded transform as a new context, or null when its identifier is unknown or its content is
// malformed.
TransformCtx *toTransformCtx(const talvo::Transform *transform) noexcept;
}
