// Signing parameters as one JSON document. Unknown keys are ignored.
#pragma once

#include "signature/context/context.h"

namespace talvo {

// What the entry point itself reads, beside the SignedInfoCtx.
struct EntryParameters {
  UString signatureId;                                    // null when absent
  UString basePath;                                       // null when absent, or not a string
  uint32_t dereferenceFlags = TALVO_DEREFERENCE_NETWORK;  // 0 for "offline"
};

// False when "SignatureId" is not a string.
bool readEntryParameters(const talvo_json *parameters, EntryParameters &out) noexcept;

struct TimeStampParameters {
  bool isRequested = false;  // the rest is only filled when it is
  UString id;                // null when absent
  int32_t c14nMethod = -1;   // -1 when absent
  List prefixes;             // null for none
  UString tsa;
  int32_t digestMethod = -1;
};

// False when a time-stamp is asked for in a way that cannot be understood.
bool readTimeStampParameters(const talvo_json *parameters, TimeStampParameters &out) noexcept;

}  // namespace talvo

extern "C" {

// JsonToSignedInfoCtx returns a new context, or null when anything in the document is wrong.
SignedInfoCtx *JsonToSignedInfoCtx(const talvo_json *parameters) noexcept;
// The number of a digest or certificate option that a JSON string names, in any case; -1 otherwise.
int32_t GetHashAlgoFromJson(const talvo_json *value) noexcept;
int32_t GetIncludeCertOptionFromJson(const talvo_json *value) noexcept;
// GetC14NAlgoFromJson reads "C14NAlgo" and, for the exclusive methods, "C14NParam" of an object.
// The list is new, or null when there is none that can be read, which is no failure here.
int32_t GetC14NAlgoFromJson(const talvo_json *object, int32_t *method,
                            talvo_arraylist **prefixes) noexcept;
// The array of strings under "C14NParam" ("TransformParam") as a new list; null for anything else,
// the empty array included.
talvo_arraylist *GetC14NParamFromJson(const talvo_json *object) noexcept;
talvo_arraylist *GetTransformC14NParamFromJson(const talvo_json *object) noexcept;
// DecodeStringValueFromJson returns a JSON string as a new string; null for any other value.
talvo_ustring *DecodeStringValueFromJson(const talvo_json *value) noexcept;
}
