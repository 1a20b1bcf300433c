#include "signature/decode/time_stamp.h"

#include "base/utf8.h"
#include "signature/decode/element_reader.h"
#include "signature/decode/signed_info.h"
#include "signature/decode/transform_params.h"

namespace talvo {
namespace {

bool readPrefixes(XmlNode *element, TimeStamp &stamp) noexcept {
  PrefixBlock block;
  uint32_t error = 0;
  bool converted = false;
  if (!decodeexcc14nnode(element, &block, &error)) {
    return false;
  }
  stamp.inclusivePrefixes = toTransformCtxParam(block, &converted);
  return converted;
}

bool readMethod(XmlNode *element, TimeStamp &stamp) noexcept {
  const Owned<CanonicalizationMethod> method(talvo_xml_decode_signature_c14nmethod(element));
  if (!method) {
    return false;
  }
  stamp.c14nAlgorithmId = method->algorithmId;
  // Deliberate: the prefixes of exclusive canonicalisation with comments are not read.
  return method->algorithmId != TALVO_C14N_EXCLUSIVE || readPrefixes(element, stamp);
}

bool readToken(const XmlNode *element, TimeStamp &stamp) noexcept {
  const UString text(DecodeChildTextValue(element));
  const std::string_view base64 = viewOf(text.get());
  uint8_t *token = nullptr;
  size_t length = 0;
  if (!talvo_base64_decode(base64.data(), base64.size(), TALVO_BASE64_LINES, &token, &length)) {
    return false;
  }
  stamp.token.reset(token);
  stamp.tokenLength = static_cast<uint32_t>(length);
  return true;
}

}  // namespace

Owned<TimeStamp> decodeTimeStamp(const XmlNode *element) noexcept {
  Owned<TimeStamp> stamp = make<TimeStamp>(kDecodeSource);
  if (!stamp) {
    return nullptr;
  }
  ElementCursor children(element);
  XmlNode *method = children.takeIf(g_xml_signature_c14nmethod_name);
  if (method != nullptr && !readMethod(method, *stamp)) {
    return nullptr;
  }
  const bool read = readToken(children.takeXades(g_xml_xades_encapsulatedtimestamp), *stamp);
  return read ? std::move(stamp) : nullptr;
}

}  // namespace talvo
