// References with their transforms and digests.
#pragma once

#include "base/bytes.h"
#include "signature/context/context.h"
#include "xml/edit.h"

namespace talvo {

// A run of Reference elements, each with a line feed behind it. Their DigestValues are empty until
// the references are digested. Null for an empty list.
OwnedNode generateReferences(XmlDoc *doc, XmlNode *ns, const talvo_arraylist *references) noexcept;

// Null for a digest without identifier.
OwnedNode generateDigestMethod(XmlNode *ns, int32_t digestMethod) noexcept;

OwnedNode generateDigestValue(XmlDoc *doc, XmlNode *ns, Bytes digest) noexcept;

}  // namespace talvo
