// The second half of verification: all references of a signature, or a single one by its element.
#include "base/boundary.h"
#include "base/list.h"
#include "signature/decode/reference.h"
#include "signature/record/record.h"
#include "signature/vocabulary/vocabulary.h"
#include "transform/reference/reference_check.h"
#include "xml/node.h"

namespace talvo {
namespace {

// `failed` becomes the index of the reference that fails.
int32_t verifyReferences(const Signature *signature, uint32_t flags, Bytes external,
                         int32_t *failed, uint32_t *error) noexcept {
  if (signature == nullptr) {
    return fail(error, TALVO_VERIFY_ERROR_MISSING_ARGUMENT);
  }
  const ListView<Reference> references = items<Reference>(signature->signedInfo->references);
  int32_t withoutUri = 0;
  for (const Reference *reference : references) {
    withoutUri += reference->uri ? 0 : 1;
  }
  if (withoutUri > 1) {
    return fail(error, TALVO_VERIFY_ERROR_REFERENCES_WITHOUT_URI);
  }
  for (int32_t index = 0; index < references.size(); ++index) {
    const Reference *reference = references[index];
    const Reach reach{talvo_xml_node_getdoc(reference->element), reference->element,
                      signature->basePath.get(), flags};
    if (talvo_xml_signature_iverifyref(reference, reach, external, error) != 1) {
      *failed = index;
      return 0;
    }
  }
  return 1;
}

int32_t verifyElement(const Reach &reach, Bytes external, uint32_t *error) noexcept {
  if (reach.element == nullptr) {
    return fail(error, TALVO_VERIFY_ERROR_MISSING_ARGUMENT);
  }
  if (!isElement(reach.element, g_xml_signature_reference_name, g_xml_signature_nsuri)) {
    return fail(error, TALVO_VERIFY_ERROR_NOT_A_REFERENCE);
  }
  const OwnedReference reference(
      talvo_xml_decode_signature_reference(reach.element, findEnclosingSignature(reach.element)));
  if (!reference) {
    return fail(error, TALVO_VERIFY_ERROR_NOT_A_REFERENCE);
  }
  // A document without any signature registers nothing; its references may still name DTD or xml:id
  // identifiers.
  talvo_xml_signature_setid(reach.document);
  return talvo_xml_signature_iverifyref(reference.get(), reach, external, error);
}

Bytes bytesAt(const void *bytes, size_t length) noexcept {
  return bytes == nullptr ? Bytes() : Bytes(static_cast<const uint8_t *>(bytes), length);
}

}  // namespace
}  // namespace talvo

using namespace talvo;

int32_t talvo_xml_signature_referencevalidation_ex(const Signature *signature, uint32_t flags,
                                                   const void *externalData, size_t length,
                                                   uint32_t *error) noexcept {
  return talvo_xml_signature_referencevalidation_ex2(signature, flags, externalData, length,
                                                     nullptr, error);
}

int32_t talvo_xml_signature_referencevalidation_ex2(const Signature *signature, uint32_t flags,
                                                    const void *externalData, size_t length,
                                                    int32_t *failed, uint32_t *error) noexcept {
  int32_t index = -1;
  const int32_t result = guardWithError(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY, [&] {
    return verifyReferences(signature, flags, bytesAt(externalData, length), &index, error);
  });
  if (failed != nullptr) {
    *failed = index;
  }
  return result;
}

int32_t talvo_xml_signature_referencevalidation(const Signature *signature,
                                                const void *externalData, size_t length,
                                                uint32_t *error) noexcept {
  return talvo_xml_signature_referencevalidation_ex(signature, TALVO_DEREFERENCE_NETWORK,
                                                    externalData, length, error);
}

int32_t talvo_xml_signature_verifyref_ex(XmlNode *referenceElement, uint32_t flags,
                                         const talvo_ustring *basePath, const void *externalData,
                                         size_t length, uint32_t *error) noexcept {
  return guardWithError(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY, [&] {
    const Reach reach{talvo_xml_node_getdoc(referenceElement), referenceElement, basePath, flags};
    return verifyElement(reach, bytesAt(externalData, length), error);
  });
}

int32_t talvo_xml_signature_verifyref(XmlNode *referenceElement, const void *externalData,
                                      size_t length, uint32_t *error) noexcept {
  return talvo_xml_signature_verifyref_ex(referenceElement, TALVO_DEREFERENCE_NETWORK, nullptr,
                                          externalData, length, error);
}
