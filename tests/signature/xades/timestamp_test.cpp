// Signature time-stamps from an authority on this machine: which are added, where, and which are believed later.
#include "signature/vocabulary/algorithm.h"
#include "signature/xades/xades_support.h"
#include "support/contexts.h"
#include "support/tsa.h"

namespace talvo::test {
namespace {

using TimeStampObject = Handle<TalvoPKITimeStamp, TalvoPKIMsgFreeTimeStamp>;

constexpr const char *kTokenBegin = "DER\">";
constexpr const char *kTokenEnd = "</xa:EncapsulatedTimeStamp>";

struct Stamp {
  int32_t c14nMethod = 0;
  std::vector<std::string> prefixes = {};
  int32_t digestMethod = 4;
  std::string id = {};
};

class SignatureTimeStampTest : public LibraryTest {
 protected:
  static TimeStampAuthority &authority() {
    static TimeStampAuthority granted;
    return granted;
  }

  // 0 or the error.
  static uint32_t add(XmlNode *signature, const Stamp &stamp,
                      const std::string &url = authority().url()) {
    const UString id = stamp.id.empty() ? nullptr : str(stamp.id);
    uint32_t error = 0;
    const int32_t result = talvo_xml_signature_xades_addsignaturetimestamp(
        signature, id.get(), stamp.c14nMethod, textList(stamp.prefixes).get(), str(url).get(),
        stamp.digestMethod, nullptr, &error);
    EXPECT_EQ(result == 1, error == 0);
    return error;
  }

