// The chain, and the rules that look only at where a node stands.
#include "transform/nodeset.h"

#include <utility>

#include "base/utf8.h"
#include "signature/vocabulary/vocabulary.h"
#include "xml/native.h"
#include "xml/node.h"

namespace talvo {
namespace {

constexpr const char *kSource = "nodeset";

const XmlNode *parentOf(const XmlNode *node) noexcept {
  return handleOf(native(node)->parent);
}

bool isElement(const XmlNode *node) noexcept {
  return node != nullptr && native(node)->type == XML_ELEMENT_NODE;
}

bool isComment(const XmlNode *node) noexcept {
  return native(node)->type == XML_COMMENT_NODE;
}

NodeSet *newRule(SetKind kind, XmlDoc *document, XmlNode *node) noexcept {
  Owned<NodeSet> rule = document == nullptr ? nullptr : make<NodeSet>(kSource);
  if (rule == nullptr) {
    return nullptr;
  }
  rule->kind = kind;
  rule->document = document;
  rule->node = node;
  rule->tracker = SubtreeTracker(node);
  return rule.release();
}

SetKind subtreeKind(int32_t withComments) noexcept {
  return withComments != 0 ? SetKind::subtreeWithComments : SetKind::subtree;
}

NodeSet *headOf(NodeSet *nodes) noexcept {
  while (nodes != nullptr && nodes->previous != nullptr) {
    nodes = nodes->previous;
  }
  return nodes;
}

void forgetAll(NodeSet *head) noexcept {
  for (NodeSet *rule = head; rule != nullptr; rule = rule->next) {
    rule->tracker.forget();
    forget(rule->filter.get());
  }
}

bool selects(NodeSet &rule, XmlNode *node, XmlNode *parent) noexcept {
  if (node == nullptr || kindOf(node) == NodeKind::unsupported) {
    return false;
  }
  if (rule.kind == SetKind::subtree && isComment(node)) {
    return false;
  }
  if (rule.node == nullptr || node == rule.node) {
    return true;
  }
  return rule.kind != SetKind::nodeList && isElement(parent) && rule.tracker.covers(parent);
}

// Namespace nodes are declarations, which do not know their element. XPath has a copy of the
// declaration instead, whose next link points at the element.
bool passesFilterAt(NodeSet &rule, XmlNode *node, XmlNode *parent) noexcept {
  if (node == nullptr || native(node)->type != XML_NAMESPACE_DECL) {
    return passesFilter(rule, node);
  }
  xmlNs copy = *nativeNs(node);
  const bool isOfAttribute = parent != nullptr && native(parent)->type == XML_ATTRIBUTE_NODE;
  copy.next = nativeNs(isOfAttribute ? parentOf(parent) : parent);
  return passesFilter(rule, handleOf(&copy));
}

bool passes(NodeSet &rule, XmlNode *node, XmlNode *parent) noexcept {
  switch (rule.kind) {
    case SetKind::xpathFilter:
      return passesFilterAt(rule, node, parent);
    case SetKind::exclusion:
      return !selects(rule, node, parent);
    default:
      return selects(rule, node, parent);
  }
}

bool passesAll(NodeSet *head, XmlNode *node, XmlNode *parent) noexcept {
  for (NodeSet *rule = head; rule != nullptr; rule = rule->next) {
    if (!passes(*rule, node, parent)) {
      return false;
    }
  }
  return true;
}

}  // namespace

bool hasSignatureName(const XmlNode *element) noexcept {
  const xmlNode *node = native(element);
  return node->type == XML_ELEMENT_NODE && node->ns != nullptr &&
         viewOf(node->name) == viewOf(g_xml_signature_name) &&
         viewOf(node->ns->href) == viewOf(g_xml_signature_nsuri);
}

bool SubtreeTracker::isTop(const XmlNode *element) const noexcept {
  return top_ != nullptr ? element == top_ : hasSignatureName(element);
}

bool SubtreeTracker::isReached(const XmlNode *element) noexcept {
  if (parentOf(element) == last_) {
    if (outermost_ == nullptr && isTop(element)) {
      outermost_ = element;
    }
    last_ = element;
    return true;
  }
  for (; last_ != element && isElement(last_); last_ = parentOf(last_)) {
    if (last_ == outermost_) {
      outermost_ = nullptr;
    }
  }
  return last_ == element;
}

void SubtreeTracker::startAnew(const XmlNode *element) noexcept {
  outermost_ = nullptr;
  for (const XmlNode *node = element; isElement(node); node = parentOf(node)) {
    if (isTop(node)) {
      outermost_ = node;
    }
  }
  last_ = element;
}

bool SubtreeTracker::covers(const XmlNode *element) noexcept {
  if (!isElement(element)) {
    return false;
  }
  if (element != last_ && (last_ == nullptr || !isReached(element))) {
    startAnew(element);
  }
  return outermost_ != nullptr;
}

XmlDoc *documentOf(const NodeSet *nodes) noexcept {
  return nodes == nullptr ? nullptr : nodes->document;
}

PlainSelection plainSelection(const NodeSet *nodes) noexcept {
  while (nodes != nullptr && nodes->previous != nullptr) {
    nodes = nodes->previous;
  }
  const bool isSubtree = nodes != nullptr && (nodes->kind == SetKind::subtreeWithComments ||
                                              nodes->kind == SetKind::subtree);
  if (!isSubtree) {
    return {};
  }
  const NodeSet *next = nodes->next;
  const bool isExcluding = next != nullptr && next->kind == SetKind::exclusion &&
                           next->node != nullptr && next->next == nullptr;
  return {next == nullptr || isExcluding, nodes->node, isExcluding ? next->node : nullptr,
          nodes->kind == SetKind::subtreeWithComments};
}

OrderedRun::OrderedRun(NodeSet *nodes) noexcept : head_(headOf(nodes)) {
  forgetAll(head_);
}

OrderedRun::~OrderedRun() {
  forgetAll(head_);
}

bool OrderedRun::hasFailed() const noexcept {
  for (const NodeSet *rule = head_; rule != nullptr; rule = rule->next) {
    if (rule->hasFailed) {
      return true;
    }
  }
  return false;
}

bool OrderedRun::contains(XmlNode *node, XmlNode *parent) const noexcept {
  return passesAll(head_, node, parent);
}

}  // namespace talvo

