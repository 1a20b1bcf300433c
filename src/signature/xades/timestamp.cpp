// Signature time-stamps: an RFC 3161 token over the canonical form of SignatureValue, kept as an
// unsigned property.
#include "base/boundary.h"
#include "base/list.h"
#include "crypto/handle.h"
#include "signature/generate/element_writer.h"
#include "signature/generate/signed_info.h"
#include "signature/record/record.h"
#include "signature/vocabulary/algorithm.h"
#include "signature/vocabulary/vocabulary.h"
#include "signature/xades/position.h"
#include "signature/xades/properties.h"
#include "transform/reference/digest.h"
#include "xml/edit.h"

namespace talvo {
namespace {

struct StampRun {
  const talvo_ustring *id;
  int32_t c14nMethod;  // below 1: none is written
  const talvo_arraylist *prefixes;
  const talvo_ustring *tsa;
  XmlNode *signatureValue;
  int32_t hashNumber;
};

bool isStampable(int32_t c14nMethod) noexcept {
  return c14nMethod < 1 || canCanonicalize(c14nMethod);
}

// A code below 1 stands for C14N 1.0 without a list.
Blob canonicalValue(XmlNode *signatureValue, int32_t c14nMethod,
                    const talvo_arraylist *prefixes) noexcept {
  const bool isDefault = c14nMethod < 1;
  return Blob(talvo_xml_c14nnode(signatureValue,
                                 static_cast<uint32_t>(isDefault ? kDefaultC14n : c14nMethod),
                                 isDefault ? nullptr : prefixes));
}

bool setImprint(TalvoPKITimeStamp *timeStamp, int32_t hashNumber, Bytes octets) noexcept {
  const CryptoOctets digest = octetsFrom(hash, hashNumber, octets.data(), octets.size());
  return digest &&
         TalvoPKIMsgTimeStampSetMessageImprint(timeStamp, digest.bytes.get(), digest.length) == 1;
}

// Asks the authority; null when there is no granted token.
TimeStampObject requestTimeStamp(const StampRun &run, Bytes octets) noexcept {
  TimeStampObject timeStamp(TalvoPKIMsgNewTimeStamp());
  int32_t status = -1;
  if (!timeStamp || TalvoPKIMsgTimeStampSetTSA(timeStamp.get(), run.tsa) != 1 ||
      TalvoPKIMsgTimeStampSetHashAlgorithm(timeStamp.get(), run.hashNumber) != 1 ||
      !setImprint(timeStamp.get(), run.hashNumber, octets) ||
      TalvoPKIMsgTimeStampGetResponse(timeStamp.get(), &status) != 1 ||
      status > TALVO_TIME_STAMP_GRANTED_WITH_MODS) {
    return nullptr;
  }
  return timeStamp;
}

// The method element for the chosen canonicalisation; null and true where none is written.
bool makeMethod(const StampRun &run, OwnedNode *method) noexcept {
  if (run.c14nMethod < 1) {
    return true;
  }
  *method = generateC14nMethod(talvo_xml_node_getassociatednsnode(run.signatureValue),
                               run.c14nMethod, run.prefixes);
  return *method != nullptr;
}

OwnedNode makeProperty(const StampRun &run, XmlNode *xadesNs, OwnedNode method,
                       Bytes token) noexcept {
  XmlDoc *doc = talvo_xml_node_getdoc(run.signatureValue);
  ElementWriter property(doc, xadesNs, g_xml_xades_signaturetimestamp);
  if (run.id != nullptr) {
    property.attribute(g_xml_xades_id, run.id);
  }
  property.open();
  if (method) {
    property.part(std::move(method));
  }
  property.part(generateEncodedValue(doc, xadesNs, g_xml_xades_encapsulatedtimestamp, token));
  return property.take();
}

bool writeProperty(const StampRun &run, OwnedNode method, Bytes token) noexcept {
  XmlNode *xadesNs = nullptr;
  XmlNode *position = getUnsignedSignaturePropertiesLastChildPos(run.signatureValue, &xadesNs);
  return position != nullptr &&
         addPart(talvo_xml_node_getdoc(position), position,
                 makeProperty(run, xadesNs, std::move(method), token)) != nullptr;
}

// What can be refused is refused first.
bool prepare(XmlNode *signatureElement, int32_t digestMethod, StampRun *run,
             uint32_t *error) noexcept {
  if (talvo_xml_signature_issignaturenode(signatureElement) != 1) {
    return refuse(error, TALVO_SIGN_ERROR_NOT_A_SIGNATURE);
  }
  if (!isStampable(run->c14nMethod)) {
    return refuse(error, TALVO_SIGN_ERROR_C14N_METHOD);
  }
  const DigestAlgorithm *digest = digestByNumber(digestMethod);
  if (digest == nullptr || digest->hash == 0) {
    return refuse(error, TALVO_SIGN_ERROR_DIGEST_METHOD);
  }
  run->hashNumber = digest->hash;
  run->signatureValue = talvo_xml_node_findelemnode(
      signatureElement, g_xml_signature_signaturevalue, g_xml_signature_nsuri);
  return run->signatureValue != nullptr || refuse(error, TALVO_SIGN_ERROR_NOT_A_SIGNATURE);
}

// Whatever can fail without the authority comes before it is asked.
TimeStampObject addTimeStamp(const StampRun &run, uint32_t *error) noexcept {
  const Blob octets = canonicalValue(run.signatureValue, run.c14nMethod, run.prefixes);
  if (!octets) {
    return failNull(error, TALVO_SIGN_ERROR_CANONICALIZATION);
  }
  OwnedNode method;
  if (!makeMethod(run, &method)) {
    return failNull(error, TALVO_SIGN_ERROR_FAILED);
  }
  TimeStampObject timeStamp = requestTimeStamp(run, bytesOf(octets.get()));
  const CryptoOctets token = octetsFrom(TalvoPKIMsgTimeStampGetTimeStampToken, timeStamp.get());
  if (!token) {
    return failNull(error, TALVO_SIGN_ERROR_TIME_STAMP);
  }
  if (!writeProperty(run, std::move(method), token.view())) {
    return failNull(error, TALVO_SIGN_ERROR_FAILED);
  }
  return timeStamp;
}

// Whether the token imprints these octets.
bool imprints(const TalvoPKITimeStamp *timeStamp, Bytes octets) noexcept {
  const int32_t hashNumber = TalvoPKIMsgTimeStampGetHashAlgorithm(timeStamp);
  const CryptoOctets imprint = octetsFrom(TalvoPKIMsgTimeStampGetMessageImprint, timeStamp);
  const CryptoOctets digest = octetsFrom(hash, hashNumber, octets.data(), octets.size());
  return imprint && digest && equalOctets(imprint.view(), digest.view());
}

TimeStampObject verifyTimeStamp(const Signature &signature, const TimeStamp &record,
                                const talvo_arraylist *trusted) noexcept {
  TimeStampObject timeStamp(
      TalvoPKIMsgVerifyTimeStampToken(record.token.get(), record.tokenLength, trusted));
  if (!timeStamp) {
    return nullptr;
  }
  const Blob octets = canonicalValue(signature.signatureValue->element, record.c14nAlgorithmId,
                                     record.inclusivePrefixes.get());
  return octets && imprints(timeStamp.get(), bytesOf(octets.get())) ? std::move(timeStamp)
                                                                    : nullptr;
}

}  // namespace
}  // namespace talvo

