// Signatures for tests in one call: a plan says what differs from the ordinary enveloped one.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/handle.h"
#include "signature/context/context.h"
#include "support/keys.h"
#include "support/library_test.h"

namespace talvo::test {

struct TransformPlan {
  int32_t algorithm = 48;
  std::vector<std::string> prefixes;  // for 3 and 4
  std::string expression;             // for 32
};

struct ReferencePlan {
  std::optional<std::string> uri = "";
  std::vector<TransformPlan> transforms = {};
  uint32_t digestMethod = 4;
  std::string type = {};
  std::optional<std::string> content = {};
};

struct SignaturePlan {
  std::vector<ReferencePlan> references = {{"", {{48, {}, {}}}}};
  uint32_t c14nMethod = 1;
  std::vector<std::string> prefixes = {};
  int32_t signatureMethod = 68;
};

UString text(const std::string &value);
// A list of new strings; null for none.
List textList(const std::vector<std::string> &values);
ReferenceContext makeReference(const ReferencePlan &plan);
List makeReferences(const std::vector<ReferencePlan> &plans);
SignedInfoContext makeContext(const SignaturePlan &plan);

// The usual signature method of a kind of key.
int32_t methodFor(KeyKind kind);

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

// 0 when every signature of the document is valid, else the error.
uint32_t verifyAll(XmlDoc *document);

std::string dump(const XmlDoc *document);

// A copy of the text with the first `from` replaced; fails the running test when there is none.
std::string replaced(std::string in, const std::string &from, const std::string &to);

}  // namespace talvo::test
