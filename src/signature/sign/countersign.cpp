// A countersignature is an ordinary signature inside a CounterSignature property, whose last
// reference names the countersigned SignatureValue by its Id. Making one prepares parameters and
// skeleton and leaves the rest to the signing entry point.
#include "base/boundary.h"
#include "base/list.h"
#include "base/utf8.h"
#include "signature/context/context.h"
#include "signature/generate/element_writer.h"
#include "signature/vocabulary/algorithm.h"
#include "signature/vocabulary/vocabulary.h"
#include "signature/xades/position.h"
#include "signature/xades/properties.h"
#include "xml/edit.h"

namespace talvo {
namespace {

struct CounterRun {
  XmlNode *signatureElement;
  const SignatureKey *key;
  int32_t digestMethod;
  const talvo_ustring *id;
  const talvo_json *parameters;
};

bool setText(talvo_json *object, std::string_view key, std::string_view text) noexcept {
  const Json value(talvo_json_newstring(text.data(), text.size()));
  return value && talvo_json_setmember(object, key.data(), key.size(), value.get()) == 1;
}

// The reference to the countersigned value; null for a digest that cannot be chosen.
Json makeReference(int32_t digestMethod, const talvo_ustring *valueId) {
  const DigestAlgorithm *digest = digestByNumber(digestMethod);
  const UString uri = targetOf(valueId);
  Json reference(talvo_json_newobject());
  if (!reference || !uri || digest == nullptr || digest->jsonName.empty() ||
      !setText(reference.get(), "HashAlgo", digest->jsonName) ||
      !setText(reference.get(), "URI", viewOf(uri.get())) ||
      !setText(reference.get(), "Type", TALVO_XML_TYPE_COUNTERSIGNED_SIGNATURE)) {
    return nullptr;
  }
  return reference;
}

// The caller's list of references, or a new empty one under that key.
Json referencesOf(talvo_json *parameters) noexcept {
  constexpr std::string_view kKey = "References";
  Json references(talvo_json_getmember(parameters, kKey.data(), kKey.size()));
  if (references) {
    return references;
  }
  references.reset(talvo_json_newarray());
  if (!references ||
      talvo_json_setmember(parameters, kKey.data(), kKey.size(), references.get()) != 1) {
    return nullptr;
  }
  return references;
}

// A copy of the caller's parameters with the reference appended.
Json extendParameters(const CounterRun &run, const talvo_ustring *valueId) {
  Json parameters(talvo_json_dup(run.parameters));
  const Json references = parameters ? referencesOf(parameters.get()) : nullptr;
  const Json reference = makeReference(run.digestMethod, valueId);
  if (!references || !reference || talvo_json_additem(references.get(), reference.get()) != 1) {
    return nullptr;
  }
  return parameters;
}

// CounterSignature with an empty Signature between line feeds; the Signature is handed out
// borrowed.
OwnedNode makeSkeleton(const CounterRun &run, const XmlNode *signatureValue, XmlNode *xadesNs,
                       XmlNode **inner) noexcept {
  XmlDoc *doc = talvo_xml_node_getdoc(signatureValue);
  ElementWriter signature(doc, talvo_xml_node_getassociatednsnode(signatureValue),
                          g_xml_signature_name);
  if (run.id != nullptr) {
    signature.attribute(g_xml_signature_id, run.id);
  }
  OwnedNode empty = signature.take();
  *inner = empty.get();
  return ElementWriter(doc, xadesNs, g_xml_xades_countersignature)
      .open()
      .part(std::move(empty))
      .take();
}

// The linked, empty Signature; null when there is no place for it.
XmlNode *placeSkeleton(const CounterRun &run, XmlNode *signatureValue) noexcept {
  XmlNode *xadesNs = nullptr;
  XmlNode *position = getUnsignedSignaturePropertiesLastChildPos(signatureValue, &xadesNs);
  if (position == nullptr) {
    return nullptr;
  }
  XmlNode *signature = nullptr;
  OwnedNode property = makeSkeleton(run, signatureValue, xadesNs, &signature);
  return linkNew(position, std::move(property)) != nullptr ? signature : nullptr;
}

// The SignatureValue to countersign; null with an error.
XmlNode *checkArguments(const CounterRun &run, uint32_t *error) noexcept {
  if (run.key == nullptr || run.signatureElement == nullptr || run.parameters == nullptr) {
    return failNull(error, TALVO_SIGN_ERROR_FAILED);
  }
  if (talvo_xml_signature_issignaturenode(run.signatureElement) != 1) {
    return failNull(error, TALVO_SIGN_ERROR_NOT_A_SIGNATURE);
  }
  if (talvo_json_gettype(run.parameters) != TALVO_JSON_OBJECT) {
    return failNull(error, TALVO_SIGN_ERROR_PARAMETERS);
  }
  XmlNode *value = talvo_xml_node_findelemnode(run.signatureElement, g_xml_signature_signaturevalue,
                                               g_xml_signature_nsuri);
  return value != nullptr ? value : failNull(error, TALVO_SIGN_ERROR_NOT_A_SIGNATURE);
}

// The Id by which the reference will find the value; null when it has none or leads elsewhere, as
// when two values of the document share one.
UString idOf(XmlNode *signatureValue) noexcept {
  XmlDoc *doc = talvo_xml_node_getdoc(signatureValue);
  UString id(talvo_xml_node_getattributevalue(signatureValue, g_xml_signature_id, nullptr));
  talvo_xml_signature_setid(doc);
  return talvo_xml_getidelemnode(doc, id.get()) == signatureValue ? std::move(id) : nullptr;
}

int32_t countersign(const CounterRun &run, XmlNode **result, uint32_t *error) {
  XmlNode *signatureValue = checkArguments(run, error);
  if (signatureValue == nullptr) {
    return 0;
  }
  const UString valueId = idOf(signatureValue);
  if (!valueId) {
    return fail(error, TALVO_SIGN_ERROR_NO_SIGNATURE_VALUE_ID);
  }
  // Signing takes a certificate with its private key; a bare public key cannot countersign.
  TalvoPKICert *certificate = run.key->certificate();
  const Json parameters = certificate == nullptr ? nullptr : extendParameters(run, valueId.get());
  XmlNode *signature = parameters ? placeSkeleton(run, signatureValue) : nullptr;
  if (signature == nullptr) {
    return fail(error, TALVO_SIGN_ERROR_FAILED);
  }
  // Deliberate: when signing fails, the CounterSignature stays in the document.
  const int32_t done = talvo_xml_signature_sign_ex(signature, certificate, parameters.get(), error);
  if (result != nullptr) {
    *result = signature;
  }
  return done;
}

}  // namespace
}  // namespace talvo

extern "C" {

int32_t talvo_xml_signature_xades_countersign(XmlNode *signatureElement, const SignatureKey *key,
                                              int32_t digestMethod, const talvo_ustring *id,
                                              const talvo_json *parameters,
                                              XmlNode **counterSignature,
                                              uint32_t *error) noexcept {
  return talvo::guardWithError(error, TALVO_SIGN_ERROR_FAILED, [&] {
    return talvo::countersign({signatureElement, key, digestMethod, id, parameters},
                              counterSignature, error);
  });
}
}
