// Each loan knows the run's place in its context as well, which forgets the run while it is away.
#include "signature/generate/moved_runs.h"

#include "base/memory.h"
#include "xml/lent_run.h"
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
  XmlNode *parent;    // where the run stood when it was promised
  OwnedLentRun lent;  // once it has moved
};

bool mayBeContent(const XmlNode *node) noexcept {
  const NodeKind kind = kindOf(node);
  return kind == NodeKind::element || kind == NodeKind::text || kind == NodeKind::comment ||
         kind == NodeKind::processingInstruction;
}

void returnLoan(const Loan &loan) noexcept {
  const bool isBack = giveBack(*loan.lent);
  *loan.slot = isBack ? loan.first : nullptr;
  *loan.ownsSlot = isBack && loan.owned;
}

bool moveIn(Loan *loan) noexcept {
  // A run that an earlier loan took along is no longer its context's.
  if (*loan->slot != loan->first || talvo_xml_node_getparent(loan->first) != loan->parent) {
    return false;
  }
  loan->lent = lendRun(loan->target, loan->first);
  if (loan->lent == nullptr) {
    return false;
  }
  *loan->slot = nullptr;
  *loan->ownsSlot = false;
  return true;
}

}  // namespace

MovedRuns::MovedRuns() noexcept : loans_(talvo_arraylist_new(nullptr, releaseItem<Loan>)) {}

MovedRuns::~MovedRuns() {
  const ListView<Loan> loans = items<Loan>(loans_);
  for (int32_t index = loans.size() - 1; index >= 0; --index) {
    if (loans[index]->lent != nullptr) {
      returnLoan(*loans[index]);
    }
  }
}

bool MovedRuns::expect(XmlNode *target, XmlNode **first, bool *owns) noexcept {
  return loans_ && mayBeContent(*first) &&
         append(loans_, make<Loan>(kSource, target, first, owns, *owns, *first,
                                   talvo_xml_node_getparent(*first), nullptr));
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
