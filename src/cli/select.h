// The options that choose one signature of a document.
#pragma once

#include <string>

#include "cli/handle.h"
#include "cli/result.h"

namespace talvo::cli {

// All ds:Signature elements, in document order.
List allSignatures(XmlDoc *document);

// The signature that `which` names: its number from 1 in document order, or its Id; empty for the
// only one.
Result<XmlNode *> chooseSignature(XmlDoc *document, const std::string &which);

}  // namespace talvo::cli
