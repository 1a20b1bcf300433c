// One document with a signature that holds everything the decoders know, and small edits of it.
#pragma once

#include <string>
#include <string_view>

#include "talvo_xml.h"

#include "signature/record/record.h"
#include "support/documents.h"

namespace talvo::test {

// Replaces each "{name}" by the identifier of that name ("ds", "xa", "ec" for namespaces, "c14n",
// "exc-c14n", "rsa-sha256", "sha256", "xpath" ... for algorithms), "{digest}" by 32 octets and
// "{cert}" by a certificate, both in Base64. The library must be started.
std::string expand(std::string text);

// The document, not yet expanded: a root with an element "data" outside the signature and one
// ds:Signature with the Id "S".
std::string richDocument();
// A signature of SignedInfo (RSA-SHA256, one reference) and SignatureValue, with `more` behind.
std::string plainSignature(std::string_view more = "");

// A parsed document and the record of its first signature, which is null when it does not decode.
struct Decoded {
  Document document;
  SignatureRecord record;
};
Decoded decode(const std::string &text);
bool decodes(const std::string &text);

}  // namespace talvo::test
