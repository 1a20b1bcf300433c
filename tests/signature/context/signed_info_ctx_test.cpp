#include "signature/vocabulary/algorithm.h"
#include "support/contexts.h"
#include "support/memory_test.h"

namespace talvo::test {
namespace {

class SignedInfoCtxTest : public MemoryTest {
 protected:
  void SetUp() override {
    MemoryTest::SetUp();
    reference_ = reference("#a");
  }
  void TearDown() override {
    reference_.reset();
    MemoryTest::TearDown();
  }

  ReferenceContext reference_;
};

TEST_F(SignedInfoCtxTest, ExactlyTheMethodsThatMaySignAreAccepted) {
  const List prefixes = stringList({"p"});
  for (int32_t number = -1; number <= 128; ++number) {
    SCOPED_TRACE(number);
    const SignatureAlgorithm *method = signatureByNumber(number);
    EXPECT_EQ(signedInfo(reference_.get(), 68, static_cast<uint32_t>(number), prefixes) != nullptr,
              canCanonicalize(number));
    EXPECT_EQ(signedInfo(reference_.get(), number) != nullptr,
              method != nullptr && method->inContext);
  }
}

TEST_F(SignedInfoCtxTest, OnlyExclusiveMethodsKeepPrefixesAndTheyNeedSome) {
  List prefixes = stringList({"p", "q"});
  const SignedInfoContext exclusive = signedInfo(reference_.get(), 68, 3, prefixes);
  const SignedInfoContext inclusive = signedInfo(reference_.get(), 68, 1, prefixes);
  prefixes.reset();
  const List kept(talvo_xml_signature_signedinfoctx_getc14nparam(exclusive.get()));
  EXPECT_EQ(joined(kept), "p q");
  EXPECT_EQ(talvo_xml_signature_signedinfoctx_getc14nparam(inclusive.get()), nullptr);
  EXPECT_EQ(signedInfo(reference_.get(), 68, 4), nullptr);
  EXPECT_EQ(signedInfo(reference_.get(), 68, 4, stringList({})), nullptr);
}

TEST_F(SignedInfoCtxTest, ReferencesAreSharedAndAtLeastOneIsNeeded) {
  ReferenceCtx *const first = reference_.get();
  SignedInfoContext context = signedInfo(first);
  reference_.reset();
  List references(talvo_xml_signature_signedinfoctx_getrefs(context.get()));
  context.reset();
  ASSERT_EQ(items<ReferenceCtx>(references).size(), 1);
  EXPECT_EQ(items<ReferenceCtx>(references)[0], first);
  EXPECT_EQ(take(talvo_xml_signature_referencectx_geturi(first)), "#a");

  EXPECT_EQ(talvo_xml_signature_signedinfoctx_new(nullptr, 1, nullptr, 68, nullptr), nullptr);
  const List none = listOf<ReferenceCtx>({});
  EXPECT_EQ(talvo_xml_signature_signedinfoctx_new(nullptr, 1, nullptr, 68, none.get()), nullptr);
}

TEST_F(SignedInfoCtxTest, ADuplicateKeepsTheContextAlive) {
  SignedInfoContext context = signedInfo(reference_.get(), 75, 6);
  const SignedInfoContext second(talvo_xml_signature_signedinfoctx_dup(context.get()));
  EXPECT_EQ(second, context);
  context.reset();
  EXPECT_EQ(talvo_xml_signature_signedinfoctx_getsignalgoid(second.get()), 75);
  EXPECT_EQ(talvo_xml_signature_signedinfoctx_getc14nmethon(second.get()), 6);
}

TEST_F(SignedInfoCtxTest, ARefusedValueLeavesTheOldOne) {
  const SignedInfoContext owner = signedInfo(reference_.get());
  SignedInfoCtx *context = owner.get();
  EXPECT_EQ(context->includeCertOption, 2);
  EXPECT_EQ(talvo_xml_signature_signedinfoctx_setincludecertflag(context, 4), 1);
  for (const int32_t option : {0, 5, -1}) {
    EXPECT_EQ(talvo_xml_signature_signedinfoctx_setincludecertflag(context, option), 0);
  }
  EXPECT_EQ(context->includeCertOption, 4);

  const auto setCertificate = talvo_xml_signature_signedinfoctx_xades_setsigningcertificateinfo;
  EXPECT_EQ(setCertificate(context, 8, 3), 1);
  for (const auto &[digest, option] :
       {std::pair{2, 2}, {7, 2}, {0, 2}, {9, 2}, {-1, 2}, {4, 1}, {4, 5}}) {
    EXPECT_EQ(setCertificate(context, digest, option), 0) << digest << " " << option;
  }
  EXPECT_EQ(context->signingCertificateDigest, 8);
  EXPECT_EQ(context->signingCertificateOption, 3);

  const auto setPlace = talvo_xml_signature_signedinfoctx_xades_setsignatureproductionplace;
  EXPECT_EQ(setPlace(context, nullptr, nullptr, str("12345").get(), nullptr), 1);
  EXPECT_EQ(setPlace(context, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(textOf(context->productionPlace->postalCode), "12345");

  EXPECT_EQ(talvo_xml_signature_signedinfoctx_setsignaturevalueid(context, str("v").get()), 1);
  EXPECT_EQ(talvo_xml_signature_signedinfoctx_setsignaturevalueid(context, nullptr), 0);
  EXPECT_EQ(textOf(context->signatureValueId), "v");
}

TEST_F(SignedInfoCtxTest, EachPropertyButNoIdAsksForXades) {
  const UString text = str("x");
  const auto expectAsking = [&](bool asks, auto change) {
    const SignedInfoContext context = signedInfo(reference_.get());
    EXPECT_EQ(change(context.get()), 1);
    EXPECT_EQ(context->asksForXades(), asks);
  };
  for (const auto &[use, asks] : {std::pair{-5, true}, {0, false}}) {
    expectAsking(asks, [use = use](SignedInfoCtx *context) {
      return talvo_xml_signature_signedinfoctx_xades_setusesigningtime(context, use);
    });
  }
  expectAsking(true, [](SignedInfoCtx *context) {
    return talvo_xml_signature_signedinfoctx_xades_setsigningcertificateinfo(context, 1, 2);
  });
  expectAsking(true, talvo_xml_signature_signedinfoctx_xades_setsignaturepolicyimplied);
  expectAsking(true, [&](SignedInfoCtx *context) {
    return talvo_xml_signature_signedinfoctx_xades_setsignatureproductionplace(
        context, nullptr, nullptr, nullptr, text.get());
  });
  for (const auto setId : {talvo_xml_signature_signedinfoctx_xades_setqualifyingpropertiesid,
                           talvo_xml_signature_signedinfoctx_xades_setsignedpropertiesid,
                           talvo_xml_signature_signedinfoctx_xades_setsignedsignaturepropertiesid,
                           talvo_xml_signature_signedinfoctx_setsignaturevalueid}) {
    expectAsking(false, [&](SignedInfoCtx *context) { return setId(context, text.get()); });
  }
}

TEST_F(SignedInfoCtxTest, NullIsAnsweredWithoutAContext) {
  EXPECT_EQ(talvo_xml_signature_signedinfoctx_getid(nullptr), nullptr);
  EXPECT_EQ(talvo_xml_signature_signedinfoctx_getsignalgoid(nullptr), -1);
  EXPECT_EQ(talvo_xml_signature_signedinfoctx_getc14nmethon(nullptr), -1);
  EXPECT_EQ(talvo_xml_signature_signedinfoctx_getrefs(nullptr), nullptr);
  EXPECT_EQ(talvo_xml_signature_signedinfoctx_dup(nullptr), nullptr);
  EXPECT_EQ(talvo_xml_signature_signedinfoctx_setincludecertflag(nullptr, 2), 0);
  talvo_xml_signature_signedinfoctx_free(nullptr);
}

}  // namespace
}  // namespace talvo::test
