#include "signature/decode/key_value.h"

#include "signature/decode/element_reader.h"

namespace talvo {
namespace {

// Reads the next element into the number when it has that name; false when it has and its text is
// no number.
bool readOptional(ElementCursor &children, const talvo_ustring *name, BigInteger *number) noexcept {
  XmlNode *element = children.takeIf(name);
  if (element == nullptr) {
    return true;
  }
  number->reset(decodeBigInter(element));
  return *number != nullptr;
}

bool readRequired(ElementCursor &children, const talvo_ustring *name, BigInteger *number) noexcept {
  return readOptional(children, name, number) && *number != nullptr;
}

bool readSeed(ElementCursor &children, Blob *seed) noexcept {
  XmlNode *element = children.takeIf(g_xml_signature_seed);
  if (element == nullptr) {
    return true;
  }
  seed->reset(decodeBase64Value(element));
  return *seed != nullptr;
}

Owned<DsaKeyValue> decodeDsa(XmlNode *element) noexcept {
  Owned<DsaKeyValue> key = make<DsaKeyValue>(kDecodeSource);
  if (!key || hasAttributes(element)) {
    return nullptr;
  }
  key->element = element;
  ElementCursor children(element);
  // P and Q come together or not at all; Seed and PgenCounter need not.
  const bool whole =
      readOptional(children, g_xml_signature_p, &key->p) &&
      (key->p == nullptr || readRequired(children, g_xml_signature_q, &key->q)) &&
      readOptional(children, g_xml_signature_g, &key->g) &&
      readRequired(children, g_xml_signature_y, &key->y) &&
      readOptional(children, g_xml_signature_j, &key->j) && readSeed(children, &key->seed) &&
      readOptional(children, g_xml_signature_pgencounter, &key->pgenCounter) && children.atEnd();
  return whole ? std::move(key) : nullptr;
}

Owned<RsaKeyValue> decodeRsa(XmlNode *element) noexcept {
  Owned<RsaKeyValue> key = make<RsaKeyValue>(kDecodeSource);
  if (!key || hasAttributes(element)) {
    return nullptr;
  }
  key->element = element;
  ElementCursor children(element);
  const bool whole = readRequired(children, g_xml_signature_modulus, &key->modulus) &&
                     readRequired(children, g_xml_signature_exponent, &key->exponent) &&
                     children.atEnd();
  return whole ? std::move(key) : nullptr;
}

bool readKey(XmlNode *child, KeyValue &value) noexcept {
  if (isSignatureElement(child, g_xml_signature_rsakeyvalue)) {
    value.kind = TALVO_KEY_VALUE_RSA;
    return store(decodeRsa(child), &value.value);
  }
  if (isSignatureElement(child, g_xml_signature_dsakeyvalue)) {
    value.kind = TALVO_KEY_VALUE_DSA;
    return store(decodeDsa(child), &value.value);
  }
  return store(child, &value.value);
}

}  // namespace

Owned<KeyValue> decodeKeyValue(XmlNode *element) noexcept {
  Owned<KeyValue> value = make<KeyValue>(kDecodeSource);
  ElementCursor children(element);
  XmlNode *child = children.take();
  if (!value || hasAttributes(element) || child == nullptr || !children.atEnd() ||
      !readKey(child, *value)) {
    return nullptr;
  }
  value->element = element;
  return value;
}

}  // namespace talvo
