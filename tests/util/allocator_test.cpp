// The allocator, and with it the support that all other tests stand on.
#include <thread>
#include <vector>

#include "base/boundary.h"
#include "base/memory.h"
#include "support/every_allocation_fails.h"
#include "support/memory_test.h"

namespace talvo::test {
namespace {

class AllocatorTest : public MemoryTest {};

TEST_F(AllocatorTest, CountsBlocksAndTheBytesAskedFor) {
  const int64_t blocks = talvo_memory_getliveblocks();
  const int64_t bytes = talvo_memory_getlivebytes();
  for (const size_t size : {size_t{0}, size_t{1}, size_t{4096}}) {
    void *block = talvo_malloc(size, "test", __LINE__);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % alignof(std::max_align_t), 0U);
    EXPECT_EQ(talvo_memory_getliveblocks(), blocks + 1);
    EXPECT_EQ(talvo_memory_getlivebytes(), bytes + static_cast<int64_t>(size));
    talvo_free(block);
    EXPECT_EQ(talvo_memory_getlivebytes(), bytes);
  }
  talvo_free(nullptr);
}

TEST_F(AllocatorTest, RefusesSizesThatOverflowAndCountsThemByThread) {
  const auto refuseTwo = [] {
    EXPECT_EQ(talvo_malloc(SIZE_MAX, "test", __LINE__), nullptr);
    EXPECT_EQ(talvo_malloc(SIZE_MAX - 15, "test", __LINE__), nullptr);
  };
  const int64_t before = talvo_memory_getrefusals();
  refuseTwo();
  EXPECT_EQ(talvo_memory_getrefusals(), before + 2);
  std::thread([&] {
    refuseTwo();
    EXPECT_EQ(talvo_memory_getrefusals(), 2) << "the thread's own";
  }).join();
  EXPECT_EQ(talvo_memory_getrefusals(), before + 2);
}

TEST_F(AllocatorTest, ResizedBlocksKeepWhatFits) {
  const int64_t blocks = talvo_memory_getliveblocks();
  const int64_t bytes = talvo_memory_getlivebytes();
  TextBuffer text = copyText("test", "0123456789");
  for (const size_t size : {size_t{100'000}, size_t{5}, size_t{7}}) {
    ASSERT_TRUE(resize("test", text, size));
    EXPECT_EQ(talvo_memory_getliveblocks(), blocks + 1);
    EXPECT_EQ(talvo_memory_getlivebytes(), bytes + static_cast<int64_t>(size));
    EXPECT_EQ(std::string_view(text.get(), 5), "01234");
  }
  EXPECT_FALSE(resize("test", text, SIZE_MAX));
  EXPECT_EQ(talvo_memory_getlivebytes(), bytes + 7) << "a refusal changes nothing";
  text.reset();
  ASSERT_TRUE(resize("test", text, 3)) << "a new block";
}

TEST_F(AllocatorTest, FailsExactlyTheChosenAllocation) {
  talvo_memory_setfailafter(1);
  const ByteBuffer first = makeBytes("test", 1);
  const bool struckEarly = talvo_memory_hasfailed() == 1;
  const ByteBuffer second = makeBytes("test", 1);
  const ByteBuffer third = makeBytes("test", 1);
  EXPECT_TRUE(first && !second && third);
  EXPECT_FALSE(struckEarly);
  EXPECT_EQ(talvo_memory_hasfailed(), 1);
  talvo_memory_setfailafter(-1);
  EXPECT_EQ(talvo_memory_hasfailed(), 0);
}

TEST_F(AllocatorTest, FaultsReachBothKindsOfAllocation) {
  int talvoFailures = 0;
  int stdFailures = 0;
  everyAllocationFails([&] {
    const ByteBuffer block = makeBytes("test", 10);
    talvoFailures += block ? 0 : 1;
    const bool stdWorks = guard([] { return std::vector<int>(10, 1).size() == 10; });
    stdFailures += stdWorks ? 0 : 1;
    return block && stdWorks;
  });
  EXPECT_EQ(talvoFailures, 1);
  EXPECT_EQ(stdFailures, 1);
}

}  // namespace
}  // namespace talvo::test
