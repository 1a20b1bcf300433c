// The declaration of "xml" is one record for all documents, made at compile time.
#include "xml/namespace.h"

namespace talvo {
namespace {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast"
const xmlChar *const kXmlNamespaceUri = XML_XML_NAMESPACE;
#pragma GCC diagnostic pop
const xmlChar kXmlPrefix[] = "xml";

xmlNs xmlNamespaceRecord = {nullptr, XML_LOCAL_NAMESPACE, kXmlNamespaceUri, kXmlPrefix, nullptr,
                            nullptr};

}  // namespace

bool usesNamespaces(xmlNode *top) noexcept {
  bool uses = false;
  forEachNode(top, [&uses](const xmlNode *node) { uses = uses || hasNamespace(node); });
  return uses;
}

xmlNs *xmlNamespace() noexcept {
  return &xmlNamespaceRecord;
}

bool isXmlNamespace(const xmlNs *ns) noexcept {
  return ns->prefix != nullptr && xmlStrEqual(ns->prefix, kXmlPrefix);
}

void leaveXmlNamespace(xmlNode *node) noexcept {
  if (!hasNamespace(node) || node->doc == nullptr) {
    return;
  }
  for (const xmlNs *ns = node->doc->oldNs; ns != nullptr; ns = ns->next) {
    if (ns == node->ns) {
      node->ns = xmlNamespace();
    }
  }
}

xmlNs *declarationOn(const xmlNode *element, const xmlChar *prefix) noexcept {
  xmlNs *ns = element->nsDef;
  while (ns != nullptr && !xmlStrEqual(ns->prefix, prefix)) {
    ns = ns->next;
  }
  return ns;
}

xmlNs *declareNamespace(xmlNode *element, const xmlChar *uri, const xmlChar *prefix) noexcept {
  const MemoryWatch watch;
  xmlNs *ns = xmlNewNs(element, uri, prefix);
  if (ns == nullptr) {
    return nullptr;
  }
  // It comes without URI or without prefix where there was no memory for them.
  if (watch.exhausted()) {
    undeclareNamespace(element, ns);
    return nullptr;
  }
  noteEdit(element);
  return ns;
}

void undeclareNamespace(xmlNode *element, xmlNs *ns) noexcept {
  xmlNs **link = &element->nsDef;
  while (*link != ns) {
    link = &(*link)->next;
  }
  *link = ns->next;
  xmlFreeNs(ns);
}

}  // namespace talvo
