// Declaring Ids walks the whole document. Where many references of one document are verified one by one, each asking
// for it, that would cost the square of their number.
#pragma once

#include "talvo_xml.h"

namespace talvo {

// While one of these lives, talvo_xml_signature_setid walks its document once and answers from memory afterwards. The
// owner promises that no signature and no Id is added meanwhile. Scopes nest; the outermost one remembers, for its own
// thread.
class IdScope {
 public:
  explicit IdScope(const XmlDoc *doc) noexcept;
  ~IdScope();
  IdScope(const IdScope &) = delete;
  IdScope &operator=(const IdScope &) = delete;

  // Whether the Ids of the document are declared already.
  static bool knows(const XmlDoc *doc) noexcept;
  static void remember(const XmlDoc *doc) noexcept;

 private:
  const XmlDoc *doc_;
  bool declared_ = false;
  bool isOutermost_;
};

}  // namespace talvo
