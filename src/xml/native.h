// libxml2 as the library sees it: the casts between handles and libxml2's structures, owning
// handles for its objects, and the watch over its exhausted memory. An XmlNode is an xmlNode, an
// xmlAttr, an xmlNs or an xmlDoc in disguise: all four carry their kind at the same place.
#pragma once

#include <string_view>

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlsave.h>
#include <libxml/xpath.h>

#include "talvo_xml.h"

#include "base/handle.h"

namespace talvo {

// libxml2 takes pointers to non-const even where it only reads, hence the one const_cast here.
inline xmlNode *native(const XmlNode *node) noexcept {
  return reinterpret_cast<xmlNode *>(const_cast<XmlNode *>(node));
}
inline xmlDoc *nativeDoc(const XmlDoc *doc) noexcept {
  return reinterpret_cast<xmlDoc *>(native(doc));
}
inline xmlNs *nativeNs(const XmlNode *ns) noexcept {
  return reinterpret_cast<xmlNs *>(native(ns));
}
inline xmlAttr *nativeAttr(const XmlNode *attribute) noexcept {
  return reinterpret_cast<xmlAttr *>(native(attribute));
}

inline XmlNode *handleOf(xmlNode *node) noexcept {
  return reinterpret_cast<XmlNode *>(node);
}
inline XmlNode *handleOf(xmlAttr *attribute) noexcept {
  return reinterpret_cast<XmlNode *>(attribute);
}
inline XmlNode *handleOf(xmlNs *ns) noexcept {
  return reinterpret_cast<XmlNode *>(ns);
}
inline XmlDoc *handleOf(xmlDoc *doc) noexcept {
  return reinterpret_cast<XmlDoc *>(doc);
}

inline xmlNode *asNode(xmlAttr *attribute) noexcept {
  return reinterpret_cast<xmlNode *>(attribute);
}
inline xmlNode *asNode(xmlDoc *doc) noexcept {
  return reinterpret_cast<xmlNode *>(doc);
}
inline xmlAttr *asAttr(xmlNode *node) noexcept {
  return reinterpret_cast<xmlAttr *>(node);
}

inline const xmlChar *xmlText(const char *text) noexcept {
  return reinterpret_cast<const xmlChar *>(text);
}
inline const char *plainText(const xmlChar *text) noexcept {
  return reinterpret_cast<const char *>(text);
}
// No data for a null text.
inline std::string_view viewOf(const xmlChar *text) noexcept {
  return text == nullptr ? std::string_view() : std::string_view(plainText(text));
}

// xmlFree is a variable, not a function.
inline void freeXmlChars(xmlChar *text) noexcept {
  xmlFree(text);
}

using XmlChars = Handle<xmlChar, freeXmlChars>;
using XmlBuffer = Handle<xmlBuffer, xmlBufferFree>;
using ParserContext = Handle<xmlParserCtxt, xmlFreeParserCtxt>;
using XPathContext = Handle<xmlXPathContext, xmlXPathFreeContext>;
using XPathObject = Handle<xmlXPathObject, xmlXPathFreeObject>;
using XPathExpression = Handle<xmlXPathCompExpr, xmlXPathFreeCompExpr>;

// Gives what libxml2 reports to the MemoryWatch that is its context.
extern "C" void noteLibxmlError(void *watch, xmlError *error) noexcept;

// Notices, for one scope and one thread, that libxml2 ran out of memory. It is needed because
// libxml2 can answer success all the same, with a document that lacks parts; and because a text
// that reaches its limit of 10,000,000 bytes piece by piece is cut there and reported in this way
// only.
class MemoryWatch {
 public:
  MemoryWatch() noexcept
      : previous_(xmlStructuredError), previousContext_(xmlStructuredErrorContext) {
    xmlSetStructuredErrorFunc(this, noteLibxmlError);
  }
  ~MemoryWatch() { xmlSetStructuredErrorFunc(previousContext_, previous_); }
  MemoryWatch(const MemoryWatch &) = delete;
  MemoryWatch &operator=(const MemoryWatch &) = delete;

  bool exhausted() const noexcept { return exhausted_; }
  void note(const xmlError &error) noexcept {
    exhausted_ = exhausted_ || error.code == XML_ERR_NO_MEMORY;
  }

  // An XPath context keeps its errors to itself unless told where they go.
  void follow(xmlXPathContext *context) noexcept {
    context->error = noteLibxmlError;
    context->userData = this;
  }

 private:
  xmlStructuredErrorFunc previous_;
  void *previousContext_;
  bool exhausted_ = false;
};

}  // namespace talvo
