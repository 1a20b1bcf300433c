// Copying a CertId and comparing it with a certificate.
#pragma once

#include "signature/record/record.h"

namespace talvo {

using OwnedCertId = Owned<CertId>;

// Null when memory is exhausted.
OwnedCertId copyCertId(const CertId &certId) noexcept;

}  // namespace talvo

extern "C" {

// 1 when the certificate is taken for the named one, else 0. See the public function of the same
// use, talvo_xml_signature_xades_certid_matchcert.
int32_t MatchSigningCertificateItem(const CertId *certId, const TalvoPKICert *certificate) noexcept;
}
