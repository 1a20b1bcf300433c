// What the tests of signing by JSON share: parameter documents, the Signature to complete, its shape afterwards.
#pragma once

#include <string>

#include "support/json.h"
#include "support/signing.h"

namespace talvo::test {

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
  // 0 or the error.
  static uint32_t sign(XmlDoc *document, const std::string &text,
                       const Identity &signer = anySigner()) {
    const Certificate certificate = signer.certificate();
    uint32_t error = 0;
    const int32_t result = talvo_xml_signature_sign_ex(findSignature(document), certificate.get(),
                                                       json(text).get(), &error);
    EXPECT_EQ(result == 1, error == 0);
    return error;
  }

  // A document around a Signature element with this content and these attributes.
  static Document around(const std::string &content = "", const std::string &attributes = "") {
    return parse("<a><b>text?</b><ds:Signature xmlns:ds='" + textOf(g_xml_signature_nsuri) + "'" +
                 attributes + ">" + content + "</ds:Signature></a>");
  }

  static std::string idOf(XmlDoc *document) {
    return take(
        talvo_xml_node_getattributevalue(findSignature(document), g_xml_signature_id, nullptr));
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
    const std::string value =
        take(type == kText ? talvo_xml_node_getvalue(child) : talvo_xml_node_getname(child));
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
