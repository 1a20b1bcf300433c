// Why a document is not accepted, or what its reader should know: stable names, one row each.
#pragma once

#include <cstdint>

#include "talvo_xml.h"

#include "policy/heap.h"

namespace talvo::policy {

enum class Reason : uint8_t {
  // What was computed failed, or could not be computed.
  digestMismatch,
  signatureMismatch,
  noKey,
  undecodable,
  referenceUnavailable,
  unsupportedAlgorithm,
  transformFailed,
  notCanonical,
  noSignature,
  // What was computed holds, but the policy refuses.
  signerNotTrusted,
  signerUnexpected,
  certificateExpired,
  certificateNotYetValid,
  certificateRevoked,
  revocationUnknown,
  keyUsage,
  keyValueNotPinned,
  weakDigest,
  weakSignatureMethod,
  weakKey,
  hmacTruncated,
  canonicalizationNotAllowed,
  transformNotAllowed,
  xpathBudget,
  tooManySignatures,
  tooManyReferences,
  tooManyTransforms,
  manifestDepth,
  fetchLimit,
  networkReference,
  fileOutsideBase,
  fileReference,
  duplicateId,
  dtd,
  notCovered,
  emptySelection,
  signedPropertiesUncovered,
  signingCertificateMismatch,
  severalQualifyingProperties,
  timeStampInvalid,
  timeStampNotTrusted,
  // What only a warning says.
  manifestNotFollowed,
  carriedCrlUnusable,
  timeStampNotExamined,
  counterSignature,
  commentNotCovered,
  idTwice,
};

struct ReasonRow {
  Reason reason;
  const char *name;
  const char *text;
};

const ReasonRow &rowOf(Reason reason) noexcept;
inline const char *nameOf(Reason reason) noexcept {
  return rowOf(reason).name;
}
// Whether the document is invalid for it, and not only refused.
inline bool isInvalidity(Reason reason) noexcept {
  return reason <= Reason::noSignature;
}

// A reason at a place.
struct Note {
  Reason reason = Reason::undecodable;
  int32_t signature = -1;   // its index; -1 for the document
  int32_t reference = -1;   // its index in the signature
  Text where;               // a URI, an algorithm, a certificate's subject; may be empty
  XmlNode *node = nullptr;  // or the node that it is about
};

}  // namespace talvo::policy
