// Reading documents. External entities are loaded by a function that libxml2 knows for the whole
// process; to keep one parser from it, its own handlers answer before that function is asked.
#include <cstring>

#include <libxml/SAX2.h>

#include "talvo_xml.h"

#include "xml/document.h"
#include "xml/native.h"

using namespace talvo;

extern "C" {

// A reference to an external entity ends the parse; one that is never referred to does no harm.
static xmlEntity *refuseExternalEntity(void *context, const xmlChar *name) noexcept {
  xmlEntity *entity = xmlSAX2GetEntity(context, name);
  if (entity == nullptr || entity->etype != XML_EXTERNAL_GENERAL_PARSED_ENTITY) {
    return entity;
  }
  auto *parser = static_cast<xmlParserCtxt *>(context);
  xmlStopParser(parser);
  // Without this the part before the reference would pass for the whole document.
  parser->wellFormed = 0;
  return nullptr;
}

// An external parameter entity is part of the document type, which may stay unread.
static xmlEntity *skipExternalParameterEntity(void *context, const xmlChar *name) noexcept {
  xmlEntity *entity = xmlSAX2GetParameterEntity(context, name);
  if (entity == nullptr || entity->etype != XML_EXTERNAL_PARAMETER_ENTITY) {
    return entity;
  }
  // From here on undeclared entities may have been declared in what is skipped.
  static_cast<xmlParserCtxt *>(context)->hasPErefs = 1;
  return nullptr;
}
}

namespace {

// Entities are replaced, attribute defaults of the document type are added, CDATA becomes text.
constexpr int kOptions = XML_PARSE_NOENT | XML_PARSE_DTDATTR | XML_PARSE_NOCDATA;
static_assert(kOptions == 16394);

constexpr uint32_t kKnownFlags = TALVO_PARSE_NO_NETWORK | TALVO_PARSE_NO_EXTERNALS;
constexpr int64_t kLargestSize = 2147483647;

void forbidExternals(xmlSAXHandler *handler) noexcept {
  handler->externalSubset = nullptr;
  handler->getEntity = refuseExternalEntity;
  handler->getParameterEntity = skipExternalParameterEntity;
}

}  // namespace

XmlDoc *talvo_xml_parse(const void *buffer, int64_t size) noexcept {
  return talvo_xml_parse_ex(buffer, size, 0);
}

XmlDoc *talvo_xml_parse_ex(const void *buffer, int64_t size, uint32_t flags) noexcept {
  if (buffer == nullptr || size < 1 || size > kLargestSize || (flags & ~kKnownFlags) != 0) {
    return nullptr;
  }
  const MemoryWatch watch;
  const ParserContext context(xmlNewParserCtxt());
  if (!context) {
    return nullptr;
  }
  if ((flags & TALVO_PARSE_NO_EXTERNALS) != 0) {
    forbidExternals(context->sax);
  }
  const int options = (flags & TALVO_PARSE_NO_NETWORK) != 0 ? kOptions | XML_PARSE_NONET : kOptions;
  return handOutDocument(
      watch,
      NativeDoc(xmlCtxtReadMemory(context.get(), static_cast<const char *>(buffer),
                                  static_cast<int>(size), nullptr, nullptr, options)),
      flags);
}

XmlDoc *talvo_xml_parsefile(const char *path) noexcept {
  // libxml2 reads standard input for "-".
  if (path == nullptr || std::strcmp(path, "-") == 0) {
    return nullptr;
  }
  const MemoryWatch watch;
  return handOutDocument(watch, NativeDoc(xmlReadFile(path, nullptr, kOptions)), 0);
}
