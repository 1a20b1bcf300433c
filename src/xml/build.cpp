// Making nodes: for callers, who get them registered, and for generators, who get them as
// OwnedNode.
#include "base/utf8.h"
#include "xml/document.h"
#include "xml/edit.h"
#include "xml/id_table.h"
#include "xml/namespace.h"
#include "xml/native.h"
#include "xml/node.h"
#include "xml/registry.h"
#include "xml/tree.h"

namespace talvo {
namespace {

constexpr std::string_view kXmlPrefix = "xml:";

// Null or of the kind; where libxml2 would take anything.
bool isOptional(const XmlNode *node, NodeKind kind) noexcept {
  return node == nullptr || kindOf(node) == kind;
}

bool isUsable(const talvo_ustring *optional) noexcept {
  return optional == nullptr || Utf8(optional);
}

const xmlChar *textOf(const talvo_ustring *string) noexcept {
  return xmlText(Utf8(string).get());
}

// What libxml2 made, unless memory was exhausted on the way.
OwnedNode whole(const MemoryWatch &watch, xmlNode *made) noexcept {
  OwnedNode node(handleOf(made));
  return watch.exhausted() ? nullptr : std::move(node);
}

// libxml2 declares an attribute that is an ID by its name, but not where another one had the value
// that is not in the document any more. False when memory is exhausted.
bool isKnownIfId(xmlAttr *attribute) noexcept {
  if (attribute->doc == nullptr || isId(asNode(attribute)) ||
      xmlIsID(attribute->doc, attribute->parent, attribute) != 1) {
    return true;
  }
  const XmlChars value(xmlNodeGetContent(asNode(attribute)));
  return value && enterId(attribute, value.get()) != IdDeclaration::outOfMemory;
}

xmlAttr *newAttribute(xmlNode *element, xmlNs *ns, const xmlChar *name,
                      const xmlChar *value) noexcept {
  const MemoryWatch watch;
  const AtHome home(element);
  noteEdit(element);
  xmlAttr *attribute =
      ns == nullptr ? xmlNewProp(element, name, value) : xmlNewNsProp(element, ns, name, value);
  if (attribute == nullptr || watch.exhausted() || !isKnownIfId(attribute)) {
    freeTree(asNode(attribute));
    return nullptr;
  }
  return attribute;
}

// Deliberate: of the attributes only the first is looked at, so that an element can get a second
// attribute of one name.
XmlNode *setExisting(const XmlNode *element, const talvo_ustring *name, const talvo_ustring *uri,
                     const talvo_ustring *value, bool *found) noexcept {
  XmlNode *existing = talvo_xml_node_findattribute(element, name, uri);
  *found = existing != nullptr;
  return *found && talvo_xml_node_setvalue(existing, value) == 1 ? existing : nullptr;
}

// Lets libxml2 find, for a scope, the declarations that a detached tree carries: on its top, where
// they become part of a copy.
class CarriedInReach {
 public:
  explicit CarriedInReach(xmlNode *node) noexcept {
    while (node->parent != nullptr) {
      node = node->parent;
    }
    xmlNs *carried = carriedNamespaces(handleOf(node));
    if (carried == nullptr || node->type != XML_ELEMENT_NODE) {
      return;
    }
    end_ = &node->nsDef;
    while (*end_ != nullptr) {
      end_ = &(*end_)->next;
    }
    *end_ = carried;
  }
  ~CarriedInReach() {
    if (end_ != nullptr) {
      *end_ = nullptr;
    }
  }
  CarriedInReach(const CarriedInReach &) = delete;
  CarriedInReach &operator=(const CarriedInReach &) = delete;

 private:
  xmlNs **end_ = nullptr;
};

// A copy that no free function releases: kept until shut-down or until it is linked. The copy of an
// attribute belongs to the document of the original at once.
XmlNode *keepDetached(const MemoryWatch &watch, xmlNode *copy) noexcept {
  if (copy == nullptr) {
    return nullptr;
  }
  xmlDoc *doc = copy->type == XML_ATTRIBUTE_NODE ? copy->doc : nullptr;
  if (watch.exhausted() || !track(handleOf(copy), Tracking::detached, handleOf(doc))) {
    releaseTree(copy, doc);
    return nullptr;
  }
  return handleOf(copy);
}

}  // namespace

OwnedNode makeElement(const XmlNode *ns, const talvo_ustring *name) noexcept {
  if (!Utf8(name) || !isOptional(ns, NodeKind::namespaceDeclaration)) {
    return nullptr;
  }
  const MemoryWatch watch;
  return whole(watch, xmlNewNode(nativeNs(ns), textOf(name)));
}

OwnedNode makeText(XmlDoc *doc, const talvo_ustring *text) noexcept {
  if (!Utf8(text) || !isOptional(doc, NodeKind::document)) {
    return nullptr;
  }
  const MemoryWatch watch;
  return whole(watch, xmlNewDocText(nativeDoc(doc), textOf(text)));
}

bool addAttribute(XmlNode *element, const talvo_ustring *name,
                  const talvo_ustring *value) noexcept {
  return kindOf(element) == NodeKind::element && Utf8(name) && Utf8(value) &&
         newAttribute(native(element), nullptr, textOf(name), textOf(value)) != nullptr;
}

}  // namespace talvo

