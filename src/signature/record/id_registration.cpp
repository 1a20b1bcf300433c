// Declares Id attributes as IDs, so that same-document references find them. Only attributes inside
// signatures are ever declared by themselves: an Id elsewhere must come from a DTD, from xml:id or
// from the application.
#include <string_view>

#include "talvo_xml.h"

#include "base/list.h"
#include "base/utf8.h"
#include "signature/record/record.h"
#include "signature/vocabulary/vocabulary.h"
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

bool declareId(XmlDoc *doc, const XmlNode *node, std::string_view name) noexcept {
  XmlNode *attribute = findAttribute(node, name);
  return attribute == nullptr || talvo_xml_node_setidattr(doc, attribute) == 1;
}

bool declareIdsWithin(XmlDoc *doc, XmlNode *top, std::string_view name) noexcept {
  for (XmlNode *node = top; node != nullptr; node = nextWithin(node, top)) {
    if (!declareId(doc, node, name)) {
      return false;
    }
  }
  return true;
}

// A signature inside a signature is covered by the walk over the outer one.
bool declareIdsOfSignatures(XmlDoc *doc, XmlNode *root) noexcept {
  bool found = false;
  for (XmlNode *node = root; node != nullptr;) {
    if (!isElement(node, g_xml_signature_name, g_xml_signature_nsuri)) {
      node = nextWithin(node, root);
      continue;
    }
    found = true;
    if (!declareIdsWithin(doc, node, viewOf(g_xml_signature_id))) {
      return false;
    }
    node = nextBehind(node, root);
  }
  return found;
}

// The document whose signatures were declared last, and whether all could be. Doing it once more
// changes nothing while no document is edited, and would make the work over many signatures or
// references, each of which asks for it, grow with the square of their number.
struct Declared {
  const XmlDoc *doc;
  uint64_t edits;
  bool all;
};
thread_local constinit Declared t_declared = {nullptr, 0, false};

bool declareIdsOfSignaturesOnce(XmlDoc *doc) noexcept {
  const uint64_t edits = editCount();
  const int64_t refusals = talvo_memory_getrefusals();
  if (t_declared.doc != doc || t_declared.edits != edits) {
    const bool all = declareIdsOfSignatures(doc, talvo_xml_doc_getrootelement(doc));
    const bool lackedMemory = talvo_memory_getrefusals() != refusals;
    t_declared = {lackedMemory ? nullptr : doc, edits, all};
    return all;
  }
  return doc != nullptr && t_declared.all;
}

bool declareIdsOfRecord(const Signature &signature) noexcept {
  const std::string_view name = viewOf(g_xml_signature_id);
  XmlDoc *doc = signature.document;
  if (!declareId(doc, signature.element, name) ||
      !declareId(doc, signature.signedInfo->element, name)) {
    return false;
  }
  for (const Reference *reference : items<Reference>(signature.signedInfo->references)) {
    if (!declareId(doc, reference->element, name)) {
      return false;
    }
  }
  if (!declareId(doc, signature.signatureValue->element, name)) {
    return false;
  }
  for (const Object *object : items<Object>(signature.objects)) {
    if (!declareId(doc, object->element, name)) {
      return false;
    }
  }
  return true;
}

}  // namespace
}  // namespace talvo

using namespace talvo;

int32_t talvo_xml_signature_setid(XmlDoc *doc) noexcept {
  return declareIdsOfSignaturesOnce(doc) ? 1 : 0;
}

int32_t talvo_xml_node_setsubtreeidattr(XmlDoc *doc, XmlNode *node,
                                        const talvo_ustring *name) noexcept {
  if (doc == nullptr || node == nullptr || name == nullptr) {
    return 0;
  }
  return declareIdsWithin(doc, node, viewOf(name)) ? 1 : 0;
}

int32_t talvo_xml_node_findsetidattr(XmlDoc *doc, XmlNode *node,
                                     const talvo_ustring *name) noexcept {
  if (doc == nullptr || node == nullptr || name == nullptr) {
    return 0;
  }
  return declareId(doc, node, viewOf(name)) ? 1 : 0;
}

int32_t talvo_xml_signature_setidattr(Signature *signature) noexcept {
  return signature != nullptr && declareIdsOfRecord(*signature) ? 1 : 0;
}
