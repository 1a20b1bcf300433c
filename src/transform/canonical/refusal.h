// What the standard says has no canonical form: a document with a namespace URI that is relative,
// and, because entities must be replaced, one with an entity reference. It counts wherever it
// stands.
#pragma once

#include <libxml/tree.h>

#include "talvo_xml.h"

namespace talvo {

class RefusalLook {
 public:
  // False for what is refused, and when memory is exhausted. Of an element that is its
  // declarations.
  bool admits(const xmlNode *node) noexcept;
  // Everything at or below a node.
  bool admitsAll(const xmlNode *top) noexcept;

 private:
  bool isAbsolute(const xmlChar *uri) noexcept;

  const xmlChar *lastAbsolute_ = nullptr;
};

// Whether a document has a canonical form. The look is taken once and remembered in the document
// until it is edited, because callers canonicalise many parts of one document.
bool isCanonical(const XmlDoc *document) noexcept;

}  // namespace talvo
