// RFC 3161 time-stamps: OpenSSL makes the request and takes the answer apart, libcurl carries both.
// A token is judged in one place, whether it just arrived or was stored in a document: OpenSSL is
// given a store of anchors, which holds the token's own signer when the caller trusts nobody yet.
#include <time.h>

#include <array>
#include <cassert>

#include <openssl/rand.h>
#include <openssl/ts.h>

#include "talvo_crypto.h"

#include "base/list.h"
#include "base/utf8.h"
#include "crypto/certificate.h"
#include "crypto/http.h"

using namespace talvo;
using namespace talvo::crypto;

namespace {

using Request = Handle<TS_REQ, TS_REQ_free>;
using Response = Handle<TS_RESP, TS_RESP_free>;
using TokenInfo = Handle<TS_TST_INFO, TS_TST_INFO_free>;
using Imprint = Handle<TS_MSG_IMPRINT, TS_MSG_IMPRINT_free>;
using Check = Handle<TS_VERIFY_CTX, TS_VERIFY_CTX_free>;
using Algorithm = Handle<X509_ALGOR, X509_ALGOR_free>;
using Integer = Handle<ASN1_INTEGER, ASN1_INTEGER_free>;
using OctetString = Handle<ASN1_OCTET_STRING, ASN1_OCTET_STRING_free>;

constexpr char kQueryType[] = "Content-Type: application/timestamp-query";
constexpr HttpOptions kLimits{.bodyLimit = size_t{1} << 20U};
constexpr int32_t kHttpOk = 200;

struct Token {
  Octets der;
  TokenInfo info;
  X509Ptr signer;

  explicit operator bool() const noexcept { return der && info && signer; }
};

}  // namespace

struct TalvoPKITimeStamp {
  UString authority;
  const HashAlgorithm *hash = nullptr;
  Octets imprint;
  Token token;
};

namespace {

bool isReady(const TalvoPKITimeStamp &timeStamp) noexcept {
  return timeStamp.authority && timeStamp.hash != nullptr &&
         timeStamp.imprint.length == timeStamp.hash->length;
}

Integer newNonce() noexcept {
  std::array<unsigned char, 8> bytes;
  if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) {
    return nullptr;
  }
  const Bn number(BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr));
  return Integer(number ? BN_to_ASN1_INTEGER(number.get(), nullptr) : nullptr);
}

Imprint newImprint(const HashAlgorithm &hash, Bytes digest) noexcept {
  Imprint imprint(TS_MSG_IMPRINT_new());
  const Algorithm algorithm(X509_ALGOR_new());
  Octets copy = copyOctets(digest);  // OpenSSL only reads the digest, though it asks for a pointer
  if (!imprint || !algorithm || !copy ||
      X509_ALGOR_set0(algorithm.get(), OBJ_nid2obj(hash.nid), V_ASN1_NULL, nullptr) != 1 ||
      TS_MSG_IMPRINT_set_algo(imprint.get(), algorithm.get()) != 1 ||
      TS_MSG_IMPRINT_set_msg(imprint.get(), copy.bytes.get(), static_cast<int>(copy.length)) != 1) {
    return nullptr;
  }
  return imprint;
}

Request newRequest(const TalvoPKITimeStamp &timeStamp) noexcept {
  assert(isReady(timeStamp));
  Request request(TS_REQ_new());
  const Imprint imprint = newImprint(*timeStamp.hash, timeStamp.imprint.view());
  const Integer nonce = newNonce();
  if (!request || !imprint || !nonce || TS_REQ_set_version(request.get(), 1) != 1 ||
      TS_REQ_set_msg_imprint(request.get(), imprint.get()) != 1 ||
      TS_REQ_set_nonce(request.get(), nonce.get()) != 1 ||
      TS_REQ_set_cert_req(request.get(), 1) != 1) {
    return nullptr;
  }
  return request;
}

Response ask(const char *url, const TS_REQ *request) noexcept {
  const Octets query = encodeDer<TS_REQ>(i2d_TS_REQ, request);
  if (!query) {
    return nullptr;
  }
  const HttpAnswer answer = httpPost(url, kQueryType, query.view(), kLimits);
  if (!answer || answer.status != kHttpOk) {
    return nullptr;
  }
  return decodeDer<Response>(d2i_TS_RESP, answer.body.view());
}

// The certificate in the token that its one signer names.
X509Ptr signerOf(PKCS7 *token) noexcept {
  const BorrowedX509Stack signers(PKCS7_get0_signers(token, nullptr, 0));
  return sk_X509_num(signers.get()) == 1 ? share(sk_X509_value(signers.get(), 0)) : nullptr;
}

