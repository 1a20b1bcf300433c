// Transforms that work on node sets only append a rule each, so running them again costs nothing.
// The first step that makes octets ends the node set; behind it only a step that keeps all of the
// text may come.
#include "policy/selection.h"

#include "base/list.h"
#include "signature/vocabulary/algorithm.h"
#include "transform/reference/dereference.h"
#include "transform/reference/transform_lookup.h"
#include "transform/transform.h"
#include "xml/native.h"

namespace talvo::policy {
namespace {

constexpr const char *kSource = "policy";

class Chain {
 public:
  Chain(TransformInput data, XPathBudget *budget) noexcept
      : data_(std::move(data)), budget_(budget) {}

  bool add(const Transform &transform) noexcept;
  bool finish(Selection *selection);

 private:
  bool addToOctets(TransformFunc function, int32_t c14nMethod) noexcept;
  bool narrow(TransformFunc function, void *block) noexcept;

  TransformInput data_;
  XPathBudget *budget_;
  bool isOctets_ = false;
  bool isTextOnly_ = false;
  bool keepsComments_ = true;
};

bool hasComments(int32_t c14nMethod) noexcept {
  const TransformAlgorithm *row = c14nByNumber(c14nMethod);
  return row != nullptr && row->withComments;
}

bool Chain::narrow(TransformFunc function, void *block) noexcept {
  data_.reset(function(data_.get(), 0, block));
  if (data_ == nullptr || data_->nodes == nullptr) {
    return false;
  }
  data_->nodes->budget = budget_;
  return true;
}

bool Chain::addToOctets(TransformFunc function, int32_t c14nMethod) noexcept {
  keepsComments_ = keepsComments_ && hasComments(c14nMethod);
  // Of octets the enveloped signature removes nothing; anything else could drop what was selected.
  return c14nMethod != 0 || function == talvo_xml_siganture_enveloped_signature_transform;
}

bool Chain::add(const Transform &transform) noexcept {
  void *block = nullptr;
  uint32_t error = 0;
  const TransformFunc function = talvo_xml_transformnode2func(&transform, &block, &error);
  const TransformParameter owner(block);
  if (function == nullptr) {
    return false;
  }
  const int32_t method = c14nMethodOf(function);
  if (isOctets_) {
    return addToOctets(function, method);
  }
  if (method != 0 || function == talvo_xml_siganture_base64decode_transform) {
    isOctets_ = true;
    isTextOnly_ = method == 0;
    keepsComments_ = hasComments(method);
    return true;
  }
  return narrow(function, block);
}

// What a chain of rules selects, where that can be said without asking node by node.
struct PlainParts {
  XmlNode *apex = nullptr;
  bool withComments = true;
  Vec<XmlNode *> removed;
};

// Takes the top of what a rule leaves out; false when the rule has to be asked.
bool takeRemoved(NodeSet &rule, Vec<XmlNode *> *removed) {
  if (rule.kind == SetKind::exclusion && rule.node != nullptr) {
    removed->push_back(rule.node);
    return true;
  }
  const xmlNode *top = nullptr;
  if (rule.kind != SetKind::xpathFilter || recognise(rule, &top) != Recognised::notTheSubtree) {
    return false;
  }
  removed->push_back(handleOf(const_cast<xmlNode *>(top)));
  return true;
}

bool readPlain(NodeSet *nodes, PlainParts *parts) {
  const NodeSet *head = headOf(nodes);
  const bool isSubtree = head != nullptr && (head->kind == SetKind::subtreeWithComments ||
                                             head->kind == SetKind::subtree);
  if (!isSubtree) {
    return false;
  }
  parts->apex = head->node;
  parts->withComments = head->kind == SetKind::subtreeWithComments;
  for (NodeSet *rule = head->next; rule != nullptr; rule = rule->next) {
    if (!takeRemoved(*rule, &parts->removed)) {
      return false;
    }
  }
  return true;
}

bool Chain::finish(Selection *selection) {
  PlainParts plain;
  selection->isTextOnly = isTextOnly_;
  // Without a canonicalisation C14N 1.0 follows, which drops comments.
  selection->withComments = isOctets_ && keepsComments_;
  if (!readPlain(data_->nodes.get(), &plain)) {
    selection->filter = std::move(data_->nodes);
    return selection->filter != nullptr;
  }
  selection->apex = plain.apex;
  selection->removed = std::move(plain.removed);
  selection->withComments = selection->withComments && plain.withComments;
  return true;
}

}  // namespace

bool selectionOf(const Reference &reference, const Reach &reach, uint64_t operations,
                 Selection *selection) {
  TransformData *data = nullptr;
  uint32_t error = 0;
  selection->budget = make<XPathBudget>(kSource, operations, false);
  if (!selection->budget ||
      talvo_xml_siganture_uri2input(reach, reference.uri.get(), &data, &error) != 1) {
    return false;
  }
  Chain chain(TransformInput(data), selection->budget.get());
  for (const Transform *transform : items<Transform>(reference.transforms)) {
    if (!chain.add(*transform)) {
      return false;
    }
  }
  return chain.finish(selection);
}

}  // namespace talvo::policy
