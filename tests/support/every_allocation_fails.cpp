#include "support/every_allocation_fails.h"

#include <cstdlib>
#include <new>

#include <gtest/gtest.h>

#include "talvo_util.h"

#include "support/memory_test.h"
#include "util/allocator.h"

namespace {

// Only the scenario's thread takes part: a test's server thread must not meet the fault.
thread_local bool t_countsNew = false;

void *allocateCounted(std::size_t size) noexcept {
  if (t_countsNew && talvo::util::takeFault()) {
    return nullptr;
  }
  return std::malloc(size == 0 ? 1 : size);
}

void *allocateOrThrow(std::size_t size) {
  void *memory = allocateCounted(size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

}  // namespace

// The replacements of the whole program.
void *operator new(std::size_t size) {
  return allocateOrThrow(size);
}
void *operator new[](std::size_t size) {
  return allocateOrThrow(size);
}
void *operator new(std::size_t size, const std::nothrow_t &) noexcept {
  return allocateCounted(size);
}
void *operator new[](std::size_t size, const std::nothrow_t &) noexcept {
  return allocateCounted(size);
}
void operator delete(void *memory) noexcept {
  std::free(memory);
}
void operator delete[](void *memory) noexcept {
  std::free(memory);
}
void operator delete(void *memory, std::size_t) noexcept {
  std::free(memory);
}
void operator delete[](void *memory, std::size_t) noexcept {
  std::free(memory);
}
void operator delete(void *memory, const std::nothrow_t &) noexcept {
  std::free(memory);
}
void operator delete[](void *memory, const std::nothrow_t &) noexcept {
  std::free(memory);
}

namespace talvo::test {
namespace {

constexpr int64_t kMostRuns = 1'000'000;

struct Outcome {
  bool succeeded = false;
  bool threw = false;
  bool struck = false;
};

Outcome runWithFault(const std::function<bool()> &scenario, int64_t number) {
  Outcome outcome;
  talvo_memory_setfailafter(number);
  t_countsNew = true;
  try {
    outcome.succeeded = scenario();
  } catch (...) {
    outcome.threw = true;
  }
  t_countsNew = false;
  outcome.struck = talvo_memory_hasfailed() == 1;
  talvo_memory_setfailafter(-1);
  return outcome;
}

}  // namespace

void everyAllocationFails(const std::function<bool()> &scenario, FaultRange range) {
#ifndef TALVO_FAULT_HOOKS
  GTEST_SKIP() << "built without fault hooks";
#endif
  for (int64_t number = range.first; number < kMostRuns; number += range.step) {
    SCOPED_TRACE("allocation " + std::to_string(number) + " fails");
    const int64_t before = talvo_memory_getliveblocks();
    const Outcome outcome = runWithFault(scenario, number);
    EXPECT_FALSE(outcome.threw) << "an exception got out";
    expectLiveBlocks(before);
    if (!outcome.struck) {
      EXPECT_TRUE(outcome.succeeded) << "the scenario fails by itself";
      EXPECT_GT(number, range.first) << "the scenario allocates nothing that could fail";
      return;
    }
    EXPECT_TRUE(range.mayRecover || !outcome.succeeded) << "the failure was not reported";
    if (::testing::Test::HasFailure()) {
      return;  // the following runs would say the same
    }
  }
  ADD_FAILURE() << "the scenario does not end";
}

}  // namespace talvo::test
