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

// What every Object is made with.
struct Scope {
  XmlDoc *doc;
  XmlNode *ns;
  MovedRuns &moved;
};

// The element stays empty until the caller's nodes are moved in.
OwnedNode leaveRoom(OwnedNode element, XmlNode **first, bool *owns, MovedRuns &moved) noexcept {
  return element && moved.expect(element.get(), first, owns) ? std::move(element) : nullptr;
}

ElementWriter objectElement(const Scope &scope, const ObjectCtx &context) noexcept {
  ElementWriter object(scope.doc, scope.ns, g_xml_signature_object_name);
  object.optionalId(context.id)
      .optionalAttribute(g_xml_signature_mimetype_attr, context.mimeType)
      .optionalAttribute(g_xml_signature_encoding_attr, context.encoding);
  return object;
}

OwnedNode generateDataObject(const Scope &scope, ObjectCtx &context) noexcept {
  return objectElement(scope, context).text(context.text.get()).take();
}

OwnedNode generateNodeObject(const Scope &scope, ObjectCtx &context) noexcept {
  return leaveRoom(objectElement(scope, context).take(), &context.node, &context.ownsNode,
                   scope.moved);
}

// Deliberate: the Object around properties or a manifest has no attributes; the Id stands on the
// element inside.
OwnedNode wrap(const Scope &scope, ElementWriter &content) noexcept {
  ElementWriter object(scope.doc, scope.ns, g_xml_signature_object_name);
  return object.open().part(content.take()).take();
}

OwnedNode generateProperty(const Scope &scope, SignaturePropCtx &context) noexcept {
  ElementWriter property(scope.doc, scope.ns, g_xml_signature_signatureproperty);
  property.optionalId(context.id).attribute(g_xml_signature_target, context.target.get());
  return leaveRoom(property.take(), &context.content, &context.ownsContent, scope.moved);
}

OwnedNode generatePropertiesObject(const Scope &scope, ObjectCtx &context) noexcept {
  ElementWriter properties(scope.doc, scope.ns, g_xml_signature_signatureproperties);
  properties.optionalId(context.id).open();
  for (SignaturePropCtx *property : items<SignaturePropCtx>(context.contents)) {
    properties.part(generateProperty(scope, *property));
  }
  return wrap(scope, properties);
}

OwnedNode generateManifestObject(const Scope &scope, ObjectCtx &context) noexcept {
  ElementWriter manifest(scope.doc, scope.ns, g_xml_signature_manifest);
  manifest.optionalId(context.id)
      .open()
      .part(generateReferences(scope.doc, scope.ns, context.contents.get()));
  return wrap(scope, manifest);
}

OwnedNode generateObject(const Scope &scope, ObjectCtx &context) noexcept {
  switch (context.kind) {
    case TALVO_OBJECT_TEXT:
      return generateDataObject(scope, context);
    case TALVO_OBJECT_NODE:
      return generateNodeObject(scope, context);
    case TALVO_OBJECT_SIGNATURE_PROPERTIES:
      return generatePropertiesObject(scope, context);
    case TALVO_OBJECT_MANIFEST:
      return generateManifestObject(scope, context);
    default:
      return nullptr;
  }
}

}  // namespace

namespace talvo {

OwnedNode generateObjects(XmlDoc *doc, XmlNode *ns, const talvo_arraylist *objects,
                          MovedRuns &moved) noexcept {
  const Scope scope{doc, ns, moved};
  RunWriter run(doc);
  for (ObjectCtx *context : items<ObjectCtx>(objects)) {
    run.part(generateObject(scope, *context));
  }
  return run.take();
}

}  // namespace talvo

XmlNode *talvo_xml_objectsnode_gen(XmlDoc *doc, XmlNode *ns,
                                   const talvo_arraylist *objects) noexcept {
  OwnedNode run;
  // Behind the run: what was moved into it goes back before it is freed.
  MovedRuns moved;
  run = generateObjects(doc, ns, objects, moved);
  if (!run || !moved.fill()) {
    return nullptr;
  }
  moved.commit();
  return handOut(std::move(run));
}
