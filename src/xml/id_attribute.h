// Declaring attributes as IDs, with the reason when that fails.
#pragma once

#include "talvo_xml.h"

namespace talvo {

enum class IdDeclaration {
  done,  // it is an ID, or another attribute of the document has been one under this value before
  refused,  // it can be none: an empty value, another document's attribute
  outOfMemory,
};

IdDeclaration declareId(XmlDoc *doc, XmlNode *attribute) noexcept;

}  // namespace talvo
