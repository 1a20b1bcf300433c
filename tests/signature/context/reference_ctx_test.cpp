#include <string>

#include "signature/vocabulary/algorithm.h"
#include "support/contexts.h"
#include "support/memory_test.h"

namespace talvo::test {
namespace {

class ReferenceCtxTest : public MemoryTest {};

Blob zeros(size_t length) {
  const std::string bytes(length, '\0');
  return Blob(talvo_data_blob_new(bytes.data(), bytes.size()));
}

ReferenceContext withDigest(uint32_t method, const Blob &digest) {
  return ReferenceContext(talvo_xml_signature_referencectx_newwithhash(
      method, digest.get(), nullptr, str("#a").get(), nullptr, nullptr));
}

TEST_F(ReferenceCtxTest, AGivenDigestHasTheLengthOfItsMethod) {
  for (uint32_t method = 0; method < 10; ++method) {
    SCOPED_TRACE(method);
    const DigestAlgorithm *digest = digestByNumber(static_cast<int32_t>(method));
    const size_t expected = digest == nullptr ? 0 : digest->length;
    for (const size_t length : {0, 16, 20, 28, 32, 48, 64}) {
      EXPECT_EQ(withDigest(method, zeros(length)) != nullptr, length != 0 && length == expected);
    }
    EXPECT_EQ(withDigest(method, nullptr), nullptr);
    EXPECT_EQ(reference("#a", method) != nullptr, expected != 0);
  }
}

TEST_F(ReferenceCtxTest, AGivenDigestIsHandedBack) {
  const ReferenceContext context = withDigest(4, zeros(32));
  EXPECT_EQ(textOf(context->digestValue), "AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA=");
  EXPECT_EQ(take(talvo_xml_signature_referencectx_gethashvalue(context.get())),
            std::string(32, '\0'));
  EXPECT_EQ(talvo_xml_signature_referencectx_gethashvalue(reference("#a").get()), nullptr);
}

TEST_F(ReferenceCtxTest, AUriOrContentIsNeeded) {
  const Blob content(talvo_data_blob_new("data", 4));
  const ReferenceContext detached(
      talvo_xml_signature_referencectx_new(4, nullptr, nullptr, nullptr, content.get(), nullptr));
  ASSERT_NE(detached, nullptr);
  EXPECT_EQ(talvo_xml_signature_referencectx_geturi(detached.get()), nullptr);
  EXPECT_EQ(textOf(detached->content), "data");
  EXPECT_EQ(talvo_xml_signature_referencectx_new(4, nullptr, nullptr, nullptr, nullptr, nullptr),
            nullptr);
  EXPECT_EQ(talvo_xml_signature_referencectx_newwithhash(4, zeros(32).get(), nullptr, nullptr,
                                                         nullptr, nullptr),
            nullptr);
}

TEST_F(ReferenceCtxTest, StringsAreCopiedAndTheUriIsEncoded) {
  const ReferenceContext context(talvo_xml_signature_referencectx_new(
      5, str("r1").get(), str("a b.xml").get(), str("urn:t").get(), nullptr, nullptr));
  EXPECT_EQ(take(talvo_xml_signature_referencectx_getid(context.get())), "r1");
  EXPECT_EQ(take(talvo_xml_signature_referencectx_geturi(context.get())), "a%20b.xml");
  EXPECT_EQ(take(talvo_xml_signature_referencectx_gettype(context.get())), "urn:t");
  EXPECT_EQ(talvo_xml_signature_referencectx_gethashalgoid(context.get()), 5);
}

TEST_F(ReferenceCtxTest, TransformsAreSharedInOrderAndAnEmptyListIsNone) {
  TransformContext enveloped = transform(48);
  TransformContext c14n = transform(6);
  const ReferenceContext context =
      reference("", 4, listOf({enveloped.get(), c14n.get(), enveloped.get()}));
  enveloped.reset();
  c14n.reset();
  const List transforms(talvo_xml_signature_referencectx_gettransforms(context.get()));
  std::string numbers;
  for (const TransformCtx *item : items<TransformCtx>(transforms)) {
    numbers += std::to_string(talvo_xml_signature_transformctx_getalgoid(item)) + " ";
  }
  EXPECT_EQ(numbers, "48 6 48 ");
  const ReferenceContext plain = reference("", 4, listOf<TransformCtx>({}));
  EXPECT_EQ(plain->transforms, nullptr);
  EXPECT_EQ(talvo_xml_signature_referencectx_gettransforms(plain.get()), nullptr);
}

TEST_F(ReferenceCtxTest, TransformsTakeTheParameterOfTheirKind) {
  const UString expression = str("true()");
  const List prefixes = stringList({"p", "q"});
  for (int32_t number = -1; number <= 64; ++number) {
    const void *parameter = number == 32 ? expression.get() : nullptr;
    EXPECT_EQ(transform(number, parameter) != nullptr, transformByNumber(number) != nullptr)
        << number;
  }
  EXPECT_EQ(transform(32), nullptr);
  EXPECT_EQ(transform(3, stringList({}).get()), nullptr);
  const TransformContext exclusive = transform(4, prefixes.get());
  const TransformContext xpath = transform(32, expression.get());
  const List kept(
      static_cast<talvo_arraylist *>(talvo_xml_signature_transformctx_getparam(exclusive.get())));
  EXPECT_EQ(joined(kept), "p q");
  EXPECT_EQ(
      take(static_cast<talvo_ustring *>(talvo_xml_signature_transformctx_getparam(xpath.get()))),
      "true()");
  EXPECT_EQ(talvo_xml_signature_transformctx_getparam(transform(3).get()), nullptr);
  EXPECT_EQ(talvo_xml_signature_transformctx_getparam(transform(16).get()), nullptr);
}

}  // namespace
}  // namespace talvo::test
