// From a Transform element, or the context of one that is to be signed, to the function that runs
// it and the parameter it takes.
#include "transform/reference/transform_lookup.h"

#include <algorithm>
#include <array>

#include "base/boundary.h"
#include "base/memory.h"
#include "signature/decode/transform_params.h"
#include "signature/vocabulary/algorithm.h"
#include "signature/vocabulary/vocabulary.h"
#include "transform/canonical/prefix_list.h"
#include "xml/node.h"

namespace talvo {
namespace {

constexpr const char *kSource = "transform";

struct Row {
  int32_t number;
  TransformFunc function;
};

constexpr std::array<Row, 9> kRows = {{
    {TALVO_C14N_10, talvo_xml_siganture_c14n},
    {TALVO_C14N_10_WITH_COMMENTS, talvo_xml_siganture_c14n_with_comments},
    {TALVO_C14N_EXCLUSIVE, talvo_xml_siganture_exc_c14n},
    {TALVO_C14N_EXCLUSIVE_WITH_COMMENTS, talvo_xml_siganture_exc_c14n_with_comments},
    {TALVO_C14N_11, talvo_xml_siganture_c14nv1_1},
    {TALVO_C14N_11_WITH_COMMENTS, talvo_xml_siganture_c14nv1_1_with_comments},
    {TALVO_TRANSFORM_BASE64, talvo_xml_siganture_base64decode_transform},
    {TALVO_TRANSFORM_XPATH, talvo_xml_siganture_xpath_filtering_transform},
    {TALVO_TRANSFORM_ENVELOPED, talvo_xml_siganture_enveloped_signature_transform},
}};

TransformFunc functionOf(int32_t number) noexcept {
  const auto *row = std::find_if(kRows.begin(), kRows.end(),
                                 [=](const Row &candidate) { return candidate.number == number; });
  return row == kRows.end() ? nullptr : row->function;
}

// A block that holds one pointer.
bool hold(XmlNode *element, void **parameter, uint32_t *error) noexcept {
  void *block = talvo_malloc(sizeof(XmlNode *), kSource, __LINE__);
  if (block == nullptr) {
    return refuse(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY);
  }
  *static_cast<XmlNode **>(block) = element;
  *parameter = block;
  return true;
}

// The only element child of an XPath transform, which must be the XPath element; or null.
XmlNode *xpathElementOf(const XmlNode *transform) noexcept {
  XmlNode *child = talvo_xml_node_getelemchildren(transform);
  const bool isXPath = isElement(child, g_xml_signature_xpath_name, g_xml_signature_nsuri) &&
                       talvo_xml_node_skipignorenode(child) == nullptr;
  return isXPath ? child : nullptr;
}

bool makeParameter(const Transform &transform, int32_t number, void **parameter,
                   uint32_t *error) noexcept {
  if (isExclusive(number)) {
    PrefixBlock prefixes;
    if (!decodeexcc14nnode(transform.element, &prefixes, error)) {
      return false;
    }
    *parameter = prefixes.release();
    return true;
  }
  if (number == TALVO_TRANSFORM_XPATH) {
    XmlNode *xpath = xpathElementOf(transform.element);
    return xpath == nullptr ? refuse(error, TALVO_VERIFY_ERROR_XPATH_ELEMENT)
                            : hold(xpath, parameter, error);
  }
  return number != TALVO_TRANSFORM_ENVELOPED || hold(transform.signatureElement, parameter, error);
}

bool makeParameter(const TransformCtx &context, void **parameter, uint32_t *error) noexcept {
  if (isExclusive(context.algorithm)) {
    // Deliberate: a context for exclusive canonicalisation can be made without a prefix list but
    // not run.
    *parameter = getexcc14nparam2(context.prefixes.get());
    return *parameter != nullptr || refuse(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY);
  }
  if (context.algorithm == TALVO_TRANSFORM_XPATH) {
    return hold(context.xpathElement, parameter, error);
  }
  return context.algorithm != TALVO_TRANSFORM_ENVELOPED ||
         hold(context.signatureElement, parameter, error);
}

}  // namespace

int32_t c14nMethodOf(TransformFunc function) noexcept {
  const auto *row = std::find_if(kRows.begin(), kRows.end(), [=](const Row &candidate) {
    return canCanonicalize(candidate.number) && candidate.function == function;
  });
  return row == kRows.end() ? 0 : row->number;
}

}  // namespace talvo

using namespace talvo;

TransformFunc talvo_xml_transformnode2func(const Transform *transform, void **parameter,
                                           uint32_t *error) noexcept {
  if (error == nullptr) {
    return nullptr;
  }
  if (transform == nullptr || parameter == nullptr) {
    return failNull(error, TALVO_VERIFY_ERROR_MISSING_ARGUMENT);
  }
  *parameter = nullptr;
  const int32_t number = numberOf(transformByUri(transform->algorithm.get()));
  const TransformFunc function = functionOf(number);
  if (function == nullptr) {
    return failNull(error, TALVO_VERIFY_ERROR_UNKNOWN_TRANSFORM);
  }
  return makeParameter(*transform, number, parameter, error) ? function : nullptr;
}

TransformFunc talvo_xml_transformctx2func(const TransformCtx *transform, void **parameter,
                                          uint32_t *error) noexcept {
  if (error == nullptr) {
    return nullptr;
  }
  if (transform == nullptr || parameter == nullptr) {
    return failNull(error, TALVO_VERIFY_ERROR_MISSING_ARGUMENT);
  }
  *parameter = nullptr;
  const TransformFunc function = functionOf(transform->algorithm);
  if (function == nullptr) {
    return failNull(error, TALVO_VERIFY_ERROR_UNKNOWN_TRANSFORM);
  }
  return makeParameter(*transform, parameter, error) ? function : nullptr;
}
