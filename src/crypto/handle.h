// Owning handles of the cryptographic library's objects, for the rooms that are built on it: made
// from the public header alone, and the one header of this room that they include.
#pragma once

#include <utility>

#include "talvo_crypto.h"

#include "base/handle.h"

namespace talvo {

using Certificate = Handle<TalvoPKICert, TalvoPKICertFreeCert>;
using KeyPair = Handle<TalvoPKIKeyPair, TalvoPKICryptoFreeKeyPair>;
using PublicKey = Handle<TalvoPKIPublicKey, TalvoPKICryptoFreePublicKey>;
using HashOperation = Handle<TalvoPKIHash, TalvoPKICryptoFreeHash>;
using MacOperation = Handle<TalvoPKIMac, TalvoPKICryptoFreeMac>;
using SignOperation = Handle<TalvoPKISign, TalvoPKICryptoFreeSign>;
using VerifyOperation = Handle<TalvoPKIVerify, TalvoPKICryptoFreeVerify>;
using TimeStampObject = Handle<TalvoPKITimeStamp, TalvoPKIMsgFreeTimeStamp>;

// What the library hands out through `uint8_t **, size_t *`.
using CryptoBytes = Handle<uint8_t, TalvoPKICryptoFreeMemory>;

struct CryptoOctets {
  CryptoBytes bytes;
  size_t length = 0;

  explicit operator bool() const noexcept { return bytes != nullptr; }
  Bytes view() const noexcept { return {bytes.get(), length}; }
};

// What function(arguments..., &bytes, &length) hands out; nothing when it does not answer 1.
template <class Function, class... Arguments>
CryptoOctets octetsFrom(Function function, Arguments... arguments) noexcept {
  uint8_t *bytes = nullptr;
  size_t length = 0;
  if (function(arguments..., &bytes, &length) != 1) {
    return {};
  }
  return {CryptoBytes(bytes), length};
}

}  // namespace talvo
