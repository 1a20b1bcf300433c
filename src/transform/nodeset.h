// A node set is a chain of selection rules over one document, never a list of nodes. The first rule
// says what is selected, each further one narrows it, and the only question is whether a given node
// belongs. A rule points at the one before it and holds a reference on it; the last one stands for
// the chain.
//
// Canonicalisation asks in document order, so within an OrderedRun every rule remembers where it
// stood. Outside of one nothing is remembered, since the tree may change between two questions.
#pragma once

#include "talvo_xml.h"

#include "base/handle.h"
#include "base/memory.h"
#include "base/refcount.h"

namespace talvo {

// Finds out whether elements lie in a subtree. Asked in document order it only climbs as far as the
// previous question lies deeper, which amortises to constant time; any other order costs a walk to
// the root.
class SubtreeTracker {
 public:
  // The subtrees of all ds:Signature elements.
  SubtreeTracker() = default;
  // The subtree of one node; null as above.
  explicit SubtreeTracker(const XmlNode *top) noexcept : top_(top) {}

  // Whether the element is at or below the top; anything but an element is not.
  bool covers(const XmlNode *element) noexcept;
  // To be called before the tree may change.
  void forget() noexcept { last_ = nullptr; }

 private:
  bool isTop(const XmlNode *element) const noexcept;
  // Answers from the last question where the element is its child or lies on its path to the root.
  bool isReached(const XmlNode *element) noexcept;
  void startAnew(const XmlNode *element) noexcept;

  const XmlNode *top_ = nullptr;
  const XmlNode *last_ = nullptr;
  const XmlNode *outermost_ = nullptr;  // the outermost top at or above `last_`
};

// Whether an element is a Signature as XPath tests names: its own namespace counts, not a default
// one that is only in scope.
bool hasSignatureName(const XmlNode *element) noexcept;

class XPathFilter;
void freeXPathFilter(XPathFilter *filter) noexcept;
using OwnedXPathFilter = Handle<XPathFilter, freeXPathFilter>;

enum class SetKind : uint32_t {
  nodeList = 1,  // the listed node alone
  subtreeWithComments = 2,
  subtree = 3,
  exclusion = 4,
  xpathFilter = 5,
};

}  // namespace talvo

// Internal to nodeset.cpp and nodeset_xpath.cpp.
struct NodeSet {
  talvo::SetKind kind = talvo::SetKind::nodeList;
  XmlDoc *document = nullptr;
  bool ownsDocument = false;
  XmlNode *node = nullptr;          // the listed node; null selects everything
  XmlNode *xpathElement = nullptr;  // what here() answers
  talvo::UString expression;
  talvo::SubtreeTracker tracker;
  talvo::OwnedXPathFilter filter;  // made at the first question
  bool hasFailed = false;          // it could not be made
  uint32_t refCount = 1;
  NodeSet *next = nullptr;
  NodeSet *previous = nullptr;  // holds a reference

  ~NodeSet();
};

extern "C" {

// The constructors return a chain of one rule, or null. None of them owns the document unless told.
NodeSet *talvo_xml_nodeset_getwholexml(XmlDoc *document, int32_t ownsDocument,
                                       int32_t withComments) noexcept;
// A null node gives the whole document.
NodeSet *talvo_xml_nodeset_getsubtree(XmlDoc *document, XmlNode *node,
                                      int32_t withComments) noexcept;
// Removes the subtree of the Signature element from what the rules before it select.
NodeSet *talvo_xml_nodeset_enveloped_signature(XmlDoc *document,
                                               XmlNode *signatureElement) noexcept;
// Keeps the nodes for which the expression in the XPath element is true. Fails unless the element
// is that and its first child has character content.
NodeSet *talvo_xml_nodeset_xpath_filter(XmlDoc *document, XmlNode *xpathElement) noexcept;

// talvo_xml_nodeset_add links `rule` behind `tail`, takes a reference on `tail` and returns `rule`;
// null, and nothing changes, when `tail` is followed already or `rule` follows something already.
NodeSet *talvo_xml_nodeset_add(NodeSet *tail, NodeSet *rule) noexcept;
// Adds one reference to the rule and to each before it; returns its argument.
NodeSet *talvo_xml_nodeset_dup(NodeSet *nodes) noexcept;
// Drops one reference of the rule and of each before it.
void talvo_xml_nodeset_free(NodeSet *nodes) noexcept;

// talvo_xml_nodeset_contains returns 1 when every rule of the chain selects the node. A namespace
// declaration does not know its element, so the parent is always told. A null chain selects all.
int32_t talvo_xml_nodeset_contains(NodeSet *nodes, XmlNode *node, XmlNode *parent) noexcept;
// The answer of one rule that is no XPath filter; that of an exclusion is not inverted.
int32_t talvo_xml_nodeset_contains_onenodest(NodeSet *rule, XmlNode *node,
                                             XmlNode *parent) noexcept;
// The answer of one XPath filter. A namespace node is a copy of its declaration whose next link
// points at its element, which is how XPath represents it.
int32_t talvo_xml_nodeset_contains_onenodest_xpath_noNs(NodeSet *rule, XmlNode *node) noexcept;
}

namespace talvo {

// Whether the filter keeps the node; prepares the filter at the first question.
bool passesFilter(NodeSet &rule, XmlNode *node) noexcept;
// To be called before the tree may change.
void forget(XPathFilter *filter) noexcept;

using OwnedNodeSet = Handle<NodeSet, talvo_xml_nodeset_free>;

XmlDoc *documentOf(const NodeSet *nodes) noexcept;

// What a chain selects, where that can be said without asking node by node.
struct PlainSelection {
  bool isPlain = false;        // the whole document or a subtree, perhaps without one subtree
  XmlNode *apex = nullptr;     // null for the whole document
  XmlNode *removed = nullptr;  // the top of what is removed, or null
  bool withComments = true;
};
PlainSelection plainSelection(const NodeSet *nodes) noexcept;

// One pass over the document in document order.
class OrderedRun {
 public:
  explicit OrderedRun(NodeSet *nodes) noexcept;
  ~OrderedRun();
  OrderedRun(const OrderedRun &) = delete;
  OrderedRun &operator=(const OrderedRun &) = delete;

  bool contains(XmlNode *node, XmlNode *parent) const noexcept;
  // Whether an answer was wrong because memory was exhausted.
  bool hasFailed() const noexcept;

 private:
  NodeSet *head_;
};

}  // namespace talvo
