#include "transform/canonical/binding_stack.h"

#include <cassert>

namespace talvo {

// The same few names come again and again.
uint32_t NameIds::idOf(std::string_view name) {
  const size_t hint = name.empty() ? 0 : name.size() + static_cast<uint8_t>(name.back());
  uint32_t &recent = recent_[hint % kRecent];
  if (recent >= names_.size() || names_[recent] != name) {
    recent = find(name);
  }
  return recent;
}

uint32_t NameIds::find(std::string_view name) {
  const auto found = ids_.find(name);
  if (found != ids_.end()) {
    return found->second;
  }
  const auto id = static_cast<uint32_t>(names_.size());
  const auto added = ids_.emplace(name, id).first;
  names_.push_back(added->first);
  return id;
}

void BindingStack::push(uint32_t name, std::string_view value, const void *declaration,
                        bool isMarked) {
  if (name >= newest_.size()) {
    newest_.resize(name + 1, kNone);
  }
  const uint32_t before = newest_[name];
  if (before == kNone) {
    bound_.push_back(name);
  }
  bindings_.push_back({name, before, declaration, values_.size(), value.size(), isMarked});
  values_.append(value);
  newest_[name] = size() - 1;
}

// A name that got its first binding last loses it first, so the bound names are a stack as well.
void BindingStack::shrink(uint32_t size) noexcept {
  while (bindings_.size() > size) {
    const Binding &last = bindings_.back();
    newest_[last.name] = last.before;
    if (last.before == kNone) {
      assert(bound_.back() == last.name);
      bound_.pop_back();
    }
    values_.resize(last.start);
    bindings_.pop_back();
  }
}

}  // namespace talvo