  static bool verifies(const SignedDocument &document, int32_t index = 0,
                       const talvo_arraylist *trusted = nullptr) {
    TalvoPKITimeStamp *found = nullptr;
    const int32_t result = talvo_xml_signature_xades_verifysignaturetimestamp(
        document.record().get(), index, trusted, &found);
    const TimeStampObject owner(found);
    EXPECT_EQ(result == 1, found != nullptr);
    return result == 1;
  }
};

TEST_F(SignatureTimeStampTest, EveryAcceptedMethodGivesAStampOverSignatureValue) {
  struct Row {
    const char *name;
    Stamp stamp;
    int32_t recordedC14n;
    bool verifies = true;
  };
  for (const Row &row : {
           Row{"no method", {}, -1},
           {"below 1", {-1}, -1},
           {"C14N 1.0", {1}, 1},
           {"with comments", {2}, 2},
           {"exclusive", {3, {"o"}}, 3},
           {"exclusive, prefix not in scope", {3, {"none"}}, 3},
           // The decoder drops the list of method 4: a list that counts cannot be checked any more.
           {"exclusive with comments", {4, {"o"}}, 4, false},
           {"exclusive with comments, prefix in use anyway", {4, {"ds"}}, 4},
           {"C14N 1.1", {6}, 6},
           {"1.1 with comments", {7}, 7},
       }) {
    SCOPED_TRACE(row.name);
    const SignedDocument document = signDocument();
    ASSERT_EQ(add(document.signature, row.stamp), 0u);
    const SignedDocument saved = reparse(document.text());
    EXPECT_EQ(verifyAll(saved.document.get()), 0u) << "an unsigned property changes no signature";
    EXPECT_EQ(talvo_xml_signature_xades_getsignaturetimestampc14n(saved.record().get(), 0),
              row.recordedC14n);
    EXPECT_EQ(verifies(saved), row.verifies);
  }
}

TEST_F(SignatureTimeStampTest, EveryDigestThatIsComputedCanBeStamped) {
  for (int32_t number = -1; number <= 10; ++number) {
    SCOPED_TRACE(number);
    const DigestAlgorithm *digest = digestByNumber(number);
    const bool isComputed = digest != nullptr && digest->length != 0;
    const SignedDocument document = signDocument();
    EXPECT_EQ(add(document.signature, {1, {}, number}), isComputed ? 0u : 12u);
    EXPECT_EQ(verifies(document), isComputed);
  }
}

TEST_F(SignatureTimeStampTest, PropertyIsLaidOutLineByLine) {
  const std::string token =
      "<xa:EncapsulatedTimeStamp Encoding=\"http://uri.etsi.org/01903/v1.2.2#DER\">*"
      "</xa:EncapsulatedTimeStamp>\n</xa:SignatureTimeStamp>\n";
  const SignedDocument document = signDocument();
  ASSERT_EQ(add(document.signature, {1, {}, 4, "ts"}), 0u);
  ASSERT_EQ(add(document.signature, {}), 0u);
  std::string properties =
      elementText(talvo_xml_node_getparent(findXades(document.signature, "SignatureTimeStamp")));
  properties = withContent(properties, kTokenBegin, kTokenEnd, "*");
  properties = withContent(properties, kTokenBegin, kTokenEnd, "*",
                           properties.rfind("<xa:SignatureTimeStamp>"));
  EXPECT_EQ(properties,
            "<xa:UnsignedSignatureProperties>\n<xa:SignatureTimeStamp Id=\"ts\">\n"
            "<ds:CanonicalizationMethod "
            "Algorithm=\"http://www.w3.org/TR/2001/REC-xml-c14n-20010315\"/>\n" +
                token + "<xa:SignatureTimeStamp>\n" + token + "</xa:UnsignedSignatureProperties>");
  EXPECT_TRUE(verifies(document, 0));
  EXPECT_TRUE(verifies(document, 1));
  EXPECT_FALSE(verifies(document, 2));
  EXPECT_FALSE(verifies(document, -1));
}

TEST_F(SignatureTimeStampTest, StampIsHandedOutWithItsTimeAndAuthority) {
  const SignedDocument document = signDocument();
  TalvoPKITimeStamp *added = nullptr;
  TalvoPKITimeStamp *verified = nullptr;
  uint32_t error = 0;
  ASSERT_EQ(
      talvo_xml_signature_xades_addsignaturetimestamp(
          document.signature, nullptr, 0, nullptr, str(authority().url()).get(), 4, &added, &error),
      1);
  const TimeStampObject owner(added);
  ASSERT_EQ(talvo_xml_signature_xades_verifysignaturetimestamp(document.record().get(), 0, nullptr,
                                                               &verified),
            1);
  const TimeStampObject verifiedOwner(verified);
  const Time given(TalvoPKIMsgTimeStampGetTime(added));
  const Time found(TalvoPKIMsgTimeStampGetTime(verified));
  EXPECT_EQ(talvo_time_cmp(given.get(), found.get()), 0);
  const Certificate signer(TalvoPKIMsgTimeStampGetSigner(verified));
  EXPECT_EQ(take(TalvoPKICertGetCertStringAttribute(signer.get(), 48)),
            "CN=Time Stamping,O=Talvo Example,C=DE");
}

TEST_F(SignatureTimeStampTest, OnlyAGrantedAnswerToThisRequestIsAdded) {
  for (const auto &[name, mode, error] :
       {std::tuple{"granted with modifications", TsaMode::grantedWithMods, 0u},
        {"rejected", TsaMode::rejected, 23u},
        {"wrong imprint", TsaMode::wrongImprint, 23u},
        {"wrong nonce", TsaMode::wrongNonce, 23u},
        {"not HTTP 200", TsaMode::httpError, 23u},
        {"garbage", TsaMode::garbage, 23u},
        {"cut short", TsaMode::cutShort, 23u}}) {
    SCOPED_TRACE(name);
    const TimeStampAuthority special(mode);
    const SignedDocument document = signDocument();
    const std::string before = document.text();
    EXPECT_EQ(add(document.signature, {1}, special.url()), error);
    EXPECT_EQ(special.requests(), 1);
    EXPECT_EQ(document.text() == before, error != 0);
  }
}

TEST_F(SignatureTimeStampTest, RefusalsComeBeforeTheAuthorityIsAsked) {
  const std::string original = signDocument().text();
  const std::string unsignedText =
      replaced(replaced(original, "<ds:SignatureValue Id=\"value\"", "<ds:Other"),
               "</ds:SignatureValue>", "</ds:Other>");
  const int requestsBefore = authority().requests();
  struct Row {
    const char *name;
    uint32_t error;
    Stamp stamp;
    std::string xml;
  };
  for (const Row &row : {
           Row{"minimal canonicalisation", 8, {5}, original},
           {"transform number", 8, {16}, original},
           {"method before digest", 8, {8, {}, 2}, original},
           {"digest before value", 12, {1, {}, 2}, unsignedText},
           {"no SignatureValue", 21, {1}, unsignedText},
           {"exclusive without prefixes", 1, {3}, original},
           {"exclusive with comments without prefixes", 1, {4}, original},
       }) {
    SCOPED_TRACE(row.name);
    const SignedDocument document = reparse(row.xml);
    const std::string before = document.text();
    EXPECT_EQ(add(document.signature, row.stamp), row.error);
    EXPECT_EQ(document.text(), before);
  }
  EXPECT_EQ(authority().requests(), requestsBefore);
}

TEST_F(SignatureTimeStampTest, WithoutSignatureAuthorityOrErrorWordNothingIsDone) {
  const SignedDocument document = signDocument();
  const std::string before = document.text();
  EXPECT_EQ(add(rootOf(document.document), {}), 21u);
  EXPECT_EQ(add(nullptr, {}), 21u);
  EXPECT_EQ(add(document.signature, {}, "ftp://127.0.0.1/tsa"), 23u);
  EXPECT_EQ(add(document.signature, {}, "http://127.0.0.1:1/tsa"), 23u);
  const auto addAt = [&](const talvo_ustring *url, uint32_t *error) {
    return talvo_xml_signature_xades_addsignaturetimestamp(document.signature, nullptr, 0, nullptr,
                                                           url, 4, nullptr, error);
  };
  uint32_t error = 0;
  EXPECT_EQ(addAt(nullptr, &error), 0);
  EXPECT_EQ(error, 23u);
  EXPECT_EQ(addAt(str(authority().url()).get(), nullptr), 0);
  EXPECT_EQ(document.text(), before);
}

TEST_F(SignatureTimeStampTest, OnlyAnIntactTokenOverThisValueIsBelieved) {
  const SignedDocument other = signDocument(anySigner(), "<other/>");
  ASSERT_EQ(add(other.signature, {}), 0u);
  const SignedDocument document = signDocument();
  ASSERT_EQ(add(document.signature, {1}), 0u);
  const std::string text = document.text();
  const std::string own = between(text, kTokenBegin, kTokenEnd);
  const auto token = [&](const std::string &content) {
    return withContent(text, kTokenBegin, kTokenEnd, content);
  };
  const auto method = [&](const std::string &end) {
    return replaced(text, "TR/2001/REC-xml-c14n-20010315", end,
                    text.find("<xa:SignatureTimeStamp"));
  };
  struct Row {
    const char *name;
    std::string xml;
    bool verifies;
  };
  for (const Row &row : {
           Row{"untouched", text, true},
           {"another Id of SignatureValue", replaced(text, "Id=\"value\"", "Id=\"Value\""), false},
           {"over another value", token(between(other.text(), kTokenBegin, kTokenEnd)), false},
           {"cut short", token(own.substr(0, 64 * 8)), false},
           {"a byte more", token(own + "AAAA"), false},
           {"not Base64", token("?"), false},
           {"empty", token(""), false},
           {"another method", method("2001/10/xml-exc-c14n#"), false},
           // An unknown method counts like none: C14N 1.0, which is what was stamped here.
           {"unknown method", method("TR/2001/nothing"), true},
       }) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(verifies(reparse(row.xml)), row.verifies);
  }
}

TEST_F(SignatureTimeStampTest, TrustedListAsksForAPathToOneOfIts) {
  const SignedDocument document = signDocument();
  ASSERT_EQ(add(document.signature, {}), 0u);
  const Certificate root = authority().root().publicCertificate();
  const Certificate stranger = anySigner().publicCertificate();
  EXPECT_FALSE(verifies(document, 0, listOf({stranger.get()}).get()));
  EXPECT_TRUE(verifies(document, 0, listOf({stranger.get(), root.get()}).get()));
  const SignatureRecord record = document.record();
  TalvoPKITimeStamp *stamp = nullptr;
  const auto verify = talvo_xml_signature_xades_verifysignaturetimestamp;
  EXPECT_EQ(verify(record.get(), 0, nullptr, nullptr), 0);
  EXPECT_EQ(verify(nullptr, 0, nullptr, &stamp), 0);
  EXPECT_EQ(talvo_xml_signature_xades_getsigningtime(record.get()), nullptr);
  EXPECT_EQ(talvo_xml_signature_xades_getsigningtime(nullptr), nullptr);
}

}  // namespace
}  // namespace talvo::test
