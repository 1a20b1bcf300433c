// What libxml2 refuses to canonicalise: it looks at all that stands in a document, whatever part of it
// is asked for. A part that runs alone therefore needs a look at the rest, which is a plain walk.
#pragma once

#include <optional>

#include "talvo_xml.h"

namespace talvo {

// What inspecting a document found.
struct Fitness {
  bool isCanonical = true;   // no relative namespace URI, no entity reference
  bool isAffordable = true;  // for inclusive canonicalisation

  bool allows(bool isInclusive) const noexcept {
    return isCanonical && (isAffordable || !isInclusive);
  }
};

// Whether nothing at or below the element would be refused.
bool isCanonicalBelow(const XmlNode *element) noexcept;

// While one of these lives, its document is inspected once and not again for the next subtree: with
// many references in one document that would cost the square of their number. The owner promises
// that the document lives and gets no element, attribute or namespace declaration meanwhile; text
// may be added. Scopes nest; the outermost one remembers, for its own thread.
class FitnessScope {
 public:
  explicit FitnessScope(const XmlDoc *document) noexcept;
  ~FitnessScope();
  FitnessScope(const FitnessScope &) = delete;
  FitnessScope &operator=(const FitnessScope &) = delete;

  // Whether libxml2 would canonicalise the document, or a part of it, at an acceptable cost.
  static bool isFit(const XmlDoc *document, bool isInclusive) noexcept;

 private:
  const XmlDoc *document_;
  std::optional<Fitness> fitness_;
  bool isOutermost_;
};

}  // namespace talvo
