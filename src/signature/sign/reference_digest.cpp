// Writes the digests of references into their DigestValue elements, and answers what an existing
// Reference should carry.
#include "signature/sign/reference_digest.h"

#include "base/boundary.h"
#include "signature/context/context.h"
#include "signature/decode/reference.h"
#include "signature/generate/element_writer.h"
#include "signature/record/record.h"
#include "signature/sign/signed_info_octets.h"
#include "signature/vocabulary/vocabulary.h"
#include "transform/reference/reference_digest.h"
#include "xml/edit.h"
#include "xml/node.h"

namespace talvo {
namespace {

int32_t writeDigest(const Reach &reach, const talvo_ustring *text, uint32_t *error) noexcept {
  XmlNode *value = talvo_xml_node_findelemnode(reach.element, g_xml_signature_digestvalue_name,
                                               g_xml_signature_nsuri);
  if (value == nullptr) {
    return fail(error, TALVO_SIGN_ERROR_MISSING_ELEMENT);
  }
  OwnedNode node = makeText(reach.document, text);
  if (!node || linkChild(value, node) == nullptr) {
    return fail(error, TALVO_SIGN_ERROR_OUT_OF_MEMORY);
  }
  return 1;
}

// Tells each transform context which XPath element stands for it in this Reference, and forgets it
// at the end of the scope: contexts outlive documents, and what they remembered of an earlier one
// may be gone.
class XPathTargets {
 public:
  XPathTargets(ReferenceCtx *context, const XmlNode *referenceElement) noexcept
      : context_(context) {
    XmlNode *element =
        firstElementChild(signatureChild(referenceElement, g_xml_signature_transforms_name));
    for (TransformCtx *transform : items<TransformCtx>(context->transforms)) {
      transform->xpathElement = signatureChild(element, g_xml_signature_xpath_name);
      element = nextElement(element);
    }
  }
  XPathTargets(const XPathTargets &) = delete;
  XPathTargets &operator=(const XPathTargets &) = delete;
  ~XPathTargets() {
    for (TransformCtx *transform : items<TransformCtx>(context_->transforms)) {
      transform->xpathElement = nullptr;
    }
  }

 private:
  ReferenceCtx *context_;
};

int32_t digestReference(const Reach &reach, ReferenceCtx *context, uint32_t *error) noexcept {
  if (reach.element == nullptr) {
    return fail(error, TALVO_SIGN_ERROR_MISSING_ELEMENT);
  }
  if (context->hasDigestValue) {
    return writeDigest(reach, context->digestValue.get(), error);
  }
  const XPathTargets targets(context, reach.element);
  const UString text = digestOfContext(*context, reach, error);
  return text ? writeDigest(reach, text.get(), error) : 0;
}

// Gives the contexts their Signature element and takes it back at the end of the scope.
class SignatureTarget {
 public:
  SignatureTarget(ReferenceCtx *context, XmlNode *signatureElement) noexcept : context_(context) {
    setrefssignnode(context, signatureElement);
  }
  SignatureTarget(const SignatureTarget &) = delete;
  SignatureTarget &operator=(const SignatureTarget &) = delete;
  ~SignatureTarget() { setrefssignnode(context_, nullptr); }

 private:
  ReferenceCtx *context_;
};

// `reach` is told of each Reference in turn.
int32_t digestReferences(Reach reach, XmlNode *signatureElement, const List &contexts,
                         uint32_t *error) noexcept {
  XmlNode *signedInfo = signatureChild(signatureElement, g_xml_signature_signerinfo_name);
  if (signedInfo == nullptr) {
    return fail(error, TALVO_SIGN_ERROR_MISSING_ELEMENT);
  }
  talvo_arraylist *found = nullptr;
  if (talvo_xml_node_findallelemnode(signedInfo, g_xml_signature_reference_name,
                                     g_xml_signature_nsuri, &found) != 1) {
    return fail(error, TALVO_SIGN_ERROR_OUT_OF_MEMORY);
  }
  const List owner(found);
  const ListView<XmlNode> elements = items<XmlNode>(owner);
  int32_t position = 0;
  for (ReferenceCtx *context : items<ReferenceCtx>(contexts)) {
    const SignatureTarget target(context, signatureElement);
    reach.element = elements[position++];
    if (calcref(reach, context, error) != 1) {
      return 0;
    }
  }
  return 1;
}

// The digest that an existing Reference should carry.
UString digestElement(XmlNode *element, uint32_t dereferenceFlag, const talvo_ustring *basePath,
                      uint32_t *error) noexcept {
  if (element == nullptr) {
    return failNull(error, TALVO_SIGN_ERROR_MISSING_ARGUMENT);
  }
  if (!isElement(element, g_xml_signature_reference_name, g_xml_signature_nsuri)) {
    return failNull(error, TALVO_SIGN_ERROR_NOT_A_REFERENCE);
  }
  const OwnedReference reference(
      talvo_xml_decode_signature_reference(element, findEnclosingSignature(element)));
  if (!reference) {
    return failNull(error, TALVO_SIGN_ERROR_NOT_A_REFERENCE);
  }
  XmlDoc *document = talvo_xml_node_getdoc(element);
  talvo_xml_signature_setid(document);
  return reference->uri
             ? digestOfReference(*reference, {document, element, basePath, dereferenceFlag}, error)
             : failNull(error, TALVO_SIGN_ERROR_NOT_A_REFERENCE);
}

}  // namespace
}  // namespace talvo

using namespace talvo;

void setrefssignnode(ReferenceCtx *context, XmlNode *signatureElement) noexcept {
  for (TransformCtx *transform : items<TransformCtx>(context->transforms)) {
    transform->signatureElement = signatureElement;
  }
}

int32_t calcref(const Reach &reach, ReferenceCtx *context, uint32_t *error) noexcept {
  return digestReference(reach, context, error);
}

int32_t talvo_xml_signature_calcrefdigestvalue(XmlDoc *doc, XmlNode *signatureElement,
                                               SignedInfoCtx *context,
                                               const talvo_ustring *basePath,
                                               uint32_t dereferenceFlag, uint32_t *error) noexcept {
  return guardWithError(error, TALVO_SIGN_ERROR_OUT_OF_MEMORY, [&] {
    if (signatureElement == nullptr || context == nullptr) {
      return fail(error, TALVO_SIGN_ERROR_MISSING_ARGUMENT);
    }
    return digestReferences({doc, nullptr, basePath, dereferenceFlag}, signatureElement,
                            context->references, error);
  });
}

talvo_ustring *talvo_xml_signature_calref(XmlNode *referenceElement, uint32_t dereferenceFlag,
                                          const talvo_ustring *basePath, uint32_t *error) noexcept {
  return guardWithError(error, TALVO_SIGN_ERROR_OUT_OF_MEMORY, [&] {
    return digestElement(referenceElement, dereferenceFlag, basePath, error).release();
  });
}
