// A whole ds:Signature element.
#pragma once

#include <cstdint>

#include "signature/record/record.h"

namespace talvo {

// Whether decoding declares the Id attributes of the document's signatures, as the public function
// does. A caller that decodes many signatures of one document does it once itself.
enum class Registration { skip, once };

// The new record, or null for anything but the exact structure and when memory is exhausted.
// `depth` counts the signatures around this one; beyond 128 it fails, since nested signatures are
// the one structure that is decoded by recursion.
SignatureRecord decodeSignature(XmlNode *element, Registration registration,
                                int32_t depth = 0) noexcept;

}  // namespace talvo
