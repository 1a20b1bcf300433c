// Certificates as validation data: their values, and references to the certificates of a path.
#include "base/boundary.h"
#include "crypto/handle.h"
#include "signature/decode/xades.h"
#include "signature/generate/element_writer.h"
#include "signature/record/record.h"
#include "signature/vocabulary/vocabulary.h"
#include "signature/xades/container.h"
#include "signature/xades/position.h"
#include "signature/xades/properties.h"
#include "xml/edit.h"
#include "xml/node.h"

namespace talvo {
namespace {

bool addCertificateValue(XmlNode *signatureElement, const TalvoPKICert *certificate) noexcept {
  const CryptoOctets der = octetsFrom(TalvoPKICertGetCertEncode, certificate, TALVO_ENCODING_DER);
  if (talvo_xml_signature_issignaturenode(signatureElement) != 1 || !der) {
    return false;
  }
  XmlNode *values = findOrMakeProperty(signatureElement, g_xml_xades_certificatevalues);
  if (values == nullptr) {
    return false;
  }
  return appendValue(values,
                     generateEncodedValue(talvo_xml_node_getdoc(values),
                                          talvo_xml_node_getassociatednsnode(values),
                                          g_xml_xades_encapsulatedx509certificate, der.view()));
}

bool hasReferences(XmlNode *unsignedProperties) noexcept {
  const XmlNode *inner = talvo_xml_node_getelemchildren(unsignedProperties);
  if (inner == nullptr ||
      !isElement(inner, g_xml_xades_unsignedsignatureproperties, g_xml_xadesv132_nsuri)) {
    return false;
  }
  for (const XmlNode *child = inner; child != nullptr;
       child = talvo_xml_node_skipignorenode(child)) {
    if (isElement(child, g_xml_xades_completecertificaterefs, g_xml_xadesv132_nsuri)) {
      return true;
    }
  }
  return false;
}

// Deliberate: this looks beside QualifyingProperties, not inside, so it does not find what this
// library writes, and a second call adds a second property.
bool alreadyReferences(const XmlNode *signatureElement) noexcept {
  for (XmlNode *child = talvo_xml_node_getelemchildren(signatureElement); child != nullptr;
       child = talvo_xml_node_skipignorenode(child)) {
    XmlNode *first = isElement(child, g_xml_signature_object_name, g_xml_signature_nsuri)
                         ? talvo_xml_node_getelemchildren(child)
                         : nullptr;
    if (first == nullptr ||
        !isElement(first, g_xml_xades_qualifyingproperties, g_xml_xadesv132_nsuri)) {
      continue;
    }
    for (XmlNode *next = talvo_xml_node_skipignorenode(first); next != nullptr;
         next = talvo_xml_node_skipignorenode(next)) {
      if (isElement(next, g_xml_xades_unsignedproperties, g_xml_xadesv132_nsuri) &&
          hasReferences(next)) {
        return true;
      }
    }
  }
  return false;
}

struct Path {
  TalvoPKICert **certificates = nullptr;
  int32_t count = 0;

