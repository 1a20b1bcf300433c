// The codes that reach a caller's error word, one enumeration per family of functions. Their
// meanings in words stand in the public header.
#pragma once

#include <cstdint>

namespace talvo {

// Making a signature, and everything added to one later.
enum class SignError : uint32_t {
  failed = 1,
  outOfMemory = 3,
  unsupportedUri = 4,
  notFound = 5,
  missingArgument = 6,
  c14nMethod = 8,
  noKey = 9,
  hmacKey = 10,
  signatureMethod = 11,
  digestMethod = 12,
  transformFailed = 13,
  tooManyReferencesWithoutUri = 14,
  idRegistration = 15,
  placement = 16,
  keyMismatch = 17,
  certificateMayNotSign = 18,
  pathCertificate = 19,
  missingElement = 20,
  notASignature = 21,
  canonicalization = 22,
  timeStamp = 23,
  noKeyForCertificate = 24,
  parameters = 25,
  noSignatureValueId = 26,
  notAReference = 27,
  networkRefused = 28,
  signingCertificate = 29,
};

// Checking a signature or a reference.
enum class VerifyError : uint32_t {
  invalidSignature = 1,
  invalidReference = 2,
  outOfMemory = 3,
  missingArgument = 6,
  c14nMethod = 8,
  noKey = 9,
  hmacMethod = 10,
  signatureMethod = 11,
  digestMethod = 12,
  transformFailed = 13,
  tooManyReferencesWithoutUri = 14,
  idRegistration = 15,
  noSignature = 16,
  undecodable = 17,
  notAReference = 19,
  signingCertificate = 23,
};

// The journey of a reference from its URI to its digest.
enum class ReferenceError : uint32_t {
  digestFailed = 2,
  mismatch = 2,
  outOfMemory = 3,
  unsupportedUri = 4,
  notFound = 5,
  missingArgument = 6,
  unknownTransform = 7,
  digestMethod = 12,
  transformFailed = 13,
  canonicalization = 13,
  prefixList = 18,
  hashFailed = 19,
  networkRefused = 21,
  manifest = 22,
  xpathElement = 24,
  networkRefusedWhileDigesting = 28,
};

}  // namespace talvo
