// Runs a scenario again and again, failing its allocation number 0, then 1, then 2 ..., until it
// passes untouched. Allocations of talvo_malloc count, and those of operator new in the thread that
// runs the scenario.
#pragma once

#include <cstdint>
#include <functional>

namespace talvo::test {

struct FaultRange {
  int64_t first = 0;
  int64_t step = 1;         // more than 1 to take samples of a long scenario
  bool mayRecover = false;  // whether a run may succeed although an allocation failed
};

// `scenario` does everything from scratch and returns whether it succeeded; it must not use
// assertions, whose own allocations would count. Each failing run has to report the failure, throw
// nothing and leave no block behind; the last run has to succeed.
void everyAllocationFails(const std::function<bool()> &scenario, FaultRange range = {});

}  // namespace talvo::test
