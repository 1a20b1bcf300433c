// Which namespace declarations a start tag gets. All that is asked of the open elements is answered
// by the newest binding of a prefix, so that neither depth nor the number of declarations in scope
// counts: below a selected element, an element can only differ by what it declares itself.
//
// Names that callers bound to a declaration elsewhere, and filters that choose among namespaces,
// take the long way, on which each element is asked about all that is in scope.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "transform/canonical/binding_stack.h"
#include "transform/canonical/views.h"

namespace talvo {

class NamespaceAxis {
 public:
  struct Written {
    uint32_t prefix;
    uint32_t age;
    std::string_view uri;
  };

  NamespaceAxis(const C14nForm &form, NamespaceFilter *filter);

  // What the start tag gets, in order; valid until `settle`.
  std::span<const Written> open(const ElementView &element);
  // To be called when the start tag is written, before anything inside it.
  void settle(const NameView &name);
  void close() noexcept;

  std::string_view prefixOf(const Written &written) const noexcept {
    return prefixes_.nameOf(written.prefix);
  }

 private:
  static constexpr uint32_t kDefault = 0;

  // An open element. Between two places of `written_` lies what was written for, or known at, the
  // nearest selected element.
  struct Frame {
    uint32_t declared = 0;  // sizes before this element
    uint32_t written = 0;
    uint32_t nearestStart = 0;
    uint32_t nearestEnd = 0;
    bool isSelected = false;
    bool isRegular = true;  // no long way up to here
  };

  void listPrefixes(std::span<const std::string_view> prefixes);
  bool isListed(uint32_t prefix) const noexcept {
    return prefix < timesListed_.size() && timesListed_[prefix] != 0;
  }
  bool isBoundAsDeclared(const NameView &name);
  bool isRegular(const ElementView &element);
  bool isDeclaredAbove(uint32_t prefix, const void *declaration) const noexcept;

  bool keeps(const void *declaration) const {
    return filter_ == nullptr ? isSelected_ : filter_->keeps(declaration);
  }
  bool isSame(const BindingStack::Binding &written, const NamespaceView &ns) const noexcept;
  bool isWrittenNear(uint32_t prefix, const NamespaceView &ns) const noexcept;
  bool isWrittenAbove(uint32_t prefix, const NamespaceView &ns) const noexcept;
  void write(uint32_t prefix, std::string_view uri);

  void collect(const ElementView &element);
  void collectInclusive();
  void collectExclusive(const ElementView &element);
  void collectListed();
  void collectOwn();
  void include(const BindingStack::Binding &binding);
  void useForElement(const NamespaceView &ns);
  void useForAttribute(const NamespaceView &ns);
  void unsetDefault(bool isUsed);

  const bool isExclusive_;
  NamespaceFilter *const filter_;
  NameIds prefixes_;
  BindingStack declared_;  // marked: by no open element, see settle
  BindingStack written_;   // marked: the namespace was selected
  std::vector<uint32_t> listed_;
  std::vector<uint32_t> timesListed_;
  std::vector<Frame> frames_;

  // Of the element that is being opened.
  Frame parent_;
  bool isSelected_ = false;
  bool isShort_ = false;  // only its own declarations need a look
  bool hasDefault_ = false;
  uint32_t ownStart_ = 0;
  std::vector<Written> result_;
};

}  // namespace talvo
