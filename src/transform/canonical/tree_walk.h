// Tells the canonical writer of a tree, or of what is selected of it.
#pragma once

#include "transform/canonical/octet_sink.h"
#include "transform/canonical/tree_selection.h"
#include "transform/canonical/views.h"

namespace talvo {

// False when the work failed: the sink refused, memory was exhausted, or the selection holds an
// entity reference. The document must be one that has a canonical form, see refusal.h.
bool canonicalizeTree(OctetSink &sink, xmlDoc *document, const TreeSelection &selection,
                      C14nForm form) noexcept;

}  // namespace talvo
