#include "cli/document.h"

#include "cli/list.h"
#include "cli/text.h"

namespace talvo::cli {

namespace {

// A document in UTF-16 or UTF-32 begins with a mark or with a NUL close by, and always gets a
// declaration, since it changes its encoding.
bool beginsWithDeclaration(OctetView octets) {
  std::string_view text(octets.data(), octets.size());
  if (text.starts_with("\xEF\xBB\xBF")) {
    text.remove_prefix(3);
  }
  return text.starts_with("<?xml ") || text.starts_with("<?xml\t") || text.starts_with("<?xml\r") ||
         text.starts_with("<?xml\n") || text.starts_with("\xFE\xFF") ||
         text.starts_with("\xFF\xFE") || text.substr(0, 4).find('\0') != std::string_view::npos;
}

}  // namespace

Result<LoadedDocument> loadDocument(const std::string &path) {
  const Result<Octets> octets = readFile(path);
  if (!octets) {
    return octets.failure();
  }
  LoadedDocument loaded;
  loaded.document.reset(talvo_xml_parse_ex(octets->data(), static_cast<int64_t>(octets->size()),
                                           TALVO_PARSE_NO_NETWORK));
  if (loaded.document == nullptr) {
    return badInput(fileLabel(path) + ": is not well-formed XML");
  }
  loaded.hasDeclaration = beginsWithDeclaration(*octets);
  return loaded;
}

Check writeDocument(const std::string &path, const LoadedDocument &loaded) {
  const Blob octets(talvo_xml_doc_dump(loaded.document.get(),
                                       loaded.hasDeclaration ? 0 : TALVO_DUMP_NO_DECLARATION));
  if (octets == nullptr) {
    return failed("the document cannot be saved");
  }
  return writeFile(path, octetsOf(octets));
}

Check registerIds(XmlDoc *document, const std::string &attribute) {
  if (attribute.empty()) {
    return std::nullopt;
  }
  const UString name = makeString(attribute);
  if (name == nullptr || talvo_xml_node_setsubtreeidattr(
                             document, talvo_xml_doc_getrootelement(document), name.get()) != 1) {
    return badInput("the attributes " + shown(attribute) + " cannot be declared as identifiers");
  }
  return std::nullopt;
}

bool attributeValue(const XmlNode *element, std::string_view name, std::string &value) {
  for (XmlNode *attribute = talvo_xml_node_getattribute(element); attribute != nullptr;
       attribute = talvo_xml_node_getnextsibling(attribute)) {
    const UString attributeName(talvo_xml_node_getname(attribute));
    const UString uri(talvo_xml_node_getnsuri(attribute));
    if (uri == nullptr && view(attributeName) == name) {
      value = view(UString(talvo_xml_node_getvalue(attribute)));
      return true;
    }
  }
  return false;
}

Result<XmlNode *> elementByXPath(XmlDoc *document, const std::string &expression) {
  const UString text = makeString(expression);
  talvo_arraylist *found = nullptr;
  if (talvo_xml_node_findxpath(talvo_xml_doc_getrootelement(document), text.get(), &found) != 1) {
    return badInput(shown(expression) + ": is no XPath expression for nodes of this document");
  }
  const List owner(found);
  if (talvo_arraylist_getcount(found) != 1) {
    return badInput(shown(expression) + ": selects " +
                    std::to_string(talvo_arraylist_getcount(found)) + " nodes instead of one");
  }
  auto *node = static_cast<XmlNode *>(talvo_arraylist_getitem(found, 0));
  if (talvo_xml_node_gettype(node) != TALVO_NODE_ELEMENT) {
    return badInput(shown(expression) + ": selects no element");
  }
  return node;
}

Result<XmlNode *> elementById(XmlDoc *document, const std::string &id) {
  const UString text = makeString(id);
  if (XmlNode *registered = talvo_xml_getidelemnode(document, text.get())) {
    return registered;
  }
  const char quote = id.find('\'') == std::string::npos ? '\'' : '"';
  if (id.find(quote) != std::string::npos) {
    return badInput(shown(id) + ": is no identifier");
  }
  const std::string value = quote + id + quote;
  Result<XmlNode *> element =
      elementByXPath(document, "//*[@Id=" + value + " or @ID=" + value + " or @id=" + value +
                                   " or @xml:id=" + value + "]");
  return element ? std::move(element)
                 : badInput(shown(id) + ": is the identifier of no element, or of several");
}

}  // namespace talvo::cli
