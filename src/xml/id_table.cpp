// The search through a table looks for attributes that are no longer marked as an ID. It chains the
// entries it finds through their unused `next` pointer, because a table may not be changed while it is
// scanned, and because freeing must not need memory.
#include "xml/id_table.h"

#include <libxml/dict.h>
#include <libxml/hash.h>

extern "C" {

static void collectDeadId(void *payload, void *chain, const xmlChar *name) noexcept {
  static_cast<void>(name);
  auto *id = static_cast<xmlID *>(payload);
  auto **first = static_cast<xmlID **>(chain);
  if (id->attr != nullptr && id->attr->atype != XML_ATTRIBUTE_ID) {
    id->next = *first;
    *first = id;
  }
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

void sweep(const xmlDoc *doc) noexcept {
  xmlHashTable *table = tableOf(doc);
  if (table == nullptr) {
    return;
  }
  xmlID *dead = nullptr;
  xmlHashScan(table, collectDeadId, static_cast<void *>(&dead));
  while (dead != nullptr) {
    xmlID *next = dead->next;
    xmlHashRemoveEntry(table, dead->value, freeId);
    dead = next;
  }
}

// The value of an attribute under which alone it can stand in a table; null when there may be others:
// the parser enters a value without its surplus blanks, a caller enters it as it stands.
const xmlChar *onlyValue(const xmlAttr *attribute) noexcept {
  const xmlNode *text = attribute->children;
  if (text == nullptr || text->next != nullptr || text->type != XML_TEXT_NODE ||
      text->content == nullptr || xmlStrchr(text->content, ' ') != nullptr) {
    return nullptr;
  }
  return text->content;
}

}  // namespace

IdRemoval::~IdRemoval() {
  sweep(unswept_);
}

void IdRemoval::remove(xmlAttr *attribute) noexcept {
  unmarkId(asNode(attribute));
  xmlHashTable *table = tableOf(attribute->doc);
  const xmlChar *value = table == nullptr ? nullptr : onlyValue(attribute);
  const auto *id = value == nullptr ? nullptr : static_cast<xmlID *>(xmlHashLookup(table, value));
  if (id != nullptr && id->attr == attribute) {
    xmlHashRemoveEntry(table, value, freeId);
    return;
  }
  if (attribute->doc != unswept_) {
    sweep(unswept_);
    unswept_ = attribute->doc;
  }
}

}  // namespace talvo
