// Signing and checking run the same chain of transforms; here its digest becomes text in the document.
#include "signature/sign/reference_digest.h"

#include "base/boundary.h"
#include "base/utf8.h"
#include "signature/context/context.h"
#include "signature/decode/reference.h"
#include "signature/generate/element_writer.h"
#include "signature/record/record.h"
#include "signature/sign/signed_info_octets.h"
#include "signature/vocabulary/algorithm.h"
#include "signature/vocabulary/error.h"
#include "signature/vocabulary/vocabulary.h"
#include "transform/canonicalize.h"
#include "transform/reference/dereference.h"
#include "transform/reference/digest.h"
#include "transform/reference/uri.h"
#include "xml/edit.h"
#include "xml/node.h"

namespace talvo {
namespace {

// Where a reference stands and how far it may reach.
struct Surroundings {
  XmlDoc *doc;
  XmlNode *referenceElement;
  const talvo_ustring *basePath;
  uint32_t dereferenceFlag;
};

// Dereferencing has codes of its own; the signing family keeps four of them and renames one.
void translateDereferenceError(uint32_t *error) noexcept {
  switch (static_cast<DereferenceError>(*error)) {
    case DereferenceError::outOfMemory:
    case DereferenceError::unsupportedUri:
    case DereferenceError::notFound:
    case DereferenceError::missingArgument:
      return;
    case DereferenceError::networkRefused:
      fail(error, SignError::networkRefused);
      return;
    default:
      fail(error, SignError::failed);
  }
}

// Null with an error when the URI cannot be dereferenced.
TransformInput dereference(const Surroundings &around, const talvo_ustring *uri,
                           uint32_t *error) noexcept {
  TransformData *data = nullptr;
  if (talvo_xml_siganture_uri2input(around.doc, around.dereferenceFlag, around.referenceElement,
                                    uri, around.basePath, &data, error) != 1) {
    translateDereferenceError(error);
    return nullptr;
  }
  return TransformInput(data);
}

UString digestFile(const Surroundings &around, int32_t digestId, const talvo_ustring *uri,
                   uint32_t *error) noexcept {
  talvo_ustring *text = nullptr;
  if (calcOctstreamUriHash(around.doc, around.referenceElement, around.basePath, digestId, uri,
                           around.dereferenceFlag, &text, error) != 1) {
    return nullptr;
  }
  return UString(text);
}

// Decoded transforms and transform contexts are run by functions of one form.
using DigestFunction = bool (*)(TransformInput, const talvo_arraylist *, int32_t, Digest *,
                                uint32_t *) noexcept;

UString digestData(DigestFunction function, TransformInput data, const List &transforms,
                   int32_t digestId, uint32_t *error) noexcept {
  Digest digest;
  if (!data || !function(std::move(data), transforms.get(), digestId, &digest, error)) {
    return nullptr;
  }
  UString text = digestText(digest);
  if (!text) {
    return failNull(error, SignError::outOfMemory);
  }
  return text;
}

TransformInput suppliedContent(const ReferenceCtx &context, uint32_t *error) noexcept {
  const Bytes content = bytesOf(context.content.get());
  TransformInput data(talvo_xml_transform_newocts(content.data(), content.size(), 0));
  if (!data) {
    return failNull(error, SignError::outOfMemory);
  }
  return data;
}

UString digestContext(const Surroundings &around, const ReferenceCtx &context,
                      uint32_t *error) noexcept {
  const auto digestId = static_cast<int32_t>(context.digestMethod);
  if (!context.uri) {
    return digestData(digestContextData, suppliedContent(context, error), context.transforms,
                      digestId, error);
  }
  if (!context.transforms && isOctstreamUri(context.uri.get()) == 1) {
    return digestFile(around, digestId, context.uri.get(), error);
  }
  return digestData(digestContextData, dereference(around, context.uri.get(), error),
                    context.transforms, digestId, error);
}

int32_t writeDigest(const Surroundings &around, const talvo_ustring *text,
                    uint32_t *error) noexcept {
  XmlNode *value = talvo_xml_node_findelemnode(
      around.referenceElement, g_xml_signature_digestvalue_name, g_xml_signature_nsuri);
  if (value == nullptr) {
    return fail(error, SignError::missingElement);
  }
  OwnedNode node = makeText(around.doc, text);
  if (!node || linkChild(value, node) == nullptr) {
    return fail(error, SignError::outOfMemory);
  }
  return 1;
}

// Tells each transform context which XPath element stands for it in this Reference, and forgets it at the end of the
// scope: contexts outlive documents, and what they remembered of an earlier one may be gone.
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

int32_t digestReference(const Surroundings &around, ReferenceCtx *context,
                        uint32_t *error) noexcept {
  if (context->hasDigestValue) {
    return writeDigest(around, context->digestValue.get(), error);
  }
  const XPathTargets targets(context, around.referenceElement);
  const UString text = digestContext(around, *context, error);
  return text ? writeDigest(around, text.get(), error) : 0;
}

struct DigestRun {
  XmlDoc *doc;
  XmlNode *signatureElement;
  const talvo_ustring *basePath;
  uint32_t dereferenceFlag;
};

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

int32_t digestReferences(const DigestRun &run, const List &contexts, uint32_t *error) noexcept {
  XmlNode *signedInfo = signatureChild(run.signatureElement, g_xml_signature_signerinfo_name);
  if (signedInfo == nullptr) {
    return fail(error, SignError::missingElement);
  }
  talvo_arraylist *found = nullptr;
  if (talvo_xml_node_findallelemnode(signedInfo, g_xml_signature_reference_name,
                                     g_xml_signature_nsuri, &found) != 1) {
    return fail(error, SignError::outOfMemory);
  }
  const List owner(found);
  const ListView<XmlNode> elements = items<XmlNode>(owner);
  const FitnessScope scope(run.doc);
  int32_t position = 0;
  for (ReferenceCtx *context : items<ReferenceCtx>(contexts)) {
    const SignatureTarget target(context, run.signatureElement);
    if (calcref(run.doc, elements[position++], context, run.basePath, run.dereferenceFlag, error) !=
        1) {
      return 0;
    }
  }
  return 1;
}

// The digest that an existing Reference should carry.
UString digestElement(XmlNode *element, uint32_t dereferenceFlag, const talvo_ustring *basePath,
                      uint32_t *error) noexcept {
  if (element == nullptr) {
    return failNull(error, SignError::missingArgument);
  }
  if (!isElement(element, g_xml_signature_reference_name, g_xml_signature_nsuri)) {
    return failNull(error, SignError::notAReference);
  }
  const OwnedReference reference(
      talvo_xml_decode_signature_reference(element, findEnclosingSignature(element)));
  if (!reference) {
    return failNull(error, SignError::notAReference);
  }
  const Surroundings around{talvo_xml_node_getdoc(element), element, basePath, dereferenceFlag};
  talvo_xml_signature_setid(around.doc);
  if (!reference->uri) {
    return failNull(error, SignError::notAReference);
  }
  const int32_t digestId = reference->digestMethod->algorithmId;
  if (!reference->transforms && isOctstreamUri(reference->uri.get()) == 1) {
    return digestFile(around, digestId, reference->uri.get(), error);
  }
  return digestData(digestReferenceData, dereference(around, reference->uri.get(), error),
                    reference->transforms, digestId, error);
}

}  // namespace
}  // namespace talvo

