// The table in which a document looks up its IDs. Its entries point at attributes and are found by
// value in libxml2, which misses them when the value has changed or was normalised. Here an
// attribute that goes to another document or dies takes its entries along whatever value they have;
// one that is only taken out keeps them, for it may come back, until the value is wanted for
// another.
#pragma once

#include "xml/id_attribute.h"
#include "xml/native.h"

namespace talvo {

inline bool isId(const xmlNode *node) noexcept {
  return node->type == XML_ATTRIBUTE_NODE &&
         reinterpret_cast<const xmlAttr *>(node)->atype == XML_ATTRIBUTE_ID;
}
inline void unmarkId(xmlNode *attribute) noexcept {
  asAttr(attribute)->atype = static_cast<xmlAttributeType>(0);
}

// The attribute that the table names, in the document or not; null for none.
xmlAttr *holderOfId(xmlDoc *doc, const xmlChar *value) noexcept;

// Makes the attribute an ID of its document under the value. An attribute in the document that
// holds the value keeps it; one that is not reached from there gives way.
IdDeclaration enterId(xmlAttr *attribute, const xmlChar *value) noexcept;
// Takes the attribute out of the table but for one value, which it may hold or not; null for none.
// To be called while it has the value that it was entered under.
void keepOnlyId(xmlAttr *attribute, const xmlChar *value) noexcept;

// Takes attributes, of any documents, out of their tables. Nearly always an entry stands under the
// value that the attribute has; for the others the table is searched once, when the object dies.
class IdRemoval {
 public:
  IdRemoval() = default;
  ~IdRemoval();
  IdRemoval(const IdRemoval &) = delete;
  IdRemoval &operator=(const IdRemoval &) = delete;

  // `node` may be of any kind.
  void visit(xmlNode *node) noexcept {
    if (isId(node)) {
      remove(asAttr(node));
    }
  }

 private:
  void remove(xmlAttr *attribute) noexcept;

  xmlDoc *unswept_ = nullptr;
};

}  // namespace talvo
