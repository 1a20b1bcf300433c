// The properties that are signed. The library adds no Reference to them by itself: who wants them
// covered lists one.
#include "signature/xades/properties.h"

#include <array>
#include <cstdio>

#include "base/base64_text.h"
#include "base/boundary.h"
#include "crypto/handle.h"
#include "signature/generate/certificate_path.h"
#include "signature/generate/element_writer.h"
#include "signature/generate/reference.h"
#include "signature/vocabulary/vocabulary.h"

namespace {

using namespace talvo;

// What every part needs. The code is that of the first failure, unless a part says otherwise.
struct Scope {
  XmlDoc *doc;
  XmlNode *ns;
  XmlNode *xadesNs;
  const SignedInfoCtx &context;
  const TalvoPKICert *certificate;
  uint32_t code = TALVO_SIGN_ERROR_OUT_OF_MEMORY;

  ElementWriter element(const talvo_ustring *name) const noexcept { return {doc, xadesNs, name}; }
};

OwnedNode generateCertDigest(XmlDoc *doc, XmlNode *ns, XmlNode *xadesNs, int32_t digestMethod,
                             const TalvoPKICert *certificate) noexcept {
  const DigestAlgorithm *row = digestByNumber(digestMethod);
  const CryptoOctets digest = octetsFrom(TalvoPKICertGetCertHashAttribute, certificate,
                                         TALVO_CERT_DIGEST, row == nullptr ? 0 : row->hash);
  if (!digest) {
    return nullptr;
  }
  return ElementWriter(doc, xadesNs, g_xml_xades_certdigest)
      .open()
      .part(generateDigestMethod(ns, digestMethod))
      .part(generateDigestValue(doc, ns, digest.view()))
      .take();
}

OwnedNode generateIssuerSerial(XmlDoc *doc, XmlNode *ns, XmlNode *xadesNs,
                               const TalvoPKICert *certificate) noexcept {
  const UString issuer(TalvoPKICertGetCertStringAttribute(certificate, TALVO_CERT_ISSUER));
  const UString serial(TalvoPKICertGetCertStringAttribute(certificate, TALVO_CERT_SERIAL_NUMBER));
  return ElementWriter(doc, xadesNs, g_xml_xades_issuerserial)
      .open()
      .part(generateText(doc, ns, g_xml_signature_x509issuername, issuer.get()))
      .part(generateText(doc, ns, g_xml_signature_x509serialnumber, serial.get()))
      .take();
}

OwnedNode generateSigningTime(const Scope &scope) noexcept {
  const Time now(talvo_time_newnow());
  const UString value = formatTime(now.get());
  return generateText(scope.doc, scope.xadesNs, g_xml_xades_signingtime, value.get());
}

OwnedNode certOf(Scope &scope, const TalvoPKICert *certificate, uint32_t failure) noexcept {
  OwnedNode cert = generateCertId(scope.doc, scope.ns, scope.xadesNs,
                                  scope.context.signingCertificateDigest, certificate);
  if (!cert) {
    scope.code = failure;
  }
  return cert;
}

bool addPathCertificates(ElementWriter &certificates, Scope &scope) noexcept {
  const CertificatePath path(scope.certificate);
  if (!path) {
    scope.code = TALVO_SIGN_ERROR_SIGNING_CERTIFICATE;
    return false;
  }
  return path.forEachIssuer(scope.context.signingCertificateOption, [&](const TalvoPKICert *next) {
    certificates.part(certOf(scope, next, TALVO_SIGN_ERROR_PATH_CERTIFICATE));
    return static_cast<bool>(certificates);
  });
}

OwnedNode generateSigningCertificate(Scope &scope) noexcept {
  ElementWriter certificates = scope.element(g_xml_xades_signingcertificate);
  certificates.open().part(certOf(scope, scope.certificate, TALVO_SIGN_ERROR_SIGNING_CERTIFICATE));
  const bool wantsPath = CertificatePath::isAskedFor(scope.context.signingCertificateOption);
  if (certificates && wantsPath && !addPathCertificates(certificates, scope)) {
    return nullptr;
  }
  return certificates.take();
}

// Only the implied form of a policy exists.
OwnedNode generatePolicy(const Scope &scope) noexcept {
  if (!scope.context.signaturePolicyImplied) {
    return nullptr;
  }
  return scope.element(g_xml_xades_signaturepolicyidentifer)
      .open()
      .part(scope.element(g_xml_xades_signaturepolicyimplied).take())
      .take();
}

OwnedNode generateProductionPlace(const Scope &scope) noexcept {
  const ProductionPlace &place = *scope.context.productionPlace;
  const std::pair<const talvo_ustring *, const UString &> parts[] = {
      {g_xml_xades_city, place.city},
      {g_xml_xades_stateorprovince, place.stateOrProvince},
      {g_xml_xades_postalcode, place.postalCode},
      {g_xml_xades_countryname, place.countryName}};
  ElementWriter element = scope.element(g_xml_xades_signatureproductionplace);
  element.open();
  for (const auto &[name, text] : parts) {
    if (text) {
      element.part(generateText(scope.doc, scope.xadesNs, name, text.get()));
    }
  }
  return element.take();
}

OwnedNode generateSignedSignatureProperties(Scope &scope) noexcept {
  const SignedInfoCtx &context = scope.context;
  ElementWriter properties = scope.element(g_xml_xades_signedsignatureproperties);
  properties.optionalId(context.signedSignaturePropertiesId).open();
  if (context.useSigningTime) {
    properties.part(generateSigningTime(scope));
  }
  if (properties && context.signingCertificateDigest >= 1) {
    properties.part(generateSigningCertificate(scope));
  }
  if (context.signaturePolicyPresent) {
    properties.part(generatePolicy(scope));
  }
  if (context.productionPlace) {
    properties.part(generateProductionPlace(scope));
  }
  return properties.take();
}

OwnedNode generateSignedProperties(Scope &scope) noexcept {
  ElementWriter properties = scope.element(g_xml_xades_signedproperties);
  properties.optionalId(scope.context.signedPropertiesId).open();
  if (properties && scope.context.asksForXades()) {
    properties.part(generateSignedSignatureProperties(scope));
  }
  return properties.take();
}

}  // namespace

