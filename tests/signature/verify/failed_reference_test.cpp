// Which reference of a signature failed.
#include "support/signing.h"

namespace talvo::test {
namespace {

class FailedReferenceTest : public LibraryTest {};

TEST_F(FailedReferenceTest, TheIndexIsThatOfTheFirstWhichDoesNotHold) {
  const Identity signer = makeIdentity();
  const Document document =
      parse("<r><a xml:id='a'>1</a><b xml:id='b'>2</b><c xml:id='c'>3</c></r>");
  const Signed made = signPlan(signer, document.get(), {.references = {{"#a"}, {"#b"}, {"#c"}}});
  ASSERT_TRUE(made);
  const SignatureRecord record(talvo_xml_decode_signature(made.element));
  const auto failed = [&](uint32_t *error) {
    int32_t index = 7;
    const int32_t valid =
        talvo_xml_signature_referencevalidation_ex2(record.get(), 0, nullptr, 0, &index, error);
    EXPECT_EQ(valid == 1, index == -1 && *error == 0);
    return index;
  };
  uint32_t error = 0;
  EXPECT_EQ(failed(&error), -1);
  for (const int32_t index : {2, 1, 0}) {
    const std::string id(1, static_cast<char>('a' + index));
    XmlNode *element = talvo_xml_getidelemnode(document.get(), str(id).get());
    ASSERT_EQ(talvo_xml_node_setvalue(element, str("changed").get()), 1);
    EXPECT_EQ(failed(&error), index);
    EXPECT_EQ(error, 2U);
  }
  int32_t index = 7;
  EXPECT_EQ(talvo_xml_signature_referencevalidation_ex2(nullptr, 0, nullptr, 0, &index, &error), 0);
  EXPECT_EQ(index, -1);
  EXPECT_EQ(error, 6U);
}

}  // namespace
}  // namespace talvo::test
