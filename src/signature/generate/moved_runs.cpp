// A run is a node and everything behind it, so inside a parent it was always the end of the children: appending puts
// it back exactly.
#include "signature/generate/moved_runs.h"

#include "base/memory.h"
#include "xml/node.h"

namespace talvo {
namespace {

constexpr const char *kSource = "TALVO_XML_Signature";

// Where a run goes, what its context knows, and where its nodes stood.
struct Loan {
  XmlNode *target;
  XmlNode **slot;
  bool *ownsSlot;
  bool owned;
  XmlNode *first;
  XmlNode *parent;  // null for a free-standing run
  bool moved;
};

bool mayBeContent(const XmlNode *node) noexcept {
  const NodeKind kind = kindOf(node);
  return kind == NodeKind::element || kind == NodeKind::text || kind == NodeKind::comment ||
         kind == NodeKind::processingInstruction;
}

void putBack(const Loan &loan, OwnedNode run) noexcept {
  const bool placed = loan.parent == nullptr ? handOut(std::move(run)) != nullptr
                                             : linkChild(loan.parent, run) != nullptr;
  *loan.slot = placed ? loan.first : nullptr;
  *loan.ownsSlot = placed && loan.owned;
}

bool moveIn(Loan *loan) noexcept {
  // A run that an earlier loan took along is no longer its context's.
  if (*loan->slot != loan->first || talvo_xml_node_getparent(loan->first) != loan->parent) {
    return false;
  }
  OwnedNode run = takeRun(loan->first);
  if (linkChild(loan->target, run) == nullptr) {
    putBack(*loan, std::move(run));
    return false;
  }
  loan->moved = true;
  *loan->slot = nullptr;
  *loan->ownsSlot = false;
  return true;
}

}  // namespace

MovedRuns::MovedRuns() noexcept : loans_(talvo_arraylist_new(nullptr, releaseItem<Loan>)) {}

MovedRuns::~MovedRuns() {
  const ListView<Loan> loans = items<Loan>(loans_);
  for (int32_t index = loans.size() - 1; index >= 0; --index) {
    if (loans[index]->moved) {
      putBack(*loans[index], takeRun(loans[index]->first));
    }
  }
}

bool MovedRuns::expect(XmlNode *target, XmlNode **first, bool *owns) noexcept {
  return loans_ && mayBeContent(*first) &&
         append(loans_, make<Loan>(kSource, target, first, owns, *owns, *first,
                                   talvo_xml_node_getparent(*first), false));
}

bool MovedRuns::fill() noexcept {
  if (!loans_) {
    return false;
  }
  for (Loan *loan : items<Loan>(loans_)) {
    if (!moveIn(loan)) {
      return false;
    }
  }
  return true;
}

void MovedRuns::commit() noexcept {
  loans_.reset();
}

}  // namespace talvo
