// Certificates, keys and CRLs on their way into a policy, each by what it is for.
#pragma once

#include <string_view>

#include "policy/policy.h"

namespace talvo::policy {

// False when the role is unknown or memory is exhausted.
bool addCertificate(TalvoXmlPolicy &policy, uint32_t role,
                    const TalvoPKICert *certificate) noexcept;
bool addKey(TalvoXmlPolicy &policy, TalvoPKIPublicKey *key) noexcept;
// Everything in a PEM text, or one object in DER. False when there is nothing, or a part cannot be
// read or is not for this role: a part left out could be the one that matters.
bool addBundle(TalvoXmlPolicy &policy, uint32_t role, std::string_view bytes);

}  // namespace talvo::policy
