// Putting nodes at a place, at the level of libxml2's structures: where a node may stand, and the
// one function through which every node is linked.
#pragma once

#include "xml/tree.h"

namespace talvo {

// Nodes that can stand in a tree: no documents, declarations or document types.
bool isLinkable(const xmlNode *node) noexcept;

// Whether the kinds allow it: children only below elements and documents, attributes only beside
// attributes, nothing beside a document or a namespace declaration.
bool fits(const Place &place, const xmlNode *node) noexcept;

// Whether the place lies at or below the node, or one of its following siblings too.
bool liesWithin(const Place &place, const xmlNode *node) noexcept;
bool liesWithinRun(const Place &place, const xmlNode *first) noexcept;

// A node alone; it and all siblings behind it; it and the siblings behind it that navigation
// reaches, which takes a run of texts for one and stops at an entity reference.
enum class Extent { node, run, reachable };

// Moves nodes, in order, to a place that fits and does not lie within. The last node moved, or null
// with nothing changed. Below a parent the nodes are no registry entries any more; in a run without
// parent they are tracked as the neighbour is.
//
// An attribute replaces one of the same name that its new element has.
xmlNode *linkNodes(const Place &place, xmlNode *first, Extent extent) noexcept;

}  // namespace talvo
