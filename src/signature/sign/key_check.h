// A trial signature before anything is built: does the key pair belong to the certificate or public
// key?
#pragma once

#include <cstdint>

#include "talvo_xml.h"

namespace talvo {

// Errors: 11 the method cannot sign, 1 the trial failed, 17 the key pair is another one.
bool keyPairFits(TalvoPKIKeyPair *keyPair, const SignatureKey &key, int32_t signatureMethod,
                 uint32_t *error) noexcept;

}  // namespace talvo
