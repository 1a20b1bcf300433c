// Declares Id attributes as IDs, so that same-document references find them. Only attributes inside
// signatures are ever declared by themselves: an Id elsewhere must come from a DTD, from xml:id or
// from the application.
#include <optional>
#include <string_view>

#include "talvo_xml.h"

#include "base/list.h"
#include "base/utf8.h"
#include "signature/record/record.h"
#include "signature/vocabulary/vocabulary.h"
#include "xml/document_state.h"
#include "xml/id_attribute.h"
#include "xml/node.h"

namespace talvo {
namespace {

// The element behind `node` and all below it, in document order within `top`.
XmlNode *nextBehind(XmlNode *node, const XmlNode *top) noexcept {
  while (node != top) {
    if (XmlNode *next = nextElement(node)) {
      return next;
    }
    node = talvo_xml_node_getparent(node);
  }
  return nullptr;
}

XmlNode *nextWithin(XmlNode *node, const XmlNode *top) noexcept {
  XmlNode *child = firstElementChild(node);
  return child == nullptr ? nextBehind(node, top) : child;
}

XmlNode *findAttribute(const XmlNode *element, std::string_view name) noexcept {
  XmlNode *attribute = talvo_xml_node_getattribute(element);
  while (attribute != nullptr &&
         (localName(attribute) != name || namespaceUri(attribute).data() != nullptr)) {
    attribute = talvo_xml_node_getnextsibling(attribute);
  }
  return attribute;
}

// `done` also without such an attribute.
IdDeclaration declareIdOf(XmlDoc *doc, const XmlNode *element, std::string_view name) noexcept {
  XmlNode *attribute = findAttribute(element, name);
  return attribute == nullptr ? IdDeclaration::done : declareId(doc, attribute);
}

IdDeclaration declareIdsWithin(XmlDoc *doc, XmlNode *top, std::string_view name) noexcept {
  IdDeclaration result = IdDeclaration::done;
  for (XmlNode *node = top; node != nullptr && result == IdDeclaration::done;
       node = nextWithin(node, top)) {
    result = declareIdOf(doc, node, name);
  }
  return result;
}

// `refused` also without any signature. A signature inside a signature is covered by the walk over
// the outer one.
IdDeclaration declareIdsOfSignatures(XmlDoc *doc) noexcept {
  IdDeclaration result = IdDeclaration::refused;
  XmlNode *root = talvo_xml_doc_getrootelement(doc);
  for (XmlNode *node = root; node != nullptr;) {
    if (!isElement(node, g_xml_signature_name, g_xml_signature_nsuri)) {
      node = nextWithin(node, root);
      continue;
    }
    result = declareIdsWithin(doc, node, viewOf(g_xml_signature_id));
    if (result != IdDeclaration::done) {
      return result;
    }
    node = nextBehind(node, root);
  }
  return result;
}

// Doing it once more changes nothing while the document is not edited, and would make the work over
// many signatures or references, each of which asks for it, grow with the square of their number.
bool areIdsDeclared(XmlDoc *doc) noexcept {
  DocumentState *state = stateOf(doc);
  if (state == nullptr) {
    return false;
  }
  if (const std::optional<bool> known = state->recall(Finding::areIdsDeclared)) {
    return *known;
  }
  const IdDeclaration result = declareIdsOfSignatures(doc);
  if (result != IdDeclaration::outOfMemory) {
    state->remember(Finding::areIdsDeclared, result == IdDeclaration::done);
  }
  return result == IdDeclaration::done;
}

bool declareIdsOfRecord(const Signature &signature) noexcept {
  const auto declare = [&signature](const XmlNode *element) {
    return declareIdOf(signature.document, element, viewOf(g_xml_signature_id)) ==
           IdDeclaration::done;
  };
  if (!declare(signature.element) || !declare(signature.signedInfo->element)) {
    return false;
  }
  for (const Reference *reference : items<Reference>(signature.signedInfo->references)) {
    if (!declare(reference->element)) {
      return false;
    }
  }
  if (!declare(signature.signatureValue->element)) {
    return false;
  }
  for (const Object *object : items<Object>(signature.objects)) {
    if (!declare(object->element)) {
      return false;
    }
  }
  return true;
}

}  // namespace
}  // namespace talvo

using namespace talvo;

int32_t talvo_xml_signature_setid(XmlDoc *doc) noexcept {
  return areIdsDeclared(doc) ? 1 : 0;
}

int32_t talvo_xml_node_setsubtreeidattr(XmlDoc *doc, XmlNode *node,
                                        const talvo_ustring *name) noexcept {
  if (doc == nullptr || node == nullptr || name == nullptr) {
    return 0;
  }
  return declareIdsWithin(doc, node, viewOf(name)) == IdDeclaration::done ? 1 : 0;
}

int32_t talvo_xml_node_findsetidattr(XmlDoc *doc, XmlNode *node,
                                     const talvo_ustring *name) noexcept {
  if (doc == nullptr || node == nullptr || name == nullptr) {
    return 0;
  }
  return declareIdOf(doc, node, viewOf(name)) == IdDeclaration::done ? 1 : 0;
}

int32_t talvo_xml_signature_setidattr(Signature *signature) noexcept {
  return signature != nullptr && declareIdsOfRecord(*signature) ? 1 : 0;
}
