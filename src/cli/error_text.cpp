// The library's sentences, and here and there the option that helps.
#include "cli/error_text.h"

#include <cstdint>

#include "talvo_xml.h"

namespace talvo::cli {

namespace {

constexpr uint32_t kSigning = 1;
constexpr uint32_t kVerifying = 2;

std::string textOf(uint32_t family, uint32_t error) {
  const char *text = talvo_xml_errortext(family, error);
  return text == nullptr ? "no more is known about it" : text;
}

struct Hint {
  uint32_t error;
  const char *text;
};

constexpr Hint kHints[] = {
    {TALVO_VERIFY_ERROR_MISSING_ARGUMENT, "; give it with --data"},
    {TALVO_VERIFY_ERROR_NO_KEY, "; give a certificate with --cert, or the key with --hmac-key"},
    {TALVO_VERIFY_ERROR_NETWORK_REFUSED, " without --allow-network"},
};

}  // namespace

std::string verifyErrorText(uint32_t error) {
  std::string text = textOf(kVerifying, error);
  for (const Hint &hint : kHints) {
    text += hint.error == error ? hint.text : "";
  }
  return text;
}

std::string signErrorText(uint32_t error) {
  return textOf(kSigning, error);
}

}  // namespace talvo::cli
