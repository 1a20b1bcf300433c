#include "support/memory_test.h"

#include <algorithm>
#include <vector>

#include "talvo_util.h"

#include "util/allocator.h"

namespace talvo::test {

void expectLiveBlocks(int64_t before) {
  constexpr int64_t kMostListed = 20;
  const int64_t now = talvo_memory_getliveblocks();
  if (now <= before) {
    EXPECT_EQ(now, before) << "something was given back that the test had not taken";
    return;
  }
  std::vector<util::LiveBlock> blocks(static_cast<size_t>(std::min(now - before, kMostListed)));
  blocks.resize(util::listLiveBlocks(blocks.data(), blocks.size()));
  ADD_FAILURE() << now - before << " blocks were not given back; the newest:";
  for (const util::LiveBlock &block : blocks) {
    ADD_FAILURE() << "  " << block.size << " bytes from " << block.file << ":" << block.line;
  }
}

void MemoryTest::SetUp() {
  liveBefore_ = talvo_memory_getliveblocks();
}

void MemoryTest::TearDown() {
  expectLiveBlocks(liveBefore_);
}

}  // namespace talvo::test
