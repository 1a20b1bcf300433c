// Strict reading, written once: a cursor over an element's children, the rule for its attributes,
// and its text as string, octets or number. With them a decoder reads like the structure it
// accepts.
//
// What stands between the children of a structure (blank text, comments, processing instructions)
// is never seen; any other text is, and fits nowhere.
#pragma once

#include <initializer_list>
#include <utility>

#include "talvo_xml.h"

#include "base/handle.h"
#include "base/list.h"
#include "base/memory.h"
#include "signature/vocabulary/vocabulary.h"
#include "xml/node.h"

namespace talvo {

constexpr char kDecodeSource[] = "TALVO_XML_Signature";

inline bool isSignatureElement(const XmlNode *node, const talvo_ustring *name) noexcept {
  return isElement(node, name, g_xml_signature_nsuri);
}

// XAdES 1.3.2; no other version is read.
inline bool isXadesElement(const XmlNode *node, const talvo_ustring *name) noexcept {
  return isElement(node, name, g_xml_xadesv132_nsuri);
}

class ElementCursor {
 public:
  // Stands before the first child; an element whose first significant child is text counts as
  // childless.
  explicit ElementCursor(const XmlNode *element) noexcept
      : next_(talvo_xml_node_getelemchildren(element)) {}

  bool atEnd() const noexcept { return next_ == nullptr; }
  XmlNode *peek() const noexcept { return next_; }

  // The next node, of whatever kind; null at the end.
  XmlNode *take() noexcept {
    XmlNode *node = next_;
    next_ = talvo_xml_node_skipignorenode(node);
    return node;
  }

  // The next node when it is that element, else null, and the cursor stays.
  XmlNode *takeIf(const talvo_ustring *name,
                  const talvo_ustring *nsuri = g_xml_signature_nsuri) noexcept {
    return isElement(next_, name, nsuri) ? take() : nullptr;
  }

  XmlNode *takeXades(const talvo_ustring *name) noexcept {
    return takeIf(name, g_xml_xadesv132_nsuri);
  }

 private:
  XmlNode *next_;
};

// Decodes each node that remains into one item of a new list; null when one of them fails. `decode`
// answers a new T or null.
template <class T, class Decode>
List readRest(ElementCursor &children, Decode decode) noexcept {
  List list(talvo_arraylist_new(nullptr, releaseItem<T>));
  while (list && !children.atEnd()) {
    if (!append(list, Owned<T>(decode(children.take())))) {
      return nullptr;
    }
  }
  return list;
}

// Moves a decoded part, a handle, into the variant of a record; false when there is none.
// (Assigning a whole variant cannot throw, while assigning an alternative has a path on paper that
// can.)
template <class Part, class Variant>
bool store(Part part, Variant *variant) noexcept {
  const bool present = part != nullptr;
  *variant = Variant(std::move(part));
  return present;
}

struct AttributeSlot {
  const talvo_ustring *name;
  UString *value;
};

// Reads all attributes of an element into the slots. False when one has a namespace, has no slot or
// comes twice. A slot without attribute stays null.
bool readAttributes(const XmlNode *element, std::initializer_list<AttributeSlot> slots) noexcept;

inline bool readOptionalId(const XmlNode *element, UString *id) noexcept {
  return readAttributes(element, {{g_xml_signature_id, id}});
}

// The one attribute of a method element.
inline bool readAlgorithm(const XmlNode *element, UString *algorithm) noexcept {
  return readAttributes(element, {{g_xml_signature_algorithm_attr, algorithm}}) &&
         *algorithm != nullptr;
}

// The attribute of that name without namespace, or null.
XmlNode *findAttribute(const XmlNode *element, const talvo_ustring *name) noexcept;

inline bool hasAttributes(const XmlNode *element) noexcept {
  return talvo_xml_node_getattribute(element) != nullptr;
}

}  // namespace talvo

extern "C" {

// The text of an element as a new string; null when it has an attribute, no child or an element
// child. Comments inside the text are skipped.
talvo_ustring *decodepcdata(const XmlNode *element) noexcept;
// The same where attributes are allowed.
talvo_ustring *DecodeChildTextValue(const XmlNode *element) noexcept;
// Base64 text as a new blob; null when it is none, or empty.
talvo_data_blob *decodeb64(const talvo_ustring *text) noexcept;
// decodepcdata, then decodeb64.
talvo_data_blob *decodeBase64Value(const XmlNode *element) noexcept;
// Base64 text as a new unsigned number.
talvo_biginteger *decodeBigInter(const XmlNode *element) noexcept;
}