extern "C" {

void setrefssignnode(ReferenceCtx *context, XmlNode *signatureElement) noexcept {
  for (TransformCtx *transform : talvo::items<TransformCtx>(context->transforms)) {
    transform->signatureElement = signatureElement;
  }
}

int32_t calcref(XmlDoc *doc, XmlNode *referenceElement, ReferenceCtx *context,
                const talvo_ustring *basePath, uint32_t dereferenceFlag, uint32_t *error) noexcept {
  if (referenceElement == nullptr) {
    return talvo::fail(error, talvo::SignError::missingElement);
  }
  return talvo::digestReference({doc, referenceElement, basePath, dereferenceFlag}, context, error);
}

int32_t talvo_xml_signature_calcrefdigestvalue(XmlDoc *doc, XmlNode *signatureElement,
                                               SignedInfoCtx *context,
                                               const talvo_ustring *basePath,
                                               uint32_t dereferenceFlag, uint32_t *error) noexcept {
  return talvo::guardWithError(error, talvo::SignError::outOfMemory, [&] {
    if (signatureElement == nullptr || context == nullptr) {
      return talvo::fail(error, talvo::SignError::missingArgument);
    }
    return talvo::digestReferences({doc, signatureElement, basePath, dereferenceFlag},
                                   context->references, error);
  });
}

talvo_ustring *talvo_xml_signature_calref(XmlNode *referenceElement, uint32_t dereferenceFlag,
                                          const talvo_ustring *basePath, uint32_t *error) noexcept {
  return talvo::guardWithError(error, talvo::SignError::outOfMemory, [&] {
    return talvo::digestElement(referenceElement, dereferenceFlag, basePath, error).release();
  });
}
}
