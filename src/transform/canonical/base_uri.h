// The joining of xml:base values for C14N 1.1.
#pragma once

#include "transform/canonical/views.h"

namespace talvo {

Joined joinBaseUri(std::string *uri, std::string_view base);

}  // namespace talvo
