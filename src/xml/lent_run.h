// A run of nodes that moves for as long as something is tried, and comes back as it was: to its
// place, with the declarations, bindings and IDs that it had there.
#pragma once

#include "talvo_xml.h"

#include "base/handle.h"

namespace talvo {

struct LentRun;
void freeLentRun(LentRun *run) noexcept;
using OwnedLentRun = Handle<LentRun, freeLentRun>;

// Moves the node and its following siblings below the parent. Null, with the run where it was, when
// one of them cannot be moved or memory is exhausted. What is handed out only remembers: freed, it
// leaves the run where it has gone.
OwnedLentRun lendRun(XmlNode *parent, XmlNode *first) noexcept;
// Back to the end of where it stood; what stood nowhere is handed out to the caller again. False,
// with the run freed or left, when memory is exhausted.
bool giveBack(LentRun &run) noexcept;

}  // namespace talvo