// Signatures of SM2 cover an identifier, which OpenSSL has to be told; with other signatures it
// would not know what to do with one.
bool setIdentifiers(const PKCS7 *token) noexcept {
  STACK_OF(X509) *certificates = token->d.sign->cert;
  for (int i = 0; i < sk_X509_num(certificates); ++i) {
    X509 *certificate = sk_X509_value(certificates, i);
    if (X509_get_signature_nid(certificate) != NID_SM2_with_SM3) {
      continue;
    }
    OctetString identifier(ASN1_OCTET_STRING_new());
    const auto *text = reinterpret_cast<const unsigned char *>(kSm2Identifier.data());
    if (!identifier || ASN1_OCTET_STRING_set(identifier.get(), text,
                                             static_cast<int>(kSm2Identifier.size())) != 1) {
      return false;
    }
    X509_set0_distinguishing_id(certificate, identifier.release());  // it owns that now
  }
  return true;
}

// Anchors count as they were at the time of the stamp: a token outlives its certificates.
bool addTrusted(X509_STORE *store, const talvo_arraylist *trusted,
                const TS_TST_INFO *info) noexcept {
  tm utc{};
  if (ASN1_TIME_to_tm(TS_TST_INFO_get_time(info), &utc) != 1) {
    return false;
  }
  X509_VERIFY_PARAM_set_time(X509_STORE_get0_param(store), timegm(&utc));
  for (const TalvoPKICert *anchor : items<TalvoPKICert>(trusted)) {
    if (anchor == nullptr || X509_STORE_add_cert(store, anchor->x509.get()) != 1) {
      return false;
    }
  }
  return true;
}

X509Store anchorsFor(const Token &token, const talvo_arraylist *trusted) noexcept {
  X509Store store(X509_STORE_new());
  if (!store || X509_STORE_set_flags(store.get(), X509_V_FLAG_PARTIAL_CHAIN) != 1) {
    return nullptr;
  }
  const bool filled = trusted != nullptr
                          ? addTrusted(store.get(), trusted, token.info.get())
                          : X509_STORE_set_flags(store.get(), X509_V_FLAG_NO_CHECK_TIME) == 1 &&
                                X509_STORE_add_cert(store.get(), token.signer.get()) == 1;
  return filled ? std::move(store) : nullptr;
}

// Checks the signature, the signer's usage and certificate identifiers, and what `check` already
// asks for beside them.
bool isValid(PKCS7 *token, const Token &parts, const talvo_arraylist *trusted,
             Check check) noexcept {
  assert(parts);
  X509Store store = anchorsFor(parts, trusted);
  if (!check || !store || !setIdentifiers(token)) {
    return false;
  }
  TS_VERIFY_CTX_set_store(check.get(), store.release());  // the check owns it now
  TS_VERIFY_CTX_add_flags(check.get(), TS_VFY_VERSION | TS_VFY_SIGNATURE | TS_VFY_SIGNER);
  return TS_RESP_verify_token(check.get(), token) == 1;
}

// The parts of a token that is valid; empty otherwise.
Token accept(PKCS7 *token, Octets der, const talvo_arraylist *trusted, Check check) noexcept {
  if (token == nullptr || !PKCS7_type_is_signed(token)) {
    return {};
  }
  Token parts{std::move(der), TokenInfo(PKCS7_to_TS_TST_INFO(token)), signerOf(token)};
  return parts && isValid(token, parts, trusted, std::move(check)) ? std::move(parts) : Token();
}

bool isGranted(long status) noexcept {
  return status == TS_STATUS_GRANTED || status == TS_STATUS_GRANTED_WITH_MODS;
}

// A refused request is an answer too; a granted one needs the token that was asked for.
bool takeAnswer(TalvoPKITimeStamp *timeStamp, const TS_REQ *request, TS_RESP *response,
                int32_t *status) noexcept {
  const long code = ASN1_INTEGER_get(TS_STATUS_INFO_get0_status(TS_RESP_get_status_info(response)));
  if (code < 0 || code > INT32_MAX) {
    return false;
  }
  if (isGranted(code)) {
    PKCS7 *token = TS_RESP_get_token(response);
    Check check(TS_REQ_to_TS_VERIFY_CTX(const_cast<TS_REQ *>(request), nullptr));
    timeStamp->token = accept(token, encodeDer<PKCS7>(i2d_PKCS7, token), nullptr, std::move(check));
    if (!timeStamp->token) {
      return false;
    }
  }
  *status = static_cast<int32_t>(code);
  return true;
}

TS_MSG_IMPRINT *imprintOf(const Token &token) noexcept {
  assert(token);
  return TS_TST_INFO_get_msg_imprint(token.info.get());
}

// The digits behind the point of a GeneralizedTime, as nanoseconds.
int32_t nanosecondsOf(std::string_view time) noexcept {
  const size_t point = time.find('.');
  int32_t value = 0;
  for (size_t i = 1; i <= 9; ++i) {
    const size_t at = point == std::string_view::npos ? time.size() : point + i;
    const bool isDigit = at < time.size() && time[at] >= '0' && time[at] <= '9';
    value = value * 10 + (isDigit ? time[at] - '0' : 0);
  }
  return value;
}

Bytes bytesOf(const ASN1_STRING *string) noexcept {
  return bytesAt(ASN1_STRING_get0_data(string), static_cast<size_t>(ASN1_STRING_length(string)));
}

}  // namespace

