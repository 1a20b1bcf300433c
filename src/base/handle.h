// Owning handles of the utility library's objects. A handle is one pointer wide and releases what
// it owns; a raw pointer anywhere else borrows.
#pragma once

#include <memory>

#include "talvo_util.h"

#include "base/bytes.h"

namespace talvo {

template <auto Free>
struct Releaser {
  template <class T>
  void operator()(T *object) const noexcept {
    Free(object);
  }
};

template <class T, auto Free>
using Handle = std::unique_ptr<T, Releaser<Free>>;

using UString = Handle<talvo_ustring, talvo_ustring_free>;
using List = Handle<talvo_arraylist, talvo_arraylist_free>;
using Blob = Handle<talvo_data_blob, talvo_data_blob_free>;
using BigInteger = Handle<talvo_biginteger, talvo_biginteger_free>;
using Time = Handle<talvo_time, talvo_time_free>;
using Lock = Handle<talvo_lock, talvo_lock_free>;
using Json = Handle<talvo_json, talvo_json_free>;
using Stream = Handle<talvo_stream, talvo_stream_free>;
using DistinguishedName = Handle<talvo_cert_dn, talvo_cert_dn_free>;
using Extension = Handle<talvo_cert_extension, talvo_cert_extension_free>;
using Crl = Handle<talvo_crl, talvo_crl_free>;

// Memory of talvo_malloc.
using TextBuffer = Handle<char, talvo_free>;
using ByteBuffer = Handle<uint8_t, talvo_free>;

inline Bytes bytesOf(const talvo_data_blob *blob) noexcept {
  return {talvo_data_blob_getdata(blob), talvo_data_blob_getlength(blob)};
}

}  // namespace talvo
