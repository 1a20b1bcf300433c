// The registry's operations, each under the lock. Shut-down works in two passes, since freeing a
// node reads its document.
#include "xml/registry.h"

#include "xml/document.h"
#include "xml/node.h"
#include "xml/tree.h"

using namespace talvo;

NodeList *g_nodeList = nullptr;

namespace talvo {
namespace {

constexpr char kSource[] = "TALVO_XML";

// Adds an entry to what is counted, or takes it out. Documents count the entries that point at
// them, so that freeing one looks for them only when there are any, and know of those that lie in
// other trees.
void count(const TrackedNode &entry, int32_t more) noexcept {
  if (TrackedNode *origin = g_nodeList->table.find(entry.origin); origin != nullptr) {
    origin->dependents += static_cast<uint32_t>(more);
  }
  if (entry.tracking != Tracking::rehomed) {
    return;
  }
  g_nodeList->rehomed += more;
  if (DocumentState *state = stateOf(entry.origin); state != nullptr) {
    state->countStray(more);
  }
}

void change(TrackedNode *entry, Tracking tracking, XmlDoc *origin) noexcept {
  count(*entry, -1);
  entry->tracking = tracking;
  entry->origin = origin;
  count(*entry, 1);
}

xmlNs *carriedBy(const TrackedNode &entry) noexcept {
  return static_cast<xmlNs *>(entry.carried);
}

void removeEntry(TrackedNode *entry) noexcept {
  const CarriedNamespaces carried(carriedBy(*entry));
  change(entry, Tracking::detached, nullptr);
  g_nodeList->table.remove(entry);
}

bool isDocument(const TrackedNode &entry) noexcept {
  return entry.tracking == Tracking::registered && kindOf(entry.node) == NodeKind::document;
}

void freeEntries() noexcept {
  for (TrackedNode &entry : g_nodeList->table.places()) {
    if (entry.node != nullptr && entry.tracking == Tracking::rehomed) {
      severForRelease(native(entry.node), nativeDoc(entry.origin));
      entry.node = nullptr;
    }
  }
  for (TrackedNode &entry : g_nodeList->table.places()) {
    if (entry.node != nullptr && !isDocument(entry)) {
      const CarriedNamespaces carried(carriedBy(entry));
      // What an OwnedNode held is gone; an entry of that kind is left over from a move that failed.
      if (entry.tracking != Tracking::taken) {
        releaseTree(native(entry.node), nativeDoc(entry.origin));
      }
      entry.node = nullptr;
    }
  }
  for (TrackedNode &entry : g_nodeList->table.places()) {
    if (entry.node != nullptr) {
      destroyDocument(nativeDoc(entry.node));
    }
  }
}

// The document that an entry points at once it has let go of its origin.
xmlDoc *futureHome(const TrackedNode &entry) noexcept {
  return entry.tracking == Tracking::rehomed ? homeOf(native(entry.node)->parent) : nullptr;
}

void settle(TrackedNode *entry) noexcept {
  if (entry->tracking == Tracking::rehomed) {
    removeEntry(entry);
  } else {
    change(entry, entry->tracking, nullptr);
  }
}

// A sibling on the way of DeleteSibling.
void unregisterSibling(const XmlNode *node) noexcept {
  TrackedNode *entry = g_nodeList->table.find(node);
  if (entry != nullptr && entry->tracking == Tracking::registered) {
    change(entry, Tracking::detached, entry->origin);
  }
}

}  // namespace

RegistryLock::RegistryLock() noexcept : held_(LockNodeList() == 1) {}

RegistryLock::~RegistryLock() {
  if (held_) {
    UnlockNodeList();
  }
}

bool createRegistry() noexcept {
  Owned<NodeList> list = make<NodeList>(kSource);
  if (!list) {
    return false;
  }
  list->lock.reset(talvo_lock_new());
  if (!list->lock || !list->table.reserve()) {
    return false;
  }
  g_nodeList = list.release();
  return true;
}

void destroyRegistry() noexcept {
  if (g_nodeList != nullptr) {
    freeEntries();
    destroy(g_nodeList);
    g_nodeList = nullptr;
  }
}

bool isRegistered(const XmlNode *node) noexcept {
  const RegistryLock lock;
  const TrackedNode *entry = lock ? g_nodeList->table.find(node) : nullptr;
  return entry != nullptr && entry->tracking == Tracking::registered;
}

bool isTracked(const XmlNode *node) noexcept {
  const RegistryLock lock;
  const TrackedNode *entry = lock ? g_nodeList->table.find(node) : nullptr;
  return entry != nullptr && entry->tracking != Tracking::taken;
}

XmlDoc *originOf(const XmlNode *node) noexcept {
  const RegistryLock lock;
  const TrackedNode *entry = lock ? g_nodeList->table.find(node) : nullptr;
  return entry == nullptr ? nullptr : entry->origin;
}

bool reserveTracking(int32_t count) noexcept {
  const RegistryLock lock;
  return lock && g_nodeList->table.reserve(count);
}

bool track(XmlNode *node, Tracking tracking, XmlDoc *origin) noexcept {
  const RegistryLock lock;
  if (!lock || node == nullptr) {
    return false;
  }
  TrackedNode *entry = g_nodeList->table.find(node);
  if (entry == nullptr) {
    if (!g_nodeList->table.reserve()) {
      return false;
    }
    entry = g_nodeList->table.add(node, Tracking::detached);
  }
  change(entry, tracking, origin);
  return true;
}

void untrack(const XmlNode *node) noexcept {
  const RegistryLock lock;
  TrackedNode *entry = lock ? g_nodeList->table.find(node) : nullptr;
  if (entry != nullptr) {
    removeEntry(entry);
  }
}

bool carry(XmlNode *node, CarriedNamespaces carried) noexcept {
  if (!carried) {
    return true;
  }
  const RegistryLock lock;
  if (!lock ||
      (g_nodeList->table.find(node) == nullptr && !track(node, Tracking::taken, nullptr))) {
    return false;
  }
  TrackedNode *entry = g_nodeList->table.find(node);
  xmlNs *last = carried.get();
  while (last->next != nullptr) {
    last = last->next;
  }
  last->next = carriedBy(*entry);
  entry->carried = carried.release();
  return true;
}

xmlNs *carriedNamespaces(const XmlNode *node) noexcept {
  const RegistryLock lock;
  const TrackedNode *entry = lock ? g_nodeList->table.find(node) : nullptr;
  return entry == nullptr ? nullptr : carriedBy(*entry);
}

bool releaseDependents(XmlDoc *doc) noexcept {
  const RegistryLock lock;
  const TrackedNode *self = lock ? g_nodeList->table.find(doc) : nullptr;
  if (self == nullptr || self->dependents == 0) {
    return self != nullptr;
  }
  for (const TrackedNode &entry : g_nodeList->table.places()) {
    if (entry.node != nullptr && entry.origin == doc &&
        !copyStrings(native(entry.node), futureHome(entry))) {
      return false;
    }
  }
  // The IDs of `doc` go with it; without its table they need not be looked for in it.
  xmlFreeIDTable(static_cast<xmlIDTable *>(nativeDoc(doc)->ids));
  nativeDoc(doc)->ids = nullptr;
  for (TrackedNode &entry : g_nodeList->table.places()) {
    if (entry.node != nullptr && entry.origin == doc) {
      finishMove(native(entry.node), futureHome(entry));
      settle(&entry);
    }
  }
  return true;
}

bool anyRehomed() noexcept {
  const RegistryLock lock;
  return lock && g_nodeList->rehomed > 0;
}

}  // namespace talvo

