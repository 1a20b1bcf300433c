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

NodeSet *newRule(SetKind kind, XmlDoc *document, XmlNode *node) noexcept {
  Owned<NodeSet> rule = document == nullptr ? nullptr : make<NodeSet>(kSource);
  if (rule == nullptr) {
    return nullptr;
  }
  rule->kind = kind;
  rule->document = document;
  rule->node = node;
  return rule.release();
}

SetKind subtreeKind(int32_t withComments) noexcept {
  return withComments != 0 ? SetKind::subtreeWithComments : SetKind::subtree;
}

bool selects(const NodeSet &rule, const XmlNode *node, const XmlNode *parent) noexcept {
  const NodeKind kind = kindOf(node);
  if (node == nullptr || kind == NodeKind::unsupported ||
      (rule.kind == SetKind::subtree && kind == NodeKind::comment)) {
    return false;
  }
  if (rule.node == nullptr || node == rule.node) {
    return true;
  }
  return rule.kind != SetKind::nodeList && kindOf(parent) == NodeKind::element &&
         kindOf(rule.node) == NodeKind::element && isAtOrBelow(parent, rule.node);
}

// Namespace nodes are declarations, which do not know their element. XPath has a copy of the
// declaration instead, whose next link points at the element.
bool passesFilterAt(NodeSet &rule, XmlNode *node, XmlNode *parent) noexcept {
  if (node == nullptr || native(node)->type != XML_NAMESPACE_DECL) {
    return passesFilter(rule, node);
  }
  xmlNs copy = *nativeNs(node);
  const bool isOfAttribute = parent != nullptr && native(parent)->type == XML_ATTRIBUTE_NODE;
  copy.next = nativeNs(isOfAttribute ? handleOf(native(parent)->parent) : parent);
  return passesFilter(rule, handleOf(&copy));
}

}  // namespace

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

bool hasSignatureName(const xmlNode *node) noexcept {
  return node->type == XML_ELEMENT_NODE && node->ns != nullptr &&
         viewOf(node->name) == viewOf(g_xml_signature_name) &&
         viewOf(node->ns->href) == viewOf(g_xml_signature_nsuri);
}

XmlDoc *documentOf(const NodeSet *nodes) noexcept {
  return nodes == nullptr ? nullptr : nodes->document;
}

NodeSet *headOf(NodeSet *nodes) noexcept {
  while (nodes != nullptr && nodes->previous != nullptr) {
    nodes = nodes->previous;
  }
  return nodes;
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
  for (NodeSet *rule = headOf(nodes); rule != nullptr; rule = rule->next) {
    if (!passes(*rule, node, parent)) {
      return 0;
    }
  }
  return 1;
}

int32_t talvo_xml_nodeset_contains_onenodest(NodeSet *rule, XmlNode *node,
                                             XmlNode *parent) noexcept {
  return rule == nullptr || selects(*rule, node, parent) ? 1 : 0;
}

int32_t talvo_xml_nodeset_contains_onenodest_xpath_noNs(NodeSet *rule, XmlNode *node) noexcept {
  const bool isFilter = rule != nullptr && rule->kind == SetKind::xpathFilter;
  return isFilter && node != nullptr && passesFilter(*rule, node) ? 1 : 0;
}
