#include "signature/decode/signature.h"

#include "signature/decode/element_reader.h"
#include "signature/decode/key_info.h"
#include "signature/decode/object.h"
#include "signature/decode/signed_info.h"
#include "signature/decode/xades.h"

namespace talvo {
namespace {

constexpr int32_t kMaxDepth = 128;

Owned<SignatureValue> decodeValue(XmlNode *element) noexcept {
  if (element == nullptr) {
    return nullptr;
  }
  Owned<SignatureValue> value = make<SignatureValue>(kDecodeSource);
  if (!value || !readOptionalId(element, &value->id)) {
    return nullptr;
  }
  const UString text(DecodeChildTextValue(element));
  value->element = element;
  value->value.reset(decodeb64(text.get()));
  return value->value ? std::move(value) : nullptr;
}

bool copyValueId(Signature &signature) noexcept {
  const UString &id = signature.signatureValue->id;
  signature.signatureValueId.reset(talvo_ustring_dup(id.get()));
  return signature.signatureValueId != nullptr || id == nullptr;
}

// What every signature has.
bool readCore(ElementCursor &children, Signature &signature) noexcept {
  signature.signedInfo.reset(
      talvo_xml_decode_signature_signedinfo(children.take(), signature.element));
  if (!signature.signedInfo) {
    return false;
  }
  signature.signatureValue = decodeValue(children.takeIf(g_xml_signature_signaturevalue));
  return signature.signatureValue && copyValueId(signature);
}

bool readKeyInfo(ElementCursor &children, Signature &signature) noexcept {
  XmlNode *element = children.takeIf(g_xml_signature_keyinfo_name);
  if (element == nullptr) {
    return true;
  }
  signature.keyInfo = decodeKeyInfo(element, signature.element);
  return signature.keyInfo != nullptr;
}

bool readObjects(ElementCursor &children, Signature &signature, int32_t depth) noexcept {
  signature.objects = readRest<Object>(children, [&signature, depth](XmlNode *element) {
    return talvo_xml_decode_signature_object(element, signature.element, depth);
  });
  return signature.objects != nullptr;
}

}  // namespace

SignatureRecord decodeSignature(XmlNode *element, Registration registration,
                                int32_t depth) noexcept {
  if (depth > kMaxDepth || !isSignatureElement(element, g_xml_signature_name)) {
    return nullptr;
  }
  SignatureRecord record(make<Signature>(kDecodeSource).release());
  if (!record || !readOptionalId(element, &record->id)) {
    return nullptr;
  }
  record->element = element;
  record->document = talvo_xml_node_getdoc(element);
  ElementCursor children(element);
  if (record->document == nullptr || !readCore(children, *record) ||
      !readKeyInfo(children, *record)) {
    return nullptr;
  }
  // Deliberate: a signature that ends with SignatureValue or KeyInfo leaves the document's IDs
  // undeclared.
  if (children.atEnd()) {
    return record;
  }
  if (!readObjects(children, *record, depth)) {
    return nullptr;
  }
  if (registration == Registration::once) {
    talvo_xml_signature_setid(record->document);  // whether all could be declared does not matter
  }
  return readXades(*record) ? std::move(record) : nullptr;
}

}  // namespace talvo

Signature *talvo_xml_decode_signature(XmlNode *signatureElement) noexcept {
  return talvo::decodeSignature(signatureElement, talvo::Registration::once).release();
}
