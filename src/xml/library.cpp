// Start-up and shut-down. libxml2 keeps some of its settings for each thread: the xmlThrDef
// functions give them to threads that start later, the others to the calling one.
#include <libxml/globals.h>

#include "talvo_xml.h"

#include "signature/vocabulary/vocabulary.h"
#include "xml/native.h"
#include "xml/registry.h"

using namespace talvo;

extern "C" {

// Takes every message and says nothing.
static void null_xmlGenericError(void *, const char *, ...) noexcept {}

void noteLibxmlError(void *watch, xmlError *error) noexcept {
  static_cast<MemoryWatch *>(watch)->note(*error);
}
}

namespace {

// Detect IDs and complete attributes. The parsing functions state this once more in their options,
// which libxml2 looks at instead.
constexpr int kLoadExternalDtd = 6;

void configureLibxml() noexcept {
  xmlLoadExtDtdDefaultValue = kLoadExternalDtd;
  xmlThrDefLoadExtDtdDefaultValue(kLoadExternalDtd);
  xmlSubstituteEntitiesDefault(1);
  xmlThrDefSubstituteEntitiesDefaultValue(1);
}

}  // namespace

int32_t talvo_xml_init() noexcept {
  xmlInitParser();
  configureLibxml();
  g_nodeList = nullptr;
  // Deliberate: strings already built stay until shut-down, unlike after the next failure.
  if (talvo_xml_string_init() < 1) {
    return 0;
  }
  if (!createRegistry()) {
    talvo_xml_string_end();
    return 0;
  }
  xmlSetGenericErrorFunc(nullptr, null_xmlGenericError);
  xmlThrDefSetGenericErrorFunc(nullptr, null_xmlGenericError);
  return 1;
}

int32_t talvo_xml_end() noexcept {
  xmlCleanupParser();
  destroyRegistry();
  return talvo_xml_string_end() == 1 ? 1 : 0;
}

const char *talvo_xml_getversion() noexcept {
  return TALVO_XML_VERSION;
}