int32_t LockNodeList() noexcept {
  return g_nodeList == nullptr ? 0 : talvo_lock_lock(g_nodeList->lock.get());
}

int32_t UnlockNodeList() noexcept {
  return g_nodeList == nullptr ? 0 : talvo_lock_unlock(g_nodeList->lock.get());
}

int32_t AddNodeInNodeList(XmlNode *node) noexcept {
  const RegistryLock lock;
  if (!lock || node == nullptr || !g_nodeList->table.reserve()) {
    return 0;
  }
  if (TrackedNode *entry = g_nodeList->table.find(node); entry != nullptr) {
    change(entry, Tracking::registered, entry->origin);
    return 1;
  }
  XmlDoc *doc = kindOf(node) == NodeKind::document ? nullptr : talvo_xml_node_getdoc(node);
  return track(node, Tracking::registered, doc) ? 1 : 0;
}

int32_t DeleteNodeInNodeList(XmlNode *node) noexcept {
  const RegistryLock lock;
  if (!lock) {
    return 0;
  }
  untrack(node);
  return 1;
}

int32_t DeleteSibling(XmlNode *node) noexcept {
  const RegistryLock lock;
  if (!lock) {
    return 0;
  }
  const TrackedNode *entry = g_nodeList->table.find(node);
  if (entry == nullptr || entry->tracking != Tracking::registered) {
    return 1;
  }
  unregisterSibling(node);
  // Below a parent no sibling is registered, so a long list of children need not be walked.
  if (talvo_xml_node_getparent(node) != nullptr) {
    untrack(node);
    return 1;
  }
  for (XmlNode *at = node; (at = talvo_xml_node_getprevsibling(at)) != nullptr;) {
    unregisterSibling(at);
  }
  for (XmlNode *at = node; (at = talvo_xml_node_getnextsibling(at)) != nullptr;) {
    unregisterSibling(at);
  }
  return 1;
}
