// What libxml2 refuses to canonicalise: it looks at all that stands in a document, whatever part of it
// is asked for. A part that runs alone therefore needs a look at the rest, which is a plain walk. What the
// look at a whole document found is remembered in the document.
#pragma once

#include "talvo_xml.h"

namespace talvo {

// Whether nothing at or below the element would be refused.
bool isCanonicalBelow(const XmlNode *element) noexcept;
// Whether the inclusive methods can canonicalise the subtree at an acceptable cost: each element
// costs the square of the declarations in scope there.
bool isAffordableBelow(const XmlNode *element) noexcept;

// Whether there is no relative namespace URI and no entity reference anywhere.
bool isCanonical(const XmlDoc *document) noexcept;
// Whether moreover the inclusive methods have an acceptable cost.
bool isAffordable(const XmlDoc *document) noexcept;
// To be told when libxml2 has been through the whole document.
void noteCanonical(const XmlDoc *document) noexcept;

}  // namespace talvo
