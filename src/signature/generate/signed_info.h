// SignedInfo and SignatureValue, as they stand before anything is digested or signed.
#pragma once

#include "signature/context/context.h"
#include "xml/edit.h"

namespace talvo {

// Null when an algorithm of the context has no identifier. Transform contexts of XPath filters are
// told their XPath elements.
OwnedNode generateSignedInfo(XmlDoc *doc, XmlNode *ns, const SignedInfoCtx *context) noexcept;

// Exclusive canonicalisation needs a list of at least one prefix.
OwnedNode generateC14nMethod(XmlNode *ns, int32_t c14nMethod,
                             const talvo_arraylist *prefixes) noexcept;

// An empty SignatureValue; the Id is optional.
OwnedNode generateSignatureValue(XmlDoc *doc, XmlNode *ns, const talvo_ustring *id) noexcept;

}  // namespace talvo
