// SignedInfo of a decoded signature as a context, from which the same could be signed again.
#include "signature/context/context.h"
#include "signature/decode/reference_context.h"
#include "signature/decode/transform_params.h"
#include "signature/record/record.h"
#include "signature/vocabulary/algorithm.h"

namespace talvo {
namespace {

void freeReference(void *context) noexcept {
  talvo_xml_signature_referencectx_free(static_cast<ReferenceCtx *>(context));
}

List convertReferences(const List &references) noexcept {
  List contexts(talvo_arraylist_new(nullptr, freeReference));
  for (const Reference *reference : items<Reference>(references)) {
    if (!append(contexts, ReferenceContext(toSignature_ReferenceCtx(reference)))) {
      return nullptr;
    }
  }
  return contexts;
}

// False for a malformed list; a missing one leaves `prefixes` null.
bool readPrefixes(const CanonicalizationMethod &method, List *prefixes) noexcept {
  PrefixBlock block;
  uint32_t error = 0;
  bool converted = false;
  if (!decodeexcc14nnode(method.element, &block, &error)) {
    return false;
  }
  *prefixes = toTransformCtxParam(block, &converted);
  return converted;
}

SignedInfoContext describe(const SignedInfo &info) noexcept {
  const List references = convertReferences(info.references);
  const int32_t c14nMethod = info.canonicalizationMethod->algorithmId;
  List prefixes;
  if (!references ||
      (isExclusive(c14nMethod) && !readPrefixes(*info.canonicalizationMethod, &prefixes))) {
    return nullptr;
  }
  return SignedInfoContext(talvo_xml_signature_signedinfoctx_new(
      info.id.get(), static_cast<uint32_t>(c14nMethod), prefixes.get(),
      info.signatureMethod->algorithmId, references.get()));
}

}  // namespace
}  // namespace talvo

SignedInfoCtx *talvo_xml_signature_getsignedinfo(const Signature *signature) noexcept {
  return signature == nullptr ? nullptr : talvo::describe(*signature->signedInfo).release();
}
