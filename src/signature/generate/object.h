// Objects of the four kinds: data, a caller's nodes, signature properties, manifest.
#pragma once

#include "xml/edit.h"

namespace talvo {

// A run of Object elements, each with a line feed behind it; null for an empty list. Nodes of
// contexts move into the Objects, and the contexts forget them; should the generation fail later,
// those that moved are released with what was generated.
OwnedNode generateObjects(XmlDoc *doc, XmlNode *ns, const talvo_arraylist *objects) noexcept;

}  // namespace talvo
