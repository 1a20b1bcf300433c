#include <thread>
#include <vector>

#include "base/handle.h"
#include "support/memory_test.h"

namespace talvo::test {
namespace {

class LockTest : public MemoryTest {};

TEST_F(LockTest, ItsHolderTakesItAgainAndOthersCannotGiveItBack) {
  const Lock lock(talvo_lock_new());
  EXPECT_EQ(talvo_lock_unlock(lock.get()), 0);
  ASSERT_EQ(talvo_lock_lock(lock.get()), 1);
  ASSERT_EQ(talvo_lock_lock(lock.get()), 1);
  std::thread([&] { EXPECT_EQ(talvo_lock_unlock(lock.get()), 0); }).join();
  EXPECT_EQ(talvo_lock_unlock(lock.get()), 1);
  EXPECT_EQ(talvo_lock_unlock(lock.get()), 1);
  EXPECT_EQ(talvo_lock_unlock(lock.get()), 0);
  EXPECT_EQ(talvo_lock_lock(nullptr), 0);
}

TEST_F(LockTest, OnlyOneThreadHoldsIt) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 5000;
  const Lock lock(talvo_lock_new());
  int counter = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        talvo_lock_lock(lock.get());
        const int seen = counter;
        std::this_thread::yield();
        counter = seen + 1;
        talvo_lock_unlock(lock.get());
      }
    });
  }
  for (std::thread &thread : threads) {
    thread.join();
  }
  EXPECT_EQ(counter, kThreads * kRounds);
}

}  // namespace
}  // namespace talvo::test
