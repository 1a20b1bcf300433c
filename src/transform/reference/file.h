// Regular files, read to their end. Anything else is refused: a folder opens and reads as empty, a
// device never ends, and a FIFO blocks before there is anything to refuse.
#pragma once

#include <cstddef>
#include <cstdint>

namespace talvo {

class RegularFile {
 public:
  explicit RegularFile(const char *path) noexcept;
  ~RegularFile();
  RegularFile(const RegularFile &) = delete;
  RegularFile &operator=(const RegularFile &) = delete;

  explicit operator bool() const noexcept { return descriptor_ >= 0; }
  // The size when it was opened; the file may hold more or less by now, and some report none.
  uint64_t size() const noexcept { return size_; }
  // Reads up to `length` bytes; how many, 0 at the end, -1 on failure.
  int64_t read(uint8_t *bytes, size_t length) noexcept;

 private:
  void close() noexcept;

  int descriptor_;
  uint64_t size_ = 0;
};

}  // namespace talvo
