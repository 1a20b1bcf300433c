// The length of a DigestValue is tested before anything is fetched: a reference that cannot match costs nothing.
#include "signature/verify/verify_reference.h"

#include "base/boundary.h"
#include "base/list.h"
#include "signature/decode/reference.h"
#include "signature/record/record.h"
#include "signature/vocabulary/algorithm.h"
#include "signature/vocabulary/error.h"
#include "signature/vocabulary/vocabulary.h"
#include "transform/canonicalize.h"
#include "transform/reference/dereference.h"
#include "transform/reference/digest.h"
#include "transform/reference/uri.h"
#include "xml/node.h"

namespace talvo {
namespace {

struct ExternalData {
  const void *bytes;
  size_t length;
};

// The transforms of a reference without URI are not applied: the caller supplies what is digested.
int32_t verifyExternalData(const Reference &reference, ExternalData data, Bytes expected,
                           uint32_t *error) noexcept {
  if (data.bytes == nullptr || data.length < 1) {
    return fail(error, VerifyError::missingArgument);
  }
  return verifyhash(reference.digestMethod->algorithmId, static_cast<const uint8_t *>(data.bytes),
                    data.length, expected.data(), expected.size(), error);
}

int32_t verifyReferencedData(const Reference &reference, uint32_t flags,
                             const talvo_ustring *basePath, uint32_t *error) noexcept {
  XmlDoc *doc = talvo_xml_node_getdoc(reference.element);
  TransformData *fetched = nullptr;
  if (talvo_xml_siganture_uri2input(doc, flags, reference.element, reference.uri.get(), basePath,
                                    &fetched, error) != 1) {
    return 0;
  }
  Digest digest;
  if (!digestReferenceData(TransformInput(fetched), reference.transforms.get(),
                           reference.digestMethod->algorithmId, &digest, error)) {
    return 0;
  }
  const Bytes expected = bytesOf(reference.digestValue->value.get());
  return equalOctets(digest.view(), expected) ? 1 : fail(error, VerifyError::invalidReference);
}

int32_t verifyReference(const Reference *reference, uint32_t flags, const talvo_ustring *basePath,
                        ExternalData data, uint32_t *error) noexcept {
  if (reference == nullptr) {
    return fail(error, VerifyError::missingArgument);
  }
  const Bytes expected = bytesOf(reference->digestValue->value.get());
  if (!reference->uri) {
    return verifyExternalData(*reference, data, expected, error);
  }
  const DigestAlgorithm *method = digestByNumber(reference->digestMethod->algorithmId);
  if (method == nullptr || method->length == 0 || method->length != expected.size()) {
    return fail(error, VerifyError::invalidReference);
  }
  if (!reference->transforms && isOctstreamUri(reference->uri.get()) == 1) {
    return verifyOctstreamUriHash(talvo_xml_node_getdoc(reference->element), reference->element,
                                  basePath, method->number, reference->uri.get(), expected.data(),
                                  expected.size(), flags, error);
  }
  return verifyReferencedData(*reference, flags, basePath, error);
}

int32_t verifyReferences(const Signature *signature, uint32_t flags, ExternalData data,
                         uint32_t *error) noexcept {
  if (signature == nullptr) {
    return fail(error, VerifyError::missingArgument);
  }
  const ListView<Reference> references = items<Reference>(signature->signedInfo->references);
  int32_t withoutUri = 0;
  for (const Reference *reference : references) {
    withoutUri += reference->uri ? 0 : 1;
  }
  if (withoutUri > 1) {
    return fail(error, VerifyError::tooManyReferencesWithoutUri);
  }
  const FitnessScope scope(signature->document);
  for (const Reference *reference : references) {
    if (verifyReference(reference, flags, signature->basePath.get(), data, error) != 1) {
      return 0;
    }
  }
  return 1;
}

int32_t verifyElement(XmlNode *element, uint32_t flags, const talvo_ustring *basePath,
                      ExternalData data, uint32_t *error) noexcept {
  if (element == nullptr) {
    return fail(error, VerifyError::missingArgument);
  }
  if (!isElement(element, g_xml_signature_reference_name, g_xml_signature_nsuri)) {
    return fail(error, VerifyError::notAReference);
  }
  const OwnedReference reference(
      talvo_xml_decode_signature_reference(element, findEnclosingSignature(element)));
  if (!reference) {
    return fail(error, VerifyError::notAReference);
  }
  // A document without any signature registers nothing; its references may still name DTD or xml:id identifiers.
  talvo_xml_signature_setid(talvo_xml_node_getdoc(element));
  return verifyReference(reference.get(), flags, basePath, data, error);
}

}  // namespace
}  // namespace talvo

extern "C" {

int32_t talvo_xml_signature_iverifyref(const Reference *reference, uint32_t flags,
                                       const talvo_ustring *basePath, const void *externalData,
                                       size_t length, uint32_t *error) noexcept {
  return talvo::guardWithError(error, talvo::VerifyError::outOfMemory, [&] {
    return talvo::verifyReference(reference, flags, basePath, {externalData, length}, error);
  });
}

int32_t talvo_xml_signature_referencevalidation_ex(const Signature *signature, uint32_t flags,
                                                   const void *externalData, size_t length,
                                                   uint32_t *error) noexcept {
  return talvo::guardWithError(error, talvo::VerifyError::outOfMemory, [&] {
    return talvo::verifyReferences(signature, flags, {externalData, length}, error);
  });
}

int32_t talvo_xml_signature_referencevalidation(const Signature *signature,
                                                const void *externalData, size_t length,
                                                uint32_t *error) noexcept {
  return talvo_xml_signature_referencevalidation_ex(signature, 1, externalData, length, error);
}

int32_t talvo_xml_signature_verifyref_ex(XmlNode *referenceElement, uint32_t flags,
                                         const talvo_ustring *basePath, const void *externalData,
                                         size_t length, uint32_t *error) noexcept {
  return talvo::guardWithError(error, talvo::VerifyError::outOfMemory, [&] {
    return talvo::verifyElement(referenceElement, flags, basePath, {externalData, length}, error);
  });
}

int32_t talvo_xml_signature_verifyref(XmlNode *referenceElement, const void *externalData,
                                      size_t length, uint32_t *error) noexcept {
  return talvo_xml_signature_verifyref_ex(referenceElement, 1, nullptr, externalData, length,
                                          error);
}
}
