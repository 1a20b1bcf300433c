// Edits of a document by the node functions, as callers make them, chosen by a source of numbers: names
// bound to declarations elsewhere, declarations that hide others, attributes twice or in odd
// namespaces, texts side by side, moved subtrees.
#pragma once

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

#include "base/utf8.h"
#include "xml/edit.h"
#include "xml/native.h"
#include "xml/node.h"
#include "xml/tree.h"

namespace talvo::test {

template <class Pick>
class RandomEdits {
 public:
  // pick(n) answers a number below n.
  RandomEdits(XmlDoc *document, Pick &pick) : document_(document), pick_(pick) {}

  void run(uint32_t count) {
    for (; count > 0; --count) {
      collect();
      if (elements_.empty()) {
        return;
      }
      edit();
    }
  }

 private:
  XmlNode *any(const std::vector<XmlNode *> &nodes) {
    return nodes.empty() ? nullptr : nodes[pick_(static_cast<uint32_t>(nodes.size()))];
  }
  template <size_t Count>
  UString word(const std::array<const char *, Count> &words) {
    const char *text = words[pick_(Count)];
    return text == nullptr ? nullptr : makeString(text);
  }

  void collect() {
    elements_.clear();
    attributes_.clear();
    declarations_.clear();
    forEachNode(asNode(nativeDoc(document_)), [this](xmlNode *node) {
      if (node->type == XML_ATTRIBUTE_NODE) {
        attributes_.push_back(handleOf(node));
      }
      if (node->type != XML_ELEMENT_NODE) {
        return;
      }
      elements_.push_back(handleOf(node));
      for (xmlNs *ns = node->nsDef; ns != nullptr; ns = ns->next) {
        declarations_.push_back(handleOf(ns));
      }
    });
  }

  void move() {
    XmlNode *node = any(elements_);
    XmlNode *parent = any(elements_);
    if (isAtOrBelow(parent, node) || talvo_xml_node_getparent(node) == document_) {
      return;
    }
    OwnedNode run = takeNode(node);
    if (run != nullptr && linkChild(parent, run) == nullptr) {
      handOut(std::move(run));  // until shut-down: names elsewhere may be bound to its declarations
    }
  }

  void add(OwnedNode node) { linkChild(any(elements_), node); }

  void edit() {
    static constexpr std::array<const char *, 6> kUris = {"urn:p", "urn:q",       "urn:d",
                                                          "",      "http://h/&x", "urn:p"};
    static constexpr std::array<const char *, 4> kNewPrefixes = {nullptr, "p", "q", "ds"};
    static constexpr std::array<const char *, 6> kNames = {"k",        "Id",        "xml:lang",
                                                           "xml:base", "xml:space", "b"};
    static constexpr std::array<const char *, 5> kValues = {"v", "", "a/../b", "x&<>\"\r\n\t",
                                                            ".."};
    switch (pick_(11)) {
      case 0:
        talvo_xml_node_newns(any(elements_), word(kUris).get(), word(kNewPrefixes).get());
        break;
      case 1:
        talvo_xml_node_setns(any(elements_), any(declarations_));
        break;
      case 2:
        talvo_xml_node_setns(any(attributes_), any(declarations_));
        break;
      case 3:
        talvo_xml_node_newattr(any(elements_), pick_(2) == 0 ? nullptr : any(declarations_),
                               word(kNames).get(), word(kValues).get());
        break;
      case 4:
        addAttribute(any(elements_), word(kNames).get(), word(kValues).get());
        break;
      case 5:
        move();
        break;
      case 6:
        add(makeText(document_, word(kValues).get()));
        break;
      case 7:
        talvo_xml_node_setvalue(any(attributes_), word(kValues).get());
        break;
      case 8:
        add(makeElement(pick_(2) == 0 ? nullptr : any(declarations_), word(kNames).get()));
        break;
      case 9:
        talvo_xml_node_addchild(any(elements_), talvo_xml_node_dup(any(elements_)));
        break;
      default:
        talvo_xml_node_remove(any(declarations_));
        break;
    }
  }

  XmlDoc *document_;
  Pick &pick_;
  std::vector<XmlNode *> elements_;
  std::vector<XmlNode *> attributes_;
  std::vector<XmlNode *> declarations_;
};

}  // namespace talvo::test
