// The unsigned properties that hold validation data: finding one, making it where it is missing,
// and the position inside for the next value.
#pragma once

#include "talvo_xml.h"

#include "signature/generate/element_writer.h"

namespace talvo {

// The property of that name, made behind the last unsigned signature property where there is none.
// Null on failure.
XmlNode *findOrMakeProperty(XmlNode *signatureElement, const talvo_ustring *name) noexcept;

// How one property names the list inside it. A list is only found again in the XAdES namespace, a
// new one is made without namespace.
struct InnerList {
  const talvo_ustring *nameToFind;
  const talvo_ustring *nameToMake;
};

// The list inside the property, or a new one. Null on failure.
XmlNode *findOrMakeList(XmlNode *property, const InnerList &list) noexcept;

// Links a value behind the last child of the container and puts a line feed behind it.
bool appendValue(XmlNode *container, OwnedNode value) noexcept;

}  // namespace talvo
