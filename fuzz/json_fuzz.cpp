// Any octets as a JSON parameter document: read, judged, copied and written again.
#include "fuzz.h"

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  using namespace talvo;
  const fuzz::LeakCheck leaks;
  const Json json(talvo_json_parse(reinterpret_cast<const char *>(data), size));
  if (json) {
    talvo_ustring *message = nullptr;
    talvo_xml_signature_checkparameters(json.get(), &message);
    talvo_ustring_free(message);
    const Json copy(talvo_json_dup(json.get()));
    char *text = nullptr;
    if (talvo_json_dump(copy.get(), &text, nullptr) == 1) {
      talvo_free(text);
    }
  }
  return 0;
}
