// One reference: what it points at, how that is transformed and digested, and, for content that
// only the caller can reach, the digest itself.
#include "base/base64_text.h"
#include "signature/context/copy.h"
#include "signature/vocabulary/algorithm.h"

namespace {

using namespace talvo;

struct Contents {
  const talvo_data_blob *digest;
  const talvo_ustring *id;
  const talvo_ustring *uri;
  const talvo_ustring *type;
  const talvo_arraylist *transforms;
  const talvo_data_blob *content;
};

bool storeContent(ReferenceCtx &context, const talvo_data_blob *content) noexcept {
  context.content.reset(talvo_data_blob_dup(content));
  return context.content != nullptr || content == nullptr;
}

bool storeUri(ReferenceCtx &context, const talvo_ustring *uri) noexcept {
  context.uri.reset(uri == nullptr ? nullptr : talvo_xml_uri_encode(uri));
  return context.uri != nullptr || uri == nullptr;
}

bool storeDigest(ReferenceCtx &context, const talvo_data_blob *digest) noexcept {
  if (!context.hasDigestValue) {
    return true;
  }
  context.digestValue = encodeBase64(bytesOf(digest), TALVO_BASE64_ONE_LINE);
  return context.digestValue != nullptr;
}

// An empty list is as good as none.
bool storeTransforms(ReferenceCtx &context, const talvo_arraylist *transforms) noexcept {
  if (items<TransformCtx>(transforms).empty()) {
    return true;
  }
  context.transforms = shareContexts<TransformCtx>(transforms);
  return context.transforms != nullptr;
}

bool store(ReferenceCtx &context, const Contents &from) noexcept {
  return storeContent(context, from.content) && copyOptional(context.id, from.id) &&
         storeUri(context, from.uri) && storeDigest(context, from.digest) &&
         copyOptional(context.type, from.type) && storeTransforms(context, from.transforms);
}

}  // namespace

ReferenceCtx *italvo_xml_signature_referencectx_newwithhash(
    uint32_t digestMethod, int32_t hasDigest, const talvo_data_blob *digest,
    const talvo_ustring *id, const talvo_ustring *uri, const talvo_ustring *type,
    const talvo_arraylist *transforms, const talvo_data_blob *content) noexcept {
  const DigestAlgorithm *row = digestByNumber(static_cast<int32_t>(digestMethod));
  if (row == nullptr || row->length == 0 || (content == nullptr && uri == nullptr)) {
    return nullptr;
  }
  if (hasDigest != 0 && bytesOf(digest).size() != row->length) {
    return nullptr;
  }
  ReferenceContext context(make<ReferenceCtx>(kSource).release());
  if (!context) {
    return nullptr;
  }
  context->digestMethod = digestMethod;
  context->hasDigestValue = hasDigest != 0;
  const bool stored = store(*context, {digest, id, uri, type, transforms, content});
  return stored ? context.release() : nullptr;
}

ReferenceCtx *talvo_xml_signature_referencectx_new(uint32_t digestMethod, const talvo_ustring *id,
                                                   const talvo_ustring *uri,
                                                   const talvo_ustring *type,
                                                   const talvo_data_blob *content,
                                                   const talvo_arraylist *transforms) noexcept {
  return italvo_xml_signature_referencectx_newwithhash(digestMethod, 0, nullptr, id, uri, type,
                                                       transforms, content);
}

ReferenceCtx *talvo_xml_signature_referencectx_newwithhash(
    uint32_t digestMethod, const talvo_data_blob *digest, const talvo_ustring *id,
    const talvo_ustring *uri, const talvo_ustring *type,
    const talvo_arraylist *transforms) noexcept {
  return italvo_xml_signature_referencectx_newwithhash(digestMethod, 1, digest, id, uri, type,
                                                       transforms, nullptr);
}

ReferenceCtx *talvo_xml_signature_referencectx_dup(ReferenceCtx *context) noexcept {
  return dup(context);
}

void talvo_xml_signature_referencectx_free(ReferenceCtx *context) noexcept {
  release(context);
}

talvo_ustring *talvo_xml_signature_referencectx_getid(const ReferenceCtx *context) noexcept {
  return context == nullptr ? nullptr : talvo_ustring_dup(context->id.get());
}

talvo_ustring *talvo_xml_signature_referencectx_geturi(const ReferenceCtx *context) noexcept {
  return context == nullptr ? nullptr : talvo_ustring_dup(context->uri.get());
}

talvo_ustring *talvo_xml_signature_referencectx_gettype(const ReferenceCtx *context) noexcept {
  return context == nullptr ? nullptr : talvo_ustring_dup(context->type.get());
}

int32_t talvo_xml_signature_referencectx_gethashalgoid(const ReferenceCtx *context) noexcept {
  return context == nullptr ? TALVO_ALGORITHM_UNKNOWN : static_cast<int32_t>(context->digestMethod);
}

talvo_data_blob *talvo_xml_signature_referencectx_gethashvalue(
    const ReferenceCtx *context) noexcept {
  if (context == nullptr || !context->hasDigestValue) {
    return nullptr;
  }
  return decodeBase64(context->digestValue.get()).release();
}

talvo_arraylist *talvo_xml_signature_referencectx_gettransforms(
    const ReferenceCtx *context) noexcept {
  return context == nullptr ? nullptr
                            : shareContexts<TransformCtx>(context->transforms.get()).release();
}
