// A caller's nodes move into the Objects of a signature, and only once everything else is generated
// and linked. Until the signature is complete they are lent: when signing fails they go back to
// where they stood and the contexts point at them again, so that nothing of the caller's is lost
// with the element that failed.
#pragma once

#include "talvo_xml.h"

#include "base/list.h"

namespace talvo {

class MovedRuns {
 public:
  MovedRuns() noexcept;
  MovedRuns(const MovedRuns &) = delete;
  MovedRuns &operator=(const MovedRuns &) = delete;
  // Gives every run back unless commit was called. What the runs were moved into must still be
  // alive.
  ~MovedRuns();

  // Notes that the run at `*first` is to become the content of the target. False when it cannot be
  // content.
  bool expect(XmlNode *target, XmlNode **first, bool *owns) noexcept;
  // Moves every noted run and clears what its context says of it.
  bool fill() noexcept;
  // The runs stay where they are.
  void commit() noexcept;

 private:
  List loans_;
};

}  // namespace talvo
