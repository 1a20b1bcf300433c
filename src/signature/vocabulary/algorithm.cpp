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
    {1, &g_xml_signature_algorithm_sha1, "Sha1", "SHA-1", 0x2000, 20},
    // Deliberate: MD5 and RIPEMD-160 have identifiers and are read, but are never digested.
    {2, &g_xml_signature_algorithm_md5, "", "MD5", 0, 0},
    {3, &g_xml_signature_algorithm_sha224, "Sha224", "SHA-224", 0x3000, 28},
    {4, &g_xml_signature_algorithm_sha256, "Sha256", "SHA-256", 0x4000, 32},
    {5, &g_xml_signature_algorithm_sha384, "Sha384", "SHA-384", 0x5000, 48},
    {6, &g_xml_signature_algorithm_sha512, "Sha512", "SHA-512", 0x6000, 64},
    {7, &g_xml_signature_algorithm_ripemd160, "", "RIPEMD-160", 0, 0},
    {8, &g_talvo_xml_signature_algorithm_sm3, "SM3", "SM3", 0x7000, 32},
};

using enum KeyFamily;
using enum ValueForm;
using enum C14nKind;

constexpr SignatureAlgorithm kSignatures[] = {
    {33, &g_xml_signature_algorithm_hmac_sha1, "", "HMAC-SHA1", 0x40000, hmac, false, 160},
    {34, &g_xml_signature_algorithm_hmac_md5, "", "HMAC-MD5", 0x20000, hmac, false, 128},
    {35, &g_xml_signature_algorithm_hmac_sha224, "", "HMAC-SHA224", 0x60000, hmac, false, 224},
    {36, &g_xml_signature_algorithm_hmac_sha256, "", "HMAC-SHA256", 0x80000, hmac, false, 256},
    {37, &g_xml_signature_algorithm_hmac_sha384, "", "HMAC-SHA384", 0xa0000, hmac, false, 384},
    {38, &g_xml_signature_algorithm_hmac_sha512, "", "HMAC-SHA512", 0xc0000, hmac, false, 512},
    {39, &g_xml_signature_algorithm_hmac_ripemd160, "", "HMAC-RIPEMD160", 0, hmac, false, 160},
    {65, &g_xml_signature_algorithm_rsa_sha1, "Sha1WithRSA", "RSA-SHA1", 2, rsa, true},
    // Deliberate: RSA-MD5 is verified, and a context refuses it; so it is for RIPEMD-160 and ESIGN,
    // which cannot even be verified.
    {66, &g_xml_signature_algorithm_rsa_md5, "", "RSA-MD5", 1, rsa, false},
    // Deliberate: RSA-SHA224 has no identifier. Contexts and JSON accept it; writing SignedInfo
    // fails.
    {67, nullptr, "Sha224WithRSA", "RSA-SHA224", 0, rsa, true},
    {68, &g_xml_signature_algorithm_rsa_sha256, "Sha256WithRSA", "RSA-SHA256", 4, rsa, true},
    {69, &g_xml_signature_algorithm_rsa_sha384, "Sha384WithRSA", "RSA-SHA384", 5, rsa, true},
    {70, &g_xml_signature_algorithm_rsa_sha512, "Sha512WithRSA", "RSA-SHA512", 6, rsa, true},
    {71, &g_xml_signature_algorithm_rsa_ripemd160, "", "RSA-RIPEMD160", 0, rsa, false},
    {72, &g_xml_signature_algorithm_dsa_sha1, "DSAWithSha1", "DSA-SHA1", 13, dsa, true, 0, halves},
    {73, &g_xml_signature_algorithm_ecdsa_sha1, "ECDSAWithSha1", "ECDSA-SHA1", 16, ec, true, 0,
     halves},
    {74, &g_xml_signature_algorithm_ecdsa_sha224, "ECDSAWithSha224", "ECDSA-SHA224", 17, ec, true,
     0, halves},
    {75, &g_xml_signature_algorithm_ecdsa_sha256, "ECDSAWithSha256", "ECDSA-SHA256", 18, ec, true,
     0, halves},
    {76, &g_xml_signature_algorithm_ecdsa_sha384, "ECDSAWithSha384", "ECDSA-SHA384", 19, ec, true,
     0, halves},
    {77, &g_xml_signature_algorithm_ecdsa_sha512, "ECDSAWithSha512", "ECDSA-SHA512", 20, ec, true,
     0, halves},
    {78, &g_xml_signature_algorithm_esign_sha1, "", "ESIGN-SHA1", 0, none, false},
    {79, &g_xml_signature_algorithm_esign_sha224, "", "ESIGN-SHA224", 0, none, false},
    {80, &g_xml_signature_algorithm_esign_sha256, "", "ESIGN-SHA256", 0, none, false},
    {81, &g_xml_signature_algorithm_esign_sha384, "", "ESIGN-SHA384", 0, none, false},
    {82, &g_xml_signature_algorithm_esign_sha512, "", "ESIGN-SHA512", 0, none, false},
    {83, &g_talvo_xml_signature_algorithm_sm2_sm3, "Sm3WithSM2", "SM2-SM3", 25, ec, true, 0,
     halves},
};

constexpr TransformAlgorithm kTransforms[] = {
    {1, &g_xml_signature_c14n_without_comments, "C14N", "C14N 1.0", inclusive, false},
    {2, &g_xml_signature_c14n_with_comments, "C14NWithComments", "C14N 1.0 with comments",
     inclusive, true},
    {3, &g_xml_signature_exc_c14n_without_comments, "ExcC14N", "Exclusive C14N", exclusive, false},
    {4, &g_xml_signature_exc_c14n_with_comments, "ExcC14NWithComments",
     "Exclusive C14N with comments", exclusive, true},
    // Deliberate: minimal canonicalisation is recognised when it is read, and refused everywhere
    // else.
    {5, &g_xml_signature_minimal_c14n, "", "Minimal C14N", minimal, false},
    {6, &g_xml_signature_c14nv1_1_without_comments, "C14N11", "C14N 1.1", inclusive, false},
    {7, &g_xml_signature_c14nv1_1_with_comments, "C14N11WithComments", "C14N 1.1 with comments",
     inclusive, true},
    {kTransformBase64, &g_xml_signature_base64, "Base64", "Base64", noC14n, false},
    {kTransformXPath, &g_xml_signature_xpath, "XPath", "XPath filter", noC14n, false},
    {kTransformEnveloped, &g_xml_signature_enveloped_signature, "EnvelopedSignature",
     "Enveloped signature", noC14n, false},
};

struct CertOption {
  int32_t number;
  std::string_view jsonName;
};

constexpr CertOption kCertOptions[] = {
    {1, "None"}, {2, "Self"}, {3, "CertPath"}, {4, "CertPathWithRoot"}};

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
