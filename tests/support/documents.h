// The text of documents and quick look-ups in them.
#pragma once

#include <string>
#include <string_view>

#include "base/list.h"
#include "signature/vocabulary/vocabulary.h"
#include "support/library_test.h"
#include "support/text.h"

namespace talvo::test {

inline std::string dump(const XmlDoc *document) {
  return take(talvo_xml_doc_dump(document, 0));
}

inline XmlNode *rootOf(const Document &document) {
  return talvo_xml_doc_getrootelement(document.get());
}

// The first node that the XPath expression selects; its prefixes are those of the root element.
inline XmlNode *find(XmlDoc *document, std::string_view expression) {
  talvo_arraylist *list = nullptr;
  XmlNode *root = talvo_xml_doc_getrootelement(document);
  if (talvo_xml_node_findxpath(root, str(expression).get(), &list) != 1) {
    return nullptr;
  }
  const List found(list);
  return static_cast<XmlNode *>(talvo_arraylist_getitem(list, 0));
}

// The first element of that name in the namespace of signatures.
inline XmlNode *findDs(XmlNode *below, const std::string &name) {
  return talvo_xml_node_findelemnode(below, str(name).get(), g_xml_signature_nsuri);
}

// The first signature in document order.
inline XmlNode *findSignature(XmlDoc *document) {
  return findDs(document, "Signature");
}

}  // namespace talvo::test
