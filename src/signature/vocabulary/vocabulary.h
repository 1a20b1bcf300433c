// The texts of signatures as process-wide strings: null before start-up, read-only until shut-down.
#pragma once

#include "talvo_util.h"

extern "C" {

#define NAME(global, text) extern talvo_ustring *global;
#define COPY(global, original) extern talvo_ustring *global;
#include "signature/vocabulary/vocabulary.def"
#undef NAME
#undef COPY

// Builds every string in order: 1, or 0 at the first that cannot be made; those already made stay.
int32_t talvo_xml_string_init() noexcept;
// Frees every string, made or not, and sets it to null: always 1.
int32_t talvo_xml_string_end() noexcept;
}
