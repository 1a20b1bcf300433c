// The globals of vocabulary.def and the table that start-up and shut-down go through.
#include "signature/vocabulary/vocabulary.h"

#include <cstddef>
#include <iterator>

// The host of the SM2 and SM3 identifiers, which no public standard fixes.
#ifndef TALVO_XML_SM_HOST
#define TALVO_XML_SM_HOST "sm.example.org"
#endif

#define W3C "http://www.w3.org"
#define ETSI "http://uri.etsi.org"
#define SM "http://" TALVO_XML_SM_HOST

extern "C" {

#define NAME(global, text) talvo_ustring *global = nullptr;
#define COPY(global, original) talvo_ustring *global = nullptr;
#include "signature/vocabulary/vocabulary.def"
#undef NAME
#undef COPY
}

namespace talvo {
namespace {

struct Entry {
  talvo_ustring **global;
  const char *text;
  size_t length;
  talvo_ustring *const *original;  // of a copy; else null
};

constexpr Entry kEntries[] = {
#define NAME(global, text) {&global, text, sizeof(text) - 1, nullptr},
#define COPY(global, original) {&global, nullptr, 0, &original},
#include "signature/vocabulary/vocabulary.def"
#undef NAME
#undef COPY
};

static_assert(std::size(kEntries) == 159, "a name was lost or added");

}  // namespace
}  // namespace talvo

using namespace talvo;

int32_t talvo_xml_string_init() noexcept {
  for (const Entry &entry : kEntries) {
    *entry.global = entry.original != nullptr ? talvo_ustring_dup(*entry.original)
                                              : talvo_ustring_newutf8(entry.text, entry.length);
    if (*entry.global == nullptr) {
      return 0;
    }
  }
  return 1;
}

int32_t talvo_xml_string_end() noexcept {
  for (const Entry &entry : kEntries) {
    talvo_ustring_free(*entry.global);
    *entry.global = nullptr;
  }
  return 1;
}
