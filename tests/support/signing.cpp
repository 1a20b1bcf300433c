#include "support/signing.h"

#include "signature/vocabulary/algorithm.h"
#include "support/contexts.h"

namespace talvo::test {
namespace {

TransformContext makeTransform(const TransformPlan &plan) {
  if (!plan.expression.empty()) {
    return transform(plan.algorithm, str(plan.expression).get());
  }
  return transform(plan.algorithm, textList(plan.prefixes).get());
}

void freeTransform(void *context) noexcept {
  talvo_xml_signature_transformctx_free(static_cast<TransformCtx *>(context));
}

void freeReference(void *context) noexcept {
  talvo_xml_signature_referencectx_free(static_cast<ReferenceCtx *>(context));
}

ReferenceContext makeReference(const ReferencePlan &plan) {
  const List transforms(talvo_arraylist_new(nullptr, freeTransform));
  for (const TransformPlan &transform : plan.transforms) {
    append(transforms, makeTransform(transform));
  }
  const UString uri = plan.uri ? str(*plan.uri) : nullptr;
  const UString type = plan.type.empty() ? nullptr : str(plan.type);
  const Blob content(plan.content ? talvo_data_blob_new(plan.content->data(), plan.content->size())
                                  : nullptr);
  return ReferenceContext(talvo_xml_signature_referencectx_new(
      plan.digestMethod, nullptr, uri.get(), type.get(), content.get(), transforms.get()));
}

KeyKind kindFor(const SignatureAlgorithm &method) {
  switch (method.family) {
    case KeyFamily::rsa:
      return KeyKind::rsa;
    case KeyFamily::dsa:
      return KeyKind::dsa;
    default:
      break;
  }
  const std::string name = method.name;
  return name == "SM2-SM3"        ? KeyKind::sm2
         : name == "ECDSA-SHA224" ? KeyKind::p224
         : name == "ECDSA-SHA384" ? KeyKind::p384
         : name == "ECDSA-SHA512" ? KeyKind::p521
                                  : KeyKind::p256;
}

}  // namespace

List textList(const std::vector<std::string> &values) {
  List list(values.empty() ? nullptr : talvo_arraylist_new(nullptr, freeStringItem));
  for (const std::string &value : values) {
    append(list, str(value));
  }
  return list;
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
  SignedInfoContext context(
      talvo_xml_signature_signedinfoctx_new(nullptr, plan.c14nMethod, textList(plan.prefixes).get(),
                                            plan.signatureMethod, references.get()));
  if (!plan.valueId.empty()) {
    talvo_xml_signature_signedinfoctx_setsignaturevalueid(context.get(), str(plan.valueId).get());
  }
  return context;
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

const Identity &anySigner() {
  static const Identity identity = makeIdentity({.keyUsage = kDigitalSignature});
  return identity;
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

SignedDocument reparse(const std::string &xml) {
  SignedDocument result{parse(xml)};
  result.signature = findSignature(result.document.get());
  return result;
}

SignedDocument signDocument(const Identity &signer, const std::string &xml) {
  SignedDocument result{parse(xml)};
  const SignaturePlan plan{.signatureMethod = methodFor(signer.kind), .valueId = "value"};
  result.signature = signPlan(signer, result.document.get(), plan).element;
  EXPECT_NE(result.signature, nullptr);
  return result;
}

const char *const kPlannedDocument =
    "<?xml version='1.0'?>\n<?keep this?><!-- prolog --><a:root xmlns:a='urn:a' xmlns='urn:d' "
    "xml:lang='de'>"
    "<part xml:id='p' a:z='1' b='2'>Grüße &lt;&#13;</part><!-- inside --></a:root>\n<!-- epilog "
    "-->";

std::vector<NamedPlan> everyPlan() {
  std::vector<NamedPlan> plans = {
      {"XPath", KeyKind::rsa, {{{"", {{32, {}, "not(ancestor-or-self::ds:Signature)"}}}}}},
      {"XPath by here",
       KeyKind::rsa,
       {{{"", {{32, {}, "not(here()/ancestor::ds:Signature = ancestor-or-self::ds:Signature)"}}}}}},
      {"element by xml:id", KeyKind::rsa, {{{"#p"}}}},
      {"xpointers", KeyKind::rsa, {{{"#xpointer(/)", {{48}}}, {"#xpointer(id('p'))"}}}}};
  for (int32_t number = 0; number <= 200; ++number) {
    const SignatureAlgorithm *method = signatureByNumber(number);
    if (method != nullptr && method->inContext && method->uri != nullptr) {
      plans.push_back({method->name, kindFor(*method), {.signatureMethod = number}});
    }
    const DigestAlgorithm *digest = digestByNumber(number);
    if (digest != nullptr && digest->length != 0) {
      const auto id = static_cast<uint32_t>(number);
      plans.push_back({digest->name, KeyKind::rsa, {{{"", {{48}}, id}, {"#p", {}, id}}}});
    }
    if (canCanonicalize(number)) {
      const TransformAlgorithm *c14n = c14nByNumber(number);
      const std::vector<std::string> prefixes(isExclusive(number) ? 1 : 0, "a");
      plans.push_back({c14n->name,
                       KeyKind::rsa,
                       {{{c14n->withComments ? "#xpointer(/)" : "", {{48}, {number, prefixes}}}},
                        static_cast<uint32_t>(number),
                        prefixes}});
    }
  }
  return plans;
}

uint32_t verifyAll(XmlDoc *document) {
  uint32_t error = 0;
  return talvo_xml_signature_verify(document, nullptr, 0, nullptr, &error) == 1 ? 0 : error;
}

uint32_t verifyAll(const std::string &xml) {
  return verifyAll(parse(xml).get());
}

}  // namespace talvo::test
