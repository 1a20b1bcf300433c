// The registry: every document and free-standing node that callers own, so that nothing is freed
// twice, freed under its document or left over at shut-down. Beside the caller's nodes it keeps the
// detached ones, which nobody may free before shut-down, and knows of every entry which document it
// still points at: that document cannot go without letting go of them.
//
// A node inside a tree is no entry, unless its document pointer names a document that it does not
// lie in. A node without parent is one, unless an OwnedNode holds it.
#pragma once

#include "xml/carried_namespaces.h"
#include "xml/node_table.h"

namespace talvo {

struct NodeList {
  Lock lock;
  NodeTable table;
  int32_t rehomed = 0;  // entries of that kind
};

// Holds the registry's lock for a scope; false when there is no registry.
class RegistryLock {
 public:
  RegistryLock() noexcept;
  ~RegistryLock();
  RegistryLock(const RegistryLock &) = delete;
  RegistryLock &operator=(const RegistryLock &) = delete;
  explicit operator bool() const noexcept { return held_; }

 private:
  bool held_;
};

bool createRegistry() noexcept;
// Frees all entries, documents last, and the registry; nothing when there is none.
void destroyRegistry() noexcept;

bool isRegistered(const XmlNode *node) noexcept;
// Whether it is an entry and no OwnedNode holds it.
bool isTracked(const XmlNode *node) noexcept;
// The document that an entry points at; null for none and for what is no entry.
XmlDoc *originOf(const XmlNode *node) noexcept;
// Makes sure that the next `count` calls of track() succeed.
bool reserveTracking(int32_t count) noexcept;
// Makes the node an entry, or changes the entry that it is.
bool track(XmlNode *node, Tracking tracking, XmlDoc *origin) noexcept;
// Frees the namespaces that the node carried, too.
void untrack(const XmlNode *node) noexcept;
// Lets the node carry namespaces, and those that it carries already, until it is untracked. One
// that is no entry becomes one that an OwnedNode holds.
bool carry(XmlNode *node, CarriedNamespaces carried) noexcept;
// The first of what it carries; null for none.
xmlNs *carriedNamespaces(const XmlNode *node) noexcept;
inline bool carriesNamespaces(const XmlNode *node) noexcept {
  return carriedNamespaces(node) != nullptr;
}
// Makes every entry that points at the document forget it, before the document is freed. False, and
// the document must stay, when memory is exhausted.
bool releaseDependents(XmlDoc *doc) noexcept;
// Whether any node lies in one tree and points at another document. Nearly always false.
bool anyRehomed() noexcept;

}  // namespace talvo

extern "C" {

extern talvo::NodeList *g_nodeList;

int32_t LockNodeList() noexcept;
int32_t UnlockNodeList() noexcept;
// Registers a node: 1, also when it is there already; 0 when memory is exhausted.
int32_t AddNodeInNodeList(XmlNode *node) noexcept;
// Unregisters a node: 1 whether or not it was there.
int32_t DeleteNodeInNodeList(XmlNode *node) noexcept;
// Unregisters a node and, if it was registered, all its siblings. What has no parent stays tracked
// as detached. 1, or 0 without registry.
int32_t DeleteSibling(XmlNode *node) noexcept;
}
