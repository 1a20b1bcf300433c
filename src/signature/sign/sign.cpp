// A new Signature element from contexts: checked, built, linked, digested and signed, in that
// order. Until the last step has succeeded the Placement owns the way back.
#include "base/boundary.h"
#include "base/utf8.h"
#include "crypto/handle.h"
#include "signature/context/context.h"
#include "signature/generate/element_writer.h"
#include "signature/generate/key_info.h"
#include "signature/generate/object.h"
#include "signature/generate/signed_info.h"
#include "signature/record/signer_certificate.h"
#include "signature/sign/key_check.h"
#include "signature/sign/manifest_digest.h"
#include "signature/sign/placement.h"
#include "signature/vocabulary/vocabulary.h"
#include "signature/xades/properties.h"

namespace talvo {
namespace {

struct SignRequest {
  const talvo_ustring *signatureId;
  SignedInfoCtx *context;
  const talvo_arraylist *objects;
  const SignatureKey *key;
  TalvoPKIKeyPair *keyPair;
  bool checkKey;
  const talvo_arraylist *extraCertificates;
  const talvo_ustring *basePath;
};

bool checkArguments(const SignRequest &request, XmlNode **out, uint32_t *error) noexcept {
  if (request.context == nullptr) {
    return refuse(error, TALVO_SIGN_ERROR_MISSING_ARGUMENT);
  }
  if (request.keyPair == nullptr || request.key == nullptr) {
    return refuse(error, TALVO_SIGN_ERROR_NO_KEY);
  }
  if (out == nullptr) {
    return refuse(error, TALVO_SIGN_ERROR_MISSING_ARGUMENT);
  }
  if (request.key->type == TALVO_SIGNATURE_KEY_HMAC) {
    return refuse(error, TALVO_SIGN_ERROR_HMAC_KEY);
  }
  if (request.key->certificate() != nullptr && issigncert(request.key->certificate()) != 1) {
    return refuse(error, TALVO_SIGN_ERROR_CERTIFICATE_USAGE);
  }
  return true;
}

// Only one reference may leave its data to the caller, and none inside a Manifest.
bool checkReferences(const SignRequest &request, uint32_t *error) noexcept {
  if (countReferencesWithoutUri(request.context->references.get()) > 1 ||
      countManifestReferencesWithoutUri(request.objects) > 0) {
    return refuse(error, TALVO_SIGN_ERROR_REFERENCES_WITHOUT_URI);
  }
  return true;
}

// The Id of the new Signature; null where it gets none. False when one cannot be made.
bool chooseId(const SignRequest &request, UString *id) noexcept {
  if (request.signatureId != nullptr) {
    id->reset(talvo_ustring_dup(request.signatureId));
    return *id != nullptr;
  }
  if (request.context->asksForXades()) {
    id->reset(genId());
    return *id != nullptr;
  }
  return true;
}

// An empty Signature element that declares its namespace with the prefix "ds".
OwnedNode makeSignatureElement(const talvo_ustring *id) noexcept {
  OwnedNode element = makeElement(nullptr, g_xml_signature_name);
  if (!element) {
    return nullptr;
  }
  const XmlNode *ns =
      talvo_xml_node_newns(element.get(), g_xml_signature_nsuri, g_xml_signature_prefix);
  if (ns == nullptr || talvo_xml_node_setns(element.get(), ns) != 1 ||
      (id != nullptr && !addAttribute(element.get(), g_xml_signature_id, id))) {
    return nullptr;
  }
  return element;
}

bool writesKeyInfo(const SignRequest &request) noexcept {
  return request.context->includeCertOption != TALVO_CERTIFICATES_NONE ||
         !items<TalvoPKICert>(request.extraCertificates).empty();
}

// Fills the linked element with its parts, a line feed around each.
class SignatureWriter {
 public:
  SignatureWriter(const SignRequest &request, const Placement &place,
                  const talvo_ustring *id) noexcept
      : request_(request),
        doc_(place.document()),
        ns_(talvo_xml_node_getassociatednsnode(place.element())),
        id_(id),
        last_(addlfchild(doc_, place.element())) {}

  bool writeParts(MovedRuns *moved) noexcept {
    return add(generateSignedInfo(doc_, ns_, request_.context)) &&
           add(generateSignatureValue(doc_, ns_, request_.context->signatureValueId.get())) &&
           writeKeyInfo() && writeObjects(moved);
  }

  // The properties have error codes of their own.
  bool writeProperties(uint32_t *error) noexcept {
    if (!request_.context->asksForXades()) {
      return true;
    }
    OwnedNode object = generateQualifyingProperties(doc_, ns_, id_, request_.context,
                                                    request_.key->certificate(), error);
    return object != nullptr &&
           (add(std::move(object)) || refuse(error, TALVO_SIGN_ERROR_OUT_OF_MEMORY));
  }

 private:
  bool add(OwnedNode part) noexcept {
    last_ = last_ != nullptr && part ? addPart(doc_, last_, std::move(part)) : nullptr;
    return last_ != nullptr;
  }
  bool writeKeyInfo() noexcept {
    return !writesKeyInfo(request_) ||
           add(generateKeyInfo(doc_, ns_, request_.key, request_.context->includeCertOption,
                               request_.extraCertificates));
  }
  bool writeObjects(MovedRuns *moved) noexcept {
    return items<ObjectCtx>(request_.objects).empty() ||
           (add(generateObjects(doc_, ns_, request_.objects, *moved)) && moved->fill());
  }

