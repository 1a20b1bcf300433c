// Signing and checking run the same chain of transforms; here its digest becomes text.
#include "transform/reference/reference_digest.h"

#include "base/boundary.h"
#include "signature/vocabulary/error.h"
#include "transform/reference/dereference.h"
#include "transform/reference/digest.h"
#include "transform/reference/uri.h"

namespace talvo {
namespace {

// Dereferencing has codes of its own; the signing family keeps four of them and renames one.
void translateDereferenceError(uint32_t *error) noexcept {
  switch (static_cast<ReferenceError>(*error)) {
    case ReferenceError::outOfMemory:
    case ReferenceError::unsupportedUri:
    case ReferenceError::notFound:
    case ReferenceError::missingArgument:
      return;
    case ReferenceError::networkRefused:
      fail(error, SignError::networkRefused);
      return;
    default:
      fail(error, SignError::failed);
  }
}

// Null with an error when the URI cannot be dereferenced.
TransformInput dereference(const Reach &reach, const talvo_ustring *uri, uint32_t *error) noexcept {
  TransformData *data = nullptr;
  if (talvo_xml_siganture_uri2input(reach, uri, &data, error) != 1) {
    translateDereferenceError(error);
    return nullptr;
  }
  return TransformInput(data);
}

UString digestFile(const Reach &reach, int32_t digestId, const talvo_ustring *uri,
                   uint32_t *error) noexcept {
  talvo_ustring *text = nullptr;
  if (calcOctstreamUriHash(reach, digestId, uri, &text, error) != 1) {
    return nullptr;
  }
  return UString(text);
}

// Decoded transforms and transform contexts are run by functions of one form.
using DigestFunction = bool (*)(TransformInput, const talvo_arraylist *, int32_t, Digest *,
                                uint32_t *) noexcept;

UString digestData(DigestFunction function, TransformInput data, const List &transforms,
                   int32_t digestId, uint32_t *error) noexcept {
  Digest digest;
  if (!data || !function(std::move(data), transforms.get(), digestId, &digest, error)) {
    return nullptr;
  }
  UString text = digestText(digest);
  if (!text) {
    return failNull(error, SignError::outOfMemory);
  }
  return text;
}

TransformInput suppliedContent(const ReferenceCtx &context, uint32_t *error) noexcept {
  const Bytes content = bytesOf(context.content.get());
  TransformInput data(talvo_xml_transform_newocts(content.data(), content.size(), 0));
  if (!data) {
    return failNull(error, SignError::outOfMemory);
  }
  return data;
}

}  // namespace

UString digestOfContext(const ReferenceCtx &context, const Reach &reach, uint32_t *error) noexcept {
  const auto digestId = static_cast<int32_t>(context.digestMethod);
  if (!context.uri) {
    return digestData(digestContextData, suppliedContent(context, error), context.transforms,
                      digestId, error);
  }
  if (!context.transforms && isOctstreamUri(context.uri.get()) == 1) {
    return digestFile(reach, digestId, context.uri.get(), error);
  }
  return digestData(digestContextData, dereference(reach, context.uri.get(), error),
                    context.transforms, digestId, error);
}

UString digestOfReference(const Reference &reference, const Reach &reach,
                          uint32_t *error) noexcept {
  const int32_t digestId = reference.digestMethod->algorithmId;
  if (!reference.transforms && isOctstreamUri(reference.uri.get()) == 1) {
    return digestFile(reach, digestId, reference.uri.get(), error);
  }
  return digestData(digestReferenceData, dereference(reach, reference.uri.get(), error),
                    reference.transforms, digestId, error);
}

}  // namespace talvo
