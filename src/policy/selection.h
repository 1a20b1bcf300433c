// What one reference selects of its document, as far as it can be said without digesting it again.
#pragma once

#include "policy/heap.h"
#include "signature/record/record.h"
#include "transform/nodeset.h"
#include "transform/reference/reach.h"

namespace talvo::policy {

struct Selection {
  XmlNode *apex = nullptr;  // null for the whole document
  Vec<XmlNode *> removed;   // the tops of what is left out
  bool withComments = false;
  bool isTextOnly = false;  // a Base64 transform digests the text alone
  // Where the nodes have to be asked for one by one.
  OwnedNodeSet filter;
  Owned<XPathBudget> budget;  // what the filter draws on
};

// Of a reference into its own document, whose digest holds. False when what it covers cannot be
// told: it then covers nothing. May throw when memory is exhausted. `operations` is the budget of
// its XPath filters.
bool selectionOf(const Reference &reference, const Reach &reach, uint64_t operations,
                 Selection *selection);

}  // namespace talvo::policy
