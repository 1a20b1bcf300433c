// Any text as a URI, as a base, and as a path.
#include "base/utf8.h"
#include "fuzz.h"
#include "transform/reference/dereference.h"
#include "transform/reference/uri.h"

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  using namespace talvo;
  const fuzz::LeakCheck leaks;
  const std::string_view text(reinterpret_cast<const char *>(data), size);
  const size_t middle = text.find('\n');
  const UString uri = makeString(text.substr(0, middle));
  const UString base =
      makeString(middle == std::string_view::npos ? "/nonexistent" : text.substr(middle + 1));
  if (!uri || !base || viewOf(base.get()).starts_with("/dev") ||
      viewOf(base.get()).starts_with("/proc")) {
    return 0;
  }
  talvo_ustring_free(talvo_xml_uri_encode(uri.get()));
  isOctstreamUri(uri.get());
  static const char kDocument[] = "<a xml:id='a'/>";
  const fuzz::Document document =
      fuzz::parse(reinterpret_cast<const uint8_t *>(kDocument), sizeof kDocument - 1);
  TransformData *fetched = nullptr;
  uint32_t error = 0;
  const Reach reach{document.get(), talvo_xml_doc_getrootelement(document.get()), base.get()};
  if (talvo_xml_siganture_uri2input(reach, uri.get(), &fetched, &error) == 1) {
    talvo_xml_transform_free(fetched);
  }
  return 0;
}
