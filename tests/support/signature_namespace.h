// A document in which generated elements can be linked: <root xmlns:ds="..."/>.
#pragma once

#include <string>

#include "talvo_xml.h"

#include "signature/vocabulary/vocabulary.h"
#include "support/contexts.h"
#include "support/library_test.h"
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
    const std::string text = test::textOf(Blob(talvo_xml_element_dump(root_)));
    const size_t start = text.find('>') + 1;
    const size_t end = text.rfind("</root>");
    return end == std::string::npos ? "" : text.substr(start, end - start);
  }

 private:
  Document doc_;
  XmlNode *root_;
  XmlNode *ns_;
};

inline std::string replaced(std::string text, std::string_view from, std::string_view to) {
  for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

// What stands between two marks, from the first one on; empty when one is missing.
inline std::string between(const std::string &text, std::string_view start, std::string_view end) {
  const size_t from = text.find(start);
  const size_t to = from == std::string::npos ? from : text.find(end, from + start.size());
  return to == std::string::npos ? "" : text.substr(from + start.size(), to - from - start.size());
}

// Each attribute Algorithm without its value, so that a layout can be compared as a whole.
inline std::string withoutAlgorithms(std::string text) {
  const std::string_view start = "Algorithm=\"";
  for (size_t at = text.find(start); at != std::string::npos; at = text.find(start, at + 1)) {
    const size_t value = at + start.size();
    text.erase(value, text.find('"', value) - value);
  }
  return text;
}

}  // namespace talvo::test