namespace talvo {

OwnedNode generateQualifyingProperties(XmlDoc *doc, XmlNode *ns, const talvo_ustring *signatureId,
                                       const SignedInfoCtx *context,
                                       const TalvoPKICert *certificate, uint32_t *error) noexcept {
  if (context == nullptr) {
    return failNull(error, TALVO_SIGN_ERROR_OUT_OF_MEMORY);
  }
  const UString target = targetOf(signatureId);
  ElementWriter properties(doc, g_xml_xades_qualifyingproperties, g_xml_xadesv132_nsuri,
                           g_xml_xadesv132_prefix);
  properties.optionalId(context->qualifyingPropertiesId)
      .attribute(g_xml_xades_target, target.get())
      .open();
  Scope scope{doc, ns, properties.declaredNamespace(), *context, certificate};
  if (properties) {
    properties.part(generateSignedProperties(scope));
  }
  OwnedNode object =
      ElementWriter(doc, ns, g_xml_signature_object_name).open().part(properties.take()).take();
  return object == nullptr ? failNull(error, scope.code) : std::move(object);
}

OwnedNode generateCertId(XmlDoc *doc, XmlNode *ns, XmlNode *xadesNs, int32_t digestMethod,
                         const TalvoPKICert *certificate) noexcept {
  return ElementWriter(doc, xadesNs, g_xml_xades_cert)
      .open()
      .part(generateCertDigest(doc, ns, xadesNs, digestMethod, certificate))
      .part(generateIssuerSerial(doc, ns, xadesNs, certificate))
      .take();
}

OwnedNode generateEncodedValue(XmlDoc *doc, XmlNode *ns, const talvo_ustring *name,
                               Bytes der) noexcept {
  const UString text = encodeBase64(der, TALVO_BASE64_LINES);
  ElementWriter element =
      ns == nullptr ? ElementWriter::plain(doc, name) : ElementWriter(doc, ns, name);
  return element.attribute(g_xml_xades_encode, g_xml_xades_encode_der).text(text.get()).take();
}

UString formatTime(const talvo_time *time) noexcept {
  std::array<char, 32> text;
  const int length = std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02dZ",
                                   talvo_time_getyear(time), talvo_time_getmonth(time),
                                   talvo_time_getday(time), talvo_time_gethour(time),
                                   talvo_time_getminute(time), talvo_time_getsecond(time));
  return time == nullptr || length < 0 ? nullptr
                                       : makeString({text.data(), static_cast<size_t>(length)});
}

UString targetOf(const talvo_ustring *id) noexcept {
  const UString hash = makeString("#");
  return UString(id == nullptr ? nullptr : talvo_ustring_cat(hash.get(), id));
}

}  // namespace talvo

XmlNode *talvo_xml_xadesnode_qualifyingproperties_gen(XmlDoc *doc, XmlNode *ns,
                                                      const talvo_ustring *signatureId,
                                                      SignedInfoCtx *context,
                                                      const TalvoPKICert *certificate,
                                                      uint32_t *error) noexcept {
  if (error == nullptr) {
    return nullptr;
  }
  OwnedNode object =
      generateQualifyingProperties(doc, ns, signatureId, context, certificate, error);
  if (!object) {
    return nullptr;
  }
  XmlNode *handed = handOut(std::move(object));
  return handed == nullptr ? failNull(error, TALVO_SIGN_ERROR_OUT_OF_MEMORY) : handed;
}

XmlNode *talvo_xml_xadesnode_signingcertificate_cert_gen(XmlDoc *doc, XmlNode *ns, XmlNode *xadesNs,
                                                         int32_t digestMethod,
                                                         const TalvoPKICert *certificate) noexcept {
  return handOut(generateCertId(doc, ns, xadesNs, digestMethod, certificate));
}

XmlNode *talvo_xml_signature_xades_encder_gen(XmlDoc *doc, XmlNode *ns, const talvo_ustring *name,
                                              const void *bytes, size_t length) noexcept {
  if (bytes == nullptr) {
    return nullptr;
  }
  return handOut(
      generateEncodedValue(doc, ns, name, {static_cast<const uint8_t *>(bytes), length}));
}
