// Documents as the program reads and writes them.
#pragma once

#include <string>
#include <string_view>

#include "cli/file.h"
#include "cli/handle.h"
#include "cli/result.h"

namespace talvo::cli {

struct LoadedDocument {
  Document document;
  bool hasDeclaration = false;  // the file began with an XML declaration
};

// Reads the file (or "-") and parses it from memory, so that its place on the disk is no base for
// relative references; nothing is fetched from the network.
Result<LoadedDocument> loadDocument(const std::string &path);

// Writes the document in UTF-8, with an XML declaration when it came with one.
Check writeDocument(const std::string &path, const LoadedDocument &loaded);

inline OctetView octetsOf(const Blob &blob) {
  return {reinterpret_cast<const char *>(talvo_data_blob_getdata(blob.get())),
          talvo_data_blob_getlength(blob.get())};
}

// Registers the attributes of this name, of every element, as IDs. Nothing to do for an empty name.
Check registerIds(XmlDoc *document, const std::string &attribute);

// The value of an attribute without namespace; false when the element has none.
bool attributeValue(const XmlNode *element, std::string_view name, std::string &value);

// The element that carries the identifier: as a registered ID, or in an attribute Id, ID, id or
// xml:id.
Result<XmlNode *> elementById(XmlDoc *document, const std::string &id);

// The only element that the XPath expression selects.
Result<XmlNode *> elementByXPath(XmlDoc *document, const std::string &expression);

}  // namespace talvo::cli
