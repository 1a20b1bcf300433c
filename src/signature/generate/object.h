// Objects of the four kinds: data, a caller's nodes, signature properties, manifest.
#pragma once

#include "signature/generate/moved_runs.h"
#include "xml/edit.h"

namespace talvo {

// A run of Object elements, each with a line feed behind it; null for an empty list. Nodes of
// contexts are only noted in `moved`, whose owner moves them in when nothing else can fail.
OwnedNode generateObjects(XmlDoc *doc, XmlNode *ns, const talvo_arraylist *objects,
                          MovedRuns &moved) noexcept;

}  // namespace talvo
