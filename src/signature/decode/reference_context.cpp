// A decoded reference keeps its transforms unread in the document; the context needs them read.
#include "signature/decode/reference_context.h"

#include "signature/context/copy.h"
#include "signature/decode/reference.h"
#include "signature/decode/transform_params.h"

namespace {

using namespace talvo;

bool convertTransforms(const List &transforms, List &contexts) noexcept {
  if (!transforms) {
    return true;
  }
  contexts.reset(talvo_arraylist_new(nullptr, releaseCounted<TransformCtx>));
  for (const Transform *transform : items<Transform>(transforms)) {
    if (!append(contexts, TransformContext(toTransformCtx(transform)))) {
      return false;
    }
  }
  return contexts != nullptr;
}

}  // namespace

ReferenceCtx *toSignature_ReferenceCtx(const Reference *reference) noexcept {
  List transforms;
  if (reference == nullptr || !convertTransforms(reference->transforms, transforms)) {
    return nullptr;
  }
  return talvo_xml_signature_referencectx_newwithhash(
      static_cast<uint32_t>(reference->digestMethod->algorithmId),
      reference->digestValue->value.get(), reference->id.get(), reference->uri.get(),
      reference->type.get(), transforms.get());
}

ReferenceCtx *talvo_xml_signature_referencectx_decode(XmlNode *referenceElement) noexcept {
  const OwnedReference reference(talvo_xml_decode_signature_reference(
      referenceElement, findEnclosingSignature(referenceElement)));
  return toSignature_ReferenceCtx(reference.get());
}
