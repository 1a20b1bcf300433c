// KeyInfo: one X509Data for each certificate.
#pragma once

#include "signature/context/context.h"
#include "xml/edit.h"

namespace talvo {

// With another option than "none" the key must hold a certificate. A path that cannot be built is
// left out; the signer's own certificate is always written.
OwnedNode generateKeyInfo(XmlDoc *doc, XmlNode *ns, const SignatureKey *key,
                          int32_t includeCertOption,
                          const talvo_arraylist *extraCertificates) noexcept;

OwnedNode generateX509Data(XmlDoc *doc, XmlNode *ns, const TalvoPKICert *certificate) noexcept;

}  // namespace talvo