using namespace talvo;

NodeSet::~NodeSet() {
  filter.reset();  // it may point into the document
  if (ownsDocument) {
    talvo_xml_doc_free(document);
  }
}

NodeSet *talvo_xml_nodeset_getwholexml(XmlDoc *document, int32_t ownsDocument,
                                       int32_t withComments) noexcept {
  NodeSet *rule = newRule(subtreeKind(withComments), document, nullptr);
  if (rule != nullptr) {
    rule->ownsDocument = ownsDocument != 0;
  }
  return rule;
}

NodeSet *talvo_xml_nodeset_getsubtree(XmlDoc *document, XmlNode *node,
                                      int32_t withComments) noexcept {
  return newRule(subtreeKind(withComments), document, node);
}

NodeSet *talvo_xml_nodeset_enveloped_signature(XmlDoc *document,
                                               XmlNode *signatureElement) noexcept {
  return newRule(SetKind::exclusion, document, signatureElement);
}

NodeSet *talvo_xml_nodeset_xpath_filter(XmlDoc *document, XmlNode *xpathElement) noexcept {
  XmlNode *content = isElement(xpathElement, g_xml_signature_xpath_name, g_xml_signature_nsuri)
                         ? talvo_xml_node_getchildren(xpathElement)
                         : nullptr;
  UString expression(content == nullptr ? nullptr : talvo_xml_node_getpcdata(content));
  const Utf8 text(expression.get());
  if (!text || text.length() == 0) {
    return nullptr;
  }
  NodeSet *rule = newRule(SetKind::xpathFilter, document, nullptr);
  if (rule != nullptr) {
    rule->xpathElement = xpathElement;
    rule->expression = std::move(expression);
  }
  return rule;
}

NodeSet *talvo_xml_nodeset_add(NodeSet *tail, NodeSet *rule) noexcept {
  if (tail == nullptr || rule == nullptr || tail->next != nullptr || rule->previous != nullptr) {
    return nullptr;
  }
  rule->previous = talvo_xml_nodeset_dup(tail);
  tail->next = rule;
  return rule;
}

NodeSet *talvo_xml_nodeset_dup(NodeSet *nodes) noexcept {
  for (NodeSet *rule = nodes; rule != nullptr; rule = rule->previous) {
    ++rule->refCount;
  }
  return nodes;
}

void talvo_xml_nodeset_free(NodeSet *nodes) noexcept {
  for (NodeSet *rule = nodes; rule != nullptr;) {
    NodeSet *previous = rule->previous;
    if (--rule->refCount == 0) {
      if (previous != nullptr && previous->next == rule) {
        previous->next = nullptr;
      }
      destroy(rule);
    }
    rule = previous;
  }
}

int32_t talvo_xml_nodeset_contains(NodeSet *nodes, XmlNode *node, XmlNode *parent) noexcept {
  return OrderedRun(nodes).contains(node, parent) ? 1 : 0;
}

int32_t talvo_xml_nodeset_contains_onenodest(NodeSet *rule, XmlNode *node,
                                             XmlNode *parent) noexcept {
  if (rule == nullptr) {
    return 1;
  }
  rule->tracker.forget();
  const bool isSelected = selects(*rule, node, parent);
  rule->tracker.forget();
  return isSelected ? 1 : 0;
}

int32_t talvo_xml_nodeset_contains_onenodest_xpath_noNs(NodeSet *rule, XmlNode *node) noexcept {
  if (rule == nullptr || rule->kind != SetKind::xpathFilter || node == nullptr) {
    return 0;
  }
  const bool isSelected = passesFilter(*rule, node);
  forget(rule->filter.get());
  return isSelected ? 1 : 0;
}
