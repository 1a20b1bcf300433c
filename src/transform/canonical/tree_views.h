// The elements of a tree as the canonical writer is told of them.
#pragma once

#include <array>
#include <string_view>
#include <vector>

#include "transform/canonical/views.h"
#include "xml/native.h"

namespace talvo {

// One object serves a walk in which the tree stays as it is; each view is valid until the next one
// is asked for.
class TreeViews {
 public:
  // With all attributes selected or none.
  ElementView element(const xmlNode *element, bool isSelected);
  // Whether attributes are selected is asked one by one.
  template <class Selects>
  ElementView element(xmlNode *element, bool isSelected, Selects selects) {
    const ElementView view = this->element(element, isSelected);
    size_t index = 0;
    for (xmlAttr *attribute = element->properties; attribute != nullptr;
         attribute = attribute->next) {
      attributes_[index++].isSelected = selects(asNode(attribute));
    }
    return view;
  }
  NameView name(const xmlNode *node) noexcept;
  std::string_view value(const xmlAttr *attribute);

 private:
  static constexpr size_t kRecent = 16;
  struct Recent {
    const xmlNs *ns = nullptr;
    NamespaceView view;
  };

  const NamespaceView &namespaceOf(const xmlNs *ns) noexcept;

  // The same few declarations are met again and again.
  std::array<Recent, kRecent> recent_;
  std::vector<NamespaceView> declarations_;
  std::vector<AttributeView> attributes_;
  std::vector<XmlChars> values_;  // of attributes that have no text in one piece
};

}  // namespace talvo
