// Walks documents without asking for memory. Declarations in scope are counted on the way, because
// their number is what inclusive canonicalisation costs.
#include "transform/fitness.h"

#include <optional>

#include <libxml/uri.h>

#include "xml/document_state.h"
#include "xml/native.h"
#include "xml/node.h"

namespace talvo {
namespace {

// The inclusive methods look up each declaration in scope at each element, which costs the square of
// their number. Beyond this many steps, and this many for each element, a document is refused.
constexpr uint64_t kMostSteps = 2'000'000'000;
constexpr uint64_t kMostStepsPerElement = 20'000;

struct Fitness {
  bool isCanonical;
  bool isAffordable;
};

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

// Looks at a document and remembers what it found, unless it was libxml2's want of memory.
Fitness inspect(const XmlDoc *document, DocumentState *state) noexcept {
  const MemoryWatch watch;
  Inspection inspection;
  const bool isCanonical = inspection.walkBelow(native(document));
  const Fitness found = {isCanonical, isCanonical && inspection.isAffordable()};
  if (state != nullptr && !watch.exhausted()) {
    state->remember(Finding::isCanonical, found.isCanonical);
    state->remember(Finding::isAffordable, found.isAffordable);
  }
  return found;
}

// Callers who verify in single steps would pay for a look at the whole document with each signature and
// each reference.
bool holds(const XmlDoc *document, Finding finding, bool Fitness::*answer) noexcept {
  DocumentState *state = stateOf(document);
  const std::optional<bool> known = state == nullptr ? std::nullopt : state->recall(finding);
  return known.has_value() ? *known : inspect(document, state).*answer;
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

bool isCanonical(const XmlDoc *document) noexcept {
  return holds(document, Finding::isCanonical, &Fitness::isCanonical);
}

bool isAffordable(const XmlDoc *document) noexcept {
  return holds(document, Finding::isAffordable, &Fitness::isAffordable);
}

void noteCanonical(const XmlDoc *document) noexcept {
  if (DocumentState *state = stateOf(document); state != nullptr) {
    state->remember(Finding::isCanonical, true);
  }
}

}  // namespace talvo
