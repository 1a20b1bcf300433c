// One XAdES SignatureTimeStamp.
#pragma once

#include "signature/record/record.h"

namespace talvo {

// Null when it is not laid out as canonicalisation method (optional) and encapsulated token.
Owned<TimeStamp> decodeTimeStamp(const XmlNode *element) noexcept;

}  // namespace talvo
