// Three places: the root of a new document, the root of the given document (whose old root is
// dropped), or inside a parent of it.
#include "signature/sign/placement.h"

#include "base/boundary.h"
#include "xml/node.h"
#include "xml/registry.h"

namespace talvo {

Placement::Placement(XmlDoc *doc, XmlNode *parent, XmlNode *sibling) noexcept
    : doc_(doc),
      parent_(doc == nullptr ? nullptr : parent),
      sibling_(parent_ == nullptr ? nullptr : sibling) {}

Placement::~Placement() {
  if (element_ != nullptr && !made_) {
    unlinkAndFree(element_);
  }
}

bool Placement::prepare(uint32_t *error) noexcept {
  if (!fits()) {
    return refuse(error, TALVO_SIGN_ERROR_PLACEMENT);
  }
  if (doc_ != nullptr) {
    return true;
  }
  made_.reset(talvo_xml_doc_new(TALVO_XML_10));
  doc_ = made_.get();
  return doc_ != nullptr || refuse(error, TALVO_SIGN_ERROR_OUT_OF_MEMORY);
}

bool Placement::fits() const noexcept {
  if (parent_ == nullptr) {
    return doc_ == nullptr || kindOf(doc_) == NodeKind::document;
  }
  if (kindOf(parent_) != NodeKind::element || talvo_xml_node_getdoc(parent_) != doc_) {
    return false;
  }
  return sibling_ == nullptr || talvo_xml_node_getparent(sibling_) == parent_;
}

bool Placement::link(OwnedNode element) noexcept {
  XmlNode *linked = element.get();
  bool done = false;
  if (parent_ == nullptr) {
    done = linkAsRoot(std::move(element));
  } else if (sibling_ == nullptr) {
    done = linkChild(parent_, element) != nullptr;
  } else {
    done = linkAfter(sibling_, element) != nullptr;
  }
  element_ = done ? linked : nullptr;
  return done;
}

// Only a registered element can become a root; linking takes it out of the registry again.
bool Placement::linkAsRoot(OwnedNode element) noexcept {
  if (AddNodeInNodeList(element.get()) != 1) {
    return false;
  }
  XmlNode *registered = element.release();
  if (talvo_xml_doc_setrootelement(doc_, registered) == nullptr) {
    talvo_xml_node_free(registered);
    return false;
  }
  return true;
}

void Placement::commit() noexcept {
  element_ = nullptr;
  made_.release();  // the caller's from now on
}

}  // namespace talvo
