// One transform of a reference. Its parameter depends on the algorithm: a prefix list for exclusive
// canonicalisation, an expression for the XPath filter, nothing for the others.
#include "signature/context/copy.h"
#include "signature/vocabulary/algorithm.h"

namespace {

using namespace talvo;

// A missing prefix list is accepted here, but the transform cannot be run without one.
bool copyPrefixes(TransformCtx &context, const talvo_arraylist *prefixes) noexcept {
  context.prefixes = copyStrings(prefixes);
  return context.prefixes != nullptr || prefixes == nullptr;
}

bool copyParameter(TransformCtx &context, const void *parameter) noexcept {
  if (isExclusive(context.algorithm)) {
    return copyPrefixes(context, static_cast<const talvo_arraylist *>(parameter));
  }
  if (context.algorithm == TALVO_TRANSFORM_XPATH) {
    return replaceRequired(context.expression, static_cast<const talvo_ustring *>(parameter)) == 1;
  }
  return true;
}

}  // namespace

TransformCtx *talvo_xml_signature_transformctx_dup(TransformCtx *context) noexcept {
  return dup(context);
}

void talvo_xml_signature_transformctx_free(TransformCtx *context) noexcept {
  release(context);
}

TransformCtx *talvo_xml_signature_transformctx_new(int32_t transform,
                                                   const void *parameter) noexcept {
  if (transformByNumber(transform) == nullptr) {
    return nullptr;
  }
  TransformContext context(make<TransformCtx>(kSource).release());
  if (!context) {
    return nullptr;
  }
  context->algorithm = transform;
  return copyParameter(*context, parameter) ? context.release() : nullptr;
}

int32_t talvo_xml_signature_transformctx_getalgoid(const TransformCtx *context) noexcept {
  return context == nullptr ? TALVO_ALGORITHM_UNKNOWN : context->algorithm;
}

void *talvo_xml_signature_transformctx_getparam(const TransformCtx *context) noexcept {
  if (context == nullptr) {
    return nullptr;
  }
  if (context->algorithm == TALVO_TRANSFORM_XPATH) {
    return talvo_ustring_dup(context->expression.get());
  }
  return copyStrings(context->prefixes.get()).release();
}
