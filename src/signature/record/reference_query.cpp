// What a reference says, for callers.
#include "signature/record/record.h"
#include "signature/vocabulary/algorithm.h"

namespace talvo {
namespace {

const Transform *transformAt(const Reference *reference, int32_t index) noexcept {
  return reference == nullptr ? nullptr : items<Transform>(reference->transforms)[index];
}

}  // namespace
}  // namespace talvo

using namespace talvo;

XmlNode *talvo_xml_signature_reference_getnode(const Reference *reference) noexcept {
  return reference == nullptr ? nullptr : reference->element;
}

talvo_ustring *talvo_xml_signature_reference_getid(const Reference *reference) noexcept {
  return reference == nullptr ? nullptr : talvo_ustring_dup(reference->id.get());
}

talvo_ustring *talvo_xml_signature_reference_geturi(const Reference *reference) noexcept {
  return reference == nullptr ? nullptr : talvo_ustring_dup(reference->uri.get());
}

talvo_ustring *talvo_xml_signature_reference_gettype(const Reference *reference) noexcept {
  return reference == nullptr ? nullptr : talvo_ustring_dup(reference->type.get());
}

int32_t talvo_xml_signature_reference_getdigestmethod(const Reference *reference) noexcept {
  return reference == nullptr ? TALVO_ALGORITHM_UNKNOWN : reference->digestMethod->algorithmId;
}

talvo_ustring *talvo_xml_signature_reference_getdigesturi(const Reference *reference) noexcept {
  return reference == nullptr ? nullptr
                              : talvo_ustring_dup(reference->digestMethod->algorithm.get());
}

talvo_data_blob *talvo_xml_signature_reference_getdigestvalue(const Reference *reference) noexcept {
  return reference == nullptr ? nullptr : talvo_data_blob_dup(reference->digestValue->value.get());
}

int32_t talvo_xml_signature_reference_gettransformcount(const Reference *reference) noexcept {
  return reference == nullptr ? -1 : items<Transform>(reference->transforms).size();
}

int32_t talvo_xml_signature_reference_gettransform(const Reference *reference,
                                                   int32_t index) noexcept {
  const Transform *transform = transformAt(reference, index);
  return transform == nullptr ? TALVO_ALGORITHM_UNKNOWN
                              : numberOf(transformByUri(transform->algorithm.get()));
}

talvo_ustring *talvo_xml_signature_reference_gettransformuri(const Reference *reference,
                                                             int32_t index) noexcept {
  const Transform *transform = transformAt(reference, index);
  return transform == nullptr ? nullptr : talvo_ustring_dup(transform->algorithm.get());
}

XmlNode *talvo_xml_signature_reference_gettransformnode(const Reference *reference,
                                                        int32_t index) noexcept {
  const Transform *transform = transformAt(reference, index);
  return transform == nullptr ? nullptr : transform->element;
}
