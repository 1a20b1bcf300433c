// What is looked at behind properties that were added.
#pragma once

#include <string>

#include "support/signing.h"

namespace talvo::test {

constexpr const char *kXadesNs = "http://uri.etsi.org/01903/v1.3.2#";

inline XmlNode *findXades(XmlNode *below, const std::string &name) {
  return talvo_xml_node_findelemnode(below, str(name).get(), str(kXadesNs).get());
}

// A document that is signed already, with unsigned properties of the prefix x that hold `content`.
inline SignedDocument withUnsigned(const std::string &signedText, const std::string &content) {
  return reparse(replaced(
      signedText, "</ds:Signature>",
      std::string("<ds:Object><x:QualifyingProperties xmlns:x=\"") + kXadesNs +
          "\"><x:UnsignedProperties><x:UnsignedSignatureProperties>" + content +
          "</x:UnsignedSignatureProperties></x:UnsignedProperties></x:QualifyingProperties>"
          "</ds:Object></ds:Signature>"));
}

}  // namespace talvo::test
