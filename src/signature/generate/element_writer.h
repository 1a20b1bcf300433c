// Elements as the generators write them: attributes first, then children separated by line feeds
// (line feed, child, line feed, child, line feed). What is being built belongs to a handle until
// somebody links it, so a failure at any point leaves nothing behind.
#pragma once

#include "talvo_xml.h"

#include "base/handle.h"
#include "signature/vocabulary/algorithm.h"
#include "xml/edit.h"

namespace talvo {

// One element under construction. Calls follow each other without tests in between: the first
// failure sticks, and take() then answers null.
class ElementWriter {
 public:
  // An element in a namespace that is in scope where it will be linked; a null namespace fails.
  ElementWriter(XmlDoc *doc, const XmlNode *ns, const talvo_ustring *name) noexcept;
  // An element that declares its own namespace.
  ElementWriter(XmlDoc *doc, const talvo_ustring *name, const talvo_ustring *nsUri,
                const talvo_ustring *prefix) noexcept;

  // An element without namespace.
  static ElementWriter plain(XmlDoc *doc, const talvo_ustring *name) noexcept;

  // The namespace that the element declared.
  XmlNode *declaredNamespace() const noexcept { return declared_; }

  ElementWriter &attribute(const talvo_ustring *name, const talvo_ustring *value) noexcept;
  // Leaves the attribute out when there is no value.
  ElementWriter &optionalAttribute(const talvo_ustring *name, const UString &value) noexcept;
  ElementWriter &optionalId(const UString &id) noexcept;

  // The line feed before the first part.
  ElementWriter &open() noexcept;
  // A child, or a run of them, and a line feed unless it ends in text.
  ElementWriter &part(OwnedNode run) noexcept;
  // A child, or a run of them, as it stands.
  ElementWriter &child(OwnedNode run) noexcept;
  ElementWriter &text(const talvo_ustring *text) noexcept;

  // False after a failure.
  explicit operator bool() const noexcept { return element_ != nullptr; }
  OwnedNode take() noexcept { return std::move(element_); }

 private:
  ElementWriter(XmlDoc *doc, OwnedNode element) noexcept
      : doc_(doc), element_(std::move(element)) {}
  void keep(bool succeeded) noexcept;

  XmlDoc *doc_;
  OwnedNode element_;  // null after a failure
  XmlNode *declared_ = nullptr;
  XmlNode *last_ = nullptr;
};

// A run of siblings without a parent: part, line feed, part, line feed. Failure sticks here too,
// and a run without parts is one.
class RunWriter {
 public:
  explicit RunWriter(XmlDoc *doc) noexcept : doc_(doc) {}

  void part(OwnedNode node) noexcept;
  OwnedNode take() noexcept { return std::move(first_); }

 private:
  XmlDoc *doc_;
  OwnedNode first_;
  XmlNode *last_ = nullptr;
  bool failed_ = false;
};

// Link a run that was just made, after a node or as the last children, and see to it that its
// namespaces are declared where it stands. Return the last node linked, or null.
XmlNode *linkNew(XmlNode *last, OwnedNode run) noexcept;
XmlNode *linkNewChild(XmlNode *parent, OwnedNode run) noexcept;
// linkNew, and a line feed after the run unless it ends in text. Returns the last node linked, or
// null.
XmlNode *addPart(XmlDoc *doc, XmlNode *last, OwnedNode run) noexcept;

// The Id attribute of an element, null without one. All attributes are looked at: an Id that is
// overlooked would be written a second time.
XmlNode *findId(const XmlNode *element) noexcept;

// An element that holds only text.
OwnedNode generateText(XmlDoc *doc, const XmlNode *ns, const talvo_ustring *name,
                       const talvo_ustring *text) noexcept;

// An element with the attribute Algorithm; it fails for an algorithm that has no identifier.
ElementWriter algorithmElement(XmlDoc *doc, const XmlNode *ns, const talvo_ustring *name,
                               VocabularySlot uri) noexcept;

// The identifier of a row of an algorithm table; null without row.
template <class Row>
VocabularySlot uriOf(const Row *row) noexcept {
  return row == nullptr ? nullptr : row->uri;
}

}  // namespace talvo

extern "C" {

// genId returns a new Id of "_" and 16 random octets in hexadecimal, or null.
talvo_ustring *genId() noexcept;
// addlfchild appends a line feed to the parent's children and returns it, or null.
XmlNode *addlfchild(XmlDoc *doc, XmlNode *parent) noexcept;
// addlfsibling links a line feed after the node and returns it, or null; a text node is returned as
// it is, so that no two are adjacent.
XmlNode *addlfsibling(XmlDoc *doc, XmlNode *node) noexcept;
}
