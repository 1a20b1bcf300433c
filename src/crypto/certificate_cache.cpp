// One table for the process, since what it saves is worth most where many threads verify.
#include "crypto/certificate_cache.h"

#include <cassert>
#include <functional>
#include <mutex>
#include <utility>

namespace talvo::crypto {

namespace {

constexpr size_t kSlots = 128;
constexpr size_t kMaxLength = 16384;

struct Entry {
  OpensslBytes der;
  size_t length = 0;
  X509Ptr x509;
};

// A certificate sits where the hash of its octets puts it and gives way to the next one there. Its
// octets are compared in full: the hash only finds the place. What the slots own is never given
// back, since at exit OpenSSL may be gone already, and none of it is on the talvo allocator, where
// it would look like a leak.
struct Slot {
  unsigned char *der;
  size_t length;
  X509 *x509;

  bool holds(Bytes bytes) const noexcept {
    return x509 != nullptr && length == bytes.size() && std::memcmp(der, bytes.data(), length) == 0;
  }

  // Puts other content in and answers what was there.
  Entry exchange(Entry entry) noexcept {
    assert(entry.der && entry.x509);
    Entry old{OpensslBytes(der), length, X509Ptr(x509)};
    der = entry.der.release();
    length = entry.length;
    x509 = entry.x509.release();
    return old;
  }
};

constinit std::mutex g_mutex;
constinit Slot g_slots[kSlots] = {};

Slot &slotOf(Bytes der) noexcept {
  return g_slots[std::hash<std::string_view>()(textOf(der)) % kSlots];
}

X509Ptr find(Slot &slot, Bytes der) noexcept {
  const std::lock_guard lock(g_mutex);
  return slot.holds(der) ? share(slot.x509) : nullptr;
}

void remember(Slot &slot, Bytes der, X509 *x509) noexcept {
  assert(!der.empty() && der.size() <= kMaxLength && x509 != nullptr);
  Entry entry{OpensslBytes(static_cast<unsigned char *>(OPENSSL_memdup(der.data(), der.size()))),
              der.size(), share(x509)};
  if (!entry.der || !entry.x509) {
    return;
  }
  Entry old;  // released when the lock is
  const std::lock_guard lock(g_mutex);
  old = slot.exchange(std::move(entry));
}

}  // namespace

X509Ptr certificateOfDer(Bytes der) noexcept {
  if (der.empty() || der.size() > kMaxLength) {
    return decodeDer<X509Ptr>(d2i_X509, der);
  }
  Slot &slot = slotOf(der);
  X509Ptr x509 = find(slot, der);
  if (!x509) {
    x509 = decodeDer<X509Ptr>(d2i_X509, der);
    if (x509) {
      remember(slot, der, x509.get());
    }
  }
  return x509;
}

}  // namespace talvo::crypto
