// Canonical octets on their way to a sink: gathered in one block, so that the sink is called once a
// block and not once a name, and escaped on the way in.
#pragma once

#include <array>
#include <string_view>

#include "transform/canonical/octet_sink.h"

namespace talvo {

class BlockOutput {
 public:
  explicit BlockOutput(OctetSink &sink) noexcept : sink_(sink) {}
  BlockOutput(const BlockOutput &) = delete;
  BlockOutput &operator=(const BlockOutput &) = delete;

  void put(char letter) noexcept {
    if (used_ == kRoom) {
      flush();
    }
    block_[used_++] = letter;
  }
  // As it stands.
  void put(std::string_view text) noexcept {
    if (text.size() > kRoom - used_) {
      putBeyond(text);
      return;
    }
    text.copy(block_.data() + used_, text.size());
    used_ += text.size();
  }
  // Character content, the value of an attribute, the content of a comment or an instruction.
  void putText(std::string_view text) noexcept;
  void putValue(std::string_view value) noexcept;
  void putMarkup(std::string_view content) noexcept;
  // The URI of a namespace with the quotes around it.
  void putUri(std::string_view uri) noexcept;

  // Whether the sink refused; nothing is written from then on.
  bool hasFailed() const noexcept { return hasFailed_; }
  // Hands on what is left; false when the sink refused anything.
  bool finish() noexcept;

 private:
  void putBeyond(std::string_view text) noexcept;
  template <uint8_t Kind>
  void putEscaped(std::string_view text) noexcept;
  void flush() noexcept;
  void send(std::string_view octets) noexcept;

  static constexpr size_t kRoom = 16384;

  OctetSink &sink_;
  size_t used_ = 0;
  bool hasFailed_ = false;
  std::array<char, kRoom> block_;
};

}  // namespace talvo
