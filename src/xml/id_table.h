// The table in which a document looks up its IDs. Its entries point at attributes and are found by
// value in libxml2, which misses them when the value has changed or was normalised. Here they are
// found by the attribute: one that leaves or dies is first marked, then the table is swept.
#pragma once

#include "xml/native.h"

namespace talvo {

inline bool isId(const xmlNode *node) noexcept {
  return node->type == XML_ATTRIBUTE_NODE &&
         reinterpret_cast<const xmlAttr *>(node)->atype == XML_ATTRIBUTE_ID;
}
inline void unmarkId(xmlNode *attribute) noexcept {
  asAttr(attribute)->atype = static_cast<xmlAttributeType>(0);
}

// Removes the entries whose attribute is no longer marked as an ID. Takes time with the table's size.
void sweepIds(xmlDoc *doc) noexcept;

// Unmarks attributes, of any documents, and sweeps each document's table at the end.
class IdRemoval {
 public:
  IdRemoval() = default;
  ~IdRemoval() { sweepIds(doc_); }
  IdRemoval(const IdRemoval &) = delete;
  IdRemoval &operator=(const IdRemoval &) = delete;

  // `node` may be of any kind.
  void visit(xmlNode *node) noexcept {
    if (!isId(node)) {
      return;
    }
    if (node->doc != doc_) {
      sweepIds(doc_);
      doc_ = node->doc;
    }
    unmarkId(node);
  }

 private:
  xmlDoc *doc_ = nullptr;
};

}  // namespace talvo
