// The sentence for every code of every error word: the one place besides the tables of the header.
#include <cstdint>
#include <iterator>

#include "talvo_xml.h"

namespace {

struct Meaning {
  uint32_t code;
  const char *text;
};

constexpr Meaning kSigning[] = {
    {TALVO_SIGN_ERROR_FAILED,
     "the operation failed: the key cannot make this signature, or a reference cannot be read"},
    {TALVO_SIGN_ERROR_OUT_OF_MEMORY,
     "out of memory, or an element cannot be made or canonicalised"},
    {TALVO_SIGN_ERROR_UNSUPPORTED_URI, "the URI of a reference has a form that is not supported"},
    {TALVO_SIGN_ERROR_NOT_FOUND, "the data that a reference names was not found"},
    {TALVO_SIGN_ERROR_MISSING_ARGUMENT, "an argument is missing"},
    {TALVO_VERIFY_ERROR_UNKNOWN_TRANSFORM, "a transform is not known"},
    {TALVO_SIGN_ERROR_C14N_METHOD, "the canonicalisation method cannot be used here"},
    {TALVO_SIGN_ERROR_NO_KEY, "there is no private key"},
    {TALVO_SIGN_ERROR_HMAC_KEY, "an HMAC key cannot sign here"},
    {TALVO_SIGN_ERROR_SIGNATURE_METHOD, "the key cannot sign with this method"},
    {TALVO_SIGN_ERROR_DIGEST_METHOD, "the digest method cannot be used here"},
    {TALVO_SIGN_ERROR_TRANSFORM_FAILED, "a transform failed"},
    {TALVO_SIGN_ERROR_REFERENCES_WITHOUT_URI, "a reference has no URI where one is needed"},
    {TALVO_SIGN_ERROR_ID_REGISTRATION, "the identifiers of the document cannot be registered"},
    {TALVO_SIGN_ERROR_PLACEMENT, "the signature cannot stand at this place"},
    {TALVO_SIGN_ERROR_KEY_MISMATCH, "the key does not belong to the certificate"},
    {TALVO_SIGN_ERROR_CERTIFICATE_USAGE,
     "the certificate may not be used to sign: its key usage forbids it"},
    {TALVO_SIGN_ERROR_PATH_CERTIFICATE, "a certificate of the path cannot be written"},
    {TALVO_SIGN_ERROR_MISSING_ELEMENT, "a part of the signature is missing"},
    {TALVO_SIGN_ERROR_NOT_A_SIGNATURE,
     "the element is no signature, or not one that can be completed"},
    {TALVO_SIGN_ERROR_CANONICALIZATION, "the signature value cannot be canonicalised"},
    {TALVO_SIGN_ERROR_TIME_STAMP, "the time-stamp could not be obtained"},
    {TALVO_SIGN_ERROR_NO_KEY_FOR_CERTIFICATE, "the certificate has no private key"},
    {TALVO_SIGN_ERROR_PARAMETERS, "the signing parameters cannot be used"},
    {TALVO_SIGN_ERROR_NO_SIGNATURE_VALUE_ID,
     "the SignatureValue carries no Id, so nothing can refer to it"},
    {TALVO_SIGN_ERROR_NOT_A_REFERENCE,
     "a Reference has no URI or is not built as XML Signature demands"},
    {TALVO_SIGN_ERROR_NETWORK_REFUSED,
     "a reference leads to the network, which is not allowed here"},
    {TALVO_SIGN_ERROR_SIGNING_CERTIFICATE,
     "the signer's certificate or its path cannot be written"},
};

constexpr Meaning kVerifying[] = {
    {TALVO_VERIFY_ERROR_INVALID_SIGNATURE,
     "the signature value does not fit the key and SignedInfo: SignedInfo was changed, or "
     "another key signed it"},
    {TALVO_VERIFY_ERROR_INVALID_REFERENCE,
     "the digest of a reference does not match: the data it names was changed, or its file "
     "cannot be digested"},
    {TALVO_VERIFY_ERROR_OUT_OF_MEMORY, "out of memory, or SignedInfo cannot be canonicalised"},
    {TALVO_VERIFY_ERROR_UNSUPPORTED_URI, "the URI of a reference has a form that is not supported"},
    {TALVO_VERIFY_ERROR_NOT_FOUND, "the data that a reference names was not found"},
    {TALVO_VERIFY_ERROR_MISSING_ARGUMENT, "a reference without URI needs its content"},
    {TALVO_VERIFY_ERROR_UNKNOWN_TRANSFORM, "a transform is not known"},
    {TALVO_VERIFY_ERROR_C14N_METHOD, "the canonicalisation method of SignedInfo is not supported"},
    {TALVO_VERIFY_ERROR_NO_KEY,
     "no key was found: nothing brings a certificate or key that may sign with this method, or "
     "the HMAC key is missing"},
    {TALVO_VERIFY_ERROR_HMAC_METHOD, "the HMAC method is not supported"},
    {TALVO_VERIFY_ERROR_SIGNATURE_METHOD, "the signature method is not supported"},
    {TALVO_VERIFY_ERROR_DIGEST_METHOD, "a digest method is not supported"},
    {TALVO_VERIFY_ERROR_TRANSFORM_FAILED,
     "a transform failed, or its result cannot be canonicalised"},
    {TALVO_VERIFY_ERROR_REFERENCES_WITHOUT_URI, "more than one reference has no URI"},
    {TALVO_VERIFY_ERROR_ID_REGISTRATION, "the identifiers of the signature cannot be registered"},
    {TALVO_VERIFY_ERROR_NO_SIGNATURE, "the document holds no signature"},
    {TALVO_VERIFY_ERROR_UNDECODABLE, "a signature is not built as XML Signature demands"},
    {TALVO_VERIFY_ERROR_PREFIX_LIST, "a list of inclusive namespace prefixes is malformed"},
    {TALVO_VERIFY_ERROR_NOT_A_REFERENCE, "a reference is not built as XML Signature demands"},
    {TALVO_VERIFY_ERROR_NETWORK_REFUSED, "a reference leads to the network, which is not allowed"},
    {TALVO_VERIFY_ERROR_MANIFEST, "a Manifest is malformed or refers to itself"},
    {TALVO_VERIFY_ERROR_SIGNING_CERTIFICATE,
     "the certificate that verifies is not the one that the signed properties name"},
    {TALVO_VERIFY_ERROR_XPATH_ELEMENT, "the XPath transform holds no usable expression"},
};

struct Family {
  const Meaning *first;
  const Meaning *end;
};

constexpr Family kFamilies[] = {{std::begin(kSigning), std::end(kSigning)},
                                {std::begin(kVerifying), std::end(kVerifying)}};

}  // namespace

extern "C" const char *talvo_xml_errortext(uint32_t family, uint32_t code) noexcept {
  if (family < 1 || family > std::size(kFamilies)) {
    return nullptr;
  }
  const Family &rows = kFamilies[family - 1];
  for (const Meaning *row = rows.first; row != rows.end; ++row) {
    if (row->code == code) {
      return row->text;
    }
  }
  return nullptr;
}
