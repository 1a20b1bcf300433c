#include "policy/reason.h"

#include <cassert>
#include <iterator>

namespace talvo::policy {
namespace {

constexpr ReasonRow kRows[] = {
    {Reason::digestMismatch, "digest-mismatch",
     "the data that a reference names was changed since it was signed"},
    {Reason::signatureMismatch, "signature-mismatch",
     "the signature value fits no key: the signature was changed, or another key made it"},
    {Reason::noKey, "no-key", "there is no key that the signature could be checked with"},
    {Reason::undecodable, "undecodable", "a signature is not built as XML Signature demands"},
    {Reason::referenceUnavailable, "reference-unavailable",
     "the data that a reference names cannot be had"},
    {Reason::unsupportedAlgorithm, "unsupported-algorithm", "an algorithm is not known here"},
    {Reason::transformFailed, "transform-failed", "a transform of a reference failed"},
    {Reason::notCanonical, "not-canonical",
     "the signed information has no canonical form: a namespace is relative, or an entity is left"},
    {Reason::noSignature, "no-signature", "the document holds no signature"},
    {Reason::signerNotTrusted, "signer-not-trusted",
     "nobody who is trusted vouches for the key of the signer"},
    {Reason::signerUnexpected, "signer-unexpected", "the expected signer has not signed"},
    {Reason::certificateExpired, "certificate-expired",
     "a certificate was no longer valid at the time of verification"},
    {Reason::certificateNotYetValid, "certificate-not-yet-valid",
     "a certificate was not valid yet at the time of verification"},
    {Reason::certificateRevoked, "certificate-revoked", "a certificate was revoked by its issuer"},
    {Reason::revocationUnknown, "revocation-unknown",
     "whether a certificate was revoked cannot be told"},
    {Reason::keyUsage, "key-usage", "the certificate of the signer is not for signing documents"},
    {Reason::keyValueNotPinned, "key-value-not-pinned",
     "the signature brings a bare key, which says nothing about its holder"},
    {Reason::weakDigest, "weak-digest", "a digest method is too weak to rely on"},
    {Reason::weakSignatureMethod, "weak-signature-method",
     "the signature method is not allowed, or too weak to rely on"},
    {Reason::weakKey, "weak-key", "a key is too short to rely on"},
    {Reason::hmacTruncated, "hmac-truncated", "the HMAC is cut too short to rely on"},
    {Reason::canonicalizationNotAllowed, "canonicalization-not-allowed",
     "a canonicalisation method is not allowed"},
    {Reason::transformNotAllowed, "transform-not-allowed", "a transform is not allowed"},
    {Reason::xpathBudget, "xpath-budget", "an XPath expression takes more work than is allowed"},
    {Reason::tooManySignatures, "too-many-signatures",
     "the document holds more signatures than are allowed"},
    {Reason::tooManyReferences, "too-many-references",
     "a signature holds more references than are allowed"},
    {Reason::tooManyTransforms, "too-many-transforms",
     "a reference holds more transforms than are allowed"},
    {Reason::manifestDepth, "manifest-depth",
     "Manifests stand too deep in one another, or one leads back to itself"},
    {Reason::fetchLimit, "fetch-limit", "the references name more data than may be fetched"},
    {Reason::networkReference, "network-reference",
     "a reference leads to the network, which is not allowed"},
    {Reason::fileOutsideBase, "file-outside-base",
     "a reference names a file outside of the base folder"},
    {Reason::fileReference, "file-reference", "a reference names a file, which is not allowed"},
    {Reason::duplicateId, "duplicate-id",
     "an identifier stands twice, so that it does not tell which element was signed"},
    {Reason::dtd, "dtd", "the document has a document type, which may change what it says"},
    {Reason::notCovered, "not-covered", "a part that must be signed is not"},
    {Reason::emptySelection, "empty-selection", "a reference selects nothing"},
    {Reason::signedPropertiesUncovered, "signed-properties-uncovered",
     "the properties that claim to be signed are not"},
    {Reason::signingCertificateMismatch, "signing-certificate-mismatch",
     "the signed properties name another certificate than the one that verifies"},
    {Reason::severalQualifyingProperties, "several-qualifying-properties",
     "a signature has several sets of properties"},
    {Reason::timeStampInvalid, "time-stamp-invalid",
     "a time-stamp does not fit what it stands for"},
    {Reason::timeStampNotTrusted, "time-stamp-not-trusted",
     "nobody who is trusted vouches for a time-stamp"},
    {Reason::manifestNotFollowed, "manifest-not-followed",
     "what a signed Manifest lists was not looked at"},
    {Reason::carriedCrlUnusable, "carried-crl-unusable",
     "a revocation list in the signature cannot be used"},
    {Reason::timeStampNotExamined, "time-stamp-not-examined",
     "a time-stamp of another kind was not looked at"},
    {Reason::counterSignature, "counter-signature-not-valid", "a countersignature does not hold"},
    {Reason::commentNotCovered, "comment-not-covered", "a comment is not signed"},
    {Reason::idTwice, "id-twice", "an identifier stands twice"},
};
static_assert(std::size(kRows) == static_cast<size_t>(Reason::idTwice) + 1);

}  // namespace

const ReasonRow &rowOf(Reason reason) noexcept {
  const ReasonRow &row = kRows[static_cast<size_t>(reason)];
  assert(row.reason == reason);
  return row;
}

}  // namespace talvo::policy