  Path() = default;
  Path(const Path &) = delete;
  Path &operator=(const Path &) = delete;
  ~Path() { TalvoPKICertFreeCertPath(certificates, count); }
};

struct ReferencesRun {
  XmlDoc *doc;
  XmlNode *signatureNs;
  XmlNode *xadesNs;
  int32_t digestMethod;
};

// From the signer's issuer up to the anchor.
OwnedNode makeCertRefs(const ReferencesRun &run, const Path &path) noexcept {
  ElementWriter references(run.doc, run.xadesNs, g_xml_xades_certrefs);
  references.open();
  for (int32_t index = path.count - 2; index >= 0; --index) {
    references.part(generateCertId(run.doc, run.signatureNs, run.xadesNs, run.digestMethod,
                                   path.certificates[index]));
  }
  return references.take();
}

// No line feed closes this property.
OwnedNode makeCompleteReferences(const ReferencesRun &run, const talvo_ustring *id,
                                 const Path &path) noexcept {
  ElementWriter property(run.doc, run.xadesNs, g_xml_xades_completecertificaterefs);
  if (id != nullptr) {
    property.attribute(g_xml_xades_id, id);
  }
  return property.open().child(makeCertRefs(run, path)).take();
}

bool addPathReferences(XmlNode *signatureElement, const talvo_ustring *id, int32_t digestMethod,
                       const Path &path) noexcept {
  XmlNode *value = talvo_xml_node_findelemnode(signatureElement, g_xml_signature_signaturevalue,
                                               g_xml_signature_nsuri);
  if (value == nullptr) {
    return false;
  }
  XmlNode *xadesNs = nullptr;
  XmlNode *position = getUnsignedSignaturePropertiesLastChildPos(value, &xadesNs);
  const ReferencesRun run{talvo_xml_node_getdoc(value), talvo_xml_node_getassociatednsnode(value),
                          xadesNs, digestMethod};
  return position != nullptr &&
         addPart(run.doc, position, makeCompleteReferences(run, id, path)) != nullptr;
}

bool addCompleteReferences(XmlNode *signatureElement, const talvo_ustring *id, int32_t digestMethod,
                           const TalvoPKICert *certificate) noexcept {
  if (talvo_xml_signature_issignaturenode(signatureElement) != 1 ||
      alreadyReferences(signatureElement)) {
    return false;
  }
  Path path;
  if (TalvoPKICertGetCertPath(certificate, &path.certificates, &path.count) != 1) {
    return false;
  }
  // A self-issued signer has no certificates to refer to.
  return path.count == 1 || addPathReferences(signatureElement, id, digestMethod, path);
}

int32_t setPropertyId(XmlNode *signatureElement, const talvo_ustring *property,
                      const talvo_ustring *id) noexcept {
  if (id == nullptr || talvo_xml_signature_issignaturenode(signatureElement) != 1) {
    return 0;
  }
  XmlNode *found = findUnsignedSignatureProperty(signatureElement, property);
  if (found == nullptr) {
    return 0;
  }
  // An Id may stand anywhere among the attributes, and a second one is not well-formed.
  XmlNode *present = findId(found);
  const bool isSet = present != nullptr ? talvo_xml_node_setvalue(present, id) == 1
                                        : addAttribute(found, g_xml_xades_id, id);
  return isSet ? 1 : 0;
}

}  // namespace
}  // namespace talvo

extern "C" {

int32_t talvo_xml_signature_xades_addcertificatevalues(XmlNode *signatureElement,
                                                       const TalvoPKICert *certificate) noexcept {
  return talvo::guard(
      [&] { return talvo::addCertificateValue(signatureElement, certificate) ? 1 : 0; });
}

int32_t talvo_xml_signature_xades_addcompletecertificaterefs(XmlNode *signatureElement,
                                                             const talvo_ustring *id,
                                                             int32_t digestMethod,
                                                             const TalvoPKICert *certificate,
                                                             const void *reserved) noexcept {
  return talvo::guard([&] {
    return reserved == nullptr &&
                   talvo::addCompleteReferences(signatureElement, id, digestMethod, certificate)
               ? 1
               : 0;
  });
}

int32_t talvo_xml_signature_xades_set_revocationvalues_id(XmlNode *signatureElement,
                                                          const talvo_ustring *id) noexcept {
  return talvo::setPropertyId(signatureElement, g_xml_xades_revocationvalues, id);
}

int32_t talvo_xml_signature_xades_set_certificatevalues_id(XmlNode *signatureElement,
                                                           const talvo_ustring *id) noexcept {
  return talvo::setPropertyId(signatureElement, g_xml_xades_certificatevalues, id);
}

int32_t talvo_xml_signature_xades_set_completerevocationrefs_id(XmlNode *signatureElement,
                                                                const talvo_ustring *id) noexcept {
  return talvo::setPropertyId(signatureElement, g_xml_xades_completerevocationrefs, id);
}
}
