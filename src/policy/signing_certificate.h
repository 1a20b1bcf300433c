// The XAdES properties that name the certificate of the signer, read strictly.
#pragma once

#include "signature/record/record.h"

namespace talvo::policy {

// The QualifyingProperties of a signature: those that stand in its Objects, wherever in them.
struct PropertySets {
  XmlNode *first = nullptr;
  int32_t count = 0;
};
PropertySets propertySetsOf(const Signature &signature) noexcept;
// The XAdES child of that name, wherever among the children; null when there is none.
XmlNode *xadesChild(const XmlNode *parent, const talvo_ustring *name) noexcept;
XmlNode *xadesChild(const XmlNode *parent, const char *name) noexcept;

// Whether the signed properties name a certificate at all, read or not.
bool namesCertificate(const Signature &signature) noexcept;
// Whether each of the properties that are there names this one: digest, issuer and serial number
// agree. False when one cannot be read.
bool isNamedBy(const Signature &signature, const TalvoPKICert *certificate) noexcept;

}  // namespace talvo::policy
