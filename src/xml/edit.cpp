// The library's own links, which know nothing of what callers own.
#include "xml/edit.h"

#include "xml/link.h"
#include "xml/node.h"
#include "xml/registry.h"

namespace talvo {
namespace {

XmlNode *link(const Place &place, OwnedNode &run) noexcept {
  xmlNode *first = native(run.get());
  for (const xmlNode *node = first; node != nullptr; node = node->next) {
    if (!fits(place, node)) {
      return nullptr;
    }
  }
  if (first == nullptr || liesWithinRun(place, first)) {
    return nullptr;
  }
  xmlNode *last = linkNodes(place, first, Extent::run);
  if (last != nullptr) {
    run.release();  // the tree owns it now
  }
  return handleOf(last);
}

int32_t countRun(const xmlNode *first) noexcept {
  int32_t count = 0;
  for (const xmlNode *node = first; node != nullptr; node = node->next) {
    ++count;
  }
  return count;
}

// Leaves the node linked nowhere and its own, with its document known to itself.
void take(xmlNode *node) noexcept {
  node->doc = homeOf(node);
  cut(node);
  if (carriesNamespaces(handleOf(node))) {
    track(handleOf(node), Tracking::taken, nullptr);
  } else {
    untrack(handleOf(node));
  }
}

}  // namespace

void freeRun(XmlNode *first) noexcept {
  xmlNode *next = nullptr;
  for (xmlNode *node = native(first); node != nullptr; node = next) {
    next = node->next;
    freeTree(node);
  }
}

XmlNode *linkChild(XmlNode *parent, OwnedNode &run) noexcept {
  return link({Where::lastChild, native(parent)}, run);
}

XmlNode *linkAfter(XmlNode *ref, OwnedNode &run) noexcept {
  return link({Where::after, native(ref)}, run);
}

XmlNode *linkBefore(XmlNode *ref, OwnedNode &run) noexcept {
  return link({Where::before, native(ref)}, run);
}

OwnedNode takeRun(XmlNode *first) noexcept {
  if (!reserveTracking(countRun(native(first)))) {
    return nullptr;
  }
  for (xmlNode *node = native(first); node != nullptr; node = node->next) {
    if (!isLinkable(node) || !prepareToDetach(node)) {
      return nullptr;
    }
  }
  xmlNode *last = nullptr;
  xmlNode *next = nullptr;
  for (xmlNode *node = native(first); node != nullptr; node = next) {
    next = node->next;
    take(node);
    if (last != nullptr) {
      splice(node, {Where::after, last});
    }
    last = node;
  }
  return OwnedNode(first);
}

OwnedNode takeNode(XmlNode *node) noexcept {
  if (!isLinkable(native(node)) || !reserveTracking(1) || !prepareToDetach(native(node))) {
    return nullptr;
  }
  take(native(node));
  return OwnedNode(node);
}

XmlNode *handOut(OwnedNode run) noexcept {
  if (!run || !reserveTracking(countRun(native(run.get())))) {
    return nullptr;
  }
  for (xmlNode *node = native(run.get()); node != nullptr; node = node->next) {
    track(handleOf(node), Tracking::registered, handleOf(node->doc));
  }
  return run.release();  // the caller owns it now
}

void unlinkAndFree(XmlNode *node) noexcept {
  if (isLinkable(native(node))) {
    freeTree(native(node));
  }
}

}  // namespace talvo
