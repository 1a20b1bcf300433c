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
    {1, "the operation failed: the key cannot make this signature, or a reference cannot be read"},
    {3, "out of memory, or an element cannot be made or canonicalised"},
    {4, "the URI of a reference has a form that is not supported"},
    {5, "the data that a reference names was not found"},
    {6, "an argument is missing"},
    {7, "a transform is not known"},
    {8, "the canonicalisation method cannot be used here"},
    {9, "there is no private key"},
    {10, "an HMAC key cannot sign here"},
    {11, "the key cannot sign with this method"},
    {12, "the digest method cannot be used here"},
    {13, "a transform failed"},
    {14, "a reference has no URI where one is needed"},
    {15, "the identifiers of the document cannot be registered"},
    {16, "the signature cannot stand at this place"},
    {17, "the key does not belong to the certificate"},
    {18, "the certificate may not be used to sign: its key usage forbids it"},
    {19, "a certificate of the path cannot be written"},
    {20, "a part of the signature is missing"},
    {21, "the element is no signature, or not one that can be completed"},
    {22, "the signature value cannot be canonicalised"},
    {23, "the time-stamp could not be obtained"},
    {24, "the certificate has no private key"},
    {25, "the signing parameters cannot be used"},
    {26, "the SignatureValue carries no Id, so nothing can refer to it"},
    {27, "a Reference has no URI or is not built as XML Signature demands"},
    {28, "a reference leads to the network, which is not allowed here"},
    {29, "the signer's certificate or its path cannot be written"},
};

constexpr Meaning kVerifying[] = {
    {1,
     "the signature value does not fit the key and SignedInfo: SignedInfo was changed, or "
     "another key signed it"},
    {2,
     "the digest of a reference does not match: the data it names was changed, or its file "
     "cannot be digested"},
    {3, "out of memory, or SignedInfo cannot be canonicalised"},
    {4, "the URI of a reference has a form that is not supported"},
    {5, "the data that a reference names was not found"},
    {6, "a reference without URI needs its content"},
    {7, "a transform is not known"},
    {8, "the canonicalisation method of SignedInfo is not supported"},
    {9,
     "no key was found: nothing brings a certificate or key that may sign with this method, or the "
     "HMAC key is missing"},
    {10, "the HMAC method is not supported"},
    {11, "the signature method is not supported"},
    {12, "a digest method is not supported"},
    {13, "a transform failed, or its result cannot be canonicalised"},
    {14, "more than one reference has no URI"},
    {15, "the identifiers of the signature cannot be registered"},
    {16, "the document holds no signature"},
    {17, "a signature is not built as XML Signature demands"},
    {18, "a list of inclusive namespace prefixes is malformed"},
    {19, "a reference is not built as XML Signature demands"},
    {21, "a reference leads to the network, which is not allowed"},
    {22, "a Manifest is malformed or refers to itself"},
    {23, "the certificate that verifies is not the one that the signed properties name"},
    {24, "the XPath transform holds no usable expression"},
    {28, "a reference leads to the network, which is not allowed"},
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
