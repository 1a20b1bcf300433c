// Namespace declarations as libxml2 keeps them: on elements, and for "xml:" names on none.
#pragma once

#include "xml/tree.h"

namespace talvo {

inline bool hasNamespace(const xmlNode *node) noexcept {
  return (node->type == XML_ELEMENT_NODE || node->type == XML_ATTRIBUTE_NODE) &&
         node->ns != nullptr;
}
// Whether any name in the tree is in a namespace.
bool usesNamespaces(xmlNode *top) noexcept;

// The namespace of "xml:" names, which no element declares. libxml2 keeps a record for each
// document and binds the document's nodes to it; a node that leaves is bound to this one, which
// outlives all.
xmlNs *xmlNamespace() noexcept;
bool isXmlNamespace(const xmlNs *ns) noexcept;
// Binds one node to it if the node is bound to the record of its document.
void leaveXmlNamespace(xmlNode *node) noexcept;

// The element's own declaration of a prefix, null for none.
xmlNs *declarationOn(const xmlNode *element, const xmlChar *prefix) noexcept;
// Declares a namespace on an element. Null, and nothing declared, when the element declares the
// prefix already or memory is exhausted.
xmlNs *declareNamespace(xmlNode *element, const xmlChar *uri, const xmlChar *prefix) noexcept;
// Takes back a declaration of the element that nothing is bound to.
void undeclareNamespace(xmlNode *element, xmlNs *ns) noexcept;

}  // namespace talvo
