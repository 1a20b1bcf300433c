#include "signature/decode/xades.h"

#include "base/utf8.h"
#include "signature/decode/element_reader.h"
#include "signature/decode/time.h"
#include "signature/decode/time_stamp.h"

namespace talvo {
namespace {

void freeCertificate(void *certificate) noexcept {
  TalvoPKICertFreeCert(static_cast<TalvoPKICert *>(certificate));
}

// The first element child when it is that XAdES element.
XmlNode *firstXades(const XmlNode *parent, const talvo_ustring *name) noexcept {
  return ElementCursor(parent).takeXades(name);
}

// Asks for each QualifyingProperties that opens an Object, in order, until one answers a node.
template <class Ask>
XmlNode *findInObjects(const XmlNode *signatureElement, Ask ask) noexcept {
  for (ElementCursor children(signatureElement); !children.atEnd();) {
    const XmlNode *child = children.take();
    if (!isSignatureElement(child, g_xml_signature_object_name)) {
      continue;
    }
    XmlNode *qualifying = firstXades(child, g_xml_xades_qualifyingproperties);
    XmlNode *answer = qualifying == nullptr ? nullptr : ask(qualifying);
    if (answer != nullptr) {
      return answer;
    }
  }
  return nullptr;
}

XmlNode *unsignedSignatureProperties(const XmlNode *qualifying) noexcept {
  ElementCursor children(qualifying);
  XmlNode *properties = children.takeXades(g_xml_xades_unsignedproperties);
  if (properties == nullptr) {
    children.take();  // normally SignedProperties; its name is not looked at
    properties = children.takeXades(g_xml_xades_unsignedproperties);
  }
  return firstXades(properties, g_xml_xades_unsignedsignatureproperties);
}

UString idOf(const XmlNode *element) noexcept {
  return UString(talvo_xml_node_getvalue(findAttribute(element, g_xml_xades_id)));
}

TalvoPKICert *decodeCertificateValue(const XmlNode *element) noexcept {
  if (!isXadesElement(element, g_xml_xades_encapsulatedx509certificate)) {
    return nullptr;
  }
  const UString text(DecodeChildTextValue(element));
  const std::string_view base64 = viewOf(text.get());
  return TalvoPKICertNewCert(base64.data(), base64.size());
}

// One value that cannot be read drops them all.
List decodeCertificateValues(const XmlNode *element) noexcept {
  List certificates(talvo_arraylist_new(nullptr, freeCertificate));
  for (ElementCursor children(element); certificates && !children.atEnd();) {
    if (!append(certificates, Certificate(decodeCertificateValue(children.take())))) {
      return nullptr;
    }
  }
  return certificates;
}

void readCertificateValues(Signature &signature) noexcept {
  const XmlNode *element =
      findUnsignedSignatureProperty(signature.element, g_xml_xades_certificatevalues);
  if (element != nullptr) {
    signature.certificateValues = decodeCertificateValues(element);
  }
}

void readCompleteCertificateRefs(Signature &signature) noexcept {
  ElementCursor children(
      findUnsignedSignatureProperty(signature.element, g_xml_xades_completecertificaterefs));
  const XmlNode *references = children.takeXades(g_xml_xades_certrefs);
  if (references != nullptr && children.atEnd()) {
    signature.completeCertificateRefs.reset(decodeCertIDList(references));
  }
}

void readIds(Signature &signature) noexcept {
  const XmlNode *qualifying =
      findInObjects(signature.element, [](XmlNode *element) { return element; });
  signature.qualifyingPropertiesId = idOf(qualifying);
  // Deliberate: the first child is not asked whether it is SignedProperties.
  signature.signedPropertiesId = idOf(talvo_xml_node_getelemchildren(qualifying));
}

void readSigningTime(const XmlNode *element, Signature &signature) noexcept {
  const UString text(DecodeChildTextValue(element));
  const std::string_view written = viewOf(text.get());
  signature.signingTime.reset(decodedateTimeString(written.data(), written.size()));
}

void readSignedProperties(Signature &signature) noexcept {
  const XmlNode *properties = findInObjects(signature.element, [](XmlNode *qualifying) {
    return firstXades(firstXades(qualifying, g_xml_xades_signedproperties),
                      g_xml_xades_signedsignatureproperties);
  });
  signature.signedSignaturePropertiesId = idOf(properties);
  ElementCursor children(properties);
  if (const XmlNode *time = children.takeXades(g_xml_xades_signingtime)) {
    readSigningTime(time, signature);
  }
  if (const XmlNode *certificate = children.takeXades(g_xml_xades_signingcertificate)) {
    signature.signingCertificate.reset(decodeCertIDList(certificate));
  }
}

void readTimeStamps(Signature &signature) noexcept {
  XmlNode *first = findUnsignedSignatureProperty(signature.element, g_xml_xades_signaturetimestamp);
  if (first != nullptr) {
    signature.signatureTimeStamps.reset(
        decodeXAdESTimeStampTypeList(first, g_xml_xades_signaturetimestamp, g_xml_xadesv132_nsuri));
  }
}

XmlNode *signatureInside(const XmlNode *counterSignature) noexcept {
  return isXadesElement(counterSignature, g_xml_xades_countersignature)
             ? ElementCursor(counterSignature).takeIf(g_xml_signature_name)
             : nullptr;
}

void readCounterSignatures(Signature &signature) noexcept {
  XmlNode *property =
      findUnsignedSignatureProperty(signature.element, g_xml_xades_countersignature);
  if (property == nullptr) {
    return;
  }
  List nodes(talvo_arraylist_new(nullptr, nullptr));
  for (; property != nullptr; property = talvo_xml_node_skipignorenode(property)) {
    XmlNode *inside = signatureInside(property);
    if (inside != nullptr && talvo_arraylist_pushback(nodes.get(), inside) != 1) {
      return;
    }
  }
  signature.counterSignatures = std::move(nodes);
}

}  // namespace

bool readXades(Signature &signature) noexcept {
  const int64_t refusals = talvo_memory_getrefusals();
  readCertificateValues(signature);
  readCompleteCertificateRefs(signature);
  readIds(signature);
  readSignedProperties(signature);
  readTimeStamps(signature);
  readCounterSignatures(signature);
  return talvo_memory_getrefusals() == refusals;
}

}  // namespace talvo

using namespace talvo;

talvo_arraylist *decodeXAdESTimeStampTypeList(XmlNode *first, const talvo_ustring *name,
                                              const talvo_ustring *nsuri) noexcept {
  List list(talvo_arraylist_new(nullptr, releaseItem<TimeStamp>));
  for (XmlNode *node = first; node != nullptr; node = talvo_xml_node_skipignorenode(node)) {
    if (isElement(node, name, nsuri) && !append(list, decodeTimeStamp(node))) {
      return nullptr;
    }
  }
  return list.release();
}

XmlNode *findUnsignedSignatureProperty(const XmlNode *signatureElement,
                                       const talvo_ustring *name) noexcept {
  return findInObjects(signatureElement, [name](XmlNode *qualifying) {
    return findUnsignedSignaturePropertyInUnsignedProperties(
        unsignedSignatureProperties(qualifying), name);
  });
}

XmlNode *findUnsignedSignaturePropertyInUnsignedProperties(const XmlNode *element,
                                                           const talvo_ustring *name) noexcept {
  for (ElementCursor children(element); !children.atEnd();) {
    XmlNode *child = children.take();
    if (isXadesElement(child, name)) {
      return child;
    }
  }
  return nullptr;
}
