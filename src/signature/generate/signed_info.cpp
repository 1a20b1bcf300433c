// SignedInfo: line feed, CanonicalizationMethod, line feed, SignatureMethod, line feed, and the
// references, each with its line feed.
#include "signature/generate/signed_info.h"

#include <algorithm>

#include "base/utf8.h"
#include "signature/generate/element_writer.h"
#include "signature/generate/reference.h"
#include "signature/vocabulary/algorithm.h"
#include "signature/vocabulary/vocabulary.h"

namespace {

using namespace talvo;

constexpr char kSource[] = "TALVO_XML_Signature";

// The prefixes with single blanks between them; null for an empty list.
UString joinPrefixes(const talvo_arraylist *prefixes) noexcept {
  size_t length = 0;
  for (const talvo_ustring *prefix : items<talvo_ustring>(prefixes)) {
    length += viewOf(prefix).size() + 1;
  }
  const TextBuffer joined = length == 0 ? nullptr : makeChars(kSource, length);
  if (!joined) {
    return nullptr;
  }
  char *end = joined.get();
  for (const talvo_ustring *prefix : items<talvo_ustring>(prefixes)) {
    const std::string_view text = viewOf(prefix);
    end = std::copy(text.begin(), text.end(), end);
    *end++ = ' ';
  }
  return makeString({joined.get(), length - 1});
}

OwnedNode generateInclusiveNamespaces(const talvo_arraylist *prefixes) noexcept {
  const UString joined = joinPrefixes(prefixes);
  ElementWriter element(nullptr, g_xml_signature_exc_c14n_inclusivenamespaces,
                        g_xml_signature_exc_c14n_nsuri, g_xml_signature_exc_c14n_nsprefix);
  return element.attribute(g_xml_signature_exc_c14n_prefixlist, joined.get()).take();
}

// HMAC methods have identifiers, but are only verified.
OwnedNode generateSignatureMethod(XmlNode *ns, int32_t signatureMethod) noexcept {
  const SignatureAlgorithm *row = signatureByNumber(signatureMethod);
  if (row == nullptr || row->family == KeyFamily::hmac) {
    return nullptr;
  }
  return algorithmElement(nullptr, ns, g_xml_signature_signmethod_name, row->uri).take();
}

}  // namespace

namespace talvo {

OwnedNode generateC14nMethod(XmlNode *ns, int32_t c14nMethod,
                             const talvo_arraylist *prefixes) noexcept {
  const VocabularySlot uri = uriOf(c14nByNumber(c14nMethod));
  ElementWriter method = algorithmElement(nullptr, ns, g_xml_signature_c14nmethod_name, uri);
  if (isExclusive(c14nMethod)) {
    method.child(generateInclusiveNamespaces(prefixes));
  }
  return method.take();
}

OwnedNode generateSignedInfo(XmlDoc *doc, XmlNode *ns, const SignedInfoCtx *context) noexcept {
  if (context == nullptr) {
    return nullptr;
  }
  ElementWriter signedInfo(doc, ns, g_xml_signature_signerinfo_name);
  return signedInfo.optionalId(context->id)
      .open()
      .part(generateC14nMethod(ns, static_cast<int32_t>(context->c14nMethod),
                               context->prefixes.get()))
      .part(generateSignatureMethod(ns, context->signatureMethod))
      .part(generateReferences(doc, ns, context->references.get()))
      .take();
}

OwnedNode generateSignatureValue(XmlDoc *doc, XmlNode *ns, const talvo_ustring *id) noexcept {
  ElementWriter value(doc, ns, g_xml_signature_signaturevalue);
  if (id != nullptr) {
    value.attribute(g_xml_signature_id, id);
  }
  return value.take();
}

}  // namespace talvo

XmlNode *talvo_xml_signedinfonode_gen(XmlDoc *doc, XmlNode *ns, SignedInfoCtx *context) noexcept {
  return handOut(generateSignedInfo(doc, ns, context));
}

XmlNode *talvo_xml_c14nmethodnode_gen(uint32_t c14nMethod, const talvo_arraylist *prefixes,
                                      XmlNode *ns) noexcept {
  return handOut(generateC14nMethod(ns, static_cast<int32_t>(c14nMethod), prefixes));
}

XmlNode *talvo_xml_signvaluenode_gen(XmlDoc *doc, XmlNode *ns, const talvo_ustring *id) noexcept {
  return handOut(generateSignatureValue(doc, ns, id));
}

XmlNode *talvo_xml_signature_inclusivenamespaces_gen(const talvo_arraylist *prefixes) noexcept {
  return handOut(generateInclusiveNamespaces(prefixes));
}

XmlNode *talvo_xml_node_gen(XmlDoc *doc, XmlNode *ns, const talvo_ustring *name,
                            const talvo_ustring *text) noexcept {
  return handOut(generateText(doc, ns, name, text));
}
