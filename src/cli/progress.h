// A line on the terminal that tells how far long work has come. Nothing is shown where standard
// error is no terminal, or before the work has taken a while.
#pragma once

#include <chrono>
#include <cstddef>

namespace talvo::cli {

class Progress {
 public:
  explicit Progress(size_t total);
  ~Progress() { clear(); }
  Progress(const Progress &) = delete;
  Progress &operator=(const Progress &) = delete;

  // Shows that `done` of the total are done.
  void show(size_t done);
  // Takes the line away, so that results can be printed.
  void clear();

 private:
  size_t total_;
  bool terminal_;
  bool visible_ = false;
  std::chrono::steady_clock::time_point start_;
};

}  // namespace talvo::cli
