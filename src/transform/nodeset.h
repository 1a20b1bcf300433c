// A node set is a chain of selection rules over one document, never a list of nodes. The first rule
// says what is selected, each further one narrows it, and the only question is whether a given node
// belongs. A rule points at the one before it and holds a reference on it; the last one stands for
// the chain.
//
// Canonicalisation asks in document order, so every rule remembers where it stood: between
// `beginRun` and `endRun` an answer costs amortised constant time. Outside, nothing is remembered,
// since the tree may change between two questions.
#pragma once

#include "talvo_xml.h"

#include "base/handle.h"
#include "base/memory.h"
#include "base/refcount.h"

struct NodeSet;

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

using OwnedNodeSet = Handle<NodeSet, talvo_xml_nodeset_free>;

XmlDoc *documentOf(const NodeSet *nodes) noexcept;

// What a chain selects, where that can be said without asking node by node.
struct PlainSelection {
  bool isPlain = false;     // one rule: the whole document, or one subtree of it
  XmlNode *apex = nullptr;  // null for the whole document
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

 private:
  void forget() noexcept;

  NodeSet *tail_;
  NodeSet *head_;
};

}  // namespace talvo
