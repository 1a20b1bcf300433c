// Certificates and their keys: how they are opened, copied, joined and handed on.
#include "crypto/certificate.h"

#include <cassert>

using namespace talvo;
using namespace talvo::crypto;

namespace {

bool belongs(const Key &key, const X509 *certificate) noexcept {
  return samePublicKey(key, publicKeyOf(certificate));
}

// The certificate that belongs to the key, else the first one.
int ownIndex(const Bundle &bundle) noexcept {
  const int count = sk_X509_num(bundle.certificates.get());
  for (int i = 0; bundle.key && i < count; ++i) {
    if (belongs(bundle.key, sk_X509_value(bundle.certificates.get(), i))) {
      return i;
    }
  }
  return 0;
}

TalvoPKICert *certificateOf(Bundle bundle) noexcept {
  assert(sk_X509_num(bundle.certificates.get()) > 0);
  const int own = ownIndex(bundle);
  X509Ptr x509(sk_X509_delete(bundle.certificates.get(), own));
  if (!belongs(bundle.key, x509.get())) {
    bundle.key = {};
  }
  return make<TalvoPKICert>(kSource, std::move(x509), std::move(bundle.key),
                            std::move(bundle.lockedKey), std::move(bundle.certificates))
      .release();
}

TalvoPKICert *openCertificate(Bytes bytes, const char *password, OpenReason *reason) noexcept {
  Bundle bundle = openBundle(bytes, password);
  *reason = bundle.reason;
  if (sk_X509_num(bundle.certificates.get()) <= 0) {
    *reason = bundle.reason == OpenReason::none ? OpenReason::unreadable : bundle.reason;
    return nullptr;
  }
  TalvoPKICert *certificate = certificateOf(std::move(bundle));
  *reason = certificate == nullptr ? OpenReason::outOfMemory : *reason;
  return certificate;
}

// The key of a bundle that was opened without its password. It stays open from then on.
void unlock(TalvoPKICert *certificate, const char *credential) noexcept {
  assert(!certificate->key && certificate->lockedKey);
  Key key = openBundle(certificate->lockedKey.view(), credential).key;
  if (belongs(key, certificate->x509.get())) {
    certificate->key = std::move(key);
    certificate->lockedKey = {};
  }
}

bool isKeyUsage(int32_t usage) noexcept {
  return usage == TALVO_USE_SIGN || usage == TALVO_USE_VERIFY;
}

}  // namespace

TalvoPKICert *talvo::crypto::newCertificate(X509Ptr x509) noexcept {
  return x509 ? make<TalvoPKICert>(kSource, std::move(x509), Key(), Octets(), X509Stack()).release()
              : nullptr;
}

Key talvo::crypto::publicKeyOf(const X509 *x509) noexcept {
  return x509 == nullptr ? Key() : makeKey(share(X509_get0_pubkey(x509)));
}

TalvoPKICert *TalvoPKICertNewCert(const void *bytes, size_t length) noexcept {
  ErrorQueueScope errors;
  return newCertificate(readCertificate(bytesAt(bytes, length)));
}

TalvoPKICert *TalvoPKICertOpenEx(const void *bytes, size_t length, const char *password,
                                 int32_t *reason) noexcept {
  ErrorQueueScope errors;
  OpenReason why = OpenReason::none;
  TalvoPKICert *certificate = openCertificate(bytesAt(bytes, length), password, &why);
  if (reason != nullptr) {
    *reason = static_cast<int32_t>(why);
  }
  return certificate;
}

TalvoPKICert *TalvoPKICertOpen(const void *bytes, size_t length, const char *password) noexcept {
  return TalvoPKICertOpenEx(bytes, length, password, nullptr);
}

TalvoPKICert *TalvoPKICertDupCert(const TalvoPKICert *cert) noexcept {
  if (cert == nullptr) {
    return nullptr;
  }
  Owned<TalvoPKICert> copy(newCertificate(share(cert->x509.get())));
  if (!copy) {
    return nullptr;
  }
  copy->key = share(cert->key);
  if (cert->companions) {
    copy->companions.reset(X509_chain_up_ref(cert->companions.get()));
  }
  if (cert->lockedKey) {
    copy->lockedKey = copyOctets(cert->lockedKey.view());
  }
  const bool complete = bool(copy->companions) == bool(cert->companions) &&
                        bool(copy->lockedKey) == bool(cert->lockedKey);
  return complete ? copy.release() : nullptr;
}

void TalvoPKICertFreeCert(TalvoPKICert *cert) noexcept {
  destroy(cert);
}

int32_t TalvoPKICertSetKeyPair(TalvoPKICert *cert, TalvoPKIKeyPair *keyPair) noexcept {
  if (cert == nullptr || keyPair == nullptr) {
    return 0;
  }
  ErrorQueueScope errors;
  if (!belongs(keyPair->key, cert->x509.get())) {
    return 0;
  }
  cert->key = share(keyPair->key);
  cert->lockedKey = {};
  return 1;
}

int32_t TalvoPKICertAddChainCert(TalvoPKICert *cert, const TalvoPKICert *companion) noexcept {
  if (cert == nullptr || companion == nullptr) {
    return 0;
  }
  ErrorQueueScope errors;
  if (!cert->companions) {
    cert->companions.reset(sk_X509_new_null());
  }
  return cert->companions && push(cert->companions, share(companion->x509.get()));
}

int32_t TalvoPKICertHasKeyPair(const TalvoPKICert *cert) noexcept {
  if (cert == nullptr) {
    return TALVO_KEY_PAIR_NONE;
  }
  if (cert->key) {
    return TALVO_KEY_PAIR_PRESENT;
  }
  return cert->lockedKey ? TALVO_KEY_PAIR_LOCKED : TALVO_KEY_PAIR_NONE;
}

TalvoPKIPublicKey *TalvoPKICertGetCertPublicKey(const TalvoPKICert *cert, int32_t usage) noexcept {
  if (cert == nullptr || !isKeyUsage(usage)) {
    return nullptr;
  }
  ErrorQueueScope errors;
  return newPublicKey(publicKeyOf(cert->x509.get()));
}

TalvoPKIKeyPair *TalvoPKICertGetCertKeyPair(TalvoPKICert *cert, int32_t flags, int32_t usage,
                                            const char *credential) noexcept {
  if (cert == nullptr || !isKeyUsage(usage)) {
    return nullptr;
  }
  ErrorQueueScope errors;
  if (!cert->key && cert->lockedKey && (flags & TALVO_KEY_PAIR_UNLOCK) != 0) {
    unlock(cert, credential);
  }
  return cert->key ? newKeyPair(share(cert->key)) : nullptr;
}
