// What the keys of a parameter document may hold: names of the algorithm tables, and lists.
#pragma once

#include "signature/context/json_value.h"

namespace talvo {

// Names that stand for numbers. numberOf answers -1, nameOf nothing, where there is no row.
struct NameTable {
  int32_t (*numberOf)(std::string_view name) noexcept;
  std::string_view (*nameOf)(int32_t number) noexcept;
};

extern const NameTable kC14nNames;
extern const NameTable kDigestNames;
extern const NameTable kSignatureNames;
extern const NameTable kTransformNames;
extern const NameTable kCertOptionNames;
// The options of SigningCertificate, which is never without a certificate.
extern const NameTable kSignerOptionNames;

// Each of these answers false, with a complaint, for anything that the key may not hold.
bool readName(const JsonValue &value, const NameTable &table, int32_t &number);
// A certificate option; "Self" when absent.
bool readOption(const JsonValue &value, const NameTable &table, int32_t &option);
// An array of at least one item; `of` says what the items are.
bool readArray(const JsonValue &value, std::string_view of);
// An array of at least one string, as a new list.
bool readStrings(const JsonValue &array, List &out);
// "C14NAlgo" and, for the exclusive methods, the prefixes under "C14NParam".
bool readC14n(const JsonValue &object, int32_t &method, List &prefixes);

}  // namespace talvo
