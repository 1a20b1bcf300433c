// The allocator: malloc with a small header in front of each block, from which live blocks and
// bytes are counted. The counts are relaxed atomics: they are exact whenever the threads are at
// rest, and no allocation waits for another. Builds with TALVO_FAULT_HOOKS also chain the live
// blocks, for leak reports, and can fail one on demand.
#include "util/allocator.h"

#include <array>
#include <atomic>
#include <cassert>
#include <cstdlib>
#include <limits>
#include <mutex>
#include <new>

#include "talvo_util.h"

namespace talvo::util {
namespace {

struct alignas(std::max_align_t) BlockHeader {
  size_t size;
#ifdef TALVO_FAULT_HOOKS
  const char *file;
  int32_t line;
  BlockHeader *older;
  BlockHeader *newer;
#endif
};

// Threads count on different cache lines, else each allocation would take the line from the other
// cores. A block may be given back by another thread, so that only the sums say something.
struct alignas(64) Counters {
  std::atomic<int64_t> blocks{0};
  std::atomic<int64_t> bytes{0};
};

constexpr uint32_t kShards = 16;
std::array<Counters, kShards> g_counters;
std::atomic<uint32_t> g_nextShard{0};

// The initial-exec model spares a function call for each access; the loader sets a little room
// aside for such variables of libraries that are loaded late.
__attribute__((tls_model("initial-exec"))) constinit thread_local Counters *t_counters = nullptr;

// By thread, so that whoever compares it before and behind sees only what was refused to himself.
__attribute__((tls_model("initial-exec"))) constinit thread_local int64_t t_refusals = 0;

Counters &countersOfThread() noexcept {
  if (t_counters == nullptr) {
    t_counters = &g_counters[g_nextShard.fetch_add(1, std::memory_order_relaxed) % kShards];
  }
  return *t_counters;
}

int64_t sumOf(std::atomic<int64_t> Counters::*member) noexcept {
  int64_t sum = 0;
  for (const Counters &counters : g_counters) {
    sum += (counters.*member).load(std::memory_order_relaxed);
  }
  return sum;
}

#ifdef TALVO_FAULT_HOOKS

std::atomic<int64_t> g_failAfter{-1};
std::atomic<bool> g_hasFailed{false};
std::mutex g_chainMutex;
BlockHeader *g_newest = nullptr;

void chain(BlockHeader *block) noexcept {
  const std::scoped_lock lock(g_chainMutex);
  block->older = g_newest;
  block->newer = nullptr;
  if (g_newest != nullptr) {
    g_newest->newer = block;
  }
  g_newest = block;
}

void setPlace(BlockHeader *block, const char *file, int32_t line) noexcept {
  block->file = file;
  block->line = line;
}

void unchain(BlockHeader *block) noexcept {
  const std::scoped_lock lock(g_chainMutex);
  assert((block->newer == nullptr ? g_newest : block->newer->older) == block);
  if (block->older != nullptr) {
    block->older->newer = block->newer;
  }
  (block->newer == nullptr ? g_newest : block->newer->older) = block->older;
}

#else

void chain(BlockHeader *) noexcept {}
void unchain(BlockHeader *) noexcept {}
void setPlace(BlockHeader *, const char *, int32_t) noexcept {}

#endif

std::nullptr_t refuseBlock() noexcept {
  ++t_refusals;
  return nullptr;
}

bool isRefused(size_t size) noexcept {
  constexpr size_t kLimit = std::numeric_limits<ptrdiff_t>::max() - sizeof(BlockHeader);
  return size > kLimit || takeFault();
}

BlockHeader *headerOf(void *block) noexcept {
  return static_cast<BlockHeader *>(block) - 1;
}

void count(int64_t blocks, int64_t bytes) noexcept {
  Counters &counters = countersOfThread();
  counters.blocks.fetch_add(blocks, std::memory_order_relaxed);
  counters.bytes.fetch_add(bytes, std::memory_order_relaxed);
}

}  // namespace

#ifdef TALVO_FAULT_HOOKS

bool takeFault() noexcept {
  if (g_failAfter.load(std::memory_order_relaxed) < 0) {
    return false;
  }
  if (g_failAfter.fetch_sub(1, std::memory_order_relaxed) != 0) {
    return false;
  }
  g_hasFailed.store(true, std::memory_order_relaxed);
  return true;
}

size_t listLiveBlocks(LiveBlock *out, size_t capacity) noexcept {
  const std::scoped_lock lock(g_chainMutex);
  size_t written = 0;
  for (const BlockHeader *block = g_newest; block != nullptr && written < capacity;
       block = block->older) {
    out[written++] = {block->file, block->line, block->size};
  }
  return written;
}

#else

bool takeFault() noexcept {
  return false;
}

size_t listLiveBlocks(LiveBlock *, size_t) noexcept {
  return 0;
}

#endif

}  // namespace talvo::util

using namespace talvo;
using namespace talvo::util;

void *talvo_malloc(size_t size, const char *file, int32_t line) noexcept {
  if (isRefused(size)) {
    return refuseBlock();
  }
  // NOLINTNEXTLINE(cppcoreguidelines-no-malloc)
  void *memory = std::malloc(sizeof(BlockHeader) + size);
  if (memory == nullptr) {
    return refuseBlock();
  }
  auto *header = new (memory) BlockHeader{};
  header->size = size;
  setPlace(header, file, line);
  chain(header);
  count(1, static_cast<int64_t>(size));
  return header + 1;
}

void *talvo_realloc(void *block, size_t size, const char *file, int32_t line) noexcept {
  if (block == nullptr) {
    return talvo_malloc(size, file, line);
  }
  if (isRefused(size)) {
    return refuseBlock();
  }
  BlockHeader *old = headerOf(block);
  const auto before = static_cast<int64_t>(old->size);
  unchain(old);  // its neighbours must not point at it while it moves
  // NOLINTNEXTLINE(cppcoreguidelines-no-malloc)
  void *memory = std::realloc(old, sizeof(BlockHeader) + size);
  if (memory == nullptr) {
    chain(old);
    return refuseBlock();
  }
  auto *header = static_cast<BlockHeader *>(memory);
  header->size = size;
  setPlace(header, file, line);
  chain(header);
  count(0, static_cast<int64_t>(size) - before);
  return header + 1;
}

void talvo_free(void *block) noexcept {
  if (block == nullptr) {
    return;
  }
  BlockHeader *header = headerOf(block);
  unchain(header);
  count(-1, -static_cast<int64_t>(header->size));
  std::free(header);  // NOLINT(cppcoreguidelines-no-malloc)
}

int64_t talvo_memory_getliveblocks() noexcept {
  return sumOf(&Counters::blocks);
}

int64_t talvo_memory_getlivebytes() noexcept {
  return sumOf(&Counters::bytes);
}

int64_t talvo_memory_getrefusals() noexcept {
  return t_refusals;
}

void talvo_memory_setfailafter([[maybe_unused]] int64_t count) noexcept {
#ifdef TALVO_FAULT_HOOKS
  g_hasFailed.store(false, std::memory_order_relaxed);
  g_failAfter.store(count < 0 ? -1 : count, std::memory_order_relaxed);
#endif
}

int32_t talvo_memory_hasfailed() noexcept {
#ifdef TALVO_FAULT_HOOKS
  return g_hasFailed.load(std::memory_order_relaxed) ? 1 : 0;
#else
  return 0;
#endif
}
