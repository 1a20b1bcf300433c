// Everything that a decoded signature holds, as part of a result tree.
#pragma once

#include "cli/handle.h"
#include "cli/json_object.h"

namespace talvo::cli {

void describeSignature(const Signature *signature, JsonObject &report);

}  // namespace talvo::cli
