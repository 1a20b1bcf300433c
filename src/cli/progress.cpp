#include "cli/progress.h"

#include <unistd.h>

#include <cstdio>

namespace talvo::cli {

namespace {

constexpr auto kQuietTime = std::chrono::milliseconds(700);

}  // namespace

Progress::Progress(size_t total)
    : total_(total),
      terminal_(total > 1 && ::isatty(STDERR_FILENO) == 1),
      start_(std::chrono::steady_clock::now()) {}

void Progress::show(size_t done) {
  if (terminal_ && std::chrono::steady_clock::now() - start_ > kQuietTime) {
    std::fprintf(stderr, "\r\033[K%zu of %zu files", done, total_);
    visible_ = true;
  }
}

void Progress::clear() {
  if (visible_) {
    std::fputs("\r\033[K", stderr);
    visible_ = false;
  }
}

}  // namespace talvo::cli
