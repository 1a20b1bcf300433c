// What SignedInfo and the properties beside it are to say. The constructor decides which algorithms
// may sign; every setter checks and copies first, so that a refused value leaves the old one.
#include "signature/context/copy.h"
#include "signature/vocabulary/algorithm.h"

namespace {

using namespace talvo;

bool maySign(int32_t method) noexcept {
  const SignatureAlgorithm *row = signatureByNumber(method);
  return row != nullptr && row->inContext;
}

bool mayDigestCertificate(int32_t method) noexcept {
  const DigestAlgorithm *row = digestByNumber(method);
  return row != nullptr && row->hash != 0;
}

}  // namespace

namespace talvo {

void freeProductionPlace(ProductionPlace *place) noexcept {
  destroy(place);
}

}  // namespace talvo

SignedInfoCtx *talvo_xml_signature_signedinfoctx_dup(SignedInfoCtx *context) noexcept {
  return dup(context);
}

void talvo_xml_signature_signedinfoctx_free(SignedInfoCtx *context) noexcept {
  release(context);
}

SignedInfoCtx *talvo_xml_signature_signedinfoctx_new(const talvo_ustring *id, uint32_t c14nMethod,
                                                     const talvo_arraylist *prefixes,
                                                     int32_t signatureMethod,
                                                     const talvo_arraylist *references) noexcept {
  if (!canCanonicalize(static_cast<int32_t>(c14nMethod)) || !maySign(signatureMethod)) {
    return nullptr;
  }
  SignedInfoContext context(make<SignedInfoCtx>(kSource).release());
  if (!context || !copyOptional(context->id, id)) {
    return nullptr;
  }
  context->c14nMethod = c14nMethod;
  context->signatureMethod = signatureMethod;
  context->references = shareContexts<ReferenceCtx>(references);
  if (isExclusive(static_cast<int32_t>(c14nMethod))) {
    context->prefixes = copyStrings(prefixes);
    if (!context->prefixes) {
      return nullptr;
    }
  }
  return context->references == nullptr ? nullptr : context.release();
}

int32_t talvo_xml_signature_signedinfoctx_setincludecertflag(SignedInfoCtx *context,
                                                             int32_t option) noexcept {
  if (context == nullptr || option < TALVO_CERTIFICATES_NONE ||
      option > TALVO_CERTIFICATES_PATH_WITH_ROOT) {
    return 0;
  }
  context->includeCertOption = option;
  return 1;
}

int32_t talvo_xml_signature_signedinfoctx_setsignaturevalueid(SignedInfoCtx *context,
                                                              const talvo_ustring *id) noexcept {
  return context == nullptr ? 0 : replaceRequired(context->signatureValueId, id);
}

int32_t talvo_xml_signature_signedinfoctx_xades_setusesigningtime(SignedInfoCtx *context,
                                                                  int32_t flag) noexcept {
  if (context == nullptr) {
    return 0;
  }
  context->useSigningTime = flag != 0;
  return 1;
}

int32_t talvo_xml_signature_signedinfoctx_xades_setsigningcertificateinfo(SignedInfoCtx *context,
                                                                          int32_t digestMethod,
                                                                          int32_t option) noexcept {
  if (context == nullptr || !mayDigestCertificate(digestMethod) ||
      option < TALVO_CERTIFICATES_SELF || option > TALVO_CERTIFICATES_PATH_WITH_ROOT) {
    return 0;
  }
  context->signingCertificateDigest = digestMethod;
  context->signingCertificateOption = option;
  return 1;
}

int32_t talvo_xml_signature_signedinfoctx_xades_setsignaturepolicyimplied(
    SignedInfoCtx *context) noexcept {
  if (context == nullptr) {
    return 0;
  }
  context->signaturePolicyPresent = true;
  context->signaturePolicyImplied = true;
  return 1;
}

int32_t talvo_xml_signature_signedinfoctx_xades_setsignatureproductionplace(
    SignedInfoCtx *context, const talvo_ustring *city, const talvo_ustring *stateOrProvince,
    const talvo_ustring *postalCode, const talvo_ustring *countryName) noexcept {
  const bool isEmpty = city == nullptr && stateOrProvince == nullptr && postalCode == nullptr &&
                       countryName == nullptr;
  if (context == nullptr || isEmpty) {
    return 0;
  }
  Owned<ProductionPlace> place = make<ProductionPlace>(kSource);
  if (!place || !copyOptional(place->city, city) ||
      !copyOptional(place->stateOrProvince, stateOrProvince) ||
      !copyOptional(place->postalCode, postalCode) ||
      !copyOptional(place->countryName, countryName)) {
    return 0;
  }
  context->productionPlace = std::move(place);
  return 1;
}

int32_t talvo_xml_signature_signedinfoctx_xades_setqualifyingpropertiesid(
    SignedInfoCtx *context, const talvo_ustring *id) noexcept {
  return context == nullptr ? 0 : replaceRequired(context->qualifyingPropertiesId, id);
}

int32_t talvo_xml_signature_signedinfoctx_xades_setsignedpropertiesid(
    SignedInfoCtx *context, const talvo_ustring *id) noexcept {
  return context == nullptr ? 0 : replaceRequired(context->signedPropertiesId, id);
}

int32_t talvo_xml_signature_signedinfoctx_xades_setsignedsignaturepropertiesid(
    SignedInfoCtx *context, const talvo_ustring *id) noexcept {
  return context == nullptr ? 0 : replaceRequired(context->signedSignaturePropertiesId, id);
}

talvo_ustring *talvo_xml_signature_signedinfoctx_getid(const SignedInfoCtx *context) noexcept {
  return context == nullptr ? nullptr : talvo_ustring_dup(context->id.get());
}

int32_t talvo_xml_signature_signedinfoctx_getsignalgoid(const SignedInfoCtx *context) noexcept {
  return context == nullptr ? TALVO_ALGORITHM_UNKNOWN : context->signatureMethod;
}

int32_t talvo_xml_signature_signedinfoctx_getc14nmethon(const SignedInfoCtx *context) noexcept {
  return context == nullptr ? TALVO_ALGORITHM_UNKNOWN : static_cast<int32_t>(context->c14nMethod);
}

talvo_arraylist *talvo_xml_signature_signedinfoctx_getc14nparam(
    const SignedInfoCtx *context) noexcept {
  return context == nullptr ? nullptr : copyStrings(context->prefixes.get()).release();
}

talvo_arraylist *talvo_xml_signature_signedinfoctx_getrefs(const SignedInfoCtx *context) noexcept {
  return context == nullptr ? nullptr
                            : shareContexts<ReferenceCtx>(context->references.get()).release();
}
