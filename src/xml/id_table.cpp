// Sweeping chains the dead entries through their unused `next` pointer, because a table may not be
// changed while it is scanned, and because freeing must not need memory.
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

void sweepIds(xmlDoc *doc) noexcept {
  auto *table = doc == nullptr ? nullptr : static_cast<xmlHashTable *>(doc->ids);
  if (table == nullptr || xmlHashSize(table) <= 0) {
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

}  // namespace talvo
