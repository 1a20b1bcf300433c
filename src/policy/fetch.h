// What a reference outside of its document names, within what the policy allows: a callback's
// answer, a file, the network.
#pragma once

#include "policy/run.h"
#include "transform/canonicalize.h"

namespace talvo::policy {

struct FetchOutcome {
  bool isDone = false;
  Reason reason = Reason::referenceUnavailable;
  uint32_t error = 0;
};

// Hands the octets to the sink.
FetchOutcome fetchInto(OctetSink &sink, Run &run, const Reference &reference);

}  // namespace talvo::policy
