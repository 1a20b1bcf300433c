// What the caller wants signed: counted contexts that the generators and the entry points only
// read, and the key.
#pragma once

#include <cstdint>
#include <variant>

#include "talvo_xml.h"

#include "base/handle.h"
#include "base/list.h"
#include "base/memory.h"
#include "base/refcount.h"
#include "crypto/handle.h"

namespace talvo {

struct ProductionPlace {
  UString city;
  UString stateOrProvince;
  UString postalCode;
  UString countryName;
};

void freeProductionPlace(ProductionPlace *place) noexcept;

}  // namespace talvo

struct TransformCtx : talvo::Counted {
  XmlNode *signatureElement = nullptr;  // set just before digesting
  int32_t algorithm = 0;
  talvo::List prefixes;             // of ustring, for exclusive methods; null for none
  talvo::UString expression;        // of an XPath filter
  XmlNode *xpathElement = nullptr;  // the XPath element that was generated for the expression
};

struct ReferenceCtx : talvo::Counted {
  uint32_t digestMethod = 0;
  talvo::UString id;
  talvo::UString uri;  // percent-encoded; null for a reference without URI
  talvo::UString type;
  talvo::Blob content;         // octets of a reference without URI
  talvo::List transforms;      // of TransformCtx; null for none, never empty
  talvo::UString digestValue;  // Base64 text of a digest that the caller supplied
  bool hasDigestValue = false;
};

struct SignedInfoCtx : talvo::Counted {
  talvo::UString id;
  uint32_t c14nMethod = 0;
  talvo::List prefixes;  // of ustring; only with exclusive canonicalisation
  int32_t signatureMethod = 0;
  talvo::List references;  // of ReferenceCtx
  int32_t includeCertOption = TALVO_CERTIFICATES_SELF;
  bool useSigningTime = false;
  talvo::UString qualifyingPropertiesId;
  talvo::UString signedPropertiesId;
  talvo::UString signedSignaturePropertiesId;
  int32_t signingCertificateDigest = -1;  // -1: no SigningCertificate
  int32_t signingCertificateOption = TALVO_CERTIFICATES_SELF;
  bool signaturePolicyPresent = false;
  bool signaturePolicyImplied = false;
  talvo::UString signatureValueId;
  talvo::Owned<talvo::ProductionPlace> productionPlace;

  // The one test that decides whether qualifying properties are written.
  bool asksForXades() const noexcept {
    return useSigningTime || signingCertificateDigest >= 1 || signaturePolicyPresent ||
           productionPlace != nullptr;
  }
};

struct SignaturePropCtx : talvo::Counted {
  talvo::UString id;
  talvo::UString target;
  XmlNode *content = nullptr;  // first node of a run
  bool ownsContent = false;

  ~SignaturePropCtx();
};

struct ObjectCtx : talvo::Counted {
  uint32_t kind = 0;  // TALVO_OBJECT_...
  talvo::UString id;
  talvo::UString mimeType;
  talvo::UString encoding;
  XmlNode *node = nullptr;  // of nodes: the first of a run
  bool ownsNode = false;
  talvo::UString text;
  talvo::List contents;  // of SignaturePropCtx for properties, of ReferenceCtx for a Manifest

  ~ObjectCtx();
};

struct SignatureKey {
  uint32_t type = 0;  // TALVO_SIGNATURE_KEY_...
  std::variant<std::monostate, talvo::Certificate, talvo::PublicKey, talvo::Blob> value;

  TalvoPKICert *certificate() const noexcept {
    const auto *held = std::get_if<talvo::Certificate>(&value);
    return held == nullptr ? nullptr : held->get();
  }
  TalvoPKIPublicKey *publicKey() const noexcept {
    const auto *held = std::get_if<talvo::PublicKey>(&value);
    return held == nullptr ? nullptr : held->get();
  }
};

namespace talvo {

using SignedInfoContext = Handle<SignedInfoCtx, talvo_xml_signature_signedinfoctx_free>;
using ReferenceContext = Handle<ReferenceCtx, talvo_xml_signature_referencectx_free>;
using TransformContext = Handle<TransformCtx, talvo_xml_signature_transformctx_free>;
using ObjectContext = Handle<ObjectCtx, talvo_xml_signature_objectctx_free>;
using SignaturePropContext = Handle<SignaturePropCtx, talvo_xml_signature_signaturepropctx_free>;
using Key = Handle<SignatureKey, talvo_xml_signature_key_free>;

// A key that holds an HMAC secret; made only by verification.
Key makeHmacKey(Bytes secret) noexcept;

// A list of copies of ustrings; null when the source is null or empty, or memory is exhausted.
List copyStrings(const talvo_arraylist *strings) noexcept;

}  // namespace talvo

extern "C" {

// The constructor behind the two public ones, see there; `hasDigest` asks for `digest`.
ReferenceCtx *italvo_xml_signature_referencectx_newwithhash(
    uint32_t digestMethod, int32_t hasDigest, const talvo_data_blob *digest,
    const talvo_ustring *id, const talvo_ustring *uri, const talvo_ustring *type,
    const talvo_arraylist *transforms, const talvo_data_blob *content) noexcept;
}
