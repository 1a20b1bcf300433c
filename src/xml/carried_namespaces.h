// Namespaces of a tree that loses its parent. Elements and attributes point at declarations; those
// that lie above the tree stay behind, and may be freed long before the tree is. So the tree is
// bound to copies that its registry entry carries, unseen by anything that writes the tree.
#pragma once

#include "xml/native.h"

namespace talvo {

using CarriedNamespaces = Handle<xmlNs, xmlFreeNsList>;

// Hands out the copies that the tree is bound to instead of what lies outside it; none when all of
// its declarations are its own. False, with every node bound as before, when memory is exhausted.
bool carryNamespaces(xmlNode *top, CarriedNamespaces *carried) noexcept;

}  // namespace talvo
