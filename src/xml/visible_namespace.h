// New elements among those of others: the namespace that they are made with may be declared
// somewhere above and yet be hidden at their place, where its prefix means something else. In
// memory nothing is wrong then; once saved and read again, the elements are in another namespace.
#pragma once

#include "talvo_xml.h"

namespace talvo {

// Before a run that was just made is linked below `parent`: sees to it that every name in it is
// read back as it is meant, by another declaration in reach or by one of the element's own. Does
// nothing where the parent is not linked into a document yet. False when memory is exhausted; what
// was declared until then stays with the run.
bool settleNamespaces(XmlNode *parent, XmlNode *run) noexcept;

}  // namespace talvo
