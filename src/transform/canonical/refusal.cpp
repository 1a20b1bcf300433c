// Namespace URIs are few and repeated, so that hardly any is parsed.
#include "transform/canonical/refusal.h"

#include <libxml/uri.h>

#include "base/handle.h"
#include "xml/document_state.h"
#include "xml/native.h"
#include "xml/tree.h"

namespace talvo {

// Documents declare the same few URIs again and again: remember one.
bool RefusalLook::isAbsolute(const xmlChar *uri) noexcept {
  if (uri == nullptr || *uri == 0 || xmlStrEqual(uri, lastAbsolute_) != 0) {
    return true;
  }
  const Handle<xmlURI, xmlFreeURI> parsed(xmlParseURI(plainText(uri)));
  if (parsed == nullptr || parsed->scheme == nullptr) {
    return false;
  }
  lastAbsolute_ = uri;
  return true;
}

bool RefusalLook::admits(const xmlNode *node) noexcept {
  if (node->type != XML_ELEMENT_NODE) {
    return node->type != XML_ENTITY_REF_NODE;
  }
  for (const xmlNs *ns = node->nsDef; ns != nullptr; ns = ns->next) {
    if (!isAbsolute(ns->href)) {
      return false;
    }
  }
  return true;
}

bool RefusalLook::admitsAll(const xmlNode *top) noexcept {
  for (const xmlNode *node = top; node != nullptr;
       node = nextInTree(const_cast<xmlNode *>(node), top)) {
    if (!admits(node)) {
      return false;
    }
  }
  return true;
}

// What speaks against a document is not remembered: it can be a want of memory.
bool isCanonical(const XmlDoc *document) noexcept {
  DocumentState *state = stateOf(document);
  if (state == nullptr) {
    return false;
  }
  if (state->recall(Finding::isCanonical).value_or(false)) {
    return true;
  }
  const MemoryWatch quiet;
  const bool admitted = RefusalLook().admitsAll(native(document));
  if (admitted) {
    state->remember(Finding::isCanonical, true);
  }
  return admitted;
}

}  // namespace talvo