  const SignRequest &request_;
  XmlDoc *doc_;
  XmlNode *ns_;
  const talvo_ustring *id_;
  XmlNode *last_;
};

bool build(const SignRequest &request, Placement *place, MovedRuns *moved,
           uint32_t *error) noexcept {
  UString id;
  if (!chooseId(request, &id)) {
    return refuse(error, TALVO_SIGN_ERROR_OUT_OF_MEMORY);
  }
  OwnedNode element = makeSignatureElement(id.get());
  if (!element || !place->link(std::move(element))) {
    return refuse(error, TALVO_SIGN_ERROR_OUT_OF_MEMORY);
  }
  SignatureWriter writer(request, *place, id.get());
  if (!writer.writeParts(moved)) {
    return refuse(error, TALVO_SIGN_ERROR_OUT_OF_MEMORY);
  }
  return writer.writeProperties(error);
}

bool compute(const SignRequest &request, const Placement &place, uint32_t *error) noexcept {
  XmlDoc *doc = place.document();
  XmlNode *element = place.element();
  const SignedInfoCtx &context = *request.context;
  if (talvo_xml_signature_setid(doc) != 1) {
    return refuse(error, TALVO_SIGN_ERROR_ID_REGISTRATION);
  }
  return digestManifests(doc, element, request.objects, request.basePath, error) &&
         talvo_xml_signature_calcrefdigestvalue(doc, element, request.context, request.basePath,
                                                TALVO_DEREFERENCE_NETWORK, error) == 1 &&
         talvo_xml_signature_calcsignature(doc, element, request.keyPair, context.signatureMethod,
                                           context.c14nMethod, context.prefixes.get(), error) == 1;
}

int32_t signInto(Placement *place, const SignRequest &request, XmlNode **out,
                 uint32_t *error) noexcept {
  if (!checkArguments(request, out, error) || !place->prepare(error) ||
      !checkReferences(request, error)) {
    return 0;
  }
  *out = nullptr;
  if (request.checkKey &&
      !keyPairFits(request.keyPair, *request.key, request.context->signatureMethod, error)) {
    return 0;
  }
  // The place outlives this: what the caller lent goes back before a failed element is freed.
  MovedRuns moved;
  if (!build(request, place, &moved, error) || !compute(request, *place, error)) {
    return 0;
  }
  moved.commit();
  *out = place->element();
  place->commit();
  return 1;
}

int32_t signWithCertificate(Placement *place, SignRequest request, TalvoPKICert *certificate,
                            const char *credential, XmlNode **out, uint32_t *error) noexcept {
  if (certificate == nullptr) {
    return fail(error, TALVO_SIGN_ERROR_MISSING_ARGUMENT);
  }
  const KeyPair keyPair(
      TalvoPKICertGetCertKeyPair(certificate, TALVO_KEY_PAIR_UNLOCK, TALVO_USE_SIGN, credential));
  if (!keyPair) {
    return fail(error, TALVO_SIGN_ERROR_NO_KEY);
  }
  const Key key(talvo_xml_signature_key_newcert(certificate));
  if (!key) {
    return fail(error, TALVO_SIGN_ERROR_OUT_OF_MEMORY);
  }
  request.key = key.get();
  request.keyPair = keyPair.get();
  return signInto(place, request, out, error);
}

}  // namespace
}  // namespace talvo

extern "C" {

int32_t talvo_xml_signature_signex(XmlDoc *doc, XmlNode *parent, XmlNode *sibling,
                                   const talvo_ustring *signatureId, SignedInfoCtx *context,
                                   const talvo_arraylist *objects, const SignatureKey *key,
                                   TalvoPKIKeyPair *keyPair, int32_t checkKey,
                                   const talvo_arraylist *extraCertificates,
                                   const talvo_ustring *basePath, XmlNode **signatureElement,
                                   uint32_t *error) noexcept {
  return talvo::guardWithError(error, TALVO_SIGN_ERROR_OUT_OF_MEMORY, [&] {
    talvo::Placement place(doc, parent, sibling);
    return talvo::signInto(
        &place,
        {signatureId, context, objects, key, keyPair, checkKey != 0, extraCertificates, basePath},
        signatureElement, error);
  });
}

int32_t talvo_xml_signature_sign(XmlDoc *doc, XmlNode *parent, XmlNode *sibling,
                                 const talvo_ustring *signatureId, SignedInfoCtx *context,
                                 const talvo_arraylist *objects, TalvoPKICert *certificate,
                                 const char *credential, XmlNode **signatureElement,
                                 uint32_t *error) noexcept {
  return talvo::guardWithError(error, TALVO_SIGN_ERROR_OUT_OF_MEMORY, [&] {
    talvo::Placement place(doc, parent, sibling);
    return talvo::signWithCertificate(
        &place, {signatureId, context, objects, nullptr, nullptr, false, nullptr, nullptr},
        certificate, credential, signatureElement, error);
  });
}
}
