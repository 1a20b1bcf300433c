// What the bytes are is found out by trying: DER first, then PEM, then Base64 of DER. Everything
// that a bundle holds is taken out of it at once.
#include "crypto/open.h"

#include <algorithm>
#include <cassert>

#include <openssl/pem.h>

#include "crypto/certificate_cache.h"

namespace talvo::crypto {

namespace {

constexpr std::string_view kPemStart = "-----BEGIN ";
constexpr std::string_view kTokenScheme = "pkcs11:";

// OpenSSL's own callback would ask on the terminal.
extern "C" int givePassword(char *buffer, int size, int, void *password) noexcept {
  const auto *text = static_cast<const char *>(password);
  const size_t length = text == nullptr ? 0 : std::strlen(text);
  if (text == nullptr || length > static_cast<size_t>(size)) {
    return -1;
  }
  std::memcpy(buffer, text, length);
  return static_cast<int>(length);
}

struct PemBlock {
  OpensslText name;
  OpensslText header;
  OpensslBytes data;
  long length = 0;

  std::string_view type() const noexcept { return name.get(); }
  Bytes der() const noexcept {
    assert(data && length >= 0);
    return {data.get(), static_cast<size_t>(length)};
  }
  bool encrypted() const noexcept {
    return type() == PEM_STRING_PKCS8 || std::string_view(header.get()).starts_with("Proc-Type:");
  }
};

enum class PemNext { block, end, malformed };

PemNext readBlock(BIO *source, PemBlock *block) noexcept {
  assert(source != nullptr);
  char *name = nullptr;
  char *header = nullptr;
  unsigned char *data = nullptr;
  if (PEM_read_bio(source, &name, &header, &data, &block->length) != 1) {
    const int reason = ERR_GET_REASON(ERR_peek_last_error());
    return reason == PEM_R_NO_START_LINE ? PemNext::end : PemNext::malformed;
  }
  block->name.reset(name);
  block->header.reset(header);
  block->data.reset(data);
  return PemNext::block;
}

// The block as text again: so a locked key waits for its password.
Octets textOfBlock(const PemBlock &block) noexcept {
  Bio sink(BIO_new(BIO_s_mem()));
  if (!sink || PEM_write_bio(sink.get(), block.name.get(), block.header.get(), block.data.get(),
                             block.length) <= 0) {
    return {};
  }
  char *text = nullptr;
  const long length = BIO_get_mem_data(sink.get(), &text);
  return copyOctets(bytesAt(text, static_cast<size_t>(length)));
}

// Any unencrypted private key: PKCS #8 or a traditional form.
Key readPlainKey(Bytes der) noexcept {
  return makeKey(decodeDer<EvpKey>(d2i_AutoPrivateKey, der));
}

// The encryption that the traditional PEM forms have in their header lines. Decrypts in place.
Key openTraditionalKey(PemBlock *block, const char *password, OpenReason *reason) noexcept {
  assert(block->encrypted());
  EVP_CIPHER_INFO cipher;
  if (PEM_get_EVP_CIPHER_INFO(block->header.get(), &cipher) != 1) {
    *reason = OpenReason::unreadable;
    return {};
  }
  if (password == nullptr) {
    *reason = OpenReason::passwordMissing;
    return {};
  }
  *reason = OpenReason::passwordWrong;
  if (PEM_do_header(&cipher, block->data.get(), &block->length, givePassword,
                    const_cast<char *>(password)) != 1) {
    return {};
  }
  return readPlainKey(block->der());
}

Key readKeyBlock(PemBlock *block, const char *password, OpenReason *reason) noexcept {
  *reason = OpenReason::unreadable;
  if (block->type() == PEM_STRING_PKCS8) {
    return openEncryptedKey(block->der(), password, reason);
  }
  return block->encrypted() ? openTraditionalKey(block, password, reason)
                            : readPlainKey(block->der());
}

bool isKey(const PemBlock &block) noexcept {
  return block.type().ends_with("PRIVATE KEY");
}

bool isCertificate(const PemBlock &block) noexcept {
  return block.type() == PEM_STRING_X509 || block.type() == PEM_STRING_X509_OLD ||
         block.type() == PEM_STRING_X509_TRUSTED;
}

X509Ptr certificateOf(const PemBlock &block) noexcept {
  return block.type() == PEM_STRING_X509_TRUSTED ? decodeDer<X509Ptr>(d2i_X509_AUX, block.der())
                                                 : certificateOfDer(block.der());
}

Bundle emptyBundle() noexcept {
  Bundle bundle;
  bundle.certificates.reset(sk_X509_new_null());
  bundle.reason = bundle.certificates ? OpenReason::none : OpenReason::outOfMemory;
  return bundle;
}

Bundle failed(OpenReason reason) noexcept {
  Bundle bundle;
  bundle.reason = reason;
  return bundle;
}

// Only the first key of a bundle counts. One that stays locked is kept as text, with the reason.
OpenReason addKey(Bundle *bundle, PemBlock block, const char *password) noexcept {
  if (bundle->key || bundle->lockedKey) {
    return OpenReason::none;
  }
  Octets text;  // made first, since decrypting happens in place
  if (block.encrypted()) {
    text = textOfBlock(block);
    if (!text) {
      return OpenReason::outOfMemory;
    }
  }
  OpenReason reason = OpenReason::none;
  bundle->key = readKeyBlock(&block, password, &reason);
  if (bundle->key) {
    return OpenReason::none;
  }
  bundle->reason = reason;
  bundle->lockedKey = std::move(text);
  return reason == OpenReason::unreadable ? reason : OpenReason::none;
}

// Blocks that are neither key nor certificate (parameters, requests, CRLs) are passed over.
OpenReason addBlock(Bundle *bundle, PemBlock block, const char *password) noexcept {
  if (isCertificate(block)) {
    return push(bundle->certificates, certificateOf(block)) ? OpenReason::none
                                                            : OpenReason::unreadable;
  }
  return isKey(block) ? addKey(bundle, std::move(block), password) : OpenReason::none;
}

Bio memoryBio(Bytes bytes) noexcept {
  if (bytes.size() > static_cast<size_t>(INT_MAX)) {
    return nullptr;
  }
  return Bio(BIO_new_mem_buf(bytes.data(), static_cast<int>(bytes.size())));
}

Bundle openPem(Bytes bytes, const char *password) noexcept {
  Bio source = memoryBio(bytes);
  Bundle bundle = emptyBundle();
  while (source && bundle.certificates) {
    PemBlock block;
    const PemNext next = readBlock(source.get(), &block);
    if (next == PemNext::end) {
      return bundle;
    }
    const OpenReason reason = next == PemNext::malformed
                                  ? OpenReason::unreadable
                                  : addBlock(&bundle, std::move(block), password);
    if (reason != OpenReason::none) {
      return failed(reason);
    }
  }
  return failed(OpenReason::outOfMemory);
}

Bundle openDer(Bytes der, const char *password) noexcept {
  if (isPkcs12(der)) {
    return openPkcs12(der, password);
  }
  Bundle bundle = emptyBundle();
  if (X509Ptr certificate = certificateOfDer(der)) {
    return push(bundle.certificates, std::move(certificate)) ? std::move(bundle)
                                                             : failed(OpenReason::outOfMemory);
  }
  OpenReason reason = OpenReason::unreadable;
  bundle.key = decodeDer<EncryptedKey>(d2i_X509_SIG, der) ? openEncryptedKey(der, password, &reason)
                                                          : readPlainKey(der);
  bundle.reason = bundle.key ? OpenReason::none : reason;
  return bundle;
}

// Every DER object here is a SEQUENCE. That octet is a "0" too, but text comes second: what a name
// in a certificate spells must not decide how the certificate is read.
bool isDer(Bytes bytes) noexcept {
  return !bytes.empty() && bytes.front() == 0x30;
}

bool isPem(Bytes bytes) noexcept {
  return textOf(bytes).find(kPemStart) != std::string_view::npos;
}

Octets decodeBase64(Bytes text) noexcept {
  uint8_t *bytes = nullptr;
  size_t length = 0;
  if (talvo_base64_decode(textOf(text).data(), text.size(), TALVO_BASE64_LINES, &bytes, &length) !=
      1) {
    return {};
  }
  return {ByteBuffer(bytes), length};
}

X509Ptr readCertificatePem(Bytes bytes) noexcept {
  Bio source = memoryBio(bytes);
  PemBlock block;
  while (source && readBlock(source.get(), &block) == PemNext::block) {
    if (isCertificate(block)) {
      return certificateOf(block);
    }
  }
  return nullptr;
}

}  // namespace

X509Ptr readCertificate(Bytes bytes) noexcept {
  if (isDer(bytes)) {
    if (X509Ptr certificate = certificateOfDer(bytes)) {
      return certificate;
    }
  }
  return isPem(bytes) ? readCertificatePem(bytes) : certificateOfDer(decodeBase64(bytes).view());
}

Bundle openBundle(Bytes bytes, const char *password) noexcept {
  if (isDer(bytes)) {
    Bundle bundle = openDer(bytes, password);
    if (bundle.reason != OpenReason::unreadable) {
      return bundle;
    }
  }
  return isPem(bytes) ? openPem(bytes, password) : openDer(decodeBase64(bytes).view(), password);
}

}  // namespace talvo::crypto

using namespace talvo;
using namespace talvo::crypto;

TalvoPKIKeyPair *TalvoPKICryptoOpenKeyPairEx(const void *bytes, size_t length, const char *password,
                                             int32_t *reason) noexcept {
  ErrorQueueScope errors;
  const Bytes source = bytesAt(bytes, length);
  OpenReason why = OpenReason::none;
  Key key;
  if (textOf(source).starts_with(kTokenScheme)) {
    key = openTokenKey(textOf(source), password, &why);
  } else {
    Bundle bundle = openBundle(source, password);
    key = std::move(bundle.key);
    why = bundle.reason == OpenReason::none ? OpenReason::noKey : bundle.reason;
  }
  const bool found = bool(key);
  TalvoPKIKeyPair *keyPair = newKeyPair(std::move(key));
  if (found) {
    why = keyPair == nullptr ? OpenReason::outOfMemory : OpenReason::none;
  }
  if (reason != nullptr) {
    *reason = static_cast<int32_t>(why);
  }
  return keyPair;
}

TalvoPKIKeyPair *TalvoPKICryptoOpenKeyPair(const void *bytes, size_t length,
                                           const char *password) noexcept {
  return TalvoPKICryptoOpenKeyPairEx(bytes, length, password, nullptr);
}
