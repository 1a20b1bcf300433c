// Questions about nodes that cost no allocation: the decoders ask them once or more for each
// element of a signature, so they compare libxml2's bytes with the strings in place.
#pragma once

#include <span>
#include <string_view>

#include "talvo_xml.h"

#include "base/handle.h"

namespace talvo {

// The codes of talvo_xml_node_gettype.
enum class NodeKind : uint32_t {
  element = TALVO_NODE_ELEMENT,
  attribute = TALVO_NODE_ATTRIBUTE,
  text = TALVO_NODE_TEXT,
  processingInstruction = TALVO_NODE_PROCESSING_INSTRUCTION,
  comment = TALVO_NODE_COMMENT,
  document = TALVO_NODE_DOCUMENT,
  namespaceDeclaration = TALVO_NODE_NAMESPACE,
  unsupported = 0xFFFFFFFF,
};

NodeKind kindOf(const XmlNode *node) noexcept;

// The texts that talvo_xml_node_getname and talvo_xml_node_getnsuri would copy. A view without data
// stands for their null; the empty namespace that xmlns="" declares has data and no length.
std::string_view localName(const XmlNode *node) noexcept;
std::string_view namespaceUri(const XmlNode *node) noexcept;

// A node of any kind with this local name and namespace; a null `nsuri` means no namespace.
bool matches(const XmlNode *node, const talvo_ustring *name, const talvo_ustring *nsuri) noexcept;
// The same, of elements only.
bool isElement(const XmlNode *node, const talvo_ustring *name, const talvo_ustring *nsuri) noexcept;

// White space alone, in a text node.
bool isBlankText(const XmlNode *node) noexcept;

// The first child or following sibling that is an element, whatever stands before it.
XmlNode *firstElementChild(const XmlNode *node) noexcept;
XmlNode *nextElement(const XmlNode *node) noexcept;

// The last child of any kind, no text run skipped; null for what has no children.
XmlNode *lastChild(const XmlNode *node) noexcept;
// The immediate neighbours of any kind, no text run skipped.
XmlNode *followingNode(const XmlNode *node) noexcept;
XmlNode *precedingNode(const XmlNode *node) noexcept;

struct PrefixBinding {
  const char *prefix;
  const char *uri;
};
// What an XPath expression selects, in document order and without namespace nodes; the bindings
// come before the prefixes in scope at the node. Null when it is no expression for nodes, or memory
// is exhausted.
List selectXPath(XmlNode *node, const char *expression,
                 std::span<const PrefixBinding> bindings) noexcept;

// Whether an attribute is declared as an ID.
bool isIdAttribute(const XmlNode *attribute) noexcept;
// Whether the document has a document type, read or not.
bool hasDocumentType(const XmlDoc *doc) noexcept;

// Whether `node` is `ancestor` or lies anywhere below it.
bool isAtOrBelow(const XmlNode *node, const XmlNode *ancestor) noexcept;
// Whether `node` is reached from its document, and not left over from an edit.
bool isInDocument(const XmlNode *node, const XmlDoc *doc) noexcept;

}  // namespace talvo
