// Namespaces of a tree that moves. Elements and attributes point at declarations; those that lie
// above the tree stay behind, and may be freed long before the tree is. So a tree that loses its
// parent is bound to copies that its registry entry carries, unseen by anything that writes the tree,
// and a tree that gets a parent is bound to the declarations in reach there.
#pragma once

#include "xml/native.h"

namespace talvo {

// The namespace of "xml:" names, which no element declares. libxml2 keeps a record for each document
// and binds the document's nodes to it; a node that leaves is bound to this one, which outlives all.
xmlNs *xmlNamespace() noexcept;
// Binds one node to it if the node is bound to the record of its document.
void leaveXmlNamespace(xmlNode *node) noexcept;

using CarriedNamespaces = Handle<xmlNs, xmlFreeNsList>;

// Both answer false, with every node bound as before, when memory is exhausted.

// Hands out the copies that the tree is bound to instead of what lies outside it; none when all of
// its declarations are its own.
bool carryNamespaces(xmlNode *top, CarriedNamespaces *carried) noexcept;
// Binds the tree to what is declared at `scope`, the future parent element or null, in the document
// `to` or null. What is not declared there is declared on the tree's top. False also when two
// namespaces claim one prefix.
bool bindNamespaces(xmlNode *top, xmlNode *scope, xmlDoc *to) noexcept;

}  // namespace talvo
