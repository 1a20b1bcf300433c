#include "transform/canonical/namespace_axis.h"

#include <algorithm>

namespace talvo {

NamespaceAxis::NamespaceAxis(const C14nForm &form, NamespaceFilter *filter)
    : isExclusive_(form.mode == C14nMode::exclusive), filter_(filter) {
  prefixes_.idOf({});  // kDefault
  if (isExclusive_) {
    listPrefixes(form.prefixes);
  }
}

void NamespaceAxis::listPrefixes(std::span<const std::string_view> prefixes) {
  for (const std::string_view prefix : prefixes) {
    const uint32_t id = prefixes_.idOf(prefix == "#default" ? std::string_view() : prefix);
    if (id >= timesListed_.size()) {
      timesListed_.resize(id + 1);
    }
    if (timesListed_[id]++ == 0) {
      listed_.push_back(id);
    }
  }
}

bool NamespaceAxis::isBoundAsDeclared(const NameView &name) {
  if (!name.hasNamespace || isXmlNamespace(name.ns)) {
    return true;
  }
  const BindingStack::Binding *binding = declared_.find(prefixes_.idOf(name.ns.prefix));
  return binding != nullptr && binding->declaration == name.ns.declaration;
}

bool NamespaceAxis::isRegular(const ElementView &element) {
  if (!isBoundAsDeclared(element.name)) {
    return false;
  }
  return !isExclusive_ || !element.isSelected ||
         std::all_of(
             element.attributes.begin(), element.attributes.end(),
             [this](const AttributeView &attribute) { return isBoundAsDeclared(attribute.name); });
}

std::span<const NamespaceAxis::Written> NamespaceAxis::open(const ElementView &element) {
  parent_ = frames_.empty() ? Frame{.isRegular = filter_ == nullptr} : frames_.back();
  Frame frame = parent_;
  frame.declared = ownStart_ = declared_.size();
  frame.written = written_.size();
  // Of two declarations of one prefix the first one counts.
  for (size_t i = element.declarations.size(); i-- > 0;) {
    const NamespaceView &ns = element.declarations[i];
    if (ns.prefix != kXmlPrefix) {
      declared_.push(prefixes_.idOf(ns.prefix), ns.uri, ns.declaration, false);
    }
  }
  frame.isRegular = parent_.isRegular && isRegular(element);
  frame.isSelected = isSelected_ = element.isSelected;
  isShort_ = frame.isRegular && parent_.isSelected;
  hasDefault_ = false;
  result_.clear();
  if (filter_ != nullptr || isSelected_) {
    collect(element);
  }
  if (isSelected_ && !frame.isRegular) {
    frame.nearestStart = parent_.isRegular ? frame.written : parent_.nearestEnd;
    frame.nearestEnd = written_.size();
  }
  frames_.push_back(frame);
  return result_;
}

void NamespaceAxis::collect(const ElementView &element) {
  if (isExclusive_) {
    collectExclusive(element);
  } else {
    collectInclusive();
  }
  std::sort(result_.begin(), result_.end(), [this](const Written &first, const Written &second) {
    const int order = prefixOf(first).compare(prefixOf(second));
    return order != 0 ? order < 0 : first.age > second.age;
  });
}

// Below an element that a caller bound to a declaration elsewhere, this declaration covers the
// others of its prefix unless the element makes one itself. One that no open element makes is never
// written for its own sake.
void NamespaceAxis::settle(const NameView &name) {
  if (isBoundAsDeclared(name) || name.ns.uri.data() == nullptr) {
    return;
  }
  const uint32_t prefix = prefixes_.idOf(name.ns.prefix);
  const uint32_t place = declared_.newest(prefix);
  if (place != BindingStack::kNone && place >= frames_.back().declared) {
    return;
  }
  const bool isElsewhere = !isDeclaredAbove(prefix, name.ns.declaration);
  declared_.push(prefix, name.ns.uri, name.ns.declaration, isElsewhere);
}

bool NamespaceAxis::isDeclaredAbove(uint32_t prefix, const void *declaration) const noexcept {
  for (uint32_t place = declared_.newest(prefix); place != BindingStack::kNone;
       place = declared_.at(place).before) {
    if (declared_.at(place).declaration == declaration) {
      return !declared_.at(place).isMarked;
    }
  }
  return false;
}

void NamespaceAxis::close() noexcept {
  declared_.shrink(frames_.back().declared);
  written_.shrink(frames_.back().written);
  frames_.pop_back();
}

bool NamespaceAxis::isSame(const BindingStack::Binding &written,
                           const NamespaceView &ns) const noexcept {
  const bool isOne = ns.declaration != nullptr && written.declaration == ns.declaration;
  return isOne || written_.valueOf(written) == ns.uri;
}

// Whether the nearest selected element has the namespace. For xmlns="" any element above counts.
bool NamespaceAxis::isWrittenNear(uint32_t prefix, const NamespaceView &ns) const noexcept {
  const bool isUnset = prefix == kDefault && ns.uri.empty();
  const uint32_t place = written_.newest(prefix);
  const bool isThere = place != BindingStack::kNone && (isUnset || place >= parent_.nearestStart);
  return isThere ? isSame(written_.at(place), ns) : isUnset;
}

// Whether the element above that used the prefix last wrote it so.
bool NamespaceAxis::isWrittenAbove(uint32_t prefix, const NamespaceView &ns) const noexcept {
  const BindingStack::Binding *written = written_.find(prefix);
  if (written == nullptr) {
    return prefix == kDefault && ns.uri.empty();
  }
  return written->isMarked && isSame(*written, ns);
}

void NamespaceAxis::write(uint32_t prefix, std::string_view uri) {
  result_.push_back({prefix, static_cast<uint32_t>(result_.size()), uri});
}

void NamespaceAxis::collectOwn() {
  for (uint32_t place = ownStart_; place < declared_.size(); ++place) {
    const BindingStack::Binding &binding = declared_.at(place);
    const bool counts = declared_.newest(binding.name) == place;
    if (counts && (!isExclusive_ || isListed(binding.name))) {
      include(binding);
    }
  }
}

void NamespaceAxis::collectInclusive() {
  if (isShort_) {
    collectOwn();
    return;
  }
  for (const uint32_t prefix : declared_.boundNames()) {
    const BindingStack::Binding &binding = *declared_.find(prefix);
    if (!binding.isMarked) {
      include(binding);
    }
  }
  unsetDefault(true);
}

void NamespaceAxis::collectListed() {
  if (isShort_) {
    collectOwn();
    hasDefault_ = isListed(kDefault) && declared_.find(kDefault) != nullptr;
    return;
  }
  for (const uint32_t prefix : listed_) {
    const BindingStack::Binding *binding = declared_.find(prefix);
    if (binding != nullptr) {
      include(*binding);
    }
  }
}

void NamespaceAxis::include(const BindingStack::Binding &binding) {
  if (!keeps(binding.declaration)) {
    return;
  }
  const std::string_view uri = declared_.valueOf(binding);
  const NamespaceView ns{{}, uri, binding.declaration};
  const bool isWritten = isWrittenNear(binding.name, ns);
  if (isSelected_) {
    written_.push(binding.name, uri, binding.declaration, true);
  }
  // Deliberate: for an element that is not selected itself, a prefix that is listed twice is
  // written twice.
  uint32_t times = isExclusive_ && !isSelected_ ? timesListed_[binding.name] : 1;
  for (; !isWritten && times > 0; --times) {
    write(binding.name, uri);
  }
  hasDefault_ = hasDefault_ || binding.name == kDefault;
}

void NamespaceAxis::collectExclusive(const ElementView &element) {
  if (!listed_.empty()) {
    collectListed();
  }
  bool usesDefault = !element.name.hasNamespace;
  const BindingStack::Binding *standard = usesDefault ? declared_.find(kDefault) : nullptr;
  if (standard != nullptr) {
    useForElement({{}, declared_.valueOf(*standard), standard->declaration});
  } else if (!usesDefault && !isXmlNamespace(element.name.ns)) {
    useForElement(element.name.ns);
  }
  for (const AttributeView &attribute : element.attributes) {
    const NameView &name = attribute.name;
    if (!name.hasNamespace) {
      continue;
    }
    if (attribute.isSelected && !isXmlNamespace(name.ns)) {
      useForAttribute(name.ns);
    } else if (name.ns.prefix.empty() && name.ns.uri.empty()) {
      usesDefault = true;
    }
  }
  unsetDefault(usesDefault);
}

void NamespaceAxis::useForElement(const NamespaceView &ns) {
  const uint32_t prefix = prefixes_.idOf(ns.prefix);
  hasDefault_ = hasDefault_ || prefix == kDefault;
  if (!isSelected_) {
    return;
  }
  const bool isKept = keeps(ns.declaration);
  const bool isWritten = isWrittenAbove(prefix, ns);
  if (isKept && !isWritten) {
    write(prefix, ns.uri);
  }
  if (!isShort_ || !isWritten) {
    written_.push(prefix, ns.uri, ns.declaration, isKept);
  }
}

// Deliberate: the namespace of an attribute is written whether or not it is selected itself, and
// counts as written below even where the element is not selected and wrote nothing.
void NamespaceAxis::useForAttribute(const NamespaceView &ns) {
  const uint32_t prefix = prefixes_.idOf(ns.prefix);
  hasDefault_ = hasDefault_ || prefix == kDefault;
  const bool isWritten = isWrittenAbove(prefix, ns);
  if (isSelected_ && !isWritten) {
    write(prefix, ns.uri);
  }
  if (!isShort_ || !isWritten) {
    written_.push(prefix, ns.uri, ns.declaration, keeps(ns.declaration));
  }
}

// Writes xmlns="" where the element has no default namespace and one was written above.
void NamespaceAxis::unsetDefault(bool isUsed) {
  if (!isSelected_ || hasDefault_) {
    return;
  }
  const bool isInclusive = !isExclusive_ || isListed(kDefault);
  const bool isUnset = isInclusive ? isWrittenNear(kDefault, {}) : isWrittenAbove(kDefault, {});
  if ((isInclusive || isUsed) && !isUnset) {
    write(kDefault, {});
  }
}

}  // namespace talvo
