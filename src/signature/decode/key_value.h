// ds:KeyValue with the two kinds of key that are read.
#pragma once

#include "signature/record/record.h"

namespace talvo {

// Null for anything but the exact structure. A key of another kind is kept as its node.
Owned<KeyValue> decodeKeyValue(XmlNode *element) noexcept;

}  // namespace talvo
