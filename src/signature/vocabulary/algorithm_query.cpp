// The algorithm tables for callers, by kind and number.
#include "talvo_xml.h"

#include "signature/vocabulary/algorithm.h"

namespace {

using namespace talvo;

struct Answer {
  const char *name = nullptr;
  VocabularySlot uri = nullptr;
  std::string_view jsonName = {};
};

template <class Row>
Answer answerOf(const Row *row) noexcept {
  return row == nullptr ? Answer{} : Answer{row->name, row->uri, row->jsonName};
}

Answer lookUp(uint32_t kind, int32_t number) noexcept {
  switch (kind) {
    case TALVO_ALGORITHM_C14N:
      return answerOf(c14nByNumber(number));
    case TALVO_ALGORITHM_DIGEST:
      return answerOf(digestByNumber(number));
    case TALVO_ALGORITHM_SIGNATURE:
      return answerOf(signatureByNumber(number));
    case TALVO_ALGORITHM_TRANSFORM:
      return answerOf(transformByNumber(number));
    case TALVO_ALGORITHM_CERTIFICATES:
      return {nullptr, nullptr, includeCertOptionJsonName(number)};
    default:
      return {};
  }
}

}  // namespace

const char *talvo_xml_algorithm_getname(uint32_t kind, int32_t number) noexcept {
  return lookUp(kind, number).name;
}

talvo_ustring *talvo_xml_algorithm_geturi(uint32_t kind, int32_t number) noexcept {
  const VocabularySlot uri = lookUp(kind, number).uri;
  return uri == nullptr ? nullptr : talvo_ustring_dup(*uri);
}

// The names are literals, so their views end in a NUL.
const char *talvo_xml_algorithm_getjsonname(uint32_t kind, int32_t number) noexcept {
  const std::string_view name = lookUp(kind, number).jsonName;
  return name.empty() ? nullptr : name.data();
}
