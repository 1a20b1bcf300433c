// Packs prefixes into one block, so that one release gives everything back.
#include "transform/canonical/prefix_list.h"

#include "base/list.h"
#include "base/memory.h"
#include "base/utf8.h"

namespace talvo {
namespace {

constexpr const char *kSource = "transform";

// Fills a block from `count` texts that `textAt(index)` answers.
template <class TextAt>
char **pack(size_t count, TextAt textAt) noexcept {
  size_t size = (count + 1) * sizeof(char *);
  for (size_t i = 0; i < count; ++i) {
    size += textAt(i).size() + 1;
  }
  void *place = talvo_malloc(size, kSource, __LINE__);
  if (place == nullptr) {
    return nullptr;
  }
  char **pointers = static_cast<char **>(place);
  char *text = reinterpret_cast<char *>(pointers + count + 1);
  for (size_t i = 0; i < count; ++i) {
    std::string_view prefix = textAt(i);
    pointers[i] = text;
    prefix.copy(text, prefix.size());
    text[prefix.size()] = '\0';
    text += prefix.size() + 1;
  }
  pointers[count] = nullptr;
  return pointers;
}

}  // namespace

PrefixBlock PrefixBlock::make(std::span<const std::string_view> prefixes) noexcept {
  return PrefixBlock(pack(prefixes.size(), [&](size_t index) { return prefixes[index]; }));
}

}  // namespace talvo

char **getexcc14nparam2(const talvo_arraylist *prefixes) noexcept {
  using talvo::Utf8;
  const auto texts = talvo::items<const talvo_ustring>(prefixes);
  if (prefixes == nullptr) {
    return nullptr;
  }
  for (const talvo_ustring *text : texts) {
    if (!Utf8(text)) {
      return nullptr;
    }
  }
  return talvo::pack(static_cast<size_t>(texts.size()), [&](size_t index) {
    return talvo::viewOf(texts[static_cast<int32_t>(index)]);
  });
}
