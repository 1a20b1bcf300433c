// Moving and freeing nodes at the level of libxml2's structures. A parsed document keeps short
// texts and names in a dictionary of its own, and its IDs in a table that points at attributes;
// libxml2 leaves both behind when a node goes elsewhere. Every node that changes its document
// passes through copyStrings and finishMove, which take them along, and every node that dies passes
// through freeTree, which takes its IDs out of the table first.
#pragma once

#include "xml/native.h"

namespace talvo {

// To be called by whatever changes the structure, the names or the attributes at a node, while it
// stands where that shows: before it leaves a document, after it came into one. See
// DocumentState::edits.
void noteEdit(const xmlNode *node) noexcept;

// The node after `node` in document order within the tree of `top`; null at the end. What an entity
// reference refers to is no part of the tree.
xmlNode *nextInTree(const xmlNode *node, const xmlNode *top) noexcept;

// Calls visit(xmlNode *) for every node of a tree: elements, their attributes, the texts of those,
// and everything else in document order. The visitor may not change the structure.
template <class Visit>
void forEachNode(xmlNode *top, Visit &&visit) {
  for (xmlNode *node = top; node != nullptr; node = nextInTree(node, top)) {
    visit(node);
    if (node->type != XML_ELEMENT_NODE) {
      continue;
    }
    for (xmlAttr *attribute = node->properties; attribute != nullptr; attribute = attribute->next) {
      visit(asNode(attribute));
      for (xmlNode *part = attribute->children; part != nullptr; part = part->next) {
        visit(part);
      }
    }
  }
}

// The document a node belongs to, also for a removed one, whose own pointer is null.
xmlDoc *homeOf(const xmlNode *node) noexcept;

// Gives a removed node its document back for a scope, so that libxml2 finds the right dictionary.
class AtHome {
 public:
  explicit AtHome(xmlNode *node) noexcept;
  ~AtHome();
  AtHome(const AtHome &) = delete;
  AtHome &operator=(const AtHome &) = delete;

 private:
  xmlNode *node_;
  xmlDoc *before_;
};

// Takes a node out of its parent and from between its siblings. Its document pointer stays.
void cut(xmlNode *node) noexcept;

// Where a node goes: below `ref` as its last child, or beside it.
enum class Where { lastChild, after, before };
struct Place {
  Where where;
  xmlNode *ref;

  xmlNode *parent() const noexcept { return where == Where::lastChild ? ref : ref->parent; }
  xmlDoc *doc() const noexcept { return homeOf(parent() != nullptr ? parent() : ref); }
};

// Puts a node that is linked nowhere at its place. Attributes go among the attributes.
void splice(xmlNode *node, const Place &place) noexcept;

// What can fail of a move to another document: strings are copied out of the old dictionary.
bool copyStrings(xmlNode *top, xmlDoc *to) noexcept;
// What cannot fail, after it: document pointers are set, and IDs leave the tables of other
// documents. An entity reference forgets the entity of the old document.
void finishMove(xmlNode *top, xmlDoc *to) noexcept;
// Before a node loses its parent without getting another: see carried_namespaces.h. False when
// memory is exhausted.
bool prepareToDetach(xmlNode *node) noexcept;

// Frees a tree wherever it stands, its IDs and registry entries first. Not for documents.
void freeTree(xmlNode *top) noexcept;
// Frees a document that nothing outside it points at any more.
void freeDocument(xmlDoc *doc) noexcept;

// For shut-down alone, while all documents still exist: makes a tree that points at `doc` fit to be
// freed with another one, and frees a tree without parent. Neither needs memory or the registry.
void severForRelease(xmlNode *top, xmlDoc *doc) noexcept;
void releaseTree(xmlNode *top, xmlDoc *home) noexcept;

}  // namespace talvo
