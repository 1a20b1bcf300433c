// Opens without blocking, asks what it has opened, and only then reads.
#include "transform/reference/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace talvo {

RegularFile::RegularFile(const char *path) noexcept
    : descriptor_(open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY)) {
  struct stat status {};
  if (descriptor_ < 0) {
    return;
  }
  if (fstat(descriptor_, &status) != 0 || !S_ISREG(status.st_mode)) {
    close();
    return;
  }
  size_ = static_cast<uint64_t>(status.st_size);
}

RegularFile::~RegularFile() {
  close();
}

void RegularFile::close() noexcept {
  if (descriptor_ >= 0) {
    ::close(descriptor_);
    descriptor_ = -1;
  }
}

int64_t RegularFile::read(uint8_t *bytes, size_t length) noexcept {
  for (;;) {
    const ssize_t count = ::read(descriptor_, bytes, length);
    if (count >= 0 || errno != EINTR) {
      return count;
    }
  }
}

}  // namespace talvo
