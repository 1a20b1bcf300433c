// The state lies at `_private`, which libxml2 leaves to the application and does not copy with a
// document.
#include "xml/document.h"

#include <cassert>

#include "base/memory.h"
#include "xml/node.h"
#include "xml/registry.h"

namespace talvo {
namespace {

constexpr char kSource[] = "TALVO_XML";

DocumentState *stateIn(const xmlDoc *doc) noexcept {
  return static_cast<DocumentState *>(doc->_private);
}

}  // namespace

std::optional<bool> DocumentState::recall(Finding finding) const noexcept {
  const Memory &memory = memories_.at(static_cast<size_t>(finding));
  return memory.isSet && memory.edits == edits_ ? std::optional<bool>(memory.isSo) : std::nullopt;
}

void DocumentState::remember(Finding finding, bool isSo) noexcept {
  memories_.at(static_cast<size_t>(finding)) = {true, isSo, edits_};
}

DocumentState *stateOf(const XmlDoc *doc) noexcept {
  return kindOf(doc) == NodeKind::document ? stateIn(nativeDoc(doc)) : nullptr;
}

void destroyDocument(xmlDoc *doc) noexcept {
  destroy(stateIn(doc));
  xmlFreeDoc(doc);
}

XmlDoc *handOutDocument(const MemoryWatch &watch, NativeDoc doc, uint32_t parseFlags) noexcept {
  if (!doc || watch.exhausted()) {
    return nullptr;
  }
  assert(doc->_private == nullptr);
  doc->_private = make<DocumentState>(kSource, parseFlags).release();
  if (doc->_private == nullptr || !track(handleOf(doc.get()), Tracking::registered, nullptr)) {
    return nullptr;
  }
  return handleOf(doc.release());  // the caller owns it now
}

}  // namespace talvo
