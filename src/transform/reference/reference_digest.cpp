// Signing and checking run the same chain of transforms; here its digest becomes text.
#include "transform/reference/reference_digest.h"

#include "base/boundary.h"
#include "transform/reference/dereference.h"
#include "transform/reference/digest.h"
#include "transform/reference/uri.h"

namespace talvo {
namespace {

struct Translation {
  uint32_t dereferencing;
  uint32_t signing;
};

constexpr Translation kTranslations[] = {
    {TALVO_VERIFY_ERROR_OUT_OF_MEMORY, TALVO_SIGN_ERROR_OUT_OF_MEMORY},
    {TALVO_VERIFY_ERROR_UNSUPPORTED_URI, TALVO_SIGN_ERROR_UNSUPPORTED_URI},
    {TALVO_VERIFY_ERROR_NOT_FOUND, TALVO_SIGN_ERROR_NOT_FOUND},
    {TALVO_VERIFY_ERROR_MISSING_ARGUMENT, TALVO_SIGN_ERROR_MISSING_ARGUMENT},
    {TALVO_VERIFY_ERROR_NETWORK_REFUSED, TALVO_SIGN_ERROR_NETWORK_REFUSED},
};

// The one place where a code of the verifying family becomes one of the signing family. What the
// digest behind it can say keeps its number.
uint32_t translated(uint32_t error) noexcept {
  for (const Translation &row : kTranslations) {
    if (row.dereferencing == error) {
      return row.signing;
    }
  }
  return TALVO_SIGN_ERROR_FAILED;
}

// Null with an error when the URI cannot be dereferenced.
TransformInput dereference(const Reach &reach, const talvo_ustring *uri, uint32_t *error) noexcept {
  TransformData *data = nullptr;
  if (talvo_xml_siganture_uri2input(reach, uri, &data, error) != 1) {
    return failNull(error, translated(*error));
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
    return failNull(error, TALVO_SIGN_ERROR_OUT_OF_MEMORY);
  }
  return text;
}

TransformInput suppliedContent(const ReferenceCtx &context, uint32_t *error) noexcept {
  const Bytes content = bytesOf(context.content.get());
  TransformInput data(talvo_xml_transform_newocts(content.data(), content.size(), 0));
  if (!data) {
    return failNull(error, TALVO_SIGN_ERROR_OUT_OF_MEMORY);
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
