#include <algorithm>
#include <string>
#include <string_view>

#include "base/handle.h"
#include "support/every_allocation_fails.h"
#include "support/memory_test.h"

namespace talvo::test {
namespace {

class StreamTest : public MemoryTest {};

// Reads everything in pieces of `piece` bytes; "(failed)" when a read fails.
std::string readAll(talvo_stream *stream, size_t piece) {
  std::string all;
  std::string buffer(piece, '\0');
  for (;;) {
    const int64_t count = talvo_stream_read(stream, buffer.data(), buffer.size());
    if (count < 0) {
      return "(failed)";
    }
    if (count == 0) {
      return all;
    }
    all.append(buffer, 0, static_cast<size_t>(count));
  }
}

Stream holding(std::string_view bytes) {
  Stream stream(talvo_stream_newmemory(16));
  return talvo_stream_write(stream.get(), bytes.data(), bytes.size()) == 1 ? std::move(stream)
                                                                           : nullptr;
}

std::string decodeThroughStream(std::string_view text, size_t piece) {
  const Stream source = holding(text);
  const Stream filter(talvo_stream_new_base64(2, 64, 3, 0));
  EXPECT_EQ(talvo_stream_push(source.get(), filter.get()), 1);
  return readAll(filter.get(), piece);
}

std::string pattern(size_t length) {
  std::string bytes(length, '\0');
  for (size_t i = 0; i < length; ++i) {
    bytes[i] = static_cast<char>(i * 7 + i / 251);
  }
  return bytes;
}

TEST_F(StreamTest, MemoryStreamGivesBackInOrderWhatWasWritten) {
  const Stream stream(talvo_stream_newmemory(0));
  const std::string bytes = pattern(10000);
  std::string read;
  size_t written = 0;
  for (size_t step = 1; written < bytes.size(); ++step) {
    const size_t length = std::min(step, bytes.size() - written);
    ASSERT_EQ(talvo_stream_write(stream.get(), bytes.data() + written, length), 1);
    written += length;
    std::string part(step / 2, '\0');
    ASSERT_EQ(talvo_stream_read(stream.get(), part.data(), part.size()),
              static_cast<int64_t>(part.size()));
    read += part;
    ASSERT_EQ(talvo_stream_getavailable(stream.get()), static_cast<int64_t>(written - read.size()));
  }
  EXPECT_EQ(read + readAll(stream.get(), 100), bytes);
}

TEST_F(StreamTest, Base64FilterDecodesWhateverTheChunks) {
  const std::string bytes = pattern(20000);
  char *text = nullptr;
  ASSERT_EQ(talvo_base64_encode(bytes.data(), bytes.size(), 3, &text, nullptr), 1);
  const TextBuffer owner(text);
  // Leading blanks move the groups across the filter's chunk boundary.
  for (size_t blanks = 0; blanks < 5; ++blanks) {
    const std::string shifted = std::string(blanks, ' ') + text + "\n";
    for (const size_t piece : {size_t{1}, size_t{7}, size_t{4096}, size_t{30000}}) {
      EXPECT_EQ(decodeThroughStream(shifted, piece), bytes)
          << blanks << " blanks, pieces of " << piece;
    }
  }
}

TEST_F(StreamTest, Base64FilterEndsOnlyAtACompleteText) {
  EXPECT_EQ(decodeThroughStream("", 10), "");
  EXPECT_EQ(decodeThroughStream(" \n", 10), "");
  EXPECT_EQ(decodeThroughStream("QUI=\n", 10), "AB");
  EXPECT_EQ(decodeThroughStream(std::string(9000, ' ') + "QQ==", 10), "A");
  for (const char *text : {"QUI", "QUI=QUJD", "QU*D", "="}) {
    EXPECT_EQ(decodeThroughStream(text, 10), "(failed)") << text;
  }
}

TEST_F(StreamTest, RefusesWhatAStreamCannotDo) {
  const Stream memory = holding("QUJD");
  const Stream filter(talvo_stream_new_base64(2, 64, 3, 0));
  const Stream second(talvo_stream_new_base64(2, 64, 3, 0));
  char byte = 0;
  EXPECT_EQ(talvo_stream_read(filter.get(), &byte, 1), -1) << "no source yet";
  EXPECT_EQ(talvo_stream_write(filter.get(), "A", 1), 0);
  EXPECT_EQ(talvo_stream_getavailable(filter.get()), -1);
  EXPECT_EQ(talvo_stream_push(filter.get(), memory.get()), 0) << "a memory stream has no source";
  EXPECT_EQ(talvo_stream_push(filter.get(), filter.get()), 0);
  ASSERT_EQ(talvo_stream_push(filter.get(), second.get()), 1);
  EXPECT_EQ(talvo_stream_push(second.get(), filter.get()), 0) << "a ring";
  EXPECT_EQ(talvo_stream_push(memory.get(), second.get()), 0) << "second source";
  EXPECT_EQ(talvo_stream_new_base64(1, 64, 3, 0), nullptr);
  EXPECT_EQ(talvo_stream_new_base64(2, 76, 3, 0), nullptr);
}

TEST_F(StreamTest, FailsCleanlyWithoutMemory) {
  everyAllocationFails([] {
    const Stream source = holding("QUJDQUJDQUJDQUJDQUJDQUJD");
    const Stream filter(talvo_stream_new_base64(2, 64, 3, 0));
    char bytes[18];
    return talvo_stream_push(source.get(), filter.get()) == 1 &&
           talvo_stream_read(filter.get(), bytes, sizeof(bytes)) == 18;
  });
}

}  // namespace
}  // namespace talvo::test
