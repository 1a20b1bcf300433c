// What the tests of this folder share: strings from literals, texts of results, quick lookups.
#pragma once

#include <string>

#include "talvo_xml.h"

#include "base/utf8.h"
#include "support/library_test.h"

namespace talvo::test {

inline UString str(std::string_view text) {
  return makeString(text);
}

// The text of a new string, which is released; "(null)" for none.
inline std::string take(talvo_ustring *string) {
  const UString owner(string);
  return owner ? std::string(viewOf(string)) : "(null)";
}

inline std::string take(talvo_data_blob *blob) {
  const Blob owner(blob);
  if (!owner) {
    return "(null)";
  }
  const Bytes bytes = bytesOf(blob);
  return {bytes.begin(), bytes.end()};
}

inline std::string dump(const XmlDoc *doc) {
  return take(talvo_xml_doc_dump(doc, 1));
}

inline std::string dumpElement(const XmlNode *element) {
  return take(talvo_xml_element_dump(element));
}

// The first element of that name anywhere below `node`, whatever its namespace is.
inline XmlNode *find(XmlNode *node, std::string_view name) {
  List found;
  talvo_arraylist *list = nullptr;
  const std::string path = "descendant-or-self::*[local-name()='" + std::string(name) + "']";
  if (talvo_xml_node_findxpath(node, str(path).get(), &list) != 1) {
    return nullptr;
  }
  found.reset(list);
  return static_cast<XmlNode *>(talvo_arraylist_getitem(list, 0));
}

}  // namespace talvo::test
