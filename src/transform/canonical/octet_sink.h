// Where canonical octets go: a hash, a signature in the making, a buffer.
#pragma once

#include "base/bytes.h"

namespace talvo {

// Takes octets piece by piece; false stops the work, which then fails.
class OctetSink {
 public:
  virtual bool write(Bytes octets) noexcept = 0;

 protected:
  ~OctetSink() = default;
};

}  // namespace talvo