extern "C" {

int32_t talvo_xml_signature_xades_addsignaturetimestamp(
    XmlNode *signatureElement, const talvo_ustring *id, int32_t c14nMethod,
    const talvo_arraylist *prefixes, const talvo_ustring *tsa, int32_t digestMethod,
    TalvoPKITimeStamp **timeStamp, uint32_t *error) noexcept {
  return talvo::guardWithError(error, TALVO_SIGN_ERROR_FAILED, [&] {
    talvo::StampRun run{id, c14nMethod, prefixes, tsa, nullptr, 0};
    if (!talvo::prepare(signatureElement, digestMethod, &run, error)) {
      return 0;
    }
    talvo::TimeStampObject added = talvo::addTimeStamp(run, error);
    if (!added) {
      return 0;
    }
    if (timeStamp != nullptr) {
      *timeStamp = added.release();
    }
    return 1;
  });
}

int32_t talvo_xml_signature_xades_verifysignaturetimestamp(const Signature *signature,
                                                           int32_t index,
                                                           const talvo_arraylist *trusted,
                                                           TalvoPKITimeStamp **timeStamp) noexcept {
  return talvo::guard([&] {
    if (signature == nullptr || timeStamp == nullptr) {
      return 0;
    }
    const auto *record = talvo::items<talvo::TimeStamp>(signature->signatureTimeStamps)[index];
    if (record == nullptr || record->tokenLength == 0) {
      return 0;
    }
    talvo::TimeStampObject verified = talvo::verifyTimeStamp(*signature, *record, trusted);
    *timeStamp = verified.release();
    return *timeStamp == nullptr ? 0 : 1;
  });
}
}
