// What libxml2 refuses to canonicalise: it looks at all that stands in a document, whatever part of it
// is asked for. A part that runs alone therefore needs a look at the rest, which is a plain walk.
#pragma once

#include <optional>

#include "talvo_xml.h"

namespace talvo {

// Whether nothing at or below the element would be refused.
bool isCanonicalBelow(const XmlNode *element) noexcept;
// Whether the inclusive methods can canonicalise the subtree at an acceptable cost: each element
// costs the square of the declarations in scope there.
bool isAffordableBelow(const XmlNode *element) noexcept;

// While one of these lives, its document is inspected once and not again for the next subtree: with
// many references in one document that would cost the square of their number. The owner promises
// that the document lives and gets no element, attribute or namespace declaration meanwhile; text
// may be added. Scopes nest; the outermost one remembers, for its own thread.
class FitnessScope {
 public:
  enum class Look { now, later };

  // Look::later takes a document for canonical until `holds` is asked, because a reference to all of
  // it is likely to come and will tell at no cost. Nothing counts before `holds` is true.
  explicit FitnessScope(const XmlDoc *document, Look look = Look::now) noexcept;
  ~FitnessScope();
  FitnessScope(const FitnessScope &) = delete;
  FitnessScope &operator=(const FitnessScope &) = delete;

  bool holds() noexcept;

  // Whether there is no relative namespace URI and no entity reference anywhere.
  static bool isCanonical(const XmlDoc *document) noexcept;
  // Whether moreover the inclusive methods have an acceptable cost.
  static bool isAffordable(const XmlDoc *document) noexcept;
  // To be told when libxml2 has been through the whole document.
  static void noteCanonical(const XmlDoc *document) noexcept;

 private:
  static FitnessScope *of(const XmlDoc *document) noexcept;
  void inspect() noexcept;

  const XmlDoc *document_;
  Look look_;
  bool isPutOff_ = false;
  std::optional<bool> isCanonical_;
  std::optional<bool> isAffordable_;
  bool isOutermost_;
};

}  // namespace talvo
