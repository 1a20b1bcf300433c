// Documents as whole objects: libxml2's structure together with the state that the library keeps in
// it.
#pragma once

#include "xml/document_state.h"
#include "xml/native.h"

namespace talvo {

// Frees the structure and its state. Nothing outside it may point at the document any more.
void destroyDocument(xmlDoc *doc) noexcept;

using NativeDoc = Handle<xmlDoc, destroyDocument>;

// Gives a document that libxml2 made its state and hands it out, registered. Null, with the
// document freed, when there is none or memory is exhausted or was, on the way to it.
XmlDoc *handOutDocument(const MemoryWatch &watch, NativeDoc doc, uint32_t parseFlags) noexcept;

}  // namespace talvo
