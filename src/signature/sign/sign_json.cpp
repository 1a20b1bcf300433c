// Completing a Signature element that the caller has placed. The caller's prefix, comments and
// Objects stay; what is missing is inserted at fixed places. Nothing is taken back on failure: the
// element is the caller's to discard.
#include "base/boundary.h"
#include "crypto/handle.h"
#include "signature/context/context.h"
#include "signature/context/json_params.h"
#include "signature/generate/element_writer.h"
#include "signature/generate/key_info.h"
#include "signature/generate/signed_info.h"
#include "signature/vocabulary/vocabulary.h"
#include "signature/xades/properties.h"
#include "xml/edit.h"
#include "xml/node.h"

namespace talvo {
namespace {

struct JsonRun {
  XmlNode *element;
  XmlDoc *doc;
  XmlNode *ns;
  TalvoPKICert *certificate;
  const talvo_json *parameters;
  SignedInfoContext context;
  EntryParameters entry;
};

bool isCompletable(const XmlNode *element) noexcept {
  if (talvo_xml_signature_issignaturenode(element) != 1) {
    return false;
  }
  const XmlNode *first = talvo_xml_node_getelemchildren(element);
  return first == nullptr || isElement(first, g_xml_signature_object_name, g_xml_signature_nsuri);
}

bool checkArguments(const XmlNode *element, const TalvoPKICert *certificate,
                    const talvo_json *parameters, uint32_t *error) noexcept {
  if (element == nullptr || certificate == nullptr || parameters == nullptr) {
    return refuse(error, TALVO_SIGN_ERROR_FAILED);
  }
  if (!isCompletable(element)) {
    return refuse(error, TALVO_SIGN_ERROR_NOT_A_SIGNATURE);
  }
  if (talvo_json_gettype(parameters) != TALVO_JSON_OBJECT) {
    return refuse(error, TALVO_SIGN_ERROR_PARAMETERS);
  }
  return true;
}

bool readParameters(JsonRun *run, uint32_t *error) noexcept {
  run->context.reset(JsonToSignedInfoCtx(run->parameters));
  if (!run->context || !readEntryParameters(run->parameters, run->entry)) {
    return refuse(error, TALVO_SIGN_ERROR_PARAMETERS);
  }
  return true;
}

// The Id that the properties point at: the one asked for, the one that is there, or a new one where
// it is needed.
bool settleId(JsonRun *run) noexcept {
  UString &id = run->entry.signatureId;
  XmlNode *present = findId(run->element);
  if (present != nullptr && id) {
    return talvo_xml_node_setvalue(present, id.get()) == 1;
  }
  if (present != nullptr) {
    id.reset(talvo_xml_node_getvalue(present));
    return id != nullptr;
  }
  if (!id && !run->context->asksForXades()) {
    return true;
  }
  if (!id) {
    id.reset(genId());
  }
  return addAttribute(run->element, g_xml_signature_id, id.get());
}

// The node behind which SignedInfo goes: the first child, and never an Object, which has to follow.
XmlNode *headPosition(const JsonRun &run) noexcept {
  XmlNode *first = talvo_xml_node_getchildren(run.element);
  if (first == nullptr) {
    return addlfchild(run.doc, run.element);
  }
  if (kindOf(first) != NodeKind::element) {
    return first;
  }
  OwnedNode lineFeed = makeText(run.doc, g_xml_lf);
  return lineFeed ? linkBefore(first, lineFeed) : nullptr;
}

// Links the part behind a node, or behind a line feed of its own that follows the node. Returns the
// part.
XmlNode *linkPart(XmlNode *after, OwnedNode part) noexcept {
  return linkNew(after, std::move(part));
}

// SignedInfo, SignatureValue and KeyInfo; returns the last of them.
XmlNode *writeParts(const JsonRun &run) noexcept {
  XmlNode *last =
      linkPart(headPosition(run), generateSignedInfo(run.doc, run.ns, run.context.get()));
  if (last == nullptr) {
    return nullptr;
  }
  last = linkPart(linkPart(last, makeText(run.doc, g_xml_lf)),
                  generateSignatureValue(run.doc, run.ns, run.context->signatureValueId.get()));
  if (last == nullptr || run.context->includeCertOption == TALVO_CERTIFICATES_NONE) {
    return last;
  }
  const Key key(talvo_xml_signature_key_newcert(run.certificate));
  return linkPart(
      linkPart(last, makeText(run.doc, g_xml_lf)),
      generateKeyInfo(run.doc, run.ns, key.get(), run.context->includeCertOption, nullptr));
}

bool isObject(const XmlNode *node) noexcept {
  return node != nullptr && isElement(node, g_xml_signature_object_name, g_xml_signature_nsuri);
}

// Behind the caller's run of Objects: the element that ends the run, else the node that directly
// follows it, else a new line feed.
XmlNode *propertiesPosition(const JsonRun &run, XmlNode *last) noexcept {
  XmlNode *next = talvo_xml_node_skipignorenode(last);
  while (isObject(next)) {
    last = next;
    next = talvo_xml_node_skipignorenode(last);
  }
  if (next != nullptr) {
    return next;
  }
  XmlNode *following = talvo_xml_node_getnextsibling(last);
  return following != nullptr ? following : linkPart(last, makeText(run.doc, g_xml_lf));
}

bool writeProperties(const JsonRun &run, XmlNode *last, uint32_t *error) noexcept {
  XmlNode *position = propertiesPosition(run, last);
  if (position == nullptr) {
    return refuse(error, TALVO_SIGN_ERROR_OUT_OF_MEMORY);
  }
  if (!run.context->asksForXades()) {
    return true;
  }
  OwnedNode object = generateQualifyingProperties(run.doc, run.ns, run.entry.signatureId.get(),
                                                  run.context.get(), run.certificate, error);
  if (!object) {
    return false;
  }
  XmlNode *linked = linkNew(position, std::move(object));
  if (linked == nullptr || addlfsibling(run.doc, linked) == nullptr) {
    return refuse(error, TALVO_SIGN_ERROR_OUT_OF_MEMORY);
  }
  return true;
}

bool complete(JsonRun *run, uint32_t *error) noexcept {
  XmlNode *last = settleId(run) ? writeParts(*run) : nullptr;
  if (last == nullptr) {
    return refuse(error, TALVO_SIGN_ERROR_OUT_OF_MEMORY);
  }
  return writeProperties(*run, last, error);
}

bool compute(const JsonRun &run, TalvoPKIKeyPair *keyPair, uint32_t *error) noexcept {
  if (talvo_xml_signature_setid(run.doc) != 1) {
    return refuse(error, TALVO_SIGN_ERROR_ID_REGISTRATION);
  }
  SignedInfoCtx *context = run.context.get();
  return talvo_xml_signature_calcrefdigestvalue(run.doc, run.element, context,
                                                run.entry.basePath.get(),
                                                run.entry.dereferenceFlags, error) == 1 &&
         talvo_xml_signature_calcsignature(run.doc, run.element, keyPair, context->signatureMethod,
                                           context->c14nMethod, context->prefixes.get(),
                                           error) == 1;
}

// The time-stamp that the parameters ask for, if they do. The signature stays when it cannot be
// had.
bool addTimeStamp(const JsonRun &run, uint32_t *error) noexcept {
  TimeStampParameters wanted;
  if (!readTimeStampParameters(run.parameters, wanted)) {
    return refuse(error, TALVO_SIGN_ERROR_TIME_STAMP);
  }
  if (wanted.isRequested &&
      talvo_xml_signature_xades_addsignaturetimestamp(
          run.element, wanted.id.get(), wanted.c14nMethod, wanted.prefixes.get(), wanted.tsa.get(),
          wanted.digestMethod, nullptr, error) != 1) {
    return refuse(error, TALVO_SIGN_ERROR_TIME_STAMP);
  }
  return true;
}

int32_t signElement(XmlNode *element, TalvoPKICert *certificate, const talvo_json *parameters,
                    uint32_t *error) noexcept {
  if (!checkArguments(element, certificate, parameters, error)) {
    return 0;
  }
  const KeyPair keyPair(TalvoPKICertGetCertKeyPair(certificate, 0, TALVO_USE_SIGN, nullptr));
  if (!keyPair) {
    return fail(error, TALVO_SIGN_ERROR_NO_KEY_FOR_CERTIFICATE);
  }
  JsonRun run{element,
              talvo_xml_node_getdoc(element),
              talvo_xml_node_getassociatednsnode(element),
              certificate,
              parameters,
              nullptr,
              {}};
  const bool done = readParameters(&run, error) && complete(&run, error) &&
                    compute(run, keyPair.get(), error) && addTimeStamp(run, error);
  return done ? 1 : 0;
}

}  // namespace
}  // namespace talvo

extern "C" {

int32_t talvo_xml_signature_sign_ex(XmlNode *signatureElement, TalvoPKICert *certificate,
                                    const talvo_json *parameters, uint32_t *error) noexcept {
  return talvo::guardWithError(error, TALVO_SIGN_ERROR_OUT_OF_MEMORY, [&] {
    return talvo::signElement(signatureElement, certificate, parameters, error);
  });
}
}
