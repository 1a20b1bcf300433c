#include "transform/canonical/attribute_axis.h"

#include <algorithm>
#include <tuple>

namespace talvo {
namespace {

// What C14N 1.1 treats in a way of its own, by their numbers in the table of names. xml:id and all
// others are attributes like any other there.
constexpr uint32_t kLang = 0;
constexpr uint32_t kSpace = 1;
constexpr uint32_t kBase = 2;
constexpr std::array<std::string_view, 3> kSpecial = {"lang", "space", "base"};

// In this order.
constexpr uint32_t kPlain = 0;       // no namespace
constexpr uint32_t kUnprefixed = 1;  // only callers bind an attribute to a default namespace
constexpr uint32_t kPrefixed = 2;

constexpr uint32_t kReplaceable = 0;  // the age of what an own attribute stands in for

bool isXmlAttribute(const AttributeView &attribute) noexcept {
  return attribute.name.hasNamespace && isXmlNamespace(attribute.name.ns);
}

// The number of a special attribute, or their count.
size_t specialOf(const AttributeView &attribute) noexcept {
  return isXmlAttribute(attribute) ? static_cast<size_t>(std::find(kSpecial.begin(), kSpecial.end(),
                                                                   attribute.name.local) -
                                                         kSpecial.begin())
                                   : kSpecial.size();
}

uint32_t rankOf(const NameView &name) noexcept {
  if (!name.hasNamespace) {
    return kPlain;
  }
  return name.ns.prefix.empty() ? kUnprefixed : kPrefixed;
}

auto keyOf(const AttributeAxis::Chosen &chosen) noexcept {
  return std::tie(chosen.rank, chosen.uri, chosen.local);
}

bool comesFirst(const AttributeAxis::Chosen &first, const AttributeAxis::Chosen &second) noexcept {
  const auto firstKey = keyOf(first);
  const auto secondKey = keyOf(second);
  return firstKey < secondKey || (firstKey == secondKey && first.age > second.age);
}

}  // namespace

AttributeAxis::AttributeAxis(const C14nForm &form, bool isFiltered)
    : mode_(form.mode), joinBase_(form.joinBase), isFiltered_(isFiltered) {
  for (const std::string_view name : kSpecial) {
    names_.idOf(name);
  }
}

std::span<const AttributeAxis::Chosen> AttributeAxis::open(const ElementView &element) {
  chosen_.clear();
  parent_ = frames_.empty() ? Frame{.isSelected = true} : frames_.back();
  if (mode_ == C14nMode::inclusive11 && element.isSelected) {
    chooseSpecial(element);
  } else {
    chooseOwn(element);
    if (mode_ == C14nMode::inclusive10 && element.isSelected && !parent_.isSelected) {
      inheritAll();
    }
  }
  if (chosen_.size() > 1) {
    sort();
  }
  return chosen_;
}

void AttributeAxis::close() noexcept {
  inherited_.shrink(frames_.back().inherited);
  frames_.pop_back();
}

void AttributeAxis::choose(const AttributeView &attribute) {
  const NameView &name = attribute.name;
  chosen_.push_back({name.ns.prefix, name.hasNamespace ? name.ns.uri : std::string_view(),
                     name.local, attribute.value, name.ns.declaration, rankOf(name), nextAge()});
}

void AttributeAxis::chooseInherited(std::string_view local, std::string_view value, uint32_t age) {
  chosen_.push_back({kXmlPrefix, kXmlUri, local, value, nullptr, kPrefixed, age});
}

void AttributeAxis::chooseOwn(const ElementView &element) {
  for (const AttributeView &attribute : element.attributes) {
    if (attribute.isSelected) {
      choose(attribute);
    }
  }
}

void AttributeAxis::inheritAll() {
  for (const uint32_t name : inherited_.boundNames()) {
    chooseInherited(names_.nameOf(name), inherited_.valueOf(*inherited_.find(name)), kReplaceable);
  }
}

// Deliberate: xml:lang, xml:space and xml:base of a selected element are written even where a
// filter drops them.
void AttributeAxis::chooseSpecial(const ElementView &element) {
  std::array<const AttributeView *, kSpecial.size()> own{};
  for (const AttributeView &attribute : element.attributes) {
    const size_t special = specialOf(attribute);
    if (special < own.size() && own[special] == nullptr) {
      own[special] = &attribute;
    } else if (attribute.isSelected) {
      choose(attribute);
    }
  }
  for (const uint32_t name : {kLang, kSpace}) {
    if (own[name] != nullptr) {
      choose(*own[name]);
    } else {
      inheritNearest(name);
    }
  }
  chooseBase(own[kBase]);
}

// The newest value from an element between this one and the nearest selected one; or kNone.
uint32_t AttributeAxis::hiddenPlace(uint32_t name) const noexcept {
  const uint32_t place = inherited_.newest(name);
  return place != BindingStack::kNone && place >= parent_.hiddenStart ? place : BindingStack::kNone;
}

void AttributeAxis::inheritNearest(uint32_t name) {
  const uint32_t place = hiddenPlace(name);
  if (place != BindingStack::kNone) {
    chooseInherited(kSpecial[name], inherited_.valueOf(inherited_.at(place)), nextAge());
  }
}

// Deliberate: where all that was joined is empty, xml:base is left out. The standard keeps
// xml:base="" where nothing has to be joined. It is left out, too, where the values make no URI,
// and where one of them comes from a caller who gave the attribute no text at all.
void AttributeAxis::chooseBase(const AttributeView *own) {
  uint32_t place = hiddenPlace(kBase);
  bool isJoined = own != nullptr && own->value.data() != nullptr;
  if (own != nullptr) {
    base_ = own->value;
  } else if (place != BindingStack::kNone) {
    const BindingStack::Binding &nearest = inherited_.at(place);
    base_ = inherited_.valueOf(nearest);
    isJoined = !nearest.isMarked;
    place = nearest.before;
  }
  for (; isJoined && place != BindingStack::kNone && place >= parent_.hiddenStart;
       place = inherited_.at(place).before) {
    isJoined = joinBase(inherited_.at(place));
  }
  if (isJoined && !base_.empty()) {
    chooseInherited(kSpecial[kBase], base_, nextAge());
  }
}

bool AttributeAxis::joinBase(const BindingStack::Binding &binding) {
  if (binding.isMarked) {
    return false;
  }
  const Joined joined = joinBase_(&base_, inherited_.valueOf(binding));
  isOutOfMemory_ = isOutOfMemory_ || joined == Joined::outOfMemory;
  return joined == Joined::done;
}

// Only elements that are not selected have something to hand down, and, to those that have another
// one in between, the elements above these.
void AttributeAxis::settle(const ElementView &element) {
  Frame frame{inherited_.size(), parent_.hiddenStart, element.isSelected};
  if (mode_ != C14nMode::exclusive && (isFiltered_ || !element.isSelected)) {
    for (const AttributeView &attribute : element.attributes) {
      const bool counts = mode_ == C14nMode::inclusive10 ? isXmlAttribute(attribute)
                                                         : specialOf(attribute) < kSpecial.size();
      const uint32_t name = counts ? names_.idOf(attribute.name.local) : 0;
      const uint32_t before = inherited_.newest(name);
      // Of two of one name the first one counts.
      if (counts && (before == BindingStack::kNone || before < frame.inherited)) {
        inherited_.push(name, attribute.value, nullptr, attribute.value.data() == nullptr);
      }
    }
  }
  if (element.isSelected) {
    frame.hiddenStart = inherited_.size();
  }
  frames_.push_back(frame);
}

void AttributeAxis::sort() {
  std::sort(chosen_.begin(), chosen_.end(), comesFirst);
  sortUnprefixed();
  const auto last =
      std::unique(chosen_.begin(), chosen_.end(), [](const Chosen &first, const Chosen &second) {
        return second.age == kReplaceable && keyOf(first) == keyOf(second);
      });
  chosen_.erase(last, chosen_.end());
}

// Deliberate: attributes in different namespaces without prefix keep the order in which they were
// added, and only those of one declaration are sorted among each other. No document that was parsed
// has such attributes.
void AttributeAxis::sortUnprefixed() {
  const auto isUnprefixed = [](const Chosen &chosen) { return chosen.rank == kUnprefixed; };
  const auto first = std::find_if(chosen_.begin(), chosen_.end(), isUnprefixed);
  const auto last = std::find_if_not(first, chosen_.end(), isUnprefixed);
  std::sort(first, last,
            [](const Chosen &one, const Chosen &other) { return one.age < other.age; });
  for (auto next = first; next != last; ++next) {
    const auto place = std::find_if(first, next, [next](const Chosen &chosen) {
      return chosen.declaration == next->declaration && chosen.local >= next->local;
    });
    std::rotate(place, next, next + 1);
  }
}

}  // namespace talvo
