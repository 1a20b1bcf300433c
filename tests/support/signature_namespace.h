// A document in which generated elements can be linked: <root xmlns:ds="..."/>.
#pragma once

#include <string>

#include "talvo_xml.h"

#include "signature/vocabulary/vocabulary.h"
#include "support/contexts.h"
#include "support/documents.h"
#include "xml/edit.h"

namespace talvo::test {

class SignatureHost {
 public:
  SignatureHost()
      : doc_(parse("<root xmlns:ds=\"" + std::string(viewOf(g_xml_signature_nsuri)) + "\"/>")),
        root_(talvo_xml_doc_getrootelement(doc_.get())),
        ns_(talvo_xml_node_getnsnode(root_)) {}

  XmlDoc *doc() const { return doc_.get(); }
  XmlNode *root() const { return root_; }
  XmlNode *ns() const { return ns_; }

  // The text of what was generated, which becomes the root's content; "(null)" for nothing.
  std::string textOf(OwnedNode generated) const {
    if (!generated) {
      return "(null)";
    }
    if (XmlNode *old = talvo_xml_node_getchildren(root_)) {
      takeRun(old).reset();
    }
    linkChild(root_, generated);
    return content();
  }

  // The root's content, without its own tags.
  std::string content() const {
    const std::string text = elementText(root_);
    const size_t start = text.find('>') + 1;
    const size_t end = text.rfind("</root>");
    return end == std::string::npos ? "" : text.substr(start, end - start);
  }

 private:
  Document doc_;
  XmlNode *root_;
  XmlNode *ns_;
};

}  // namespace talvo::test
