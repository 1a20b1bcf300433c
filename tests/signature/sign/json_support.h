// What the tests of signing by JSON share: parameter documents, the Signature to complete, its shape afterwards.
#pragma once

#include <string>

#include "base/utf8.h"
#include "signature/vocabulary/vocabulary.h"
#include "support/json.h"
#include "support/signing.h"

namespace talvo::test {

constexpr const char *kSigNs = "http://www.w3.org/2000/09/xmldsig#";

// A parameter document with one enveloped reference and further members.
inline std::string parameters(const std::string &more = "") {
  return R"({"C14NAlgo": "C14N", "SignAlgo": "Sha256WithRSA", "References": [{"HashAlgo":
      "Sha256", "URI": "", "Transforms": [{"TransformAlgo": "EnvelopedSignature"}]}])" +
         (more.empty() ? "" : ", " + more) + "}";
}

// The same with other references.
inline std::string referring(const std::string &references, const std::string &more = "") {
  return R"({"C14NAlgo": "C14N", "SignAlgo": "Sha256WithRSA", "References": [)" + references + "]" +
         (more.empty() ? "" : ", " + more) + "}";
}

constexpr const char *kSigningTime = R"("XAdES": {"HasSigningTime": true})";

class JsonSigning : public LibraryTest {
 protected:
  static const Identity &rsa() {
    static const Identity identity = makeIdentity({.keyUsage = kDigitalSignature});
    return identity;
  }

  // 0 or the error.
  static uint32_t sign(XmlDoc *document, const std::string &text, const Identity &signer = rsa()) {
    const Certificate certificate = signer.certificate();
    uint32_t error = 0;
    const int32_t result = talvo_xml_signature_sign_ex(signatureOf(document), certificate.get(),
                                                       json(text).get(), &error);
    EXPECT_EQ(result == 1, error == 0);
    return error;
  }

  static XmlNode *signatureOf(XmlDoc *document) {
    return talvo_xml_node_findelemnode(document, g_xml_signature_name, g_xml_signature_nsuri);
  }

  // A document around a Signature element with this content and these attributes.
  static Document around(const std::string &content = "", const std::string &attributes = "") {
    return parse("<a><b>text?</b><ds:Signature xmlns:ds='" + std::string(kSigNs) + "'" +
                 attributes + ">" + content + "</ds:Signature></a>");
  }

  static std::string idOf(XmlDoc *document) {
    const UString id(
        talvo_xml_node_getattributevalue(signatureOf(document), g_xml_signature_id, nullptr));
    return id ? std::string(viewOf(id.get())) : "(none)";
  }
};

// The children of the Signature: names of elements, "|" for a line feed, "c" for a comment, other text in quotes.
inline std::string shapeOf(XmlNode *signature) {
  std::string shape;
  for (XmlNode *child = talvo_xml_node_getchildren(signature); child != nullptr;
       child = talvo_xml_node_getnextsibling(child)) {
    constexpr uint32_t kElement = 1;
    constexpr uint32_t kText = 3;
    const uint32_t type = talvo_xml_node_gettype(child);
    const UString string(type == kText ? talvo_xml_node_getvalue(child)
                                       : talvo_xml_node_getname(child));
    const std::string value(viewOf(string.get()));
    shape += shape.empty() ? "" : " ";
    if (type == kText) {
      shape += value == "\n" ? "|" : "'" + value + "'";
    } else {
      shape += type == kElement ? value : "c";
    }
  }
  return shape;
}

}  // namespace talvo::test
