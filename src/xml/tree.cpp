// Trees are walked in a loop, never by recursion: a document built by calls can be deeper than any
// stack.
#include "xml/tree.h"

#include <libxml/dict.h>

#include "xml/carried_namespaces.h"
#include "xml/document.h"
#include "xml/id_table.h"
#include "xml/namespace.h"
#include "xml/registry.h"

namespace talvo {
namespace {

// Below an entity reference lies the declaration, which belongs to the document type.
bool hasOwnChildren(const xmlNode *node) noexcept {
  return node->type != XML_ENTITY_REF_NODE && node->type != XML_DTD_NODE &&
         node->children != nullptr;
}

bool hasContent(const xmlNode *node) noexcept {
  return node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE ||
         node->type == XML_COMMENT_NODE || node->type == XML_PI_NODE;
}

const xmlNode *topOf(const xmlNode *node) noexcept {
  while (node->parent != nullptr) {
    node = node->parent;
  }
  return node;
}

// Texts and comments share a static name.
bool hasNameOfItsOwn(const xmlNode *node) noexcept {
  return node->type == XML_ELEMENT_NODE || node->type == XML_ATTRIBUTE_NODE ||
         node->type == XML_PI_NODE || node->type == XML_ENTITY_REF_NODE;
}

// Calls replace(text) for each text of a node that its document's dictionary owns and stores the
// result. Very short texts lie in the node itself, at `properties`; no dictionary owns those.
template <class Replace>
void forDictionaryTexts(xmlNode *node, Replace &&replace) noexcept {
  xmlDict *dictionary = node->doc == nullptr ? nullptr : node->doc->dict;
  if (dictionary == nullptr) {
    return;
  }
  if (hasNameOfItsOwn(node) && xmlDictOwns(dictionary, node->name) == 1) {
    node->name = replace(node->name);
  }
  if (hasContent(node) && xmlDictOwns(dictionary, node->content) == 1) {
    node->content = replace(node->content);
  }
}

void dropDictionaryTexts(xmlNode *node) noexcept {
  forDictionaryTexts(node, [](const xmlChar *) -> xmlChar * { return nullptr; });
}

bool copyDictionaryTexts(xmlNode *node) noexcept {
  bool copied = true;
  forDictionaryTexts(node, [&copied](const xmlChar *text) {
    xmlChar *copy = xmlStrdup(text);
    copied = copied && copy != nullptr;
    return copy != nullptr ? copy : const_cast<xmlChar *>(text);
  });
  return copied;
}

// A node that dies with another document than its own must not hold texts of that one. libxml2 asks
// one dictionary for a whole list of siblings, that of the first one's document.
void prepareToDie(xmlNode *top, xmlDoc *home) noexcept {
  const bool rehomed = anyRehomed();
  if (home == nullptr && !rehomed) {
    return;
  }
  IdRemoval ids;
  forEachNode(top, [&ids, home, rehomed](xmlNode *node) {
    ids.visit(node);
    if (node->doc != home) {
      dropDictionaryTexts(node);
      node->doc = home;
    }
    if (rehomed) {
      untrack(handleOf(node));
    }
  });
}

}  // namespace

void noteEdit(const xmlNode *node) noexcept {
  DocumentState *state = hasContent(node) ? nullptr : stateOf(handleOf(node->doc));
  if (state == nullptr) {
    return;
  }
  state->noteEdit();
  if (!state->hasStrays()) {
    return;
  }
  // The node may lie in the tree of another document than it points at.
  if (DocumentState *around = stateOf(handleOf(topOf(node)->doc)); around != nullptr) {
    around->noteEdit();
  }
}

xmlNode *nextInTree(const xmlNode *node, const xmlNode *top) noexcept {
  if (hasOwnChildren(node)) {
    return node->children;
  }
  while (node != top && node->next == nullptr) {
    node = node->parent;
  }
  return node == top ? nullptr : node->next;
}

xmlDoc *homeOf(const xmlNode *node) noexcept {
  if (node->doc != nullptr || node->parent != nullptr) {
    return node->doc;
  }
  return nativeDoc(originOf(handleOf(const_cast<xmlNode *>(node))));
}

AtHome::AtHome(xmlNode *node) noexcept : node_(node), before_(node->doc) {
  node->doc = homeOf(node);
}

AtHome::~AtHome() {
  node_->doc = before_;
}

void cut(xmlNode *node) noexcept {
  noteEdit(node);
  xmlNode *parent = node->parent;
  if (parent != nullptr && node->type == XML_ATTRIBUTE_NODE) {
    if (asNode(parent->properties) == node) {
      parent->properties = asAttr(node->next);
    }
  } else if (parent != nullptr) {
    if (parent->children == node) {
      parent->children = node->next;
    }
    if (parent->last == node) {
      parent->last = node->prev;
    }
  }
  if (node->prev != nullptr) {
    node->prev->next = node->next;
  }
  if (node->next != nullptr) {
    node->next->prev = node->prev;
  }
  node->parent = node->prev = node->next = nullptr;
}

void splice(xmlNode *node, const Place &place) noexcept {
  xmlNode *ref = place.ref;
  xmlNode *parent = place.parent();
  node->parent = parent;
  noteEdit(node);
  switch (place.where) {
    case Where::lastChild:
      node->prev = ref->last;
      break;
    case Where::after:
      node->prev = ref;
      node->next = ref->next;
      break;
    case Where::before:
      node->prev = ref->prev;
      node->next = ref;
      break;
  }
  if (node->prev != nullptr) {
    node->prev->next = node;
  }
  if (node->next != nullptr) {
    node->next->prev = node;
  }
  if (parent == nullptr) {
    return;
  }
  if (node->type == XML_ATTRIBUTE_NODE) {
    parent->properties = node->prev == nullptr ? asAttr(node) : parent->properties;
    return;
  }
  parent->children = node->prev == nullptr ? node : parent->children;
  parent->last = node->next == nullptr ? node : parent->last;
}

bool copyStrings(xmlNode *top, xmlDoc *to) noexcept {
  if (homeOf(top) == to) {
    return true;
  }
  const AtHome home(top);
  bool copied = true;
  forEachNode(top, [&copied, to](xmlNode *node) {
    copied = copied && (node->doc == to || copyDictionaryTexts(node));
  });
  return copied;
}

bool prepareToDetach(xmlNode *node) noexcept {
  if (node->parent == nullptr) {
    return true;
  }
  CarriedNamespaces carried;
  return carryNamespaces(node, &carried) && carry(handleOf(node), std::move(carried));
}

void finishMove(xmlNode *top, xmlDoc *to) noexcept {
  xmlDoc *from = homeOf(top);
  top->doc = from;
  if (from == to) {
    return;
  }
  noteEdit(top);
  const bool rehomed = anyRehomed();
  IdRemoval ids;
  forEachNode(top, [&ids, top, to, rehomed](xmlNode *node) {
    if (rehomed && node != top) {
      untrack(handleOf(node));
    }
    if (node->doc == to) {
      return;
    }
    ids.visit(node);
    leaveXmlNamespace(node);
    if (node->type == XML_ENTITY_REF_NODE) {
      node->children = node->last = nullptr;
      node->content = nullptr;
    }
    node->doc = to;
  });
}

void freeTree(xmlNode *top) noexcept {
  xmlDoc *home = homeOf(top);
  top->doc = home;
  noteEdit(top);
  prepareToDie(top, home);
  cut(top);
  untrack(handleOf(top));
  xmlFreeNode(top);
}

void freeDocument(xmlDoc *doc) noexcept {
  if (anyRehomed()) {
    prepareToDie(asNode(doc), doc);
  }
  destroyDocument(doc);
}

void severForRelease(xmlNode *top, xmlDoc *doc) noexcept {
  xmlDoc *home = homeOf(top->parent);
  forEachNode(top, [doc, home](xmlNode *node) {
    if (node->doc != doc) {
      return;
    }
    dropDictionaryTexts(node);
    if (isId(node)) {
      unmarkId(node);
    }
    node->doc = home;
  });
}

void releaseTree(xmlNode *top, xmlDoc *home) noexcept {
  if (top->type == XML_NAMESPACE_DECL) {
    xmlFreeNsList(reinterpret_cast<xmlNs *>(top));
    return;
  }
  cut(top);
  top->doc = home;
  xmlFreeNode(top);
}

}  // namespace talvo
