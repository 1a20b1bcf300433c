// Reference: line feed, Transforms, line feed, DigestMethod, line feed, DigestValue, line feed.
#include "signature/generate/reference.h"

#include "base/base64_text.h"
#include "signature/generate/element_writer.h"
#include "signature/vocabulary/algorithm.h"
#include "signature/vocabulary/vocabulary.h"

namespace {

using namespace talvo;

// The context remembers the element: the expression is evaluated with the namespaces in scope
// there.
OwnedNode generateXPath(XmlDoc *doc, XmlNode *ns, TransformCtx &context) noexcept {
  OwnedNode xpath = generateText(doc, ns, g_xml_signature_xpath_name, context.expression.get());
  context.xpathElement = xpath.get();
  return xpath;
}

// Deliberate: the prefix list of an exclusive canonicalisation is used for the digest and not
// written, so a verifier sees a transform without list. A line feed in its place would be taken for
// a malformed list.
OwnedNode generateTransform(XmlDoc *doc, XmlNode *ns, TransformCtx &context) noexcept {
  const VocabularySlot uri = uriOf(transformByNumber(context.algorithm));
  ElementWriter transform = algorithmElement(doc, ns, g_xml_signature_transform_name, uri);
  if (context.algorithm == TALVO_TRANSFORM_XPATH) {
    transform.open().part(generateXPath(doc, ns, context));
  }
  return transform.take();
}

OwnedNode generateTransforms(XmlDoc *doc, XmlNode *ns, const List &contexts) noexcept {
  ElementWriter transforms(doc, ns, g_xml_signature_transforms_name);
  transforms.open();
  for (TransformCtx *context : items<TransformCtx>(contexts)) {
    transforms.part(generateTransform(doc, ns, *context));
  }
  return transforms.take();
}

OwnedNode generateReference(XmlDoc *doc, XmlNode *ns, const ReferenceCtx &context) noexcept {
  ElementWriter reference(doc, ns, g_xml_signature_reference_name);
  reference.optionalId(context.id)
      .optionalAttribute(g_xml_signature_uri_attr, context.uri)
      .optionalAttribute(g_xml_signature_type_attr, context.type)
      .open();
  if (context.transforms) {
    reference.part(generateTransforms(doc, ns, context.transforms));
  }
  return reference.part(generateDigestMethod(ns, static_cast<int32_t>(context.digestMethod)))
      .part(ElementWriter(doc, ns, g_xml_signature_digestvalue_name).take())
      .take();
}

}  // namespace

namespace talvo {

OwnedNode generateReferences(XmlDoc *doc, XmlNode *ns, const talvo_arraylist *references) noexcept {
  RunWriter run(doc);
  for (const ReferenceCtx *context : items<ReferenceCtx>(references)) {
    run.part(generateReference(doc, ns, *context));
  }
  return run.take();
}

OwnedNode generateDigestMethod(XmlNode *ns, int32_t digestMethod) noexcept {
  const VocabularySlot uri = uriOf(digestByNumber(digestMethod));
  return algorithmElement(nullptr, ns, g_xml_signature_digestmethod_name, uri).take();
}

OwnedNode generateDigestValue(XmlDoc *doc, XmlNode *ns, Bytes digest) noexcept {
  const UString text = encodeBase64(digest, TALVO_BASE64_ONE_LINE);
  return generateText(doc, ns, g_xml_signature_digestvalue_name, text.get());
}

}  // namespace talvo

XmlNode *talvo_xml_refsnode_gen(XmlDoc *doc, const talvo_arraylist *references,
                                XmlNode *ns) noexcept {
  return handOut(generateReferences(doc, ns, references));
}

XmlNode *talvo_xml_digestmethodnode_gen(uint32_t digestMethod, XmlNode *ns) noexcept {
  return handOut(generateDigestMethod(ns, static_cast<int32_t>(digestMethod)));
}

XmlNode *talvo_xml_digestvalue_gen(XmlDoc *doc, XmlNode *ns, const void *bytes,
                                   size_t length) noexcept {
  if (bytes == nullptr) {
    return nullptr;
  }
  return handOut(generateDigestValue(doc, ns, {static_cast<const uint8_t *>(bytes), length}));
}
