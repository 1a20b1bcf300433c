// Octets as a view: pointer and length travel together.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace talvo {

using Bytes = std::span<const uint8_t>;

}  // namespace talvo
