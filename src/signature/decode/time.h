// Points in time as XML Schema writes them.
#pragma once

#include <cstddef>

#include "talvo_util.h"

extern "C" {

// Reads an xsd:dateTime with a time zone and a year of four digits into a new time in UTC; null for
// any other text and for impossible fields. The text needs no terminating NUL.
talvo_time *decodedateTimeString(const char *text, size_t length) noexcept;
}
