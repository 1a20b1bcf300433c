// Want of memory inside libxml2, whose allocations are its own: see every_allocation_fails.h for ours.
#pragma once

#include <functional>

namespace talvo::test {

// Runs a scenario again and again, failing libxml2's allocation number 0, then 1, then 2 ..., until none was
// left to fail. Each failing run has to return false, the last one true.
void everyLibxmlAllocationFails(const std::function<bool()> &scenario);

}  // namespace talvo::test
