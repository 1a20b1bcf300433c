#include "support/workshop.h"

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace talvo::test {

Workshop::Workshop() {
  std::string name = (std::filesystem::temp_directory_path() / "talvo-test-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) {
    throw std::runtime_error("no temporary folder");
  }
  folder_ = name;
}

Workshop::~Workshop() {
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

std::string Workshop::path(std::string_view name) const {
  return folder_ + "/" + std::string(name);
}

void Workshop::write(std::string_view name, std::string_view content) const {
  std::ofstream(path(name), std::ios::binary) << content;
}

std::string Workshop::read(std::string_view name) const {
  std::ifstream file(path(name), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

bool Workshop::run(const std::string &command) const {
  const std::string quiet = "cd '" + folder_ + "' && { " + command + "; } >log 2>&1 </dev/null";
  return system(quiet.c_str()) == 0;
}

bool hasProgram(const std::string &name) {
  return system(("command -v " + name + " >/dev/null 2>&1").c_str()) == 0;
}

}  // namespace talvo::test
