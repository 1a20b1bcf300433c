// Counted octets: like a string one immutable block, without a rule about its content.
#include "util/counted_bytes.h"

struct talvo_data_blob {
  size_t length;
};

using namespace talvo;
using namespace talvo::util;

namespace {

constexpr char kSource[] = "blob";

}  // namespace

talvo_data_blob *talvo_data_blob_new(const void *bytes, size_t length) noexcept {
  if (bytes == nullptr && length > 0) {
    return nullptr;
  }
  return copyCounted<talvo_data_blob>(kSource, bytes, length);
}

talvo_data_blob *talvo_data_blob_dup(const talvo_data_blob *blob) noexcept {
  return blob == nullptr ? nullptr
                         : copyCounted<talvo_data_blob>(kSource, bytesBehind(blob), blob->length);
}

void talvo_data_blob_free(talvo_data_blob *blob) noexcept {
  talvo_free(blob);
}

const uint8_t *talvo_data_blob_getdata(const talvo_data_blob *blob) noexcept {
  return blob == nullptr ? nullptr : reinterpret_cast<const uint8_t *>(bytesBehind(blob));
}

size_t talvo_data_blob_getlength(const talvo_data_blob *blob) noexcept {
  return blob == nullptr ? 0 : blob->length;
}
