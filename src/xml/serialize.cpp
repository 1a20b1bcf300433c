// Writing documents and elements. Files are written from a buffer: libxml2's own file output
// decodes percent signs in the name, takes "-" for standard output and calls a full disk a success.
#include <cstdio>

#include "talvo_xml.h"

#include "xml/native.h"
#include "xml/node.h"

namespace talvo {
namespace {

constexpr char kUtf8[] = "UTF-8";

using File = Handle<std::FILE, std::fclose>;

// Runs save(context) on a save context over a buffer. Null when anything failed.
template <class Save>
XmlBuffer saveToBuffer(const char *encoding, int options, Save &&save) noexcept {
  const MemoryWatch watch;
  XmlBuffer buffer(xmlBufferCreate());
  if (!buffer) {
    return nullptr;
  }
  xmlSaveCtxt *context = xmlSaveToBuffer(buffer.get(), encoding, options);
  if (context == nullptr) {
    return nullptr;
  }
  const bool saved = save(context) >= 0;
  // Closing writes out what is left and frees the context, also after a failure.
  const bool closed = xmlSaveClose(context) >= 0;
  return saved && closed && !watch.exhausted() ? std::move(buffer) : nullptr;
}

XmlBuffer saveDoc(const XmlDoc *doc, const char *encoding, uint32_t flags) noexcept {
  if (talvo_xml_doc_getrootelement(doc) == nullptr) {
    return nullptr;
  }
  const int options = (flags & TALVO_DUMP_NO_DECLARATION) != 0 ? XML_SAVE_NO_DECL : 0;
  return saveToBuffer(encoding, options,
                      [doc](xmlSaveCtxt *context) { return xmlSaveDoc(context, nativeDoc(doc)); });
}

Bytes contentOf(const XmlBuffer &buffer) noexcept {
  return {xmlBufferContent(buffer.get()), static_cast<size_t>(xmlBufferLength(buffer.get()))};
}

talvo_data_blob *newBlob(const XmlBuffer &buffer) noexcept {
  if (!buffer) {
    return nullptr;
  }
  const Bytes content = contentOf(buffer);
  return talvo_data_blob_new(content.data(), content.size());
}

bool writeFile(const char *filename, Bytes content) noexcept {
  File file(std::fopen(filename, "wb"));
  if (!file) {
    return false;
  }
  const bool written =
      std::fwrite(content.data(), 1, content.size(), file.get()) == content.size() &&
      std::fflush(file.get()) == 0;
  // A disk can turn out full as late as here.
  const bool closed = std::fclose(file.release()) == 0;
  return written && closed;
}

}  // namespace
}  // namespace talvo

using namespace talvo;

talvo_data_blob *talvo_xml_doc_dump_ex(const XmlDoc *doc, const char *encoding,
                                       uint32_t flags) noexcept {
  return newBlob(saveDoc(doc, encoding, flags));
}

talvo_data_blob *talvo_xml_doc_dump(const XmlDoc *doc, uint32_t flags) noexcept {
  return talvo_xml_doc_dump_ex(doc, kUtf8, flags);
}

int32_t talvo_xml_doc_save_ex(const XmlDoc *doc, const char *encoding, const char *filename,
                              uint32_t flags) noexcept {
  if (filename == nullptr) {
    return 0;
  }
  const XmlBuffer buffer = saveDoc(doc, encoding, flags);
  return buffer && writeFile(filename, contentOf(buffer)) ? 1 : 0;
}

int32_t talvo_xml_doc_save(const XmlDoc *doc, const char *filename, uint32_t flags) noexcept {
  return talvo_xml_doc_save_ex(doc, kUtf8, filename, flags);
}

talvo_data_blob *talvo_xml_element_dump_ex(const XmlNode *element, const char *encoding) noexcept {
  if (kindOf(element) != NodeKind::element) {
    return nullptr;
  }
  return newBlob(saveToBuffer(encoding, 0, [element](xmlSaveCtxt *context) {
    return xmlSaveTree(context, native(element));
  }));
}

talvo_data_blob *talvo_xml_element_dump(const XmlNode *element) noexcept {
  return talvo_xml_element_dump_ex(element, kUtf8);
}
