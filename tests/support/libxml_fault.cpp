#include "support/libxml_fault.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>
#include <libxml/xmlmemory.h>

namespace {

int g_left = -1;  // allocations that succeed before one fails; -1 when it has

bool isToFail() {
  return g_left >= 0 && g_left-- == 0;
}

void *allocate(size_t size) {
  return isToFail() ? nullptr : std::malloc(size);
}

void *resize(void *memory, size_t size) {
  return isToFail() ? nullptr : std::realloc(memory, size);
}

char *duplicate(const char *text) {
  return isToFail() ? nullptr : ::strdup(text);
}

class FaultyMemory {
 public:
  FaultyMemory() {
    xmlMemGet(&free_, &malloc_, &realloc_, &strdup_);
    xmlMemSetup(std::free, allocate, resize, duplicate);
  }
  ~FaultyMemory() { xmlMemSetup(free_, malloc_, realloc_, strdup_); }
  FaultyMemory(const FaultyMemory &) = delete;
  FaultyMemory &operator=(const FaultyMemory &) = delete;

 private:
  xmlFreeFunc free_ = nullptr;
  xmlMallocFunc malloc_ = nullptr;
  xmlReallocFunc realloc_ = nullptr;
  xmlStrdupFunc strdup_ = nullptr;
};

}  // namespace

namespace talvo::test {

void everyLibxmlAllocationFails(const std::function<bool()> &scenario) {
  constexpr int kMostRuns = 10000;
  const FaultyMemory memory;
  for (int number = 0; number < kMostRuns; ++number) {
    SCOPED_TRACE("allocation " + std::to_string(number) + " of libxml2 fails");
    g_left = number;
    const bool succeeded = scenario();
    const bool struck = g_left < 0;
    g_left = -1;
    EXPECT_EQ(succeeded, !struck);
    if (!struck || ::testing::Test::HasFailure()) {
      EXPECT_GT(number, 0) << "the scenario allocates nothing that could fail";
      return;
    }
  }
  ADD_FAILURE() << "the scenario does not end";
}

}  // namespace talvo::test
