#include "transform/selection.h"

#include <algorithm>

#include "xml/node.h"

namespace talvo {
namespace {

// Kinds of nodes at which a walk can begin.
bool isWalkable(const XmlNode *node) noexcept {
  switch (kindOf(node)) {
    case NodeKind::document:
    case NodeKind::namespaceDeclaration:
    case NodeKind::unsupported:
      return false;
    default:
      return true;
  }
}

}  // namespace

Selection::Selection(NodeSet *nodes) : document_(documentOf(nodes)), head_(headOf(nodes)) {
  for (NodeSet *rule = head_; rule != nullptr; rule = rule->next) {
    rule->hasFailed = false;
    take(*rule);
  }
}

void Selection::take(NodeSet &rule) {
  switch (rule.kind) {
    case SetKind::subtree:
    case SetKind::subtreeWithComments:
      takeSubtree(rule);
      break;
    case SetKind::exclusion:
      takeExclusion(rule);
      break;
    case SetKind::xpathFilter:
      takeFilter(rule);
      break;
    default:
      asked_.push_back(&rule);
      break;
  }
}

void Selection::takeSubtree(const NodeSet &rule) noexcept {
  withComments_ = withComments_ && rule.kind == SetKind::subtreeWithComments;
  if (rule.node == nullptr) {
    return;
  }
  if (!isWalkable(rule.node) || !isInDocument(rule.node, document_)) {
    isEmpty_ = true;
    return;
  }
  const XmlNode *apex = handleOf(const_cast<xmlNode *>(apex_));
  if (apex == nullptr || isAtOrBelow(rule.node, apex)) {
    apex_ = native(rule.node);
  } else {
    isEmpty_ = isEmpty_ || !isAtOrBelow(apex, rule.node);
  }
}

void Selection::takeExclusion(NodeSet &rule) {
  if (rule.node == nullptr) {
    isEmpty_ = true;
  } else if (kindOf(rule.node) == NodeKind::element) {
    removed_.push_back(native(rule.node));
  } else {
    asked_.push_back(&rule);
  }
}

void Selection::takeFilter(NodeSet &rule) {
  const xmlNode *top = nullptr;
  switch (recognise(rule, &top)) {
    case Recognised::nothing:
      isEmpty_ = true;
      break;
    case Recognised::noSignatures:
      removesSignatures_ = true;
      break;
    case Recognised::notTheSubtree:
      removed_.push_back(top);
      break;
    default:
      asked_.push_back(&rule);
      break;
  }
}

TreeSelection Selection::tree() noexcept {
  return {apex_, removed_, removesSignatures_ ? hasSignatureName : nullptr, withComments_,
          asked_.empty() ? nullptr : this};
}

bool Selection::keeps(xmlNode *node, xmlNode *parent) noexcept {
  return std::all_of(asked_.begin(), asked_.end(), [=](NodeSet *rule) {
    return passes(*rule, handleOf(node), handleOf(parent));
  });
}

bool Selection::hasFailed() const noexcept {
  for (const NodeSet *rule = head_; rule != nullptr; rule = rule->next) {
    if (rule->hasFailed) {
      return true;
    }
  }
  return false;
}

}  // namespace talvo
