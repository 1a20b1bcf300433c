// Any octets: parse, walk with every navigation, save, parse again, edit.
#include "fuzz.h"

namespace talvo::fuzz {
namespace {

void look(const XmlNode *node) {
  for (const auto read :
       {talvo_xml_node_getname, talvo_xml_node_getprefixedname, talvo_xml_node_getnsuri,
        talvo_xml_node_getvalue, talvo_xml_node_getpcdata}) {
    talvo_ustring_free(read(node));
  }
  talvo_xml_node_getprevsibling(node);
  talvo_xml_node_getassociatednsnode(node);
  talvo_xml_node_getelemchildren(node);
}

void walk(const XmlDoc *document) {
  const XmlNode *node = talvo_xml_doc_getrootelement(document);
  while (node != nullptr) {
    look(node);
    for (const XmlNode *attribute = talvo_xml_node_getattribute(node); attribute != nullptr;
         attribute = talvo_xml_node_getnextsibling(attribute)) {
      look(attribute);
    }
    for (const XmlNode *ns = talvo_xml_node_getnsnode(node); ns != nullptr;
         ns = talvo_xml_node_getnextsibling(ns)) {
      look(ns);
    }
    const XmlNode *next = talvo_xml_node_getchildren(node);
    while (next == nullptr && node != nullptr) {
      next = talvo_xml_node_getnextsibling(node);
      node = talvo_xml_node_getparent(node);
    }
    node = next;
  }
}

// What was saved parses again.
void save(const XmlDoc *document) {
  const Blob saved(talvo_xml_doc_dump(document, 0));
  if (saved) {
    const Bytes bytes = bytesOf(saved.get());
    parse(bytes.data(), bytes.size());
  }
  for (const uint32_t mode : {1u, 2u, 3u, 6u}) {
    Blob(talvo_xml_c14nnode(talvo_xml_doc_getrootelement(document), mode, nullptr));
  }
}

void edit(XmlDoc *document) {
  XmlNode *root = talvo_xml_doc_getrootelement(document);
  XmlNode *child = talvo_xml_node_getchildren(root);
  const Document copy(talvo_xml_node_dup(document));
  talvo_xml_node_remove(child);
  talvo_xml_node_addnextsibling(talvo_xml_doc_getrootelement(copy.get()), child);
  XmlNode *free = talvo_xml_node_dup(root);
  talvo_xml_node_addchild(talvo_xml_doc_getrootelement(copy.get()), free);
}

}  // namespace
}  // namespace talvo::fuzz

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  using namespace talvo::fuzz;
  const LeakCheck leaks;
  const Document document = parse(data, size);
  if (document) {
    walk(document.get());
    save(document.get());
    edit(document.get());
  }
  return 0;
}
