// Which nodes of a document are signed. A walk keeps count of the selections that it is inside of,
// so that a subtree without any border of a selection in it is answered for as a whole; only where
// a filter selects are nodes asked for one by one.
#pragma once

#include <unordered_map>
#include <unordered_set>

#include "policy/heap.h"
#include "policy/selection.h"
#include "xml/node.h"

namespace talvo::policy {

// How many selections a place is inside of, by what they take along.
struct Depth {
  int32_t nodes = 0;
  int32_t comments = 0;
  int32_t texts = 0;

  Depth &operator+=(const Depth &other) noexcept;
  Depth operator-() const noexcept { return {-nodes, -comments, -texts}; }
};

// What is asked of the nodes in a place.
enum class Zone : uint8_t {
  content,              // everything
  signature,            // nothing: a ds:Signature and what stands in it
  object,               // nothing of the tag; what stands inside is content
  properties,           // nothing of the tag of QualifyingProperties
  uncoveredProperties,  // the same where the signed properties are not covered
  unsignedProperties    // nothing at all
};

class Coverage {
 public:
  // May throw when memory is exhausted.
  void add(Selection selection);

  const Depth &base() const noexcept { return base_; }
  const Depth *borderAt(const XmlNode *element) const noexcept;
  bool hasBorderBelow(const XmlNode *element) const noexcept;
  bool isFiltering() const noexcept { return !filters_.empty(); }
  // Whether a filter selects the node.
  bool passesFilter(XmlNode *node, XmlNode *parent) const noexcept;
  // The tops of what is selected, in the order in which they came; null for the document.
  const Vec<XmlNode *> &tops() const noexcept { return tops_; }

 private:
  void note(const XmlNode *element, const Depth &depth);

  Depth base_;
  std::unordered_map<const XmlNode *, Depth, std::hash<const XmlNode *>, std::equal_to<>,
                     HeapAllocator<std::pair<const XmlNode *const, Depth>>>
      borders_;
  std::unordered_set<const XmlNode *, std::hash<const XmlNode *>, std::equal_to<>,
                     HeapAllocator<const XmlNode *>>
      aboveBorders_;
  Vec<Selection> filters_;
  Vec<XmlNode *> tops_;
};

// A place in the document on the way down.
struct Place {
  Zone zone = Zone::content;
  Depth depth;
  bool isFilteredIn = false;  // a filter selects the element
};

class CoverageWalk {
 public:
  explicit CoverageWalk(const Coverage &coverage) noexcept : coverage_(coverage) {}

  // The place outside of the root element.
  Place top() const noexcept { return {Zone::content, coverage_.base(), false}; }
  // The place of an element in that of its parent.
  Place enter(XmlNode *element, const Place &parent) const;
  // The place of any element, from the root on.
  Place placeOf(XmlNode *element) const;

  // Whether the tag of the element in its place needs nothing more: it is signed, or need not be.
  bool isElementFine(XmlNode *element, const Place &place) const;
  // The same of a node that is no element, in the place of its parent.
  bool isNodeFine(XmlNode *node, XmlNode *parent, const Place &place) const noexcept;
  // Whether the node, an element or not, is signed.
  bool isSigned(XmlNode *node, XmlNode *parent, const Place &place) const noexcept;
  // Whether nothing at or below the element needs a look: it is wholly signed, comments or not.
  bool isWhole(const XmlNode *element, const Place &place) const noexcept;

  // Whether the element and all below it is fine, comments aside.
  bool isSubtreeFine(XmlNode *element) const;

 private:
  Zone zoneOf(XmlNode *element, const Place &parent) const;
  Zone zoneInObject(XmlNode *element) const;

  const Coverage &coverage_;
};

struct Uncovered {
  Vec<XmlNode *> nodes;     // the topmost ones
  Vec<XmlNode *> comments;  // beside text, or where any comment counts
  Vec<XmlNode *> otherComments;
  bool isCut = false;  // there are more
};

// What is not signed at or below the node, or in the whole document for null. May throw.
void findUncovered(const Coverage &coverage, XmlDoc *document, XmlNode *top, bool anyComment,
                   Uncovered *uncovered);

// The same at or below an element, whose parent has this place.
void findUncoveredAt(const Coverage &coverage, XmlNode *top, const Place &around,
                     Uncovered *uncovered);

// The node behind `node` in document order below `top` without its subtree; null at the end.
XmlNode *nextOutside(XmlNode *node, const XmlNode *top) noexcept;
// The first node of the document, before its root element or that itself.
XmlNode *firstOf(const XmlDoc *document) noexcept;
XmlNode *firstChildOf(const XmlNode *element) noexcept;

}  // namespace talvo::policy
