// Making, linking and freeing nodes inside the library. The public functions keep a registry of
// what callers own; generators do not want that for the hundreds of nodes of a signature. They
// build with an OwnedNode, which nobody else knows, and give it up on the line that links it.
//
// Linking goes by hand and never through libxml2's own functions, because those merge a text into a
// text beside it and free the second one. Here text stays beside text, and every node survives.
#pragma once

#include "talvo_xml.h"

#include "base/handle.h"

namespace talvo {

// Frees a run: the node and its following siblings. Their IDs leave the documents' tables first.
void freeRun(XmlNode *first) noexcept;

// A run that is linked nowhere and registered nowhere.
using OwnedNode = Handle<XmlNode, freeRun>;

// Null when memory is exhausted, when a required argument is null or when a text holds a NUL.
OwnedNode makeElement(const XmlNode *ns, const talvo_ustring *name) noexcept;
OwnedNode makeText(XmlDoc *doc, const talvo_ustring *text) noexcept;
// Appends an attribute without namespace, whatever attributes are there.
bool addAttribute(XmlNode *element, const talvo_ustring *name, const talvo_ustring *value) noexcept;

// Links the nodes of a run one by one: as the last children of an element or document, right after
// or right before `ref`. The result is the last node linked and the handle is then empty; on
// failure it is null and the handle still owns what was not linked. A failure before the first node
// changes nothing. Nodes that come from another document take its strings, IDs and namespaces along
// as needed, and then belong to the document they are in.
XmlNode *linkChild(XmlNode *parent, OwnedNode &run) noexcept;
XmlNode *linkAfter(XmlNode *ref, OwnedNode &run) noexcept;
XmlNode *linkBefore(XmlNode *ref, OwnedNode &run) noexcept;

// Takes a node and its following siblings from wherever they are, out of the registry too. Null,
// and nothing taken, when memory is exhausted or one of them is no node that can be moved.
OwnedNode takeRun(XmlNode *first) noexcept;
// The same for one node, whose siblings stay.
OwnedNode takeNode(XmlNode *node) noexcept;
// Hands a run out to the caller of a public function: each of its nodes is registered as
// free-standing. Null, with the run freed, when that fails.
XmlNode *handOut(OwnedNode run) noexcept;

// Takes one node out of its tree and frees it, registered or not.
void unlinkAndFree(XmlNode *node) noexcept;

}  // namespace talvo
