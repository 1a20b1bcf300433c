#include "signature/decode/reference.h"

#include "signature/vocabulary/algorithm.h"

namespace talvo {
namespace {

Owned<Transform> decodeTransform(XmlNode *element, XmlNode *signatureElement) noexcept {
  if (!isSignatureElement(element, g_xml_signature_transform_name)) {
    return nullptr;
  }
  Owned<Transform> transform = make<Transform>(kDecodeSource);
  if (!transform || !readAlgorithm(element, &transform->algorithm)) {
    return nullptr;
  }
  transform->signatureElement = signatureElement;
  transform->element = element;
  return transform;
}

bool readDigest(ElementCursor &children, Reference &reference) noexcept {
  reference.digestMethod.reset(talvo_xml_decode_signature_digestmethod(children.take()));
  if (!reference.digestMethod) {
    return false;
  }
  reference.digestValue.reset(talvo_xml_decode_signature_digestvalue(children.take()));
  return reference.digestValue != nullptr && children.atEnd();
}

}  // namespace

XmlNode *findEnclosingSignature(const XmlNode *node) noexcept {
  XmlNode *ancestor = talvo_xml_node_getparent(node);
  while (ancestor != nullptr && !isSignatureElement(ancestor, g_xml_signature_name)) {
    ancestor = talvo_xml_node_getparent(ancestor);
  }
  return ancestor;
}

List readReferences(ElementCursor &children, XmlNode *signatureElement) noexcept {
  if (children.atEnd()) {
    return nullptr;
  }
  return readRest<Reference>(children, [signatureElement](XmlNode *element) {
    return talvo_xml_decode_signature_reference(element, signatureElement);
  });
}

}  // namespace talvo

using namespace talvo;

Reference *talvo_xml_decode_signature_reference(XmlNode *element,
                                                XmlNode *signatureElement) noexcept {
  if (!isSignatureElement(element, g_xml_signature_reference_name)) {
    return nullptr;
  }
  OwnedReference reference = make<Reference>(kDecodeSource);
  if (!reference || !readAttributes(element, {{g_xml_signature_id, &reference->id},
                                              {g_xml_signature_uri_attr, &reference->uri},
                                              {g_xml_signature_type_attr, &reference->type}})) {
    return nullptr;
  }
  reference->element = element;
  ElementCursor children(element);
  if (XmlNode *transforms = children.takeIf(g_xml_signature_transforms_name)) {
    reference->transforms.reset(
        talvo_xml_decode_signature_transforms(transforms, signatureElement));
    if (!reference->transforms) {
      return nullptr;
    }
  }
  return readDigest(children, *reference) ? reference.release() : nullptr;
}

talvo_arraylist *talvo_xml_decode_signature_transforms(XmlNode *element,
                                                       XmlNode *signatureElement) noexcept {
  ElementCursor children(element);
  if (!isSignatureElement(element, g_xml_signature_transforms_name) || children.atEnd()) {
    return nullptr;
  }
  return readRest<Transform>(children,
                             [signatureElement](XmlNode *child) {
                               return decodeTransform(child, signatureElement).release();
                             })
      .release();
}

DigestMethod *talvo_xml_decode_signature_digestmethod(XmlNode *element) noexcept {
  if (!isSignatureElement(element, g_xml_signature_digestmethod_name)) {
    return nullptr;
  }
  Owned<DigestMethod> method = make<DigestMethod>(kDecodeSource);
  if (!method || !readAlgorithm(element, &method->algorithm)) {
    return nullptr;
  }
  method->element = element;
  method->algorithmId = numberOf(digestByUri(method->algorithm.get()));
  return method.release();
}

DigestValue *talvo_xml_decode_signature_digestvalue(XmlNode *element) noexcept {
  if (!isSignatureElement(element, g_xml_signature_digestvalue_name)) {
    return nullptr;
  }
  Blob octets(decodeBase64Value(element));
  Owned<DigestValue> value = make<DigestValue>(kDecodeSource);
  if (!octets || !value) {
    return nullptr;
  }
  value->element = element;
  value->value = std::move(octets);
  return value.release();
}

Manifest *talvo_xml_decode_signature_manifest(XmlNode *element,
                                              XmlNode *signatureElement) noexcept {
  if (!isSignatureElement(element, g_xml_signature_manifest)) {
    return nullptr;
  }
  Owned<Manifest> manifest = make<Manifest>(kDecodeSource);
  if (!manifest || !readOptionalId(element, &manifest->id)) {
    return nullptr;
  }
  manifest->element = element;
  ElementCursor children(element);
  manifest->references = readReferences(children, signatureElement);
  return manifest->references ? manifest.release() : nullptr;
}

talvo_arraylist *talvo_xml_signature_decodemanifestnode(XmlNode *manifestElement) noexcept {
  const Owned<Manifest> manifest(talvo_xml_decode_signature_manifest(
      manifestElement, findEnclosingSignature(manifestElement)));
  if (!manifest) {
    return nullptr;
  }
  List list(talvo_arraylist_new(nullptr, nullptr));
  for (Reference *reference : items<Reference>(manifest->references)) {
    if (talvo_arraylist_pushback(list.get(), reference) != 1) {
      return nullptr;
    }
  }
  if (list) {
    talvo_arraylist_detachitems(manifest->references.get());  // the caller owns them now
  }
  return list.release();
}
