// Walks documents without asking for memory. Declarations in scope are counted on the way, because
// their number is what inclusive canonicalisation costs.
#include "transform/fitness.h"

#include <libxml/uri.h>

#include "xml/native.h"
#include "xml/node.h"

namespace talvo {
namespace {

// The inclusive methods look up each declaration in scope at each element, which costs the square of
// their number. Beyond this many steps, and this many for each element, a document is refused.
constexpr uint64_t kMostSteps = 2'000'000'000;
constexpr uint64_t kMostStepsPerElement = 20'000;

// Walks a document once.
class Inspection {
 public:
  // Both are false for what libxml2 refuses. A node is entered before what is below it.
  bool enter(const xmlNode *node) noexcept;
  bool walkBelow(const xmlNode *top) noexcept;
  // To be told of the ancestors of what is walked, for the cost.
  void addScopeOf(const xmlNode *element) noexcept { inScope_ += countDeclarations(element); }
  bool isAffordable() const noexcept {
    return steps_ <= kMostSteps || steps_ / kMostStepsPerElement <= elements_;
  }

 private:
  bool isAbsoluteUri(const xmlChar *uri) noexcept;
  size_t countDeclarations(const xmlNode *element) const noexcept;

  const xmlChar *lastAbsolute_ = nullptr;
  uint64_t inScope_ = 0;
  uint64_t elements_ = 0;
  uint64_t steps_ = 0;
};

// Documents declare the same few URIs again and again: remember one.
bool Inspection::isAbsoluteUri(const xmlChar *uri) noexcept {
  if (uri == nullptr || *uri == 0 || xmlStrEqual(uri, lastAbsolute_) != 0) {
    return true;
  }
  const Handle<xmlURI, xmlFreeURI> parsed(xmlParseURI(plainText(uri)));
  if (parsed == nullptr || parsed->scheme == nullptr) {
    return false;
  }
  lastAbsolute_ = uri;
  return true;
}

bool Inspection::enter(const xmlNode *node) noexcept {
  if (node->type != XML_ELEMENT_NODE) {
    return node->type != XML_ENTITY_REF_NODE;
  }
  for (const xmlNs *ns = node->nsDef; ns != nullptr; ns = ns->next) {
    if (!isAbsoluteUri(ns->href)) {
      return false;
    }
    ++inScope_;
  }
  ++elements_;
  steps_ += inScope_ * inScope_;
  return true;
}

size_t Inspection::countDeclarations(const xmlNode *element) const noexcept {
  size_t count = 0;
  for (const xmlNs *ns = element->nsDef; ns != nullptr; ns = ns->next) {
    ++count;
  }
  return count;
}

bool Inspection::walkBelow(const xmlNode *top) noexcept {
  const xmlNode *node = top->children;
  while (node != nullptr && node != top) {
    if (!enter(node)) {
      return false;
    }
    if (node->type == XML_ELEMENT_NODE && node->children != nullptr) {
      node = node->children;
      continue;
    }
    for (; node != top; node = node->parent) {
      if (node->type == XML_ELEMENT_NODE) {
        inScope_ -= countDeclarations(node);
      }
      if (node->next != nullptr) {
        node = node->next;
        break;
      }
    }
  }
  return true;
}

thread_local FitnessScope *currentScope = nullptr;

// The document that was found canonical last. Callers who verify in single steps have no scope, and
// would pay for a look at the whole document with each signature and each reference.
struct Inspected {
  const XmlDoc *document;
  uint64_t edits;
  bool isAffordable;
};
thread_local constinit Inspected t_inspected = {nullptr, 0, false};

// What speaks against a document is not remembered: it can be a want of memory.
bool inspectDocument(const XmlDoc *document, bool &isAffordable) noexcept {
  const uint64_t edits = editCount();
  if (document != nullptr && t_inspected.document == document && t_inspected.edits == edits) {
    isAffordable = t_inspected.isAffordable;
    return true;
  }
  Inspection inspection;
  const bool isCanonical = inspection.walkBelow(native(document));
  isAffordable = isCanonical && inspection.isAffordable();
  if (isCanonical) {
    t_inspected = {document, edits, isAffordable};
  }
  return isCanonical;
}

}  // namespace

bool isCanonicalBelow(const XmlNode *element) noexcept {
  Inspection inspection;
  return inspection.enter(native(element)) && inspection.walkBelow(native(element));
}

bool isAffordableBelow(const XmlNode *element) noexcept {
  Inspection inspection;
  for (const xmlNode *node = native(element)->parent;
       node != nullptr && node->type == XML_ELEMENT_NODE; node = node->parent) {
    inspection.addScopeOf(node);
  }
  return inspection.enter(native(element)) && inspection.walkBelow(native(element)) &&
         inspection.isAffordable();
}

FitnessScope::FitnessScope(const XmlDoc *document, Look look) noexcept
    : document_(document), look_(look), isOutermost_(currentScope == nullptr) {
  if (isOutermost_) {
    currentScope = this;
  }
}

FitnessScope::~FitnessScope() {
  if (isOutermost_) {
    currentScope = nullptr;
  }
}

FitnessScope *FitnessScope::of(const XmlDoc *document) noexcept {
  return currentScope != nullptr && currentScope->document_ == document ? currentScope : nullptr;
}

void FitnessScope::inspect() noexcept {
  bool isAffordable = false;
  isCanonical_ = inspectDocument(document_, isAffordable);
  isAffordable_ = isAffordable;
}

bool FitnessScope::holds() noexcept {
  if (isPutOff_ && !isCanonical_) {
    inspect();
  }
  return isCanonical_.value_or(true);
}

bool FitnessScope::isCanonical(const XmlDoc *document) noexcept {
  FitnessScope *scope = of(document);
  if (scope == nullptr) {
    bool isAffordable = false;
    return inspectDocument(document, isAffordable);
  }
  if (!scope->isCanonical_ && scope->look_ == Look::later) {
    scope->isPutOff_ = true;
    return true;
  }
  if (!scope->isCanonical_) {
    scope->inspect();
  }
  return *scope->isCanonical_;
}

bool FitnessScope::isAffordable(const XmlDoc *document) noexcept {
  FitnessScope *scope = of(document);
  if (scope == nullptr) {
    FitnessScope once(document);
    once.inspect();
    return *once.isAffordable_;
  }
  if (!scope->isAffordable_) {
    scope->inspect();
  }
  return *scope->isAffordable_;
}

void FitnessScope::noteCanonical(const XmlDoc *document) noexcept {
  FitnessScope *scope = of(document);
  if (scope != nullptr) {
    scope->isCanonical_ = true;
  }
}

}  // namespace talvo
