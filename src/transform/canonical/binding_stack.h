// Names with values that hold from one start tag to its end tag: prefixes with the URIs that they
// are bound to, xml: attributes with what descendants inherit. The newest value of a name, and all
// names that have one, are found without a walk along the open elements.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace talvo {

// Gives each name a number, from 0 in the order in which they come.
class NameIds {
 public:
  uint32_t idOf(std::string_view name);
  std::string_view nameOf(uint32_t id) const noexcept { return names_[id]; }

 private:
  static constexpr size_t kRecent = 16;

  uint32_t find(std::string_view name);

  // A map, not a hash table: whoever writes a document chooses the names, and may choose such that
  // collide.
  std::map<std::string, uint32_t, std::less<>> ids_;
  std::vector<std::string_view> names_;  // the keys of the map
  std::array<uint32_t, kRecent> recent_{};
};

class BindingStack {
 public:
  static constexpr uint32_t kNone = UINT32_MAX;

  struct Binding {
    uint32_t name;
    uint32_t before;  // the place of the one that it covers, or kNone
    const void *declaration;
    size_t start;
    size_t length;
    bool isMarked;
  };

  // The value is copied.
  void push(uint32_t name, std::string_view value, const void *declaration, bool isMarked);
  // Drops what was pushed since the stack had that size.
  void shrink(uint32_t size) noexcept;
  uint32_t size() const noexcept { return static_cast<uint32_t>(bindings_.size()); }

  // The place of the newest binding, or kNone.
  uint32_t newest(uint32_t name) const noexcept {
    return name < newest_.size() ? newest_[name] : kNone;
  }
  const Binding &at(uint32_t place) const noexcept { return bindings_[place]; }
  // Null for a name without one.
  const Binding *find(uint32_t name) const noexcept {
    const uint32_t place = newest(name);
    return place == kNone ? nullptr : &bindings_[place];
  }
  // Valid until the next push.
  std::string_view valueOf(const Binding &binding) const noexcept {
    return std::string_view(values_).substr(binding.start, binding.length);
  }
  // The names that have a binding.
  std::span<const uint32_t> boundNames() const noexcept { return bound_; }

 private:
  std::vector<Binding> bindings_;
  std::vector<uint32_t> newest_;
  std::vector<uint32_t> bound_;
  std::string values_;
};

}  // namespace talvo
