// The fixture of tests that need no started library: whatever a test takes from the allocator must
// be given back.
#pragma once

#include <cstdint>

#include <gtest/gtest.h>

namespace talvo::test {

// Fails the running test when more blocks are live than `before`, and says where the newest were
// asked for.
void expectLiveBlocks(int64_t before);

class MemoryTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

 private:
  int64_t liveBefore_ = 0;
};

}  // namespace talvo::test
