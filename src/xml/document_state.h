// What the library knows of a document beside its nodes. It is kept in the document and goes with
// it, so that work on one document never notices another, whatever thread that is in: neither in
// its results nor in its speed. Of the document's nodes nothing is kept that an edit could make
// wrong.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "talvo_xml.h"

namespace talvo {

// What is found out by going through a whole document.
enum class Finding : size_t {
  isCanonical,     // nothing in it that canonicalisation refuses
  areIdsDeclared,  // the Ids of all its signatures, each of which could be
};

class DocumentState {
 public:
  explicit DocumentState(uint32_t parseFlags) noexcept : parseFlags_(parseFlags) {}

  // The flags that the document was parsed with; 0 for one that was built.
  uint32_t parseFlags() const noexcept { return parseFlags_; }

  // How often elements, attributes or namespace declarations came, went or changed. Texts, comments
  // and processing instructions do not count: no finding depends on them, and signing adds texts.
  uint64_t edits() const noexcept { return edits_; }
  void noteEdit() noexcept { ++edits_; }

  // What was remembered, unless the document was edited since.
  std::optional<bool> recall(Finding finding) const noexcept;
  void remember(Finding finding, bool isSo) noexcept;

  // Nodes that point at this document and lie in the tree of another one, see Tracking::rehomed.
  bool hasStrays() const noexcept { return strays_ > 0; }
  void countStray(int32_t more) noexcept { strays_ += more; }

 private:
  struct Memory {
    bool isSet = false;
    bool isSo = false;
    uint64_t edits = 0;
  };

  uint32_t parseFlags_;
  int32_t strays_ = 0;
  uint64_t edits_ = 0;
  std::array<Memory, 2> memories_;
};

// The state of a document, which every document of the library has; null for what is none.
DocumentState *stateOf(const XmlDoc *doc) noexcept;

}  // namespace talvo
