// Where a new Signature element goes, and how it leaves again when signing fails.
#pragma once

#include <cstdint>

#include "talvo_xml.h"

#include "base/handle.h"
#include "xml/edit.h"

namespace talvo {

using Document = Handle<XmlDoc, talvo_xml_doc_free>;

class Placement {
 public:
  Placement(XmlDoc *doc, XmlNode *parent, XmlNode *sibling) noexcept;
  Placement(const Placement &) = delete;
  Placement &operator=(const Placement &) = delete;
  // Takes the element, and a document made for it, away again unless commit was called.
  ~Placement();

  // Checks the place and makes the document of an enveloping or detached signature. Errors: 16, 3.
  bool prepare(uint32_t *error) noexcept;
  XmlDoc *document() const noexcept { return doc_; }
  // Links the element; it belongs to the document from then on. False when that fails.
  bool link(OwnedNode element) noexcept;
  XmlNode *element() const noexcept { return element_; }
  void commit() noexcept;

 private:
  bool fits() const noexcept;
  bool linkAsRoot(OwnedNode element) noexcept;

  XmlDoc *doc_;
  XmlNode *parent_;
  XmlNode *sibling_;
  Document made_;
  XmlNode *element_ = nullptr;
};

}  // namespace talvo
