// The length of a DigestValue is tested before anything is fetched: a reference that cannot match
// costs nothing.
#include "transform/reference/reference_check.h"

#include "base/boundary.h"
#include "signature/vocabulary/algorithm.h"
#include "transform/reference/dereference.h"
#include "transform/reference/digest.h"
#include "transform/reference/uri.h"

namespace talvo {
namespace {

// The transforms of a reference without URI are not applied: the caller supplies what is digested.
int32_t checkExternalData(const Reference &reference, Bytes external, Bytes expected,
                          uint32_t *error) noexcept {
  if (external.empty()) {
    return fail(error, TALVO_VERIFY_ERROR_MISSING_ARGUMENT);
  }
  return verifyhash(reference.digestMethod->algorithmId, external.data(), external.size(),
                    expected.data(), expected.size(), error);
}

int32_t checkReferencedData(const Reference &reference, const Reach &reach, Bytes expected,
                            uint32_t *error) noexcept {
  TransformData *fetched = nullptr;
  if (talvo_xml_siganture_uri2input(reach, reference.uri.get(), &fetched, error) != 1) {
    return 0;
  }
  Digest digest;
  if (!digestReferenceData(TransformInput(fetched), reference.transforms.get(),
                           reference.digestMethod->algorithmId, &digest, error)) {
    return 0;
  }
  return equalOctets(digest.view(), expected) ? 1
                                              : fail(error, TALVO_VERIFY_ERROR_INVALID_REFERENCE);
}

int32_t checkReference(const Reference *reference, const Reach &reach, Bytes external,
                       uint32_t *error) noexcept {
  if (reference == nullptr) {
    return fail(error, TALVO_VERIFY_ERROR_MISSING_ARGUMENT);
  }
  const Bytes expected = bytesOf(reference->digestValue->value.get());
  if (!reference->uri) {
    return checkExternalData(*reference, external, expected, error);
  }
  const DigestAlgorithm *method = digestByNumber(reference->digestMethod->algorithmId);
  if (method == nullptr || method->length == 0 || method->length != expected.size()) {
    return fail(error, TALVO_VERIFY_ERROR_INVALID_REFERENCE);
  }
  if (!reference->transforms && isOctstreamUri(reference->uri.get()) == 1) {
    return verifyOctstreamUriHash(reach, method->number, reference->uri.get(), expected, error);
  }
  return checkReferencedData(*reference, reach, expected, error);
}

}  // namespace
}  // namespace talvo

using namespace talvo;

int32_t talvo_xml_signature_iverifyref(const Reference *reference, const Reach &reach,
                                       Bytes external, uint32_t *error) noexcept {
  return guardWithError(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY,
                        [&] { return checkReference(reference, reach, external, error); });
}
