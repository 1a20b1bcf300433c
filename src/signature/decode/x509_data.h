// ds:X509Data.
#pragma once

#include "signature/record/record.h"

namespace talvo {

// A list of X509DataItem, one for each child; null when there is none, or a known one has the wrong
// structure.
List decodeX509Data(XmlNode *element) noexcept;

}  // namespace talvo
