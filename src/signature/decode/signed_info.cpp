#include "signature/decode/signed_info.h"

#include <charconv>

#include "base/utf8.h"
#include "signature/decode/element_reader.h"
#include "signature/decode/reference.h"
#include "signature/vocabulary/algorithm.h"

namespace talvo {
namespace {

constexpr std::string_view kBlanks = "\r\n \t";

int32_t decimalOf(std::string_view digits) noexcept {
  int32_t value = -1;
  const char *end = digits.data() + digits.size();
  const auto [stop, problem] = std::from_chars(digits.data(), end, value);
  // from_chars takes a minus sign, which the first digit rules out.
  return problem == std::errc() && stop == end && digits.front() != '-' ? value : -1;
}

// Settles the bits of the MAC. False when the method's children are not allowed.
bool readOutputLength(const XmlNode *element, const SignatureAlgorithm *algorithm,
                      int32_t *bits) noexcept {
  const ElementCursor children(element);
  const KeyFamily family = algorithm == nullptr ? KeyFamily::none : algorithm->family;
  if (family == KeyFamily::rsa || family == KeyFamily::dsa) {
    return children.atEnd();
  }
  if (family != KeyFamily::hmac) {
    return true;  // children of the other methods are parameters that nobody here reads
  }
  *bits = children.atEnd() ? algorithm->hmacBits : getHMACOutputLength(children.peek());
  return *bits >= 1 && *bits <= algorithm->hmacBits;
}

Owned<SignatureMethod> decodeSignatureMethod(XmlNode *element) noexcept {
  if (element == nullptr) {
    return nullptr;
  }
  Owned<SignatureMethod> method = make<SignatureMethod>(kDecodeSource);
  if (!method || !readAlgorithm(element, &method->algorithm)) {
    return nullptr;
  }
  const SignatureAlgorithm *algorithm = signatureByUri(method->algorithm.get());
  if (!readOutputLength(element, algorithm, &method->hmacOutputLength)) {
    return nullptr;
  }
  method->element = element;
  method->algorithmId = numberOf(algorithm);
  return method;
}

}  // namespace
}  // namespace talvo

using namespace talvo;

SignedInfo *talvo_xml_decode_signature_signedinfo(XmlNode *element,
                                                  XmlNode *signatureElement) noexcept {
  if (!isSignatureElement(element, g_xml_signature_signerinfo_name)) {
    return nullptr;
  }
  Owned<SignedInfo> info = make<SignedInfo>(kDecodeSource);
  if (!info || !readOptionalId(element, &info->id)) {
    return nullptr;
  }
  info->element = element;
  ElementCursor children(element);
  info->canonicalizationMethod.reset(talvo_xml_decode_signature_c14nmethod(children.take()));
  if (!info->canonicalizationMethod) {
    return nullptr;
  }
  info->signatureMethod = decodeSignatureMethod(children.takeIf(g_xml_signature_signmethod_name));
  if (!info->signatureMethod) {
    return nullptr;
  }
  info->references = readReferences(children, signatureElement);
  return info->references ? info.release() : nullptr;
}

CanonicalizationMethod *talvo_xml_decode_signature_c14nmethod(XmlNode *element) noexcept {
  if (!isSignatureElement(element, g_xml_signature_c14nmethod_name)) {
    return nullptr;
  }
  Owned<CanonicalizationMethod> method = make<CanonicalizationMethod>(kDecodeSource);
  if (!method || !readAlgorithm(element, &method->algorithm)) {
    return nullptr;
  }
  method->element = element;
  method->algorithmId = numberOf(c14nByUri(method->algorithm.get()));
  return method.release();
}

int32_t getHMACOutputLength(const XmlNode *element) noexcept {
  if (!isSignatureElement(element, g_xml_signature_hmacoutputlength)) {
    return -1;
  }
  const UString text(DecodeChildTextValue(element));
  const std::string_view all = viewOf(text.get());
  const size_t first = all.find_first_not_of(kBlanks);
  const size_t last = all.find_last_not_of(kBlanks);
  // Deliberate: a single digit at the very start of the text is refused, while the same digit
  // behind a blank is read.
  if (first == std::string_view::npos || last == 0) {
    return -1;
  }
  return decimalOf(all.substr(first, last - first + 1));
}
