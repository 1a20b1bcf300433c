// A countersignature holds when its own value and references do, and one of them names the value
// that it countersigns.
#include "base/boundary.h"
#include "base/list.h"
#include "base/utf8.h"
#include "signature/context/context.h"
#include "signature/record/record.h"
#include "signature/xades/properties.h"

namespace talvo {
namespace {

// Whether one of the references leads to the value of the parent, and not to another element that
// has the same Id.
bool namesValue(const Signature &counterSignature, const SignatureValue &value) noexcept {
  const talvo_ustring *valueId = value.id.get();
  if (talvo_xml_getidelemnode(counterSignature.document, valueId) != value.element) {
    return false;
  }
  const UString uri = targetOf(valueId);
  for (const Reference *reference : items<Reference>(counterSignature.signedInfo->references)) {
    if (reference->uri && equal(reference->uri.get(), uri.get())) {
      return true;
    }
  }
  return false;
}

// The certificate that verified the signature value; null for any other key.
Certificate verifiedSigner(Signature *counterSignature) noexcept {
  uint32_t error = 0;
  SignatureKey *verified = nullptr;
  if (talvo_xml_signature_signaturevalidation(counterSignature, &verified, &error) != 1) {
    return nullptr;
  }
  const Key key(verified);
  return Certificate(key->certificate() == nullptr ? nullptr
                                                   : TalvoPKICertDupCert(key->certificate()));
}

// The countersignature at the element, ready to be checked with what its parent was given.
SignatureRecord decodeCounterSignature(XmlNode *element, const Signature &parent,
                                       const TalvoPKICert *certificate) noexcept {
  SignatureRecord decoded(talvo_xml_decode_signature(element));
  if (!decoded) {
    return nullptr;
  }
  const bool isPrepared =
      (certificate == nullptr || talvo_xml_signature_addcert(decoded.get(), certificate) == 1) &&
      (!parent.basePath ||
       talvo_xml_signature_setbasepath(decoded.get(), parent.basePath.get()) == 1);
  return isPrepared ? std::move(decoded) : nullptr;
}

Certificate verifyCounterSignature(XmlNode *element, const Signature &parent,
                                   const TalvoPKICert *certificate) {
  const SignatureRecord decoded = decodeCounterSignature(element, parent, certificate);
  Certificate signer = decoded ? verifiedSigner(decoded.get()) : nullptr;
  uint32_t error = 0;
  if (!signer || !namesValue(*decoded, *parent.signatureValue) ||
      talvo_xml_signature_referencevalidation(decoded.get(), nullptr, 0, &error) != 1) {
    return nullptr;
  }
  return signer;
}

}  // namespace
}  // namespace talvo

extern "C" {

int32_t talvo_xml_signature_xades_verifycountersignature(const Signature *signature, int32_t index,
                                                         const TalvoPKICert *certificate,
                                                         TalvoPKICert **signerCertificate,
                                                         XmlNode **counterSignature) noexcept {
  return talvo::guard([&] {
    if (signature == nullptr || signerCertificate == nullptr || counterSignature == nullptr ||
        !signature->signatureValue->id) {
      return 0;
    }
    *signerCertificate = nullptr;
    XmlNode *element = talvo::items<XmlNode>(signature->counterSignatures)[index];
    if (element == nullptr) {
      return 0;
    }
    *counterSignature = element;
    *signerCertificate = talvo::verifyCounterSignature(element, *signature, certificate).release();
    return *signerCertificate == nullptr ? 0 : 1;
  });
}
}
