// Certificate revocation lists over X509_CRL.
#include <array>
#include <cassert>
#include <cctype>
#include <ctime>
#include <limits>
#include <string_view>

#include <openssl/bio.h>
#include <openssl/pem.h>

#include "base/memory.h"
#include "util/x509/objects.h"

using namespace talvo;
using namespace talvo::util;

namespace {

constexpr char kSource[] = "crl";
constexpr std::string_view kPemStart = "-----BEGIN ";
constexpr uint8_t kDerSequence = 0x30;

using MemoryBio = Handle<BIO, BIO_free_all>;

X509Crl readDer(Bytes der) noexcept {
  const uint8_t *end = der.data();
  X509Crl crl(d2i_X509_CRL(nullptr, &end, static_cast<long>(der.size())));
  return end == der.data() + der.size() ? std::move(crl) : nullptr;
}

// Without a callback OpenSSL would ask for the password of an encrypted block on the terminal.
extern "C" int refusePassword(char *, int, int, void *) noexcept {
  return -1;
}

X509Crl readPem(std::string_view text) noexcept {
  const MemoryBio source(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
  return source ? X509Crl(PEM_read_bio_X509_CRL(source.get(), nullptr, refusePassword, nullptr))
                : nullptr;
}

X509Crl readBase64(std::string_view text) noexcept {
  uint8_t *bytes = nullptr;
  size_t length = 0;
  if (talvo_base64_decode(text.data(), text.size(), TALVO_BASE64_LINES, &bytes, &length) != 1) {
    return nullptr;
  }
  const ByteBuffer der(bytes);
  return readDer(Bytes(der.get(), length));
}

// The first octet of DER is also a Base64 digit, but one that no DER starts with when it is
// encoded.
X509Crl read(Bytes bytes) noexcept {
  assert(!bytes.empty());
  if (bytes.front() == kDerSequence) {
    return readDer(bytes);
  }
  const std::string_view text(reinterpret_cast<const char *>(bytes.data()), bytes.size());
  return text.find(kPemStart) == std::string_view::npos ? readBase64(text) : readPem(text);
}

talvo_time *timeOf(const ASN1_TIME *time) noexcept {
  const ErrorQueueScope errors;
  std::tm utc{};
  // Without a time ASN1_TIME_to_tm answers the current one.
  if (time == nullptr || ASN1_TIME_to_tm(time, &utc) != 1) {
    return nullptr;
  }
  return talvo_time_newutctime(utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour,
                               utc.tm_min, utc.tm_sec, 0);
}

}  // namespace

talvo_crl *talvo_crl_new(const void *bytes, size_t length, int32_t flags) noexcept {
  constexpr auto kLimit = static_cast<size_t>(std::numeric_limits<int>::max());
  if (bytes == nullptr || length == 0 || length > kLimit || flags != 0) {
    return nullptr;
  }
  const ErrorQueueScope errors;
  X509Crl crl = read(Bytes(static_cast<const uint8_t *>(bytes), length));
  return crl ? make<talvo_crl>(kSource, std::move(crl)).release() : nullptr;
}

void talvo_crl_free(talvo_crl *crl) noexcept {
  destroy(crl);
}

talvo_data_blob *talvo_crl_encode(const talvo_crl *crl) noexcept {
  if (crl == nullptr) {
    return nullptr;
  }
  const ErrorQueueScope errors;
  uint8_t *der = nullptr;
  const int length = i2d_X509_CRL(crl->crl.get(), &der);
  const OpensslMemory<uint8_t> owner(der);
  return length > 0 ? talvo_data_blob_new(der, static_cast<size_t>(length)) : nullptr;
}

talvo_cert_dn *talvo_crl_getissuer(const talvo_crl *crl) noexcept {
  if (crl == nullptr) {
    return nullptr;
  }
  const ErrorQueueScope errors;
  X509Name name(X509_NAME_dup(X509_CRL_get_issuer(crl->crl.get())));
  return name ? make<talvo_cert_dn>(kSource, std::move(name)).release() : nullptr;
}

talvo_time *talvo_crl_getthisupdate(const talvo_crl *crl) noexcept {
  return crl == nullptr ? nullptr : timeOf(X509_CRL_get0_lastUpdate(crl->crl.get()));
}

talvo_time *talvo_crl_getnextupdate(const talvo_crl *crl) noexcept {
  return crl == nullptr ? nullptr : timeOf(X509_CRL_get0_nextUpdate(crl->crl.get()));
}

int32_t talvo_crl_getextensioncount(const talvo_crl *crl) noexcept {
  return crl == nullptr ? -1 : X509_CRL_get_ext_count(crl->crl.get());
}

talvo_cert_extension *talvo_crl_getextension(const talvo_crl *crl, int32_t index) noexcept {
  if (crl == nullptr || index < 0) {
    return nullptr;
  }
  const ErrorQueueScope errors;
  const X509_EXTENSION *found = X509_CRL_get_ext(crl->crl.get(), index);
  X509Extension copy(found == nullptr ? nullptr : X509_EXTENSION_dup(found));
  return copy ? make<talvo_cert_extension>(kSource, std::move(copy)).release() : nullptr;
}
