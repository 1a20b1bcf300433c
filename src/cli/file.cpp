#include "cli/file.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <memory>

#include "cli/text.h"

namespace talvo::cli {

namespace {

namespace fs = std::filesystem;

// More than this is no document; it stops an endless device.
constexpr size_t kMostOctets = size_t{1} << 32;

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;
  ~Descriptor() { reset(); }

  int get() const { return number_; }
  // Closing can be what reports that the disk is full.
  bool reset() {
    const int number = number_;
    number_ = -1;
    return number <= STDERR_FILENO || ::close(number) == 0;
  }

 private:
  int number_;
};

std::string reason() {
  return std::strerror(errno);
}

bool isStandard(const std::string &path) {
  return path.empty() || path == "-";
}

Result<Octets> readAll(int descriptor, const std::string &label) {
  Octets octets;
  size_t length = 0;
  for (;;) {
    if (octets.size() - length < 4096) {
      octets.resize(octets.size() * 2 + 65536);
    }
    const ssize_t count = ::read(descriptor, octets.data() + length, octets.size() - length);
    if (count < 0 && errno != EINTR) {
      return badInput(label + ": cannot be read: " + reason());
    }
    length += count > 0 ? static_cast<size_t>(count) : 0;
    if (length > kMostOctets) {
      return badInput(label + ": is too large");
    }
    if (count == 0) {
      octets.resize(length);
      return octets;
    }
  }
}

bool writeAll(int descriptor, OctetView octets) {
  while (!octets.empty()) {
    const ssize_t count = ::write(descriptor, octets.data(), octets.size());
    if (count < 0 && errno != EINTR) {
      return false;
    }
    octets = octets.subspan(count > 0 ? static_cast<size_t>(count) : 0);
  }
  return true;
}

Failure cannotWrite(const std::string &path) {
  return failed(fileLabel(path) + ": cannot be written: " + reason());
}

// What is no ordinary file (a device, a pipe) must not be replaced by one.
Check writeInPlace(const std::string &path, OctetView octets) {
  Descriptor output(::open(path.c_str(), O_WRONLY | O_CLOEXEC));
  if (output.get() < 0 || !writeAll(output.get(), octets) || !output.reset()) {
    return cannotWrite(path);
  }
  return std::nullopt;
}

// Beside the target, with the target's permissions or those of a new file.
Check writeBeside(const std::string &target, const std::string &path, mode_t mode,
                  OctetView octets) {
  std::string beside = target + ".XXXXXX";
  Descriptor output(::mkostemp(beside.data(), O_CLOEXEC));
  if (output.get() < 0) {
    return cannotWrite(path);
  }
  const bool written = writeAll(output.get(), octets) && ::fchmod(output.get(), mode) == 0 &&
                       ::fsync(output.get()) == 0 && output.reset() &&
                       ::rename(beside.c_str(), target.c_str()) == 0;
  if (written) {
    return std::nullopt;
  }
  const Failure failure = cannotWrite(path);
  ::unlink(beside.c_str());
  return failure;
}

mode_t modeOfNewFile() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

// A link is followed, so that the file behind it is replaced and not the link.
std::string targetOf(const std::string &path) {
  const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr),
                                                         &std::free);
  return real == nullptr ? path : real.get();
}

}  // namespace

std::string fileLabel(const std::string &path) {
  return isStandard(path) ? "standard input" : shown(path);
}

Result<Octets> readFileOrEmpty(const std::string &path) {
  if (path == "-") {
    return readAll(STDIN_FILENO, fileLabel(path));
  }
  const Descriptor input(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat status {};
  if (input.get() < 0 || ::fstat(input.get(), &status) != 0) {
    return badInput(fileLabel(path) + ": cannot be read: " + reason());
  }
  if (S_ISDIR(status.st_mode)) {
    return badInput(fileLabel(path) + ": is a directory");
  }
  return readAll(input.get(), fileLabel(path));
}

Result<Octets> readFile(const std::string &path) {
  Result<Octets> octets = readFileOrEmpty(path);
  if (octets && octets->empty()) {
    return badInput(fileLabel(path) + ": is empty");
  }
  return octets;
}

Check writeFile(const std::string &path, OctetView octets) {
  if (isStandard(path)) {
    if (!writeAll(STDOUT_FILENO, octets)) {
      return failed("standard output: cannot be written: " + reason());
    }
    return std::nullopt;
  }
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) {
    return writeBeside(path, path, modeOfNewFile(), octets);
  }
  if (S_ISDIR(status.st_mode)) {
    errno = EISDIR;
    return cannotWrite(path);
  }
  if (!S_ISREG(status.st_mode)) {
    return writeInPlace(path, octets);
  }
  return writeBeside(targetOf(path), path, status.st_mode & 07777, octets);
}

Result<std::string> absoluteFolder(const std::string &path) {
  std::error_code error;
  const fs::path folder = fs::canonical(path, error);
  if (error || !fs::is_directory(folder, error)) {
    return badInput(shown(path) + ": is no directory");
  }
  return folder.string();
}

Result<std::string> folderOf(const std::string &path) {
  const fs::path folder = isStandard(path) ? fs::path() : fs::path(path).parent_path();
  return absoluteFolder(folder.empty() ? "." : folder.string());
}

}  // namespace talvo::cli
