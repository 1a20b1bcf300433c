// Object elements. A node context can be used once: its nodes move, and a second signature made
// from it would otherwise tear them out of the first.
#include "signature/generate/object.h"

#include <utility>

#include "signature/context/context.h"
#include "signature/generate/element_writer.h"
#include "signature/generate/reference.h"
#include "signature/vocabulary/vocabulary.h"
#include "xml/node.h"

namespace {

using namespace talvo;

bool mayBeContent(const XmlNode *node) noexcept {
  const NodeKind kind = kindOf(node);
  return kind == NodeKind::element || kind == NodeKind::text || kind == NodeKind::comment ||
         kind == NodeKind::processingInstruction;
}

// The last step of an element: what was moved cannot be given back.
OwnedNode moveInto(ElementWriter &element, XmlNode *&first, bool &owns) noexcept {
  if (!element || !mayBeContent(first)) {
    return nullptr;
  }
  element.child(takeRun(first));
  first = nullptr;
  owns = false;
  return element.take();
}

ElementWriter objectElement(XmlDoc *doc, XmlNode *ns, const ObjectCtx &context) noexcept {
  ElementWriter object(doc, ns, g_xml_signature_object_name);
  object.optionalId(context.id)
      .optionalAttribute(g_xml_signature_mimetype_attr, context.mimeType)
      .optionalAttribute(g_xml_signature_encoding_attr, context.encoding);
  return object;
}

OwnedNode generateDataObject(XmlDoc *doc, XmlNode *ns, ObjectCtx &context) noexcept {
  return objectElement(doc, ns, context).text(context.text.get()).take();
}

OwnedNode generateNodeObject(XmlDoc *doc, XmlNode *ns, ObjectCtx &context) noexcept {
  ElementWriter object = objectElement(doc, ns, context);
  return moveInto(object, context.node, context.ownsNode);
}

// Deliberate: the Object around properties or a manifest has no attributes; the Id stands on the
// element inside.
OwnedNode wrap(XmlDoc *doc, XmlNode *ns, ElementWriter &content) noexcept {
  ElementWriter object(doc, ns, g_xml_signature_object_name);
  return object.open().part(content.take()).take();
}

OwnedNode generateProperty(XmlDoc *doc, XmlNode *ns, SignaturePropCtx &context) noexcept {
  ElementWriter property(doc, ns, g_xml_signature_signatureproperty);
  property.optionalId(context.id).attribute(g_xml_signature_target, context.target.get());
  return moveInto(property, context.content, context.ownsContent);
}

OwnedNode generatePropertiesObject(XmlDoc *doc, XmlNode *ns, ObjectCtx &context) noexcept {
  ElementWriter properties(doc, ns, g_xml_signature_signatureproperties);
  properties.optionalId(context.id).open();
  for (SignaturePropCtx *property : items<SignaturePropCtx>(context.contents)) {
    properties.part(generateProperty(doc, ns, *property));
  }
  return wrap(doc, ns, properties);
}

OwnedNode generateManifestObject(XmlDoc *doc, XmlNode *ns, ObjectCtx &context) noexcept {
  ElementWriter manifest(doc, ns, g_xml_signature_manifest);
  manifest.optionalId(context.id).open().part(generateReferences(doc, ns, context.contents.get()));
  return wrap(doc, ns, manifest);
}

OwnedNode generateObject(XmlDoc *doc, XmlNode *ns, ObjectCtx &context) noexcept {
  switch (context.kind) {
    case kObjectData:
      return generateDataObject(doc, ns, context);
    case kObjectNode:
      return generateNodeObject(doc, ns, context);
    case kObjectSignatureProperties:
      return generatePropertiesObject(doc, ns, context);
    case kObjectManifest:
      return generateManifestObject(doc, ns, context);
    default:
      return nullptr;
  }
}

}  // namespace

namespace talvo {

OwnedNode generateObjects(XmlDoc *doc, XmlNode *ns, const talvo_arraylist *objects) noexcept {
  RunWriter run(doc);
  for (ObjectCtx *context : items<ObjectCtx>(objects)) {
    run.part(generateObject(doc, ns, *context));
  }
  return run.take();
}

}  // namespace talvo

XmlNode *talvo_xml_objectsnode_gen(XmlDoc *doc, XmlNode *ns,
                                   const talvo_arraylist *objects) noexcept {
  return handOut(generateObjects(doc, ns, objects));
}
