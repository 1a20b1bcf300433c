// Canonical XML from a sequence of tags and texts. The writer keeps what is declared and what was
// written along the open elements; it knows no tree, so that a document can come from a parser as
// well as from memory.
//
// It is told of everything in document order: first the elements around a subtree, as not selected
// and with attributes that are not, then what is selected. Without a NamespaceFilter everything
// below a selected element must be selected, and parts that are left out are not told at all. With
// one, any element, attribute or namespace is selected or not by itself, and all elements are told.
//
// Functions that are not noexcept may throw std::bad_alloc. After that, and when the sink refuses,
// what was written means nothing.
#pragma once

#include <string_view>

#include "transform/canonical/attribute_axis.h"
#include "transform/canonical/block_output.h"
#include "transform/canonical/namespace_axis.h"
#include "transform/canonical/views.h"

namespace talvo {

class CanonicalWriter {
 public:
  CanonicalWriter(OctetSink &sink, const C14nForm &form, NamespaceFilter *filter = nullptr);

  void startElement(const ElementView &element);
  // With what the start tag was told.
  void endElement(const NameView &name, bool isSelected) noexcept;
  void text(std::string_view text) noexcept { output_.putText(text); }
  // Written when the form has comments.
  void comment(std::string_view text) noexcept;
  void instruction(std::string_view target, std::string_view data) noexcept;
  // Selected attributes whose element is not told, in any order.
  void attribute(std::string_view prefix, std::string_view local, std::string_view value) noexcept;

  bool hasFailed() const noexcept { return output_.hasFailed() || attributes_.isOutOfMemory(); }
  // To be called in the end; false when the work failed.
  bool finish() noexcept { return output_.finish() && !attributes_.isOutOfMemory(); }

 private:
  enum class Place { before, inside, after };

  void writeName(std::string_view prefix, std::string_view local) noexcept;
  void writeNamespaces(const ElementView &element);
  void beginLine() noexcept;
  void endLine() noexcept;

  BlockOutput output_;
  const bool withComments_;
  NamespaceAxis namespaces_;
  AttributeAxis attributes_;
  // Where the outermost selected elements are: comments and instructions beside them stand on lines
  // of their own.
  Place place_ = Place::before;
  uint32_t selectedDepth_ = 0;
};

}  // namespace talvo
