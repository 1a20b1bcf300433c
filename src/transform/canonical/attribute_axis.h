// Which attributes a start tag gets, and in which order: its own, and xml: attributes of elements
// above that are not selected.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "transform/canonical/binding_stack.h"
#include "transform/canonical/views.h"

namespace talvo {

class AttributeAxis {
 public:
  struct Chosen {
    std::string_view prefix;
    std::string_view uri;
    std::string_view local;
    std::string_view value;
    const void *declaration;
    uint32_t rank;
    uint32_t age;  // of two that are equal the higher one comes first
  };

  // With a filter, elements below a selected one need not be selected.
  AttributeAxis(const C14nForm &form, bool isFiltered);

  // What the start tag gets, in order; valid until `settle`.
  std::span<const Chosen> open(const ElementView &element);
  // To be called when the start tag is written, before anything inside it.
  void settle(const ElementView &element);
  void close() noexcept;

  bool isOutOfMemory() const noexcept { return isOutOfMemory_; }

 private:
  struct Frame {
    uint32_t inherited = 0;    // its size before this element
    uint32_t hiddenStart = 0;  // what lies behind it comes from below the nearest selected element
    bool isSelected = false;
  };

  void choose(const AttributeView &attribute);
  void chooseInherited(std::string_view local, std::string_view value, uint32_t age);
  uint32_t nextAge() const noexcept { return static_cast<uint32_t>(chosen_.size()) + 1; }
  void chooseOwn(const ElementView &element);
  void inheritAll();
  void chooseSpecial(const ElementView &element);
  void inheritNearest(uint32_t name);
  void chooseBase(const AttributeView *own);
  bool joinBase(const BindingStack::Binding &binding);
  uint32_t hiddenPlace(uint32_t name) const noexcept;
  void sort();
  void sortUnprefixed();

  const C14nMode mode_;
  const JoinBase joinBase_;
  const bool isFiltered_;
  bool isOutOfMemory_ = false;
  NameIds names_;
  BindingStack inherited_;  // marked: no text at all
  std::vector<Frame> frames_;
  Frame parent_;
  std::vector<Chosen> chosen_;
  std::string base_;
};

}  // namespace talvo
