// A node set is a chain of selection rules over one document, never a list of nodes. The first rule
// says what is selected, each further one narrows it. A rule points at the one before it and holds
// a reference on it; the last one stands for the chain.
#pragma once

#include <vector>

#include "talvo_xml.h"

#include "base/handle.h"
#include "base/memory.h"
#include "base/refcount.h"
#include "transform/canonical/tree_selection.h"

namespace talvo {

// Whether a node is a Signature element as XPath tests names: its own namespace counts, not a
// default one that is only in scope.
bool hasSignatureName(const xmlNode *node) noexcept;

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

// How much work the XPath filters of one owner may still do, counted in the steps of libxml2's
// evaluator. One filter is asked for every node, so the sum over all of them counts.
struct XPathBudget {
  uint64_t left = 0;
  bool isExhausted = false;
};

}  // namespace talvo

// Internal to nodeset.cpp, selection.cpp and nodeset_xpath.cpp.
struct NodeSet {
  talvo::SetKind kind = talvo::SetKind::nodeList;
  XmlDoc *document = nullptr;
  bool ownsDocument = false;
  XmlNode *node = nullptr;          // the listed node; null selects everything
  XmlNode *xpathElement = nullptr;  // what here() answers
  talvo::UString expression;
  talvo::OwnedXPathFilter filter;        // made at the first question
  talvo::XPathBudget *budget = nullptr;  // borrowed; null for none
  bool hasFailed = false;                // an answer was wrong because memory was exhausted
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

// What an XPath filter keeps, where that is known without asking it about any node.
enum class Recognised {
  no,
  nothing,        // no node at all
  noSignatures,   // what lies in no Signature element
  notTheSubtree,  // what does not lie in one subtree
};

// The filter's answers; both prepare it at the first question. `top` receives the subtree.
Recognised recognise(NodeSet &rule, const xmlNode **top) noexcept;
bool passesFilter(NodeSet &rule, XmlNode *node) noexcept;
// Whether one rule, an exclusion inverted, selects the node.
bool passes(NodeSet &rule, XmlNode *node, XmlNode *parent) noexcept;

using OwnedNodeSet = Handle<NodeSet, talvo_xml_nodeset_free>;

XmlDoc *documentOf(const NodeSet *nodes) noexcept;
NodeSet *headOf(NodeSet *nodes) noexcept;

}  // namespace talvo
