// What the Objects of a signature hold, for callers.
#include "signature/record/record.h"

namespace talvo {
namespace {

const Object *objectAt(const Signature *signature, int32_t index) noexcept {
  return signature == nullptr ? nullptr : items<Object>(signature->objects)[index];
}

const ObjectContent *contentAt(const Signature *signature, int32_t index, int32_t item) noexcept {
  const Object *object = objectAt(signature, index);
  return object == nullptr ? nullptr : items<ObjectContent>(object->content)[item];
}

template <class Part>
XmlNode *elementOf(const ObjectContent &content) noexcept {
  const Part *part = std::get_if<Part>(&content.data);
  return part == nullptr ? nullptr : (*part)->element;
}

XmlNode *nodeOf(const ObjectContent &content) noexcept {
  if (XmlNode *const *node = std::get_if<XmlNode *>(&content.data)) {
    return *node;
  }
  XmlNode *element = elementOf<SignatureRecord>(content);
  element = element == nullptr ? elementOf<Owned<SignatureProperties>>(content) : element;
  return element == nullptr ? elementOf<Owned<Manifest>>(content) : element;
}

}  // namespace
}  // namespace talvo

using namespace talvo;

int32_t talvo_xml_signature_getobjectcount(const Signature *signature) noexcept {
  return signature == nullptr ? -1 : items<Object>(signature->objects).size();
}

XmlNode *talvo_xml_signature_getobjectnode(const Signature *signature, int32_t index) noexcept {
  const Object *object = objectAt(signature, index);
  return object == nullptr ? nullptr : object->element;
}

talvo_ustring *talvo_xml_signature_getobjectid(const Signature *signature, int32_t index) noexcept {
  const Object *object = objectAt(signature, index);
  return object == nullptr ? nullptr : talvo_ustring_dup(object->id.get());
}

talvo_ustring *talvo_xml_signature_getobjectmimetype(const Signature *signature,
                                                     int32_t index) noexcept {
  const Object *object = objectAt(signature, index);
  return object == nullptr ? nullptr : talvo_ustring_dup(object->mimeType.get());
}

talvo_ustring *talvo_xml_signature_getobjectencoding(const Signature *signature,
                                                     int32_t index) noexcept {
  const Object *object = objectAt(signature, index);
  return object == nullptr ? nullptr : talvo_ustring_dup(object->encoding.get());
}

int32_t talvo_xml_signature_getobjectcontentcount(const Signature *signature,
                                                  int32_t index) noexcept {
  const Object *object = objectAt(signature, index);
  return object == nullptr ? -1 : items<ObjectContent>(object->content).size();
}

int32_t talvo_xml_signature_getobjectcontentkind(const Signature *signature, int32_t index,
                                                 int32_t item) noexcept {
  const ObjectContent *content = contentAt(signature, index, item);
  return content == nullptr ? -1 : content->kind;
}

XmlNode *talvo_xml_signature_getobjectcontentnode(const Signature *signature, int32_t index,
                                                  int32_t item) noexcept {
  const ObjectContent *content = contentAt(signature, index, item);
  return content == nullptr ? nullptr : nodeOf(*content);
}
