// Re-entrant locks over std::recursive_mutex, with the holder noted: unlocking a mutex that another
// thread holds is undefined, and here it is only refused.
#include <atomic>
#include <cassert>
#include <mutex>
#include <thread>

#include "base/boundary.h"
#include "base/memory.h"

struct talvo_lock {
  std::recursive_mutex mutex;
  std::atomic<std::thread::id> holder;
  int32_t depth = 0;
};

using namespace talvo;

namespace {

constexpr char kSource[] = "lock";

}  // namespace

talvo_lock *talvo_lock_new() noexcept {
  return make<talvo_lock>(kSource).release();
}

int32_t talvo_lock_lock(talvo_lock *lock) noexcept {
  if (lock == nullptr) {
    return 0;
  }
  return guard([lock]() -> int32_t {
    lock->mutex.lock();
    lock->holder.store(std::this_thread::get_id(), std::memory_order_relaxed);
    ++lock->depth;
    return 1;
  });
}

int32_t talvo_lock_unlock(talvo_lock *lock) noexcept {
  // Only the holder can read its own id here, whatever other threads do meanwhile.
  if (lock == nullptr ||
      lock->holder.load(std::memory_order_relaxed) != std::this_thread::get_id()) {
    return 0;
  }
  assert(lock->depth > 0);
  if (--lock->depth == 0) {
    lock->holder.store(std::thread::id(), std::memory_order_relaxed);
  }
  lock->mutex.unlock();
  return 1;
}

void talvo_lock_free(talvo_lock *lock) noexcept {
  destroy(lock);
}
