// The search through a table looks for attributes that are no longer marked as an ID. It chains the
// entries it finds through their unused `next` pointer, because a table may not be changed while it
// is scanned, and because freeing must not need memory.
#include "xml/id_table.h"

#include <libxml/dict.h>
#include <libxml/hash.h>

#include "xml/node.h"

namespace talvo {

// What a search through a table takes out: the entries of one attribute but for one value, or,
// without an attribute, those of all attributes that are no ID any more.
struct IdSweep {
  const xmlAttr *attribute = nullptr;
  const xmlChar *keep = nullptr;
  xmlID *first = nullptr;

  void collect(xmlID *id) noexcept {
    const bool isWanted = attribute != nullptr
                              ? id->attr == attribute && xmlStrEqual(id->value, keep) == 0
                              : id->attr != nullptr && id->attr->atype != XML_ATTRIBUTE_ID;
    if (isWanted) {
      id->next = first;
      first = id;
    }
  }
};

}  // namespace talvo

extern "C" {

static void collectId(void *payload, void *sweep, const xmlChar *name) noexcept {
  static_cast<void>(name);
  static_cast<talvo::IdSweep *>(sweep)->collect(static_cast<xmlID *>(payload));
}

static void freeId(void *payload, const xmlChar *name) noexcept {
  static_cast<void>(name);
  auto *id = static_cast<xmlID *>(payload);
  const xmlDict *dictionary = id->doc == nullptr ? nullptr : id->doc->dict;
  for (const xmlChar *text : {id->value, id->name}) {
    if (text != nullptr && xmlDictOwns(const_cast<xmlDict *>(dictionary), text) != 1) {
      xmlFree(const_cast<xmlChar *>(text));
    }
  }
  xmlFree(id);
}
}

namespace talvo {
namespace {

xmlHashTable *tableOf(const xmlDoc *doc) noexcept {
  return doc == nullptr ? nullptr : static_cast<xmlHashTable *>(doc->ids);
}

void sweep(const xmlDoc *doc, IdSweep what = {}) noexcept {
  xmlHashTable *table = tableOf(doc);
  if (table == nullptr) {
    return;
  }
  xmlHashScan(table, collectId, static_cast<void *>(&what));
  while (what.first != nullptr) {
    xmlID *next = what.first->next;
    xmlHashRemoveEntry(table, what.first->value, freeId);
    what.first = next;
  }
}

bool holdsId(const xmlAttr *attribute, const xmlChar *value) noexcept {
  const auto *id = static_cast<xmlID *>(xmlHashLookup(tableOf(attribute->doc), value));
  return id != nullptr && id->attr == attribute;
}

// The value of an attribute under which alone it can stand in a table; null when there may be
// others: the parser enters a value without its surplus blanks, a caller enters it as it stands.
const xmlChar *onlyValue(const xmlAttr *attribute) noexcept {
  const xmlNode *text = attribute->children;
  if (text == nullptr || text->next != nullptr || text->type != XML_TEXT_NODE ||
      text->content == nullptr || xmlStrchr(text->content, ' ') != nullptr) {
    return nullptr;
  }
  return text->content;
}

// The attribute loses its mark where it cannot stand in the table under another value.
void vacate(const xmlDoc *doc, xmlAttr *holder, const xmlChar *value) noexcept {
  xmlHashRemoveEntry(tableOf(doc), value, freeId);
  const xmlChar *only = onlyValue(holder);
  if (only != nullptr && xmlStrEqual(only, value)) {
    unmarkId(asNode(holder));
  }
}

}  // namespace

xmlAttr *holderOfId(xmlDoc *doc, const xmlChar *value) noexcept {
  xmlAttr *attribute = xmlGetID(doc, value);
  // libxml2 answers the document itself for an ID whose attribute is gone.
  return asNode(attribute) == asNode(doc) ? nullptr : attribute;
}

IdDeclaration enterId(xmlAttr *attribute, const xmlChar *value) noexcept {
  xmlDoc *doc = attribute->doc;
  xmlAttr *holder = holderOfId(doc, value);
  if (holder == attribute || (holder != nullptr && isInDocument(handleOf(holder), handleOf(doc)))) {
    return IdDeclaration::done;
  }
  if (holder != nullptr) {
    vacate(doc, holder, value);
  }
  const MemoryWatch watch;
  if (xmlAddID(nullptr, doc, value, attribute) != nullptr) {
    return IdDeclaration::done;
  }
  return watch.exhausted() ? IdDeclaration::outOfMemory : IdDeclaration::refused;
}

void keepOnlyId(xmlAttr *attribute, const xmlChar *value) noexcept {
  const xmlChar *only = onlyValue(attribute);
  if (only == nullptr) {
    sweep(attribute->doc, {attribute, value});
  } else if (xmlStrEqual(only, value) == 0 && holdsId(attribute, only)) {
    xmlHashRemoveEntry(tableOf(attribute->doc), only, freeId);
  }
  if (value == nullptr || !holdsId(attribute, value)) {
    unmarkId(asNode(attribute));
  }
}

IdRemoval::~IdRemoval() {
  sweep(unswept_);
}

void IdRemoval::remove(xmlAttr *attribute) noexcept {
  unmarkId(asNode(attribute));
  xmlHashTable *table = tableOf(attribute->doc);
  const xmlChar *value = table == nullptr ? nullptr : onlyValue(attribute);
  if (value != nullptr && holdsId(attribute, value)) {
    xmlHashRemoveEntry(table, value, freeId);
    return;
  }
  if (attribute->doc != unswept_) {
    sweep(unswept_);
    unswept_ = attribute->doc;
  }
}

}  // namespace talvo