TalvoPKITimeStamp *TalvoPKIMsgNewTimeStamp() noexcept {
  return make<TalvoPKITimeStamp>(kSource).release();
}

void TalvoPKIMsgFreeTimeStamp(TalvoPKITimeStamp *timeStamp) noexcept {
  destroy(timeStamp);
}

int32_t TalvoPKIMsgTimeStampSetTSA(TalvoPKITimeStamp *timeStamp,
                                   const talvo_ustring *tsa) noexcept {
  UString copy(timeStamp == nullptr ? nullptr : talvo_ustring_dup(tsa));
  if (!copy) {
    return 0;
  }
  timeStamp->authority = std::move(copy);
  return 1;
}

int32_t TalvoPKIMsgTimeStampSetHashAlgorithm(TalvoPKITimeStamp *timeStamp, int32_t hash) noexcept {
  const HashAlgorithm *algorithm = timeStampHashByNumber(hash);
  if (timeStamp == nullptr || algorithm == nullptr) {
    return 0;
  }
  timeStamp->hash = algorithm;
  return 1;
}

int32_t TalvoPKIMsgTimeStampSetMessageImprint(TalvoPKITimeStamp *timeStamp, const uint8_t *digest,
                                              size_t length) noexcept {
  Octets copy = timeStamp == nullptr || digest == nullptr ? Octets() : copyOctets({digest, length});
  if (!copy) {
    return 0;
  }
  timeStamp->imprint = std::move(copy);
  return 1;
}

int32_t TalvoPKIMsgTimeStampGetResponse(TalvoPKITimeStamp *timeStamp, int32_t *status) noexcept {
  if (timeStamp == nullptr || status == nullptr || !isReady(*timeStamp)) {
    return 0;
  }
  ErrorQueueScope errors;
  timeStamp->token = {};
  const Utf8 url(timeStamp->authority.get());
  const Request request = newRequest(*timeStamp);
  if (!url || !request) {
    return 0;
  }
  const Response response = ask(url.get(), request.get());
  return response && takeAnswer(timeStamp, request.get(), response.get(), status);
}

int32_t TalvoPKIMsgTimeStampGetTimeStampToken(const TalvoPKITimeStamp *timeStamp, uint8_t **token,
                                              size_t *length) noexcept {
  if (timeStamp == nullptr || !timeStamp->token) {
    return 0;
  }
  return handOut(copyOctets(timeStamp->token.der.view()), token, length);
}

TalvoPKITimeStamp *TalvoPKIMsgVerifyTimeStampToken(const uint8_t *token, size_t length,
                                                   const talvo_arraylist *trusted) noexcept {
  ErrorQueueScope errors;
  const Bytes der = bytesAt(token, length);
  const Pkcs7 parsed = decodeDer<Pkcs7>(d2i_PKCS7, der);
  if (!parsed) {
    return nullptr;
  }
  Token parts = accept(parsed.get(), copyOctets(der), trusted, Check(TS_VERIFY_CTX_new()));
  Owned<TalvoPKITimeStamp> timeStamp = parts ? make<TalvoPKITimeStamp>(kSource) : nullptr;
  if (!timeStamp) {
    return nullptr;
  }
  timeStamp->token = std::move(parts);
  return timeStamp.release();
}

int32_t TalvoPKIMsgTimeStampGetHashAlgorithm(const TalvoPKITimeStamp *timeStamp) noexcept {
  if (timeStamp == nullptr) {
    return -1;
  }
  const HashAlgorithm *hash = timeStamp->hash;
  if (timeStamp->token) {
    const X509_ALGOR *algorithm = TS_MSG_IMPRINT_get_algo(imprintOf(timeStamp->token));
    hash = timeStampHashByNid(OBJ_obj2nid(algorithm->algorithm));
  }
  return hash == nullptr ? -1 : hash->number;
}

int32_t TalvoPKIMsgTimeStampGetMessageImprint(const TalvoPKITimeStamp *timeStamp, uint8_t **digest,
                                              size_t *length) noexcept {
  if (timeStamp == nullptr) {
    return 0;
  }
  if (!timeStamp->token) {
    return timeStamp->imprint && handOut(copyOctets(timeStamp->imprint.view()), digest, length);
  }
  const Bytes imprint = bytesOf(TS_MSG_IMPRINT_get_msg(imprintOf(timeStamp->token)));
  return handOut(copyOctets(imprint), digest, length);
}

talvo_time *TalvoPKIMsgTimeStampGetTime(const TalvoPKITimeStamp *timeStamp) noexcept {
  if (timeStamp == nullptr || !timeStamp->token) {
    return nullptr;
  }
  ErrorQueueScope errors;
  const ASN1_GENERALIZEDTIME *time = TS_TST_INFO_get_time(timeStamp->token.info.get());
  return newTime(time, nanosecondsOf(textOf(bytesOf(time))));
}

TalvoPKICert *TalvoPKIMsgTimeStampGetSigner(const TalvoPKITimeStamp *timeStamp) noexcept {
  return timeStamp == nullptr ? nullptr : newCertificate(share(timeStamp->token.signer.get()));
}
