#include "support/signing.h"

#include "base/utf8.h"

namespace talvo::test {
namespace {

TransformContext makeTransform(const TransformPlan &plan) {
  const List prefixes = textList(plan.prefixes);
  const UString expression = text(plan.expression);
  const void *parameter = nullptr;
  if (!plan.prefixes.empty()) {
    parameter = prefixes.get();
  } else if (!plan.expression.empty()) {
    parameter = expression.get();
  }
  return TransformContext(talvo_xml_signature_transformctx_new(plan.algorithm, parameter));
}

void freeString(void *string) noexcept {
  talvo_ustring_free(static_cast<talvo_ustring *>(string));
}

void freeTransform(void *context) noexcept {
  talvo_xml_signature_transformctx_free(static_cast<TransformCtx *>(context));
}

void freeReference(void *context) noexcept {
  talvo_xml_signature_referencectx_free(static_cast<ReferenceCtx *>(context));
}

}  // namespace

UString text(const std::string &value) {
  return makeString(value);
}

List textList(const std::vector<std::string> &values) {
  if (values.empty()) {
    return nullptr;
  }
  List list(talvo_arraylist_new(nullptr, freeString));
  for (const std::string &value : values) {
    append(list, text(value));
  }
  return list;
}

ReferenceContext makeReference(const ReferencePlan &plan) {
  const List transforms(talvo_arraylist_new(nullptr, freeTransform));
  for (const TransformPlan &transform : plan.transforms) {
    append(transforms, makeTransform(transform));
  }
  const UString uri = plan.uri ? text(*plan.uri) : nullptr;
  const UString type = plan.type.empty() ? nullptr : text(plan.type);
  const Blob content(plan.content ? talvo_data_blob_new(plan.content->data(), plan.content->size())
                                  : nullptr);
  return ReferenceContext(talvo_xml_signature_referencectx_new(
      plan.digestMethod, nullptr, uri.get(), type.get(), content.get(), transforms.get()));
}

List makeReferences(const std::vector<ReferencePlan> &plans) {
  List references(talvo_arraylist_new(nullptr, freeReference));
  for (const ReferencePlan &plan : plans) {
    append(references, makeReference(plan));
  }
  return references;
}

SignedInfoContext makeContext(const SignaturePlan &plan) {
  const List references = makeReferences(plan.references);
  const List prefixes = textList(plan.prefixes);
  return SignedInfoContext(talvo_xml_signature_signedinfoctx_new(
      nullptr, plan.c14nMethod, prefixes.get(), plan.signatureMethod, references.get()));
}

int32_t methodFor(KeyKind kind) {
  switch (kind) {
    case KeyKind::rsa:
    case KeyKind::rsaOther:
      return 68;
    case KeyKind::dsa:
      return 72;
    case KeyKind::sm2:
      return 83;
    default:
      return 75;
  }
}

Signed signWith(const Identity &signer, XmlDoc *document, SignedInfoCtx *context,
                const talvo_arraylist *objects) {
  const Certificate certificate = signer.certificate();
  Signed result;
  talvo_xml_signature_sign(document, talvo_xml_doc_getrootelement(document), nullptr, nullptr,
                           context, objects, certificate.get(), nullptr, &result.element,
                           &result.error);
  return result;
}

Signed signPlan(const Identity &signer, XmlDoc *document, const SignaturePlan &plan) {
  return signWith(signer, document, makeContext(plan).get());
}

uint32_t verifyAll(XmlDoc *document) {
  uint32_t error = 0;
  return talvo_xml_signature_verify(document, nullptr, 0, nullptr, &error) == 1 ? 0 : error;
}

std::string dump(const XmlDoc *document) {
  const Blob blob(talvo_xml_doc_dump(document, 0));
  const Bytes bytes = bytesOf(blob.get());
  return {bytes.begin(), bytes.end()};
}

std::string replaced(std::string in, const std::string &from, const std::string &to) {
  const size_t position = in.find(from);
  EXPECT_NE(position, std::string::npos) << from;
  return position == std::string::npos ? in : in.replace(position, from.size(), to);
}

}  // namespace talvo::test
