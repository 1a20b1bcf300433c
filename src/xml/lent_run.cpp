// A run is a node and everything behind it, so inside a parent it was always the end of the
// children: appending puts it back exactly. Declarations that a move adds stand behind those that
// were there.
#include "xml/lent_run.h"

#include <utility>
#include <vector>

#include "base/boundary.h"
#include "xml/carried_namespaces.h"
#include "xml/edit.h"
#include "xml/id_table.h"
#include "xml/registry.h"
#include "xml/tree.h"

namespace talvo {

struct LentRun {
  struct Declarations {
    xmlNode *element;
    xmlNs *last;  // null for none
  };
  struct Binding {
    xmlNode *node;
    xmlNs *ns;
  };

  XmlNode *first;
  XmlNode *parent;  // null for a free-standing run
  std::vector<Declarations> declarations = {};
  std::vector<Binding> bindings = {};
  std::vector<xmlAttr *> ids = {};
};

namespace {

constexpr char kSource[] = "TALVO_XML";

xmlNs *lastDeclared(const xmlNode *element) noexcept {
  xmlNs *last = element->nsDef;
  while (last != nullptr && last->next != nullptr) {
    last = last->next;
  }
  return last;
}

// Cuts off what is declared behind `last`.
CarriedNamespaces takeAdded(xmlNode *element, xmlNs *last) noexcept {
  xmlNs *&link = last == nullptr ? element->nsDef : last->next;
  return CarriedNamespaces(std::exchange(link, nullptr));
}

bool isNamed(const xmlNode *node) noexcept {
  return node->type == XML_ELEMENT_NODE || node->type == XML_ATTRIBUTE_NODE;
}

void remember(LentRun &run, xmlNode *node) {
  if (node->type == XML_ELEMENT_NODE) {
    run.declarations.push_back({node, lastDeclared(node)});
  }
  if (isNamed(node) && node->ns != nullptr) {
    run.bindings.push_back({node, node->ns});
  }
  if (isId(node)) {
    run.ids.push_back(asAttr(node));
  }
}

bool rememberAll(LentRun &run) noexcept {
  return guard([&run] {
    for (xmlNode *top = native(run.first); top != nullptr; top = top->next) {
      forEachNode(top, [&run](xmlNode *node) { remember(run, node); });
    }
    return true;
  });
}

// The declarations above the old place are still there, and the names are bound to them once more.
// What stood nowhere has nothing above it: the declarations that it got go with it unseen.
void restoreNames(const LentRun &run) noexcept {
  if (run.parent != nullptr) {
    for (const LentRun::Binding &binding : run.bindings) {
      binding.node->ns = binding.ns;
    }
  }
  for (const LentRun::Declarations &declarations : run.declarations) {
    CarriedNamespaces added = takeAdded(declarations.element, declarations.last);
    if (run.parent == nullptr) {
      carry(run.first, std::move(added));
    }
  }
}

void restoreIds(const LentRun &run) noexcept {
  XmlDoc *document = talvo_xml_node_getdoc(run.first);
  for (xmlAttr *attribute : run.ids) {
    if (!isId(asNode(attribute))) {
      talvo_xml_node_setidattr(document, handleOf(attribute));
    }
  }
}

bool putBack(const LentRun &run, OwnedNode nodes) noexcept {
  const bool isBack = run.parent == nullptr ? handOut(std::move(nodes)) != nullptr
                                            : linkChild(run.parent, nodes) != nullptr;
  if (isBack) {
    restoreNames(run);
    restoreIds(run);
  }
  return isBack;
}

}  // namespace

void freeLentRun(LentRun *run) noexcept {
  destroy(run);
}

OwnedLentRun lendRun(XmlNode *parent, XmlNode *first) noexcept {
  OwnedLentRun run(make<LentRun>(kSource, first, talvo_xml_node_getparent(first)).release());
  if (run == nullptr || !rememberAll(*run)) {
    return nullptr;
  }
  OwnedNode nodes = takeRun(first);
  if (nodes != nullptr && linkChild(parent, nodes) == nullptr) {
    putBack(*run, std::move(nodes));
    return nullptr;
  }
  return talvo_xml_node_getparent(first) == parent ? std::move(run) : nullptr;
}

bool giveBack(LentRun &run) noexcept {
  return putBack(run, takeRun(run.first));
}

}  // namespace talvo
