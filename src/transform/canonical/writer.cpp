#include "transform/canonical/writer.h"

namespace talvo {

CanonicalWriter::CanonicalWriter(OctetSink &sink, const C14nForm &form, NamespaceFilter *filter)
    : output_(sink),
      withComments_(form.withComments),
      namespaces_(form, filter),
      attributes_(form, filter != nullptr) {}

void CanonicalWriter::writeName(std::string_view prefix, std::string_view local) noexcept {
  if (!prefix.empty()) {
    output_.put(prefix);
    output_.put(':');
  }
  output_.put(local);
}

void CanonicalWriter::attribute(std::string_view prefix, std::string_view local,
                                std::string_view value) noexcept {
  output_.put(' ');
  writeName(prefix, local);
  output_.put("=\"");
  output_.putValue(value);
  output_.put('"');
}

void CanonicalWriter::writeNamespaces(const ElementView &element) {
  for (const NamespaceAxis::Written &ns : namespaces_.open(element)) {
    const std::string_view prefix = namespaces_.prefixOf(ns);
    output_.put(prefix.empty() ? " xmlns" : " xmlns:");
    output_.put(prefix);
    output_.put('=');
    output_.putUri(ns.uri);
  }
  namespaces_.settle(element.name);
}

void CanonicalWriter::startElement(const ElementView &element) {
  if (element.isSelected) {
    if (selectedDepth_++ == 0) {
      place_ = Place::inside;
    }
    output_.put('<');
    writeName(element.name.ns.prefix, element.name.local);
  }
  writeNamespaces(element);
  for (const AttributeAxis::Chosen &chosen : attributes_.open(element)) {
    attribute(chosen.prefix, chosen.local, chosen.value);
  }
  attributes_.settle(element);
  if (element.isSelected) {
    output_.put('>');
  }
}

void CanonicalWriter::endElement(const NameView &name, bool isSelected) noexcept {
  namespaces_.close();
  attributes_.close();
  if (!isSelected) {
    return;
  }
  output_.put("</");
  writeName(name.ns.prefix, name.local);
  output_.put('>');
  if (--selectedDepth_ == 0) {
    place_ = Place::after;
  }
}

void CanonicalWriter::beginLine() noexcept {
  if (place_ == Place::after) {
    output_.put('\n');
  }
}

void CanonicalWriter::endLine() noexcept {
  if (place_ == Place::before) {
    output_.put('\n');
  }
}

void CanonicalWriter::comment(std::string_view text) noexcept {
  if (!withComments_) {
    return;
  }
  beginLine();
  output_.put("<!--");
  output_.putMarkup(text);
  output_.put("-->");
  endLine();
}

void CanonicalWriter::instruction(std::string_view target, std::string_view data) noexcept {
  beginLine();
  output_.put("<?");
  output_.put(target);
  if (!data.empty()) {
    output_.put(' ');
    output_.putMarkup(data);
  }
  output_.put("?>");
  endLine();
}

}  // namespace talvo
