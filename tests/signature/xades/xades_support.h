// Signatures to which properties are added, and what is looked at afterwards.
#pragma once

#include <string>

#include "base/list.h"
#include "base/utf8.h"
#include "signature/record/record.h"
#include "signature/vocabulary/vocabulary.h"
#include "support/signing.h"

namespace talvo::test {

constexpr const char *kXadesNs = "http://uri.etsi.org/01903/v1.3.2#";

// A document with one signature whose SignatureValue has the Id "value".
struct SignedDocument {
  Document document;
  XmlNode *signature = nullptr;

  std::string text() const { return dump(document.get()); }
};

inline XmlNode *firstSignature(XmlDoc *document) {
  return talvo_xml_node_findelemnode(document, g_xml_signature_name, g_xml_signature_nsuri);
}

inline SignedDocument reparse(const std::string &xml) {
  SignedDocument result{parse(xml)};
  result.signature = firstSignature(result.document.get());
  return result;
}

inline SignedDocument signDocument(
    const Identity &signer, const std::string &xml = "<o:Order xmlns:o='urn:order'>12</o:Order>") {
  SignedDocument result{parse(xml)};
  const SignedInfoContext context = makeContext({.signatureMethod = methodFor(signer.kind)});
  talvo_xml_signature_signedinfoctx_setsignaturevalueid(context.get(), makeString("value").get());
  result.signature = signWith(signer, result.document.get(), context.get()).element;
  EXPECT_NE(result.signature, nullptr);
  return result;
}

inline SignatureRecord decode(const SignedDocument &document) {
  return SignatureRecord(talvo_xml_decode_signature(document.signature));
}

// The elements of an XAdES property and what they hold, as they stand in the document; "" without that property.
inline std::string elementText(XmlNode *element) {
  const Blob blob(talvo_xml_element_dump(element));
  const Bytes bytes = bytesOf(blob.get());
  return {bytes.begin(), bytes.end()};
}

inline XmlNode *findXades(XmlNode *below, const std::string &name, const char *nsuri = kXadesNs) {
  const UString uri = nsuri == nullptr ? nullptr : makeString(nsuri);
  return talvo_xml_node_findelemnode(below, makeString(name).get(), uri.get());
}

inline int count(const std::string &in, const std::string &what) {
  int found = 0;
  for (size_t at = in.find(what); at != std::string::npos; at = in.find(what, at + 1)) {
    ++found;
  }
  return found;
}

// The text with everything between `begin` and the next `end` replaced.
inline std::string withContent(std::string in, const std::string &begin, const std::string &end,
                               const std::string &content) {
  const size_t from = in.find(begin);
  EXPECT_NE(from, std::string::npos) << begin;
  const size_t start = from + begin.size();
  return in.replace(start, in.find(end, start) - start, content);
}

}  // namespace talvo::test
