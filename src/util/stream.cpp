// Streams: a growing memory stream, and a filter that decodes Base64 from the stream below it. The
// filter reads in chunks of its own size, so that a reader may ask for any number of bytes.
#include <algorithm>
#include <array>
#include <cassert>
#include <cstring>
#include <limits>

#include "base/base64_decoder.h"
#include "base/memory.h"

struct talvo_stream {
  virtual ~talvo_stream() = default;
  // Filters only: takes the stream to read from, and tells it.
  virtual bool setSource(talvo_stream *) noexcept { return false; }
  virtual const talvo_stream *source() const noexcept { return nullptr; }
  virtual bool write(talvo::Bytes) noexcept { return false; }
  virtual int64_t read(uint8_t *bytes, size_t length) noexcept = 0;
  virtual int64_t available() const noexcept { return -1; }
};

namespace talvo::util {
namespace {

constexpr char kSource[] = "stream";

class MemoryStream final : public talvo_stream {
 public:
  explicit MemoryStream(ByteBuffer buffer, size_t capacity) noexcept
      : buffer_(std::move(buffer)), capacity_(capacity) {}

  bool write(Bytes bytes) noexcept override {
    if (bytes.empty()) {
      return true;
    }
    if (!makeRoom(bytes.size())) {
      return false;
    }
    std::memcpy(buffer_.get() + end_, bytes.data(), bytes.size());
    end_ += bytes.size();
    return true;
  }

  int64_t read(uint8_t *bytes, size_t length) noexcept override {
    const size_t count = std::min(length, end_ - start_);
    if (count > 0) {
      std::memcpy(bytes, buffer_.get() + start_, count);
      start_ += count;
    }
    return static_cast<int64_t>(count);
  }

  int64_t available() const noexcept override { return static_cast<int64_t>(end_ - start_); }

 private:
  bool makeRoom(size_t length) noexcept {
    assert(start_ <= end_ && end_ <= capacity_);
    if (length <= capacity_ - end_) {
      return true;
    }
    const size_t held = end_ - start_;
    if (length > std::numeric_limits<ptrdiff_t>::max() - held) {
      return false;
    }
    // What was read makes room too, but moving is worth it only when at least half is free then:
    // each byte is moved a bounded number of times whatever the pattern of writes and reads.
    if (held + length > capacity_ / 2) {
      return grow(std::max(held + length, capacity_ * 2));
    }
    std::memmove(buffer_.get(), buffer_.get() + start_, held);
    start_ = 0;
    end_ = held;
    return true;
  }

  bool grow(size_t capacity) noexcept {
    assert(capacity >= end_ - start_);
    ByteBuffer larger = makeBytes(kSource, capacity);
    if (!larger) {
      return false;
    }
    const size_t held = end_ - start_;
    if (held > 0) {
      std::memcpy(larger.get(), buffer_.get() + start_, held);
    }
    buffer_ = std::move(larger);
    capacity_ = capacity;
    start_ = 0;
    end_ = held;
    return true;
  }

  ByteBuffer buffer_;
  size_t capacity_;
  size_t start_ = 0;  // the first byte not yet read
  size_t end_ = 0;    // behind the last byte written
};

class Base64Stream final : public talvo_stream {
 public:
  bool setSource(talvo_stream *source) noexcept override {
    if (source_ != nullptr) {
      return false;
    }
    source_ = source;
    return true;
  }

  const talvo_stream *source() const noexcept override { return source_; }

  int64_t read(uint8_t *bytes, size_t length) noexcept override {
    size_t count = 0;
    while (count < length) {
      if (start_ == end_ && !decodeChunk()) {
        return -1;
      }
      if (start_ == end_) {
        break;
      }
      assert(start_ < end_ && end_ <= decoded_.size());
      const size_t part = std::min(length - count, end_ - start_);
      std::memcpy(bytes + count, decoded_.data() + start_, part);
      start_ += part;
      count += part;
    }
    return static_cast<int64_t>(count);
  }

 private:
  static constexpr size_t kChunk = 4096;

  // Decodes until there is a byte to hand out or the source has ended. Once it fails it fails for
  // ever.
  bool decodeChunk() noexcept {
    assert(start_ == end_);
    std::array<char, kChunk> text;
    start_ = 0;
    end_ = 0;
    while (end_ == 0 && !failed_) {
      const int64_t count = talvo_stream_read(source_, text.data(), text.size());
      if (count == 0) {
        failed_ = !decoder_.isComplete();
        break;
      }
      uint8_t *out = decoded_.data();
      failed_ = count < 0 || !decoder_.feed(text.data(), static_cast<size_t>(count), out);
      end_ = failed_ ? 0 : static_cast<size_t>(out - decoded_.data());
    }
    return !failed_;
  }

  talvo_stream *source_ = nullptr;
  Base64Decoder decoder_;
  std::array<uint8_t, Base64Decoder::outputBound(kChunk)> decoded_;
  size_t start_ = 0;
  size_t end_ = 0;
  bool failed_ = false;
};

// The stream is destroyed as what it was made as; talvo_free needs the address that talvo_malloc
// gave, and with single inheritance that is the address of the base.
template <class T>
talvo_stream *asStream(Owned<T> stream) noexcept {
  return stream.release();
}

}  // namespace
}  // namespace talvo::util

using namespace talvo;
using namespace talvo::util;

talvo_stream *talvo_stream_newmemory(size_t capacity) noexcept {
  ByteBuffer buffer = makeBytes(kSource, capacity);
  return buffer ? asStream(make<MemoryStream>(kSource, std::move(buffer), capacity)) : nullptr;
}

talvo_stream *talvo_stream_new_base64(int32_t direction, int32_t lineLength, int32_t mode,
                                      int32_t flags) noexcept {
  const bool isKnown = direction == TALVO_BASE64_DECODE && lineLength == 64 &&
                       mode == TALVO_BASE64_LINES && flags == 0;
  return isKnown ? asStream(make<Base64Stream>(kSource)) : nullptr;
}

int32_t talvo_stream_push(talvo_stream *source, talvo_stream *filter) noexcept {
  if (source == nullptr || filter == nullptr) {
    return 0;
  }
  for (const talvo_stream *below = source; below != nullptr; below = below->source()) {
    if (below == filter) {
      return 0;
    }
  }
  return filter->setSource(source) ? 1 : 0;
}

int32_t talvo_stream_write(talvo_stream *stream, const void *bytes, size_t length) noexcept {
  if (stream == nullptr || (bytes == nullptr && length > 0)) {
    return 0;
  }
  return stream->write(Bytes(static_cast<const uint8_t *>(bytes), length)) ? 1 : 0;
}

int64_t talvo_stream_read(talvo_stream *stream, void *bytes, size_t length) noexcept {
  if (stream == nullptr || (bytes == nullptr && length > 0)) {
    return -1;
  }
  return stream->read(static_cast<uint8_t *>(bytes), length);
}

int64_t talvo_stream_getavailable(const talvo_stream *stream) noexcept {
  return stream == nullptr ? -1 : stream->available();
}

void talvo_stream_free(talvo_stream *stream) noexcept {
  destroy(stream);
}
