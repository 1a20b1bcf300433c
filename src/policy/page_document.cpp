// The document as source text in runs: whenever signed and unsigned change, one run ends and the
// next begins, so that marks never nest. Each ds:Signature is folded.
#include <vector>

#include "base/utf8.h"
#include "policy/page.h"

namespace talvo::policy {
namespace {

enum class Mark { none, isSigned, isUnsigned, isFree };

class DocumentWriter {
 public:
  DocumentWriter(std::string &page, const TalvoXmlReport &report)
      : page_(page), walk_(report.coverage), document_(report.document) {}

  void write();

 private:
  void writeTree(XmlNode *top);
  void open(XmlNode *element);
  void close(XmlNode *element);
  void writeNode(XmlNode *node);
  void writeTag(XmlNode *element);
  void writeAttributes(XmlNode *element);
  void switchTo(Mark mark);
  void source(std::string_view text) { appendEscaped(page_, text); }
  void sourceText(std::string_view text, bool isAttribute);
  Mark markOf(XmlNode *element, const Place &place) const;

  std::string &page_;
  CoverageWalk walk_;
  XmlDoc *document_;
  std::vector<Place> places_;
  Mark mark_ = Mark::none;
};

void DocumentWriter::switchTo(Mark mark) {
  if (mark == mark_) {
    return;
  }
  if (mark_ != Mark::none) {
    page_ += mark_ == Mark::isUnsigned ? "</mark>" : "</span>";
  }
  switch (mark) {
    case Mark::isSigned:
      page_ += "<span class=signed>";
      break;
    case Mark::isUnsigned:
      page_ += "<mark class=unsigned>";
      break;
    case Mark::isFree:
      page_ += "<span class=free>";
      break;
    default:
      break;
  }
  mark_ = mark;
}

// Characters that markup is made of are written as a document would write them.
void DocumentWriter::sourceText(std::string_view text, bool isAttribute) {
  std::string written;
  for (const char letter : text) {
    if (letter == '&') {
      written += "&amp;";
    } else if (letter == '<') {
      written += "&lt;";
    } else if (letter == '"' && isAttribute) {
      written += "&quot;";
    } else {
      written += letter;
    }
  }
  source(written);
}

std::string nameOf(const XmlNode *node) {
  const UString prefix(talvo_xml_node_getprefixedname(node));
  std::string name(viewOf(prefix.get()));
  return (name.empty() ? name : name + ":") + std::string(localName(node));
}

void DocumentWriter::writeAttributes(XmlNode *element) {
  for (XmlNode *ns = talvo_xml_node_getnsnode(element); ns != nullptr;
       ns = talvo_xml_node_getnextsibling(ns)) {
    const UString uri(talvo_xml_node_getvalue(ns));
    const std::string_view prefix = localName(ns);
    source(prefix.empty() ? " xmlns" : " xmlns:" + std::string(prefix));
    source("=\"");
    sourceText(viewOf(uri.get()), true);
    source("\"");
  }
  for (XmlNode *attribute = talvo_xml_node_getattribute(element); attribute != nullptr;
       attribute = talvo_xml_node_getnextsibling(attribute)) {
    const UString value(talvo_xml_node_getvalue(attribute));
    source(" " + nameOf(attribute) + "=\"");
    sourceText(viewOf(value.get()), true);
    source("\"");
  }
}

void DocumentWriter::writeTag(XmlNode *element) {
  source("<" + nameOf(element));
  writeAttributes(element);
  source(talvo_xml_node_getchildren(element) == nullptr ? "/>" : ">");
}

Mark DocumentWriter::markOf(XmlNode *element, const Place &place) const {
  if (place.zone != Zone::content && place.zone != Zone::uncoveredProperties) {
    return Mark::isFree;
  }
  return walk_.isElementFine(element, place) ? Mark::isSigned : Mark::isUnsigned;
}

void DocumentWriter::open(XmlNode *element) {
  const Place place = walk_.enter(element, places_.back());
  places_.push_back(place);
  if (talvo_xml_signature_issignaturenode(element) == 1) {
    switchTo(Mark::none);
    page_ += "<details><summary>Signature</summary>";
  }
  switchTo(markOf(element, place));
  writeTag(element);
}

void DocumentWriter::close(XmlNode *element) {
  if (talvo_xml_node_getchildren(element) != nullptr) {
    switchTo(markOf(element, places_.back()));
    source("</" + nameOf(element) + ">");
  }
  if (talvo_xml_signature_issignaturenode(element) == 1) {
    switchTo(Mark::none);
    page_ += "</details>";
  }
  places_.pop_back();
}

void DocumentWriter::writeNode(XmlNode *node) {
  const NodeKind kind = kindOf(node);
  const Place &place = places_.back();
  XmlNode *parent = talvo_xml_node_getparent(node);
  const bool isFree = place.zone != Zone::content && walk_.isNodeFine(node, parent, place);
  const bool isBesideRoot = kindOf(parent) != NodeKind::element;
  if (isBesideRoot && kind == NodeKind::unsupported) {
    return;
  }
  switchTo(isFree                                ? Mark::isFree
           : walk_.isSigned(node, parent, place) ? Mark::isSigned
                                                 : Mark::isUnsigned);
  const UString value(talvo_xml_node_getvalue(node));
  const std::string text(viewOf(value.get()));
  switch (kind) {
    case NodeKind::text:
      sourceText(text, false);
      break;
    case NodeKind::comment:
      source("<!--" + text + "-->");
      break;
    case NodeKind::processingInstruction:
      source("<?" + nameOf(node) + (text.empty() ? "" : " " + text) + "?>");
      break;
    default:
      source("[?]");
  }
  if (isBesideRoot) {
    page_ += "\n";
  }
}

void DocumentWriter::writeTree(XmlNode *top) {
  XmlNode *node = top;
  for (;;) {
    if (kindOf(node) == NodeKind::element) {
      open(node);
      if (XmlNode *child = talvo_xml_node_getchildren(node)) {
        node = child;
        continue;
      }
      close(node);
    } else {
      writeNode(node);
    }
    while (node != top && followingNode(node) == nullptr) {
      node = talvo_xml_node_getparent(node);
      close(node);
    }
    if (node == top) {
      return;
    }
    node = followingNode(node);
  }
}

void DocumentWriter::write() {
  places_.assign(1, walk_.top());
  for (XmlNode *node = firstOf(document_); node != nullptr; node = followingNode(node)) {
    writeTree(node);
    if (kindOf(node) == NodeKind::element) {
      page_ += "\n";
    }
  }
  switchTo(Mark::none);
}

}  // namespace

void appendDocument(std::string &page, const TalvoXmlReport &report) {
  DocumentWriter(page, report).write();
}

}  // namespace talvo::policy
