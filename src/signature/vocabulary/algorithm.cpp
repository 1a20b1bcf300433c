// The tables. An oddity is a cell here and nowhere else: a missing identifier, an empty JSON name,
// a crypto number of 0, a method that contexts refuse.
#include "signature/vocabulary/algorithm.h"

#include <algorithm>
#include <iterator>

#include "base/utf8.h"
#include "signature/vocabulary/vocabulary.h"

namespace talvo {
namespace {

constexpr DigestAlgorithm kDigests[] = {
    {TALVO_DIGEST_SHA1, &g_xml_signature_algorithm_sha1, "Sha1", "SHA-1", TALVO_HASH_SHA1, 20},
    // Deliberate: MD5 and RIPEMD-160 have identifiers and are read, but are never digested.
    {TALVO_DIGEST_MD5, &g_xml_signature_algorithm_md5, "", "MD5", 0, 0},
    {TALVO_DIGEST_SHA224, &g_xml_signature_algorithm_sha224, "Sha224", "SHA-224", TALVO_HASH_SHA224,
     28},
    {TALVO_DIGEST_SHA256, &g_xml_signature_algorithm_sha256, "Sha256", "SHA-256", TALVO_HASH_SHA256,
     32},
    {TALVO_DIGEST_SHA384, &g_xml_signature_algorithm_sha384, "Sha384", "SHA-384", TALVO_HASH_SHA384,
     48},
    {TALVO_DIGEST_SHA512, &g_xml_signature_algorithm_sha512, "Sha512", "SHA-512", TALVO_HASH_SHA512,
     64},
    {TALVO_DIGEST_RIPEMD160, &g_xml_signature_algorithm_ripemd160, "", "RIPEMD-160", 0, 0},
    {TALVO_DIGEST_SM3, &g_talvo_xml_signature_algorithm_sm3, "SM3", "SM3", TALVO_HASH_SM3, 32},
};

using enum KeyFamily;
using enum ValueForm;
using enum C14nKind;

constexpr SignatureAlgorithm kSignatures[] = {
    {TALVO_SIGNATURE_HMAC_SHA1, &g_xml_signature_algorithm_hmac_sha1, "", "HMAC-SHA1",
     TALVO_MAC_HMAC_SHA1, hmac, false, 160},
    {TALVO_SIGNATURE_HMAC_MD5, &g_xml_signature_algorithm_hmac_md5, "", "HMAC-MD5",
     TALVO_MAC_HMAC_MD5, hmac, false, 128},
    {TALVO_SIGNATURE_HMAC_SHA224, &g_xml_signature_algorithm_hmac_sha224, "", "HMAC-SHA224",
     TALVO_MAC_HMAC_SHA224, hmac, false, 224},
    {TALVO_SIGNATURE_HMAC_SHA256, &g_xml_signature_algorithm_hmac_sha256, "", "HMAC-SHA256",
     TALVO_MAC_HMAC_SHA256, hmac, false, 256},
    {TALVO_SIGNATURE_HMAC_SHA384, &g_xml_signature_algorithm_hmac_sha384, "", "HMAC-SHA384",
     TALVO_MAC_HMAC_SHA384, hmac, false, 384},
    {TALVO_SIGNATURE_HMAC_SHA512, &g_xml_signature_algorithm_hmac_sha512, "", "HMAC-SHA512",
     TALVO_MAC_HMAC_SHA512, hmac, false, 512},
    {TALVO_SIGNATURE_HMAC_RIPEMD160, &g_xml_signature_algorithm_hmac_ripemd160, "",
     "HMAC-RIPEMD160", 0, hmac, false, 160},
    {TALVO_SIGNATURE_RSA_SHA1, &g_xml_signature_algorithm_rsa_sha1, "Sha1WithRSA", "RSA-SHA1",
     TALVO_CRYPTO_RSA_SHA1, rsa, true},
    // Deliberate: RSA-MD5 is verified, and a context refuses it; so it is for RIPEMD-160 and ESIGN,
    // which cannot even be verified.
    {TALVO_SIGNATURE_RSA_MD5, &g_xml_signature_algorithm_rsa_md5, "", "RSA-MD5",
     TALVO_CRYPTO_RSA_MD5, rsa, false},
    // Deliberate: RSA-SHA224 has no identifier. Contexts and JSON accept it; writing SignedInfo
    // fails.
    {TALVO_SIGNATURE_RSA_SHA224, nullptr, "Sha224WithRSA", "RSA-SHA224", 0, rsa, true},
    {TALVO_SIGNATURE_RSA_SHA256, &g_xml_signature_algorithm_rsa_sha256, "Sha256WithRSA",
     "RSA-SHA256", TALVO_CRYPTO_RSA_SHA256, rsa, true},
    {TALVO_SIGNATURE_RSA_SHA384, &g_xml_signature_algorithm_rsa_sha384, "Sha384WithRSA",
     "RSA-SHA384", TALVO_CRYPTO_RSA_SHA384, rsa, true},
    {TALVO_SIGNATURE_RSA_SHA512, &g_xml_signature_algorithm_rsa_sha512, "Sha512WithRSA",
     "RSA-SHA512", TALVO_CRYPTO_RSA_SHA512, rsa, true},
    {TALVO_SIGNATURE_RSA_RIPEMD160, &g_xml_signature_algorithm_rsa_ripemd160, "", "RSA-RIPEMD160",
     0, rsa, false},
    {TALVO_SIGNATURE_DSA_SHA1, &g_xml_signature_algorithm_dsa_sha1, "DSAWithSha1", "DSA-SHA1",
     TALVO_CRYPTO_DSA_SHA1, dsa, true, 0, halves},
    {TALVO_SIGNATURE_ECDSA_SHA1, &g_xml_signature_algorithm_ecdsa_sha1, "ECDSAWithSha1",
     "ECDSA-SHA1", TALVO_CRYPTO_ECDSA_SHA1, ec, true, 0, halves},
    {TALVO_SIGNATURE_ECDSA_SHA224, &g_xml_signature_algorithm_ecdsa_sha224, "ECDSAWithSha224",
     "ECDSA-SHA224", TALVO_CRYPTO_ECDSA_SHA224, ec, true, 0, halves},
    {TALVO_SIGNATURE_ECDSA_SHA256, &g_xml_signature_algorithm_ecdsa_sha256, "ECDSAWithSha256",
     "ECDSA-SHA256", TALVO_CRYPTO_ECDSA_SHA256, ec, true, 0, halves},
    {TALVO_SIGNATURE_ECDSA_SHA384, &g_xml_signature_algorithm_ecdsa_sha384, "ECDSAWithSha384",
     "ECDSA-SHA384", TALVO_CRYPTO_ECDSA_SHA384, ec, true, 0, halves},
    {TALVO_SIGNATURE_ECDSA_SHA512, &g_xml_signature_algorithm_ecdsa_sha512, "ECDSAWithSha512",
     "ECDSA-SHA512", TALVO_CRYPTO_ECDSA_SHA512, ec, true, 0, halves},
    {TALVO_SIGNATURE_ESIGN_SHA1, &g_xml_signature_algorithm_esign_sha1, "", "ESIGN-SHA1", 0, none,
     false},
    {TALVO_SIGNATURE_ESIGN_SHA224, &g_xml_signature_algorithm_esign_sha224, "", "ESIGN-SHA224", 0,
     none, false},
    {TALVO_SIGNATURE_ESIGN_SHA256, &g_xml_signature_algorithm_esign_sha256, "", "ESIGN-SHA256", 0,
     none, false},
    {TALVO_SIGNATURE_ESIGN_SHA384, &g_xml_signature_algorithm_esign_sha384, "", "ESIGN-SHA384", 0,
     none, false},
    {TALVO_SIGNATURE_ESIGN_SHA512, &g_xml_signature_algorithm_esign_sha512, "", "ESIGN-SHA512", 0,
     none, false},
    {TALVO_SIGNATURE_SM2_SM3, &g_talvo_xml_signature_algorithm_sm2_sm3, "Sm3WithSM2", "SM2-SM3",
     TALVO_CRYPTO_SM2_SM3, ec, true, 0, halves},
};

constexpr TransformAlgorithm kTransforms[] = {
    {TALVO_C14N_10, &g_xml_signature_c14n_without_comments, "C14N", "C14N 1.0", inclusive10, false},
    {TALVO_C14N_10_WITH_COMMENTS, &g_xml_signature_c14n_with_comments, "C14NWithComments",
     "C14N 1.0 with comments", inclusive10, true},
    {TALVO_C14N_EXCLUSIVE, &g_xml_signature_exc_c14n_without_comments, "ExcC14N", "Exclusive C14N",
     exclusive, false},
    {TALVO_C14N_EXCLUSIVE_WITH_COMMENTS, &g_xml_signature_exc_c14n_with_comments,
     "ExcC14NWithComments", "Exclusive C14N with comments", exclusive, true},
    // Deliberate: minimal canonicalisation is recognised when it is read, and refused everywhere
    // else.
    {TALVO_C14N_MINIMAL, &g_xml_signature_minimal_c14n, "", "Minimal C14N", minimal, false},
    {TALVO_C14N_11, &g_xml_signature_c14nv1_1_without_comments, "C14N11", "C14N 1.1", inclusive11,
     false},
    {TALVO_C14N_11_WITH_COMMENTS, &g_xml_signature_c14nv1_1_with_comments, "C14N11WithComments",
     "C14N 1.1 with comments", inclusive11, true},
    {TALVO_TRANSFORM_BASE64, &g_xml_signature_base64, "Base64", "Base64", noC14n, false},
    {TALVO_TRANSFORM_XPATH, &g_xml_signature_xpath, "XPath", "XPath filter", noC14n, false},
    {TALVO_TRANSFORM_ENVELOPED, &g_xml_signature_enveloped_signature, "EnvelopedSignature",
     "Enveloped signature", noC14n, false},
};

struct CertOption {
  int32_t number;
  std::string_view jsonName;
};

constexpr CertOption kCertOptions[] = {{TALVO_CERTIFICATES_NONE, "None"},
                                       {TALVO_CERTIFICATES_SELF, "Self"},
                                       {TALVO_CERTIFICATES_PATH, "CertPath"},
                                       {TALVO_CERTIFICATES_PATH_WITH_ROOT, "CertPathWithRoot"}};

template <class Table, class Test>
auto findRow(const Table &table, Test test) noexcept {
  const auto *row = std::find_if(std::begin(table), std::end(table), test);
  return row == std::end(table) ? nullptr : row;
}

template <class Table>
auto findByNumber(const Table &table, int32_t number) noexcept {
  return findRow(table, [number](const auto &row) { return row.number == number; });
}

template <class Table>
auto findByUri(const Table &table, const talvo_ustring *uri) noexcept {
  return findRow(table, [uri](const auto &row) {
    return uri != nullptr && row.uri != nullptr && equal(*row.uri, uri);
  });
}

char lower(char letter) noexcept {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool equalIgnoringCase(std::string_view first, std::string_view second) noexcept {
  return std::equal(first.begin(), first.end(), second.begin(), second.end(),
                    [](char left, char right) { return lower(left) == lower(right); });
}

// An empty cell is no name: the empty text must not choose a row that has none.
template <class Table>
auto findByJsonName(const Table &table, std::string_view name) noexcept {
  return findRow(table, [name](const auto &row) {
    return !row.jsonName.empty() && equalIgnoringCase(row.jsonName, name);
  });
}

// One table for both: a row counts where it may stand.
const TransformAlgorithm *ifC14n(const TransformAlgorithm *row) noexcept {
  return row == nullptr || row->c14n == noC14n ? nullptr : row;
}

const TransformAlgorithm *ifTransform(const TransformAlgorithm *row) noexcept {
  return row == nullptr || row->c14n == minimal ? nullptr : row;
}

}  // namespace

const TransformAlgorithm *c14nByNumber(int32_t number) noexcept {
  return ifC14n(findByNumber(kTransforms, number));
}

const TransformAlgorithm *c14nByUri(const talvo_ustring *uri) noexcept {
  return ifC14n(findByUri(kTransforms, uri));
}

const TransformAlgorithm *c14nByJsonName(std::string_view name) noexcept {
  return ifC14n(findByJsonName(kTransforms, name));
}

const DigestAlgorithm *digestByNumber(int32_t number) noexcept {
  return findByNumber(kDigests, number);
}

const DigestAlgorithm *digestByUri(const talvo_ustring *uri) noexcept {
  return findByUri(kDigests, uri);
}

const DigestAlgorithm *digestByJsonName(std::string_view name) noexcept {
  return findByJsonName(kDigests, name);
}

const SignatureAlgorithm *signatureByNumber(int32_t number) noexcept {
  return findByNumber(kSignatures, number);
}

const SignatureAlgorithm *signatureByUri(const talvo_ustring *uri) noexcept {
  return findByUri(kSignatures, uri);
}

const SignatureAlgorithm *signatureByJsonName(std::string_view name) noexcept {
  return findByJsonName(kSignatures, name);
}

const SignatureAlgorithm *signatureByCrypto(int32_t crypto) noexcept {
  return findRow(kSignatures,
                 [crypto](const auto &row) { return row.crypto == crypto && crypto != 0; });
}

const TransformAlgorithm *transformByNumber(int32_t number) noexcept {
  return ifTransform(findByNumber(kTransforms, number));
}

const TransformAlgorithm *transformByUri(const talvo_ustring *uri) noexcept {
  return ifTransform(findByUri(kTransforms, uri));
}

const TransformAlgorithm *transformByJsonName(std::string_view name) noexcept {
  return ifTransform(findByJsonName(kTransforms, name));
}

int32_t includeCertOptionByJsonName(std::string_view name) noexcept {
  return numberOf(findByJsonName(kCertOptions, name));
}

std::string_view includeCertOptionJsonName(int32_t option) noexcept {
  const CertOption *row = findByNumber(kCertOptions, option);
  return row == nullptr ? std::string_view() : row->jsonName;
}

}  // namespace talvo
