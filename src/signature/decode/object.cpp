#include "signature/decode/object.h"

#include "signature/decode/element_reader.h"
#include "signature/decode/reference.h"
#include "signature/decode/signature.h"

namespace talvo {
namespace {

// Where an object stands, for the decoders of what it holds.
struct Surroundings {
  XmlNode *signatureElement;
  int32_t depth;
};

Owned<SignatureProperty> decodeProperty(XmlNode *element) noexcept {
  if (!isSignatureElement(element, g_xml_signature_signatureproperty)) {
    return nullptr;
  }
  Owned<SignatureProperty> property = make<SignatureProperty>(kDecodeSource);
  if (!property ||
      !readAttributes(element, {{g_xml_signature_id, &property->id},
                                {g_xml_signature_target, &property->target}}) ||
      property->target == nullptr) {
    return nullptr;
  }
  property->element = element;
  return property;
}

Owned<SignatureProperties> decodeProperties(XmlNode *element) noexcept {
  Owned<SignatureProperties> properties = make<SignatureProperties>(kDecodeSource);
  if (!properties || !readOptionalId(element, &properties->id)) {
    return nullptr;
  }
  properties->element = element;
  ElementCursor children(element);
  properties->properties = readRest<SignatureProperty>(
      children, [](XmlNode *child) { return decodeProperty(child).release(); });
  return properties->properties ? std::move(properties) : nullptr;
}

int32_t contentKindOf(const XmlNode *node) noexcept {
  if (kindOf(node) == NodeKind::text) {
    return TALVO_OBJECT_TEXT;
  }
  if (isSignatureElement(node, g_xml_signature_name)) {
    return TALVO_OBJECT_SIGNATURE;
  }
  if (isSignatureElement(node, g_xml_signature_signatureproperties)) {
    return TALVO_OBJECT_SIGNATURE_PROPERTIES;
  }
  return isSignatureElement(node, g_xml_signature_manifest) ? TALVO_OBJECT_MANIFEST
                                                            : TALVO_OBJECT_NODE;
}

bool readContent(XmlNode *node, const Surroundings &around, ObjectContent &content) noexcept {
  switch (content.kind) {
    case TALVO_OBJECT_TEXT:
      return store(UString(talvo_xml_node_getvalue(node)), &content.data);
    case TALVO_OBJECT_SIGNATURE:
      return store(decodeSignature(node, Registration::skip, around.depth + 1), &content.data);
    case TALVO_OBJECT_SIGNATURE_PROPERTIES:
      return store(decodeProperties(node), &content.data);
    case TALVO_OBJECT_MANIFEST:
      return store(
          Owned<Manifest>(talvo_xml_decode_signature_manifest(node, around.signatureElement)),
          &content.data);
    default:
      return store(node, &content.data);
  }
}

Owned<ObjectContent> decodeContent(XmlNode *node, const Surroundings &around) noexcept {
  Owned<ObjectContent> content = make<ObjectContent>(kDecodeSource);
  if (!content) {
    return nullptr;
  }
  content->kind = contentKindOf(node);
  return readContent(node, around, *content) ? std::move(content) : nullptr;
}

}  // namespace
}  // namespace talvo

using namespace talvo;

Object *talvo_xml_decode_signature_object(XmlNode *element, XmlNode *signatureElement,
                                          int32_t depth) noexcept {
  if (!isSignatureElement(element, g_xml_signature_object_name)) {
    return nullptr;
  }
  Owned<Object> object = make<Object>(kDecodeSource);
  if (!object || !readAttributes(element, {{g_xml_signature_id, &object->id},
                                           {g_xml_signature_mimetype_attr, &object->mimeType},
                                           {g_xml_signature_encoding_attr, &object->encoding}})) {
    return nullptr;
  }
  object->element = element;
  ElementCursor children(element);
  if (children.atEnd()) {
    return object.release();
  }
  const Surroundings around{signatureElement, depth};
  object->content = readRest<ObjectContent>(
      children, [&around](XmlNode *node) { return decodeContent(node, around).release(); });
  return object->content ? object.release() : nullptr;
}
