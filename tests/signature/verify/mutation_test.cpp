// One changed bit anywhere in what a signature covers is refused. What is neutral to canonicalisation may stay valid,
// and so may another spelling of the same signature value; nothing else, and nothing crashes.
#include "support/signing.h"

namespace talvo::test {
namespace {

constexpr const char *kDocument =
    "<?order first?><o:a xmlns:o='urn:o' n='1' xml:id='top'><!-- c --><b o:k='v'>text &amp; "
    "more</b></o:a>";

class MutationTest : public LibraryTest {};

// What the signature says of the document: its canonical form with the octets of the signature value in place of
// their text. Equal meanings are neutral changes.
std::string meaning(XmlDoc *document, int32_t mode) {
  const Blob canonical(talvo_xml_c14nnode(document, static_cast<uint32_t>(mode), nullptr));
  const SignatureRecord signature(talvo_xml_decode_signature(findSignature(document)));
  if (!canonical || !signature) {
    return {};
  }
  const std::string text = textOf(canonical);
  return replaced(text, between(text, "SignatureValue>", "<"),
                  textOf(signature->signatureValue->value));
}

// The certificate is not covered by the signature; a changed one is another matter.
bool isCovered(const std::string &text, size_t position) {
  return position < text.find("<ds:KeyInfo>") || position >= text.find("</ds:KeyInfo>");
}

TEST_F(MutationTest, EveryChangedBitIsRefusedUnlessItIsNeutral) {
  const ReferencePlan whole{"", {{48}}};
  const ReferencePlan commented{"#xpointer(/)", {{48}, {2}}};
  const ReferencePlan filtered{"", {{32, {}, "not(ancestor-or-self::ds:Signature)"}}};
  const ReferencePlan exclusive{"", {{48}, {3, {"o"}}}};
  for (const NamedPlan &row :
       {NamedPlan{"RSA", KeyKind::rsa, {.references = {whole}}},
        {"ECDSA", KeyKind::p256, {.references = {whole}, .signatureMethod = 75}},
        {"DSA", KeyKind::dsa, {.references = {whole}, .signatureMethod = 72}},
        {"SM2", KeyKind::sm2, {.references = {whole}, .signatureMethod = 83}},
        {"comments", KeyKind::p256, {.references = {commented}, .signatureMethod = 75}},
        {"XPath", KeyKind::p256, {.references = {filtered}, .signatureMethod = 75}},
        {"exclusive",
         KeyKind::p256,
         {.references = {exclusive}, .c14nMethod = 6, .signatureMethod = 75}}}) {
    SCOPED_TRACE(row.name);
    const Document document = parse(kDocument);
    ASSERT_TRUE(signPlan(makeIdentity({.kind = row.kind}), document.get(), row.plan));
    const std::string original = dump(document.get());
    const int32_t mode = row.plan.references[0].uri->empty() ? 1 : 2;
    const std::string meant = meaning(parse(original).get(), mode);
    ASSERT_FALSE(meant.empty());
    size_t refused = 0;
    for (size_t position = 0; position < original.size(); ++position) {
      std::string changed = original;
      changed[position] = static_cast<char>(changed[position] ^ (1 << (position % 7)));
      const Document mutant(talvo_xml_parse(changed.data(), static_cast<int64_t>(changed.size())));
      const bool valid = mutant && verifyAll(mutant.get()) == 0;
      refused += valid ? 0 : 1;
      if (valid && isCovered(original, position)) {
        EXPECT_EQ(meaning(mutant.get(), mode), meant)
            << "changed at " << position << ": " << original.substr(position, 40);
      }
    }
    EXPECT_GT(refused, original.size() / 4);
  }
}

}  // namespace
}  // namespace talvo::test
