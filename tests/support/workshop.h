// A folder of its own for files that tests hand to programs, gone at the end.
#pragma once

#include <string>
#include <string_view>

namespace talvo::test {

class Workshop {
 public:
  Workshop();
  ~Workshop();
  Workshop(const Workshop &) = delete;
  Workshop &operator=(const Workshop &) = delete;

  std::string path(std::string_view name) const;
  void write(std::string_view name, std::string_view content) const;
  std::string read(std::string_view name) const;
  // Runs a shell command in the folder, silently; true when it ended with 0.
  bool run(const std::string &command) const;

 private:
  std::string folder_;
};

// Whether a program can be found.
bool hasProgram(const std::string &name);

}  // namespace talvo::test
