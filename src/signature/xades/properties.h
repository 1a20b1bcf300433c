// QualifyingProperties as they are written at signing time.
#pragma once

#include "base/bytes.h"
#include "signature/context/context.h"
#include "xml/edit.h"

namespace talvo {

// An Object that holds QualifyingProperties for the Signature of the given Id. `ns` is the
// namespace of the Signature. Codes: outOfMemory, signingCertificate (the signer's certificate or
// its path), pathCertificate.
OwnedNode generateQualifyingProperties(XmlDoc *doc, XmlNode *ns, const talvo_ustring *signatureId,
                                       const SignedInfoCtx *context,
                                       const TalvoPKICert *certificate, uint32_t *error) noexcept;

// A Cert element: digest, issuer and serial number of a certificate.
OwnedNode generateCertId(XmlDoc *doc, XmlNode *ns, XmlNode *xadesNs, int32_t digestMethod,
                         const TalvoPKICert *certificate) noexcept;

// An element that holds DER as Base64 and says so in its Encoding; it has no namespace when `ns` is
// null.
OwnedNode generateEncodedValue(XmlDoc *doc, XmlNode *ns, const talvo_ustring *name,
                               Bytes der) noexcept;

// A UTC time as XML Schema writes it, to the second; null for null.
UString formatTime(const talvo_time *time) noexcept;

// "#" and an Id.
UString targetOf(const talvo_ustring *id) noexcept;

}  // namespace talvo
