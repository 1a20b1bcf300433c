#include "support/tsa.h"

#include <array>

#include <openssl/err.h>
#include <openssl/ess.h>
#include <openssl/pkcs7.h>
#include <openssl/ts.h>

namespace talvo::test {

namespace {

using Request = Handle<TS_REQ, TS_REQ_free>;
using Response = Handle<TS_RESP, TS_RESP_free>;
using ResponderContext = Handle<TS_RESP_CTX, TS_RESP_CTX_free>;
using StatusInfo = Handle<TS_STATUS_INFO, TS_STATUS_INFO_free>;
using Object = Handle<ASN1_OBJECT, ASN1_OBJECT_free>;
using MemoryBio = Handle<BIO, BIO_free_all>;
using Integer = Handle<ASN1_INTEGER, ASN1_INTEGER_free>;

constexpr char kPolicy[] = "1.3.6.1.4.1.99999.1";

ASN1_INTEGER *nextSerial(TS_RESP_CTX *, void *) {
  ASN1_INTEGER *serial = ASN1_INTEGER_new();
  ASN1_INTEGER_set(serial, 77);
  return serial;
}

Identity makeRoot(KeyKind kind) {
  return makeIdentity({.kind = kind,
                       .subject = "/C=DE/O=Talvo Example/CN=Time Root",
                       .keyUsage = kKeyCertSign | kCrlSign,
                       .authority = true});
}

Identity makeSigner(const Identity &root) {
  return makeIdentity({.subject = "/C=DE/O=Talvo Example/CN=Time Stamping",
                       .serial = "5",
                       .keyUsage = kDigitalSignature,
                       .timeStamping = true,
                       .issuer = &root});
}

void setStatus(TS_RESP *response, int status) {
  const StatusInfo info(TS_STATUS_INFO_new());
  TS_STATUS_INFO_set_status(info.get(), status);
  TS_RESP_set_status_info(response, info.get());
}

std::string refusal() {
  const Response response(TS_RESP_new());
  setStatus(response.get(), TS_STATUS_REJECTION);
  return derOf(response.get(), i2d_TS_RESP);
}

// Changes one byte of what the client asked to have stamped, or of its nonce.
void alter(TS_REQ *request, TsaMode mode) {
  if (mode == TsaMode::wrongImprint) {
    TS_MSG_IMPRINT *imprint = TS_REQ_get_msg_imprint(request);
    std::string digest(64, 'x');
    TS_MSG_IMPRINT_set_msg(imprint, reinterpret_cast<unsigned char *>(digest.data()),
                           ASN1_STRING_length(TS_MSG_IMPRINT_get_msg(imprint)));
  }
  if (mode == TsaMode::wrongNonce) {
    const Integer nonce(ASN1_INTEGER_new());
    ASN1_INTEGER_set(nonce.get(), 1);
    TS_REQ_set_nonce(request, nonce.get());
  }
  if (mode == TsaMode::noCertificate) {
    TS_REQ_set_cert_req(request, 0);
  }
}

void allowEveryDigest(TS_RESP_CTX *context) {
  for (const EVP_MD *digest :
       {EVP_md5(), EVP_sha1(), EVP_sha224(), EVP_sha256(), EVP_sha384(), EVP_sha512(), EVP_sm3()}) {
    TS_RESP_CTX_add_md(context, digest);
  }
}

using Container = Handle<PKCS7, PKCS7_free>;
using SigningCertificate = Handle<ESS_SIGNING_CERT_V2, ESS_SIGNING_CERT_V2_free>;

// Empty: what is written while signing fills it.
PKCS7 *newContent() {
  PKCS7 *content = PKCS7_new();
  content->type = OBJ_nid2obj(NID_id_smime_ct_TSTInfo);
  content->d.other = ASN1_TYPE_new();
  ASN1_TYPE_set(content->d.other, V_ASN1_OCTET_STRING, ASN1_OCTET_STRING_new());
  return content;
}

void addSigningCertificate(PKCS7_SIGNER_INFO *signer, const X509 *x509) {
  const SigningCertificate reference(
      OSSL_ESS_signing_cert_v2_new_init(EVP_sha256(), x509, nullptr, 1));
  unsigned char *der = nullptr;
  const int length = i2d_ESS_SIGNING_CERT_V2(reference.get(), &der);
  ASN1_STRING *value = ASN1_STRING_new();
  ASN1_STRING_set0(value, der, length);
  PKCS7_add_signed_attribute(signer, NID_id_smime_aa_signingCertificateV2, V_ASN1_SEQUENCE, value);
}

}  // namespace

std::string signTokenAgain(const std::string &token, const Identity &signer) {
  const auto *bytes = reinterpret_cast<const unsigned char *>(token.data());
  const Container old(d2i_PKCS7(nullptr, &bytes, static_cast<long>(token.size())));
  const ASN1_OCTET_STRING *info = old->d.sign->contents->d.other->value.octet_string;
  const Container fresh(PKCS7_new());
  PKCS7_set_type(fresh.get(), NID_pkcs7_signed);
  PKCS7_add_certificate(fresh.get(), signer.x509.get());
  PKCS7_SIGNER_INFO *signerInfo =
      PKCS7_add_signature(fresh.get(), signer.x509.get(), evpKey(signer.kind), EVP_sha256());
  PKCS7_add_attrib_content_type(signerInfo, OBJ_nid2obj(NID_id_smime_ct_TSTInfo));
  addSigningCertificate(signerInfo, signer.x509.get());
  PKCS7_set_content(fresh.get(), newContent());
  const MemoryBio sink(PKCS7_dataInit(fresh.get(), nullptr));
  BIO_write(sink.get(), ASN1_STRING_get0_data(info), ASN1_STRING_length(info));
  PKCS7_dataFinal(fresh.get(), sink.get());
  return derOf(fresh.get(), i2d_PKCS7);
}

TimeStampAuthority::TimeStampAuthority(TsaMode mode, KeyKind authorityKind)
    : mode_(mode),
      root_(makeRoot(authorityKind)),
      signer_(makeSigner(root_)),
      server_([this](const HttpRequest &request) { return answer(request); }) {}

HttpReply TimeStampAuthority::answer(const HttpRequest &request) const {
  switch (mode_) {
    case TsaMode::silent:
      return {.silent = true};
    case TsaMode::garbage:
      return {.body = "not an answer"};
    case TsaMode::rejected:
      return {.body = refusal()};
    case TsaMode::httpError:
      return {.status = 500, .body = respond(request.body)};
    case TsaMode::cutShort: {
      const std::string whole = respond(request.body);
      return {.body = whole.substr(0, whole.size() - 1)};
    }
    default:
      return {.body = respond(request.body),
              .headers = "Content-Type: application/timestamp-reply\r\n"};
  }
}

std::string TimeStampAuthority::respond(const std::string &query) const {
  const auto *bytes = reinterpret_cast<const unsigned char *>(query.data());
  const Request request(d2i_TS_REQ(nullptr, &bytes, static_cast<long>(query.size())));
  if (!request) {
    return "";
  }
  alter(request.get(), mode_);
  const std::string altered = derOf(request.get(), i2d_TS_REQ);
  const ResponderContext context(TS_RESP_CTX_new());
  const Object policy(OBJ_txt2obj(kPolicy, 1));
  TS_RESP_CTX_set_serial_cb(context.get(), nextSerial, nullptr);
  TS_RESP_CTX_set_signer_cert(context.get(), signer_.x509.get());
  TS_RESP_CTX_set_signer_key(context.get(), evpKey(signer_.kind));
  TS_RESP_CTX_set_signer_digest(context.get(), EVP_sha256());
  TS_RESP_CTX_set_ess_cert_id_digest(context.get(), EVP_sha256());
  TS_RESP_CTX_set_def_policy(context.get(), policy.get());
  allowEveryDigest(context.get());
  const MemoryBio input(BIO_new_mem_buf(altered.data(), static_cast<int>(altered.size())));
  const Response response(TS_RESP_create_response(context.get(), input.get()));
  if (!response) {
    return "";
  }
  if (mode_ == TsaMode::grantedWithMods) {
    setStatus(response.get(), TS_STATUS_GRANTED_WITH_MODS);
  }
  return derOf(response.get(), i2d_TS_RESP);
}

}  // namespace talvo::test
