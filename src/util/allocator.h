// What only tests ask of the allocator. The switches exist in builds with TALVO_FAULT_HOOKS.
#pragma once

#include <cstddef>
#include <cstdint>

namespace talvo::util {

// Counts one allocation against the fault that talvo_memory_setfailafter has set: true when it has
// to fail. The test programs ask it for each std allocation too.
bool takeFault() noexcept;

struct LiveBlock {
  const char *file;
  int32_t line;
  size_t size;
};

// The newest live blocks, newest first, at most `capacity` of them; returns how many were written.
size_t listLiveBlocks(LiveBlock *out, size_t capacity) noexcept;

}  // namespace talvo::util
