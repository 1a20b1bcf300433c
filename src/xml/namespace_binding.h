// Namespaces of a tree that leaves its document. Elements and attributes point at declarations; those
// that lie outside the tree stay behind and die with their document. Before the tree leaves, each of
// them gets a declaration within its future reach.
#pragma once

#include "xml/native.h"

namespace talvo {

// `scope` is the future parent element, or null; `to` the future document, or null. False, with every
// node bound as before, when memory is exhausted or two namespaces claim one prefix.
bool bindNamespaces(xmlNode *top, xmlNode *scope, xmlDoc *to) noexcept;

}  // namespace talvo
