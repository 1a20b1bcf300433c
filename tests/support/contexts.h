// Contexts and lists in one line.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "talvo_xml.h"

#include "base/list.h"
#include "signature/context/context.h"
#include "support/text.h"

namespace talvo::test {

inline void freeStringItem(void *item) noexcept {
  talvo_ustring_free(static_cast<talvo_ustring *>(item));
}

inline List stringList(std::initializer_list<std::string_view> texts) {
  List list(talvo_arraylist_new(nullptr, freeStringItem));
  for (const std::string_view text : texts) {
    append(list, str(text));
  }
  return list;
}

// A list that borrows its items.
template <class Item>
List listOf(std::initializer_list<Item *> borrowed) {
  List list(talvo_arraylist_new(nullptr, nullptr));
  for (Item *item : borrowed) {
    talvo_arraylist_pushback(list.get(), item);
  }
  return list;
}

inline std::string joined(const List &strings) {
  std::string text;
  for (const talvo_ustring *string : items<talvo_ustring>(strings)) {
    text.append(text.empty() ? "" : " ").append(viewOf(string));
  }
  return text;
}

inline TransformContext transform(int32_t number, const void *parameter = nullptr) {
  return TransformContext(talvo_xml_signature_transformctx_new(number, parameter));
}

inline ReferenceContext reference(std::string_view uri, uint32_t digestMethod = 4,
                                  const List &transforms = nullptr) {
  return ReferenceContext(talvo_xml_signature_referencectx_new(
      digestMethod, nullptr, str(uri).get(), nullptr, nullptr, transforms.get()));
}

inline SignedInfoContext signedInfo(ReferenceCtx *onlyReference, int32_t signatureMethod = 68,
                                    uint32_t c14nMethod = 1, const List &prefixes = nullptr) {
  return SignedInfoContext(talvo_xml_signature_signedinfoctx_new(
      nullptr, c14nMethod, prefixes.get(), signatureMethod, listOf({onlyReference}).get()));
}

}  // namespace talvo::test
