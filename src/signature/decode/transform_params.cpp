#include "signature/decode/transform_params.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "base/boundary.h"
#include "base/utf8.h"
#include "signature/decode/element_reader.h"
#include "signature/vocabulary/algorithm.h"

namespace talvo {
namespace {

void freeString(void *item) noexcept {
  talvo_ustring_free(static_cast<talvo_ustring *>(item));
}

// The value of PrefixList, or null when the element does not hold exactly that.
UString readPrefixList(const XmlNode *element) noexcept {
  ElementCursor children(element);
  const XmlNode *inclusive =
      children.takeIf(g_xml_signature_exc_c14n_inclusivenamespaces, g_xml_signature_exc_c14n_nsuri);
  UString value;
  if (inclusive == nullptr || !children.atEnd() ||
      talvo_xml_node_getchildren(inclusive) != nullptr ||
      !readAttributes(inclusive, {{g_xml_signature_exc_c14n_prefixlist, &value}})) {
    return nullptr;
  }
  return value;
}

// Deliberate: one space separates two prefixes. A leading, trailing or second space leaves an empty
// prefix and is refused; tabs and line breaks stay inside the prefixes.
bool split(std::string_view text, std::vector<std::string_view> *prefixes) {
  prefixes->reserve(static_cast<size_t>(std::count(text.begin(), text.end(), ' ')) + 1);
  for (size_t start = 0; start <= text.size();) {
    const size_t end = std::min(text.find(' ', start), text.size());
    if (end == start) {
      return false;
    }
    prefixes->push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return true;
}

TransformContext newContext(const TransformAlgorithm *algorithm, const void *parameter) noexcept {
  return TransformContext(talvo_xml_signature_transformctx_new(algorithm->number, parameter));
}

TransformContext exclusiveContext(const TransformAlgorithm *algorithm,
                                  const XmlNode *element) noexcept {
  PrefixBlock block;
  uint32_t error = 0;
  if (!decodeexcc14nnode(element, &block, &error)) {
    return nullptr;
  }
  bool ok = false;
  const List prefixes = toTransformCtxParam(block, &ok);
  return ok ? newContext(algorithm, prefixes.get()) : nullptr;
}

TransformContext xpathContext(const TransformAlgorithm *algorithm,
                              const XmlNode *element) noexcept {
  const XmlNode *xpath = ElementCursor(element).takeIf(g_xml_signature_xpath_name);
  const UString expression(DecodeChildTextValue(xpath));
  return newContext(algorithm, expression.get());
}

}  // namespace

List toTransformCtxParam(const PrefixBlock &block, bool *ok) noexcept {
  *ok = !block;
  if (!block) {
    return nullptr;
  }
  List list(talvo_arraylist_new(nullptr, freeString));
  for (char **prefix = block.get(); *prefix != nullptr; ++prefix) {
    if (!append(list, makeString(*prefix))) {
      return nullptr;
    }
  }
  *ok = list != nullptr;
  return list;
}

}  // namespace talvo

using namespace talvo;

bool decodeexcc14nnode(const XmlNode *element, PrefixBlock *block, uint32_t *error) noexcept {
  if (talvo_xml_node_getchildren(element) == nullptr) {
    *block = PrefixBlock();
    return true;
  }
  return guardWithError(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY, [&] {
    const UString value = readPrefixList(element);
    std::vector<std::string_view> prefixes;
    if (!value || !split(viewOf(value.get()), &prefixes)) {
      return refuse(error, TALVO_VERIFY_ERROR_PREFIX_LIST);
    }
    *block = PrefixBlock::make(prefixes);
    return *block || refuse(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY);
  });
}

TransformCtx *toTransformCtx(const Transform *transform) noexcept {
  const TransformAlgorithm *algorithm =
      transform == nullptr ? nullptr : transformByUri(transform->algorithm.get());
  if (algorithm == nullptr) {
    return nullptr;
  }
  if (isExclusive(algorithm->number)) {
    return exclusiveContext(algorithm, transform->element).release();
  }
  if (algorithm->number == TALVO_TRANSFORM_XPATH) {
    return xpathContext(algorithm, transform->element).release();
  }
  return newContext(algorithm, nullptr).release();
}
