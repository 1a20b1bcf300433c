// Signatures for tests in one call: a plan says what differs from the ordinary enveloped one.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/handle.h"
#include "signature/context/context.h"
#include "signature/record/record.h"
#include "support/documents.h"
#include "support/keys.h"

namespace talvo::test {

struct TransformPlan {
  int32_t algorithm = 48;
  std::vector<std::string> prefixes = {};  // for 3 and 4
  std::string expression = {};             // for 32
};

struct ReferencePlan {
  std::optional<std::string> uri = "";
  std::vector<TransformPlan> transforms = {};
  uint32_t digestMethod = 4;
  std::string type = {};
  std::optional<std::string> content = {};
};

struct SignaturePlan {
  std::vector<ReferencePlan> references = {{"", {{48}}}};
  uint32_t c14nMethod = 1;
  std::vector<std::string> prefixes = {};
  int32_t signatureMethod = 68;
  std::string valueId = {};
};

// A list of new strings; null for none.
List textList(const std::vector<std::string> &values);
List makeReferences(const std::vector<ReferencePlan> &plans);
SignedInfoContext makeContext(const SignaturePlan &plan);

// The usual signature method of a kind of key.
int32_t methodFor(KeyKind kind);

// Who signs where it does not matter: an RSA key, for digital signatures only.
const Identity &anySigner();

// The outcome of a signing call.
struct Signed {
  XmlNode *element = nullptr;
  uint32_t error = 0;

  explicit operator bool() const { return element != nullptr; }
};

// Signs the document with its root as parent; without a document a new one is made around the signature.
Signed signWith(const Identity &signer, XmlDoc *document, SignedInfoCtx *context,
                const talvo_arraylist *objects = nullptr);
Signed signPlan(const Identity &signer, XmlDoc *document, const SignaturePlan &plan = {});

// A document and its first signature.
struct SignedDocument {
  Document document;
  XmlNode *signature = nullptr;

  std::string text() const { return dump(document.get()); }
  SignatureRecord record() const { return SignatureRecord(talvo_xml_decode_signature(signature)); }
};

SignedDocument reparse(const std::string &xml);
// Signed by the usual method of the key; SignatureValue has the Id "value".
SignedDocument signDocument(const Identity &signer = anySigner(),
                            const std::string &xml = "<o:Order xmlns:o='urn:order'>12</o:Order>");

// One plan for each signature method, canonicalisation, digest and form of reference that can be signed, for the
// document below.
struct NamedPlan {
  std::string name;
  KeyKind kind = KeyKind::rsa;
  SignaturePlan plan = {};
};
std::vector<NamedPlan> everyPlan();
extern const char *const kPlannedDocument;  // holds the word "Grüße" once

// 0 when every signature of the document is valid, else the error.
uint32_t verifyAll(XmlDoc *document);
uint32_t verifyAll(const std::string &xml);

}  // namespace talvo::test
