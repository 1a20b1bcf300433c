// CRLs as validation data: their values, and references that name them by digest, issuer, time and
// number.
#include <array>
#include <cstdio>

#include "base/boundary.h"
#include "base/utf8.h"
#include "crypto/handle.h"
#include "signature/generate/element_writer.h"
#include "signature/generate/reference.h"
#include "signature/record/record.h"
#include "signature/vocabulary/algorithm.h"
#include "signature/vocabulary/vocabulary.h"
#include "signature/xades/container.h"
#include "signature/xades/properties.h"
#include "transform/reference/digest.h"
#include "xml/edit.h"

namespace talvo {
namespace {

Crl parseCrl(const void *bytes, int32_t length) noexcept {
  return Crl(bytes == nullptr || length < 1 ? nullptr
                                            : talvo_crl_new(bytes, static_cast<size_t>(length), 0));
}

bool addCrlValue(XmlNode *signatureElement, const void *bytes, int32_t length) noexcept {
  if (talvo_xml_signature_issignaturenode(signatureElement) != 1) {
    return false;
  }
  const Crl crl = parseCrl(bytes, length);
  const Blob der(talvo_crl_encode(crl.get()));
  XmlNode *property =
      der ? findOrMakeProperty(signatureElement, g_xml_xades_revocationvalues) : nullptr;
  XmlNode *values = property == nullptr
                        ? nullptr
                        : findOrMakeList(property, {g_xml_xades_crlvalues, g_xml_xades_crlvalues});
  return values != nullptr &&
         appendValue(values,
                     generateEncodedValue(talvo_xml_node_getdoc(values), nullptr,
                                          g_xml_xades_encapsulatedcrlvalue, bytesOf(der.get())));
}

struct CrlRun {
  XmlDoc *doc;
  XmlNode *signatureNs;
  int32_t digestMethod;
  uint32_t flags;
  const talvo_crl *crl;
};

OwnedNode makeDigest(const CrlRun &run) noexcept {
  const DigestAlgorithm *method = digestByNumber(run.digestMethod);
  const Blob der(talvo_crl_encode(run.crl));
  if (!der || method == nullptr) {
    return nullptr;
  }
  const Bytes octets = bytesOf(der.get());
  const CryptoOctets digest = octetsFrom(hash, method->hash, octets.data(), octets.size());
  if (!digest) {
    return nullptr;
  }
  return ElementWriter::plain(run.doc, g_xml_xades_digestalgandvalue)
      .open()
      .part(generateDigestMethod(run.signatureNs, run.digestMethod))
      .part(generateDigestValue(run.doc, run.signatureNs, digest.view()))
      .take();
}

UString issuerText(const talvo_crl *crl) noexcept {
  const DistinguishedName issuer(talvo_crl_getissuer(crl));
  return UString(talvo_cert_dn_getldapstring(issuer.get(), TALVO_DN_RFC4514));
}

UString issueTimeText(const talvo_crl *crl) noexcept {
  const Time time(talvo_crl_getthisupdate(crl));
  return formatTime(time.get());
}

// The CRL number as decimal text; null when the CRL has none that can be read.
UString numberText(const talvo_crl *crl) noexcept {
  constexpr std::string_view kCrlNumber = "2.5.29.20";
  const int32_t count = talvo_crl_getextensioncount(crl);
  for (int32_t index = 0; index < count; ++index) {
    const Extension extension(talvo_crl_getextension(crl, index));
    const UString oid(talvo_cert_extension_getoid(extension.get()));
    if (viewOf(oid.get()) != kCrlNumber) {
      continue;
    }
    const BigInteger number(talvo_cert_extension_getinteger(extension.get()));
    char *text = nullptr;
    if (talvo_biginteger_todec(number.get(), &text) != 1) {
      return nullptr;
    }
    const TextBuffer owner(text);
    return makeString(text);
  }
  return nullptr;
}

OwnedNode plainText(XmlDoc *doc, const talvo_ustring *name, const talvo_ustring *text) noexcept {
  return ElementWriter::plain(doc, name).text(text).take();
}

// A number that cannot be read is left out; one that the memory did not suffice for is a failure.
bool readNumber(const talvo_crl *crl, UString *number) noexcept {
  const int64_t refusals = talvo_memory_getrefusals();
  *number = numberText(crl);
  return *number != nullptr || talvo_memory_getrefusals() == refusals;
}

OwnedNode makeIdentifier(const CrlRun &run) noexcept {
  UString number;
  if (!readNumber(run.crl, &number)) {
    return nullptr;
  }
  ElementWriter identifier = ElementWriter::plain(run.doc, g_xml_xades_crlidentifier);
  identifier.open()
      .part(plainText(run.doc, g_xml_xades_crlissuer, issuerText(run.crl).get()))
      .part(plainText(run.doc, g_xml_xades_crlissuertime, issueTimeText(run.crl).get()));
  if (number) {
    identifier.part(plainText(run.doc, g_xml_xades_crlnumber, number.get()));
  }
  return identifier.take();
}

OwnedNode makeReference(const CrlRun &run) noexcept {
  ElementWriter reference = ElementWriter::plain(run.doc, g_xml_xades_crlref);
  reference.open().part(makeDigest(run));
  if ((run.flags & TALVO_CRL_REF_IDENTIFIER) != 0) {
    reference.part(makeIdentifier(run));
  }
  return reference.take();
}

bool addCrlReference(XmlNode *signatureElement, int32_t digestMethod, uint32_t flags,
                     const talvo_crl *crl) noexcept {
  if (crl == nullptr || talvo_xml_signature_issignaturenode(signatureElement) != 1) {
    return false;
  }
  const CrlRun run{talvo_xml_node_getdoc(signatureElement),
                   talvo_xml_node_getassociatednsnode(signatureElement), digestMethod, flags, crl};
  OwnedNode reference = makeReference(run);
  XmlNode *property = reference
                          ? findOrMakeProperty(signatureElement, g_xml_xades_completerevocationrefs)
                          : nullptr;
  // Deliberate: the list is looked for under the name CRLRefs and made under the name CRLRef.
  XmlNode *list = property == nullptr
                      ? nullptr
                      : findOrMakeList(property, {g_xml_xades_crlrefs, g_xml_xades_crlref});
  return list != nullptr && appendValue(list, std::move(reference));
}

}  // namespace
}  // namespace talvo

extern "C" {

int32_t talvo_xml_signature_xades_add_revocationvalues_crl(XmlNode *signatureElement,
                                                           const void *crl,
                                                           int32_t length) noexcept {
  return talvo::guard([&] { return talvo::addCrlValue(signatureElement, crl, length) ? 1 : 0; });
}

int32_t talvo_xml_signature_xades_add_completerevocationrefs_crl(XmlNode *signatureElement,
                                                                 int32_t digestMethod,
                                                                 uint32_t flags, const void *crl,
                                                                 int32_t length) noexcept {
  return talvo::guard([&] {
    const talvo::Crl parsed = talvo::parseCrl(crl, length);
    return talvo::addCrlReference(signatureElement, digestMethod, flags, parsed.get()) ? 1 : 0;
  });
}
}
