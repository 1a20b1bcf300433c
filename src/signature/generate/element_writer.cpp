// The places where generated nodes are linked, and the fixed routines around line feeds and Ids.
#include "signature/generate/element_writer.h"

#include <array>
#include <cstdio>

#include "base/utf8.h"
#include "signature/vocabulary/vocabulary.h"
#include "xml/node.h"
#include "xml/visible_namespace.h"

namespace {

using namespace talvo;

constexpr size_t kIdOctets = 16;
constexpr size_t kIdLength = 37;

OwnedNode makeLineFeed(XmlDoc *doc) noexcept {
  return doc == nullptr ? nullptr : makeText(doc, g_xml_lf);
}

}  // namespace

namespace talvo {

ElementWriter::ElementWriter(XmlDoc *doc, const XmlNode *ns, const talvo_ustring *name) noexcept
    : doc_(doc), element_(ns == nullptr ? nullptr : makeElement(ns, name)) {}

ElementWriter::ElementWriter(XmlDoc *doc, const talvo_ustring *name, const talvo_ustring *nsUri,
                             const talvo_ustring *prefix) noexcept
    : doc_(doc), element_(makeElement(nullptr, name)) {
  declared_ = talvo_xml_node_newns(element_.get(), nsUri, prefix);
  keep(talvo_xml_node_setns(element_.get(), declared_) == 1);
}

ElementWriter ElementWriter::plain(XmlDoc *doc, const talvo_ustring *name) noexcept {
  return {doc, makeElement(nullptr, name)};
}

void ElementWriter::keep(bool succeeded) noexcept {
  if (!succeeded) {
    element_.reset();
  }
}

ElementWriter &ElementWriter::attribute(const talvo_ustring *name,
                                        const talvo_ustring *value) noexcept {
  keep(element_ != nullptr && value != nullptr && addAttribute(element_.get(), name, value));
  return *this;
}

ElementWriter &ElementWriter::optionalAttribute(const talvo_ustring *name,
                                                const UString &value) noexcept {
  return value == nullptr ? *this : attribute(name, value.get());
}

ElementWriter &ElementWriter::optionalId(const UString &id) noexcept {
  return optionalAttribute(g_xml_signature_id, id);
}

ElementWriter &ElementWriter::open() noexcept {
  return child(makeLineFeed(doc_));
}

ElementWriter &ElementWriter::part(OwnedNode run) noexcept {
  child(std::move(run));
  if (element_) {
    last_ = addlfsibling(doc_, last_);
    keep(last_ != nullptr);
  }
  return *this;
}

ElementWriter &ElementWriter::child(OwnedNode run) noexcept {
  if (element_ == nullptr || run == nullptr) {
    keep(false);
    return *this;
  }
  last_ = linkChild(element_.get(), run);
  keep(last_ != nullptr);
  return *this;
}

ElementWriter &ElementWriter::text(const talvo_ustring *text) noexcept {
  return child(doc_ == nullptr ? nullptr : makeText(doc_, text));
}

void RunWriter::part(OwnedNode node) noexcept {
  if (node == nullptr || failed_) {
    failed_ = true;
  } else if (first_ == nullptr) {
    first_ = std::move(node);
    last_ = addlfsibling(doc_, first_.get());
  } else {
    last_ = addPart(doc_, last_, std::move(node));
  }
  failed_ = failed_ || last_ == nullptr;
  if (failed_) {
    first_.reset();
  }
}

XmlNode *linkNew(XmlNode *last, OwnedNode run) noexcept {
  return run != nullptr && last != nullptr &&
                 settleNamespaces(talvo_xml_node_getparent(last), run.get())
             ? linkAfter(last, run)
             : nullptr;
}

XmlNode *linkNewChild(XmlNode *parent, OwnedNode run) noexcept {
  return run != nullptr && settleNamespaces(parent, run.get()) ? linkChild(parent, run) : nullptr;
}

XmlNode *addPart(XmlDoc *doc, XmlNode *last, OwnedNode run) noexcept {
  XmlNode *linked = linkNew(last, std::move(run));
  return linked == nullptr ? nullptr : addlfsibling(doc, linked);
}

XmlNode *findId(const XmlNode *element) noexcept {
  for (XmlNode *attribute = talvo_xml_node_getattribute(element); attribute != nullptr;
       attribute = talvo_xml_node_getnextsibling(attribute)) {
    if (matches(attribute, g_xml_signature_id, nullptr)) {
      return attribute;
    }
  }
  return nullptr;
}

OwnedNode generateText(XmlDoc *doc, const XmlNode *ns, const talvo_ustring *name,
                       const talvo_ustring *text) noexcept {
  return ElementWriter(doc, ns, name).text(text).take();
}

ElementWriter algorithmElement(XmlDoc *doc, const XmlNode *ns, const talvo_ustring *name,
                               VocabularySlot uri) noexcept {
  ElementWriter element(doc, ns, name);
  element.attribute(g_xml_signature_algorithm_attr, uri == nullptr ? nullptr : *uri);
  return element;
}

}  // namespace talvo

talvo_ustring *genId() noexcept {
  std::array<uint8_t, kIdOctets> r;
  if (!TalvoPKICryptoGenerateRandom(TalvoPKICryptoGetPseudoDevice(), r.data(), r.size())) {
    return nullptr;
  }
  std::array<char, kIdLength + 1> text;
  std::snprintf(text.data(), text.size(),
                "_%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X", r[0], r[1],
                r[2], r[3], r[4], r[5], r[6], r[7], r[8], r[9], r[10], r[11], r[12], r[13], r[14],
                r[15]);
  return makeString({text.data(), kIdLength}).release();
}

XmlNode *addlfchild(XmlDoc *doc, XmlNode *parent) noexcept {
  OwnedNode lineFeed = makeLineFeed(doc);
  return lineFeed == nullptr ? nullptr : linkChild(parent, lineFeed);
}

XmlNode *addlfsibling(XmlDoc *doc, XmlNode *node) noexcept {
  if (kindOf(node) == NodeKind::text) {
    return node;
  }
  OwnedNode lineFeed = makeLineFeed(doc);
  return lineFeed == nullptr ? nullptr : linkAfter(node, lineFeed);
}