using namespace talvo;

XmlDoc *talvo_xml_doc_new(uint32_t version) noexcept {
  if (version > TALVO_XML_11) {
    return nullptr;
  }
  const MemoryWatch watch;
  return handOutDocument(watch,
                         NativeDoc(xmlNewDoc(xmlText(version == TALVO_XML_10 ? "1.0" : "1.1"))), 0);
}

XmlNode *talvo_xml_node_newelem(const XmlNode *ns, const talvo_ustring *name) noexcept {
  return handOut(makeElement(ns, name));
}

XmlNode *talvo_xml_node_newtext(XmlDoc *doc, const talvo_ustring *text) noexcept {
  return handOut(makeText(doc, text));
}

XmlNode *talvo_xml_node_newcomment(XmlDoc *doc, const talvo_ustring *text) noexcept {
  if (!Utf8(text) || !isOptional(doc, NodeKind::document)) {
    return nullptr;
  }
  const MemoryWatch watch;
  return handOut(whole(watch, doc == nullptr ? xmlNewComment(textOf(text))
                                             : xmlNewDocComment(nativeDoc(doc), textOf(text))));
}

XmlNode *talvo_xml_node_newpi(XmlDoc *doc, const talvo_ustring *name,
                              const talvo_ustring *content) noexcept {
  if (!Utf8(name) || !isUsable(content) || !isOptional(doc, NodeKind::document)) {
    return nullptr;
  }
  const MemoryWatch watch;
  return handOut(whole(watch, xmlNewDocPI(nativeDoc(doc), textOf(name), textOf(content))));
}

XmlNode *talvo_xml_node_newns(XmlNode *element, const talvo_ustring *uri,
                              const talvo_ustring *prefix) noexcept {
  if (kindOf(element) != NodeKind::element || !isUsable(uri) || !isUsable(prefix)) {
    return nullptr;
  }
  return handleOf(declareNamespace(native(element), textOf(uri), textOf(prefix)));
}

XmlNode *talvo_xml_node_newattr(XmlNode *element, const XmlNode *ns, const talvo_ustring *name,
                                const talvo_ustring *value) noexcept {
  const UString uri(talvo_xml_node_getnsuri(ns));
  if (ns != nullptr && !uri) {
    return nullptr;
  }
  bool found = false;
  XmlNode *existing = setExisting(element, name, uri.get(), value, &found);
  if (found) {
    return existing;
  }
  if (kindOf(element) != NodeKind::element || !isOptional(ns, NodeKind::namespaceDeclaration) ||
      !Utf8(name) || !Utf8(value)) {
    return nullptr;
  }
  if (ns == nullptr && viewOf(name).size() > kXmlPrefix.size() &&
      viewOf(name).starts_with(kXmlPrefix)) {
    const xmlChar *localPart = textOf(name) + kXmlPrefix.size();
    return handleOf(newAttribute(native(element), xmlNamespace(), localPart, textOf(value)));
  }
  return handleOf(newAttribute(native(element), nativeNs(ns), textOf(name), textOf(value)));
}

XmlNode *talvo_xml_node_dup(const XmlNode *node) noexcept {
  const MemoryWatch watch;
  switch (kindOf(node)) {
    case NodeKind::unsupported:
      return nullptr;
    case NodeKind::document:
      return handOutDocument(watch, NativeDoc(xmlCopyDoc(nativeDoc(node), 1)),
                             stateOf(node)->parseFlags());
    case NodeKind::attribute:
    case NodeKind::namespaceDeclaration:
      return keepDetached(watch, xmlCopyNode(native(node), 1));
    default: {
      const CarriedInReach carried(native(node));
      return handOut(whole(watch, xmlCopyNode(native(node), 1)));
    }
  }
}
