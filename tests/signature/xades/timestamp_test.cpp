// Signature time-stamps from an authority on this machine: which are added, where, and which are believed later.
#include <functional>

#include "signature/xades/xades_support.h"
#include "support/every_allocation_fails.h"
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
  static const Identity &signer() {
    static const Identity identity = makeIdentity({.keyUsage = kDigitalSignature});
    return identity;
  }

  static TimeStampAuthority &authority() {
    static TimeStampAuthority granted;
    return granted;
  }

  // 0 or the error.
  static uint32_t add(XmlNode *signature, const Stamp &stamp,
                      const std::string &url = authority().url()) {
    const UString id = stamp.id.empty() ? nullptr : makeString(stamp.id);
    uint32_t error = 0;
    const int32_t result = talvo_xml_signature_xades_addsignaturetimestamp(
        signature, id.get(), stamp.c14nMethod, textList(stamp.prefixes).get(),
        makeString(url).get(), stamp.digestMethod, nullptr, &error);
    EXPECT_EQ(result == 1, error == 0);
    return error;
  }

  static bool verifies(const SignedDocument &document, int32_t index = 0,
                       const talvo_arraylist *trusted = nullptr) {
    const SignatureRecord record = decode(document);
    TalvoPKITimeStamp *found = nullptr;
    const int32_t result =
        talvo_xml_signature_xades_verifysignaturetimestamp(record.get(), index, trusted, &found);
    const TimeStampObject owner(found);
    EXPECT_EQ(result == 1, found != nullptr);
    return result == 1;
  }
};

struct GrantedCase {
  const char *name;
  Stamp stamp;
  int32_t recordedC14n;
  bool verifies = true;
};

TEST_F(SignatureTimeStampTest, EveryAcceptedMethodGivesAStampOverSignatureValue) {
  for (const GrantedCase &row : {
           GrantedCase{"no method", {}, -1},
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
           {"SHA-1", {1, {}, 1}, 1},
           {"SHA-224", {1, {}, 3}, 1},
           {"SHA-384", {1, {}, 5}, 1},
           {"SHA-512", {1, {}, 6}, 1},
           {"SM3", {0, {}, 8}, -1},
       }) {
    SCOPED_TRACE(row.name);
    const SignedDocument document = signDocument(signer());
    ASSERT_EQ(add(document.signature, row.stamp), 0u);
    const SignedDocument saved = reparse(document.text());
    EXPECT_EQ(verifyAll(saved.document.get()), 0u) << "an unsigned property changes no signature";
    const SignatureRecord record = decode(saved);
    EXPECT_EQ(talvo_xml_signature_xades_getsignaturetimestampc14n(record.get(), 0),
              row.recordedC14n);
    EXPECT_EQ(verifies(saved), row.verifies);
  }
}

TEST_F(SignatureTimeStampTest, PropertyIsLaidOutLineByLine) {
  const std::string token =
      "<xa:EncapsulatedTimeStamp Encoding=\"http://uri.etsi.org/01903/v1.2.2#DER\">*"
      "</xa:EncapsulatedTimeStamp>\n</xa:SignatureTimeStamp>\n";
  const SignedDocument document = signDocument(signer());
  ASSERT_EQ(add(document.signature, {1, {}, 4, "ts"}), 0u);
  ASSERT_EQ(add(document.signature, {}), 0u);
  std::string properties =
      elementText(talvo_xml_node_getparent(findXades(document.signature, "SignatureTimeStamp")));
  properties = withContent(properties, kTokenBegin, kTokenEnd, "*");
  const size_t second = properties.rfind("<xa:SignatureTimeStamp>");
  ASSERT_NE(second, std::string::npos);
  properties = properties.substr(0, second) +
               withContent(properties.substr(second), kTokenBegin, kTokenEnd, "*");
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
  const SignedDocument document = signDocument(signer());
  TalvoPKITimeStamp *added = nullptr;
  uint32_t error = 0;
  ASSERT_EQ(talvo_xml_signature_xades_addsignaturetimestamp(document.signature, nullptr, 0, nullptr,
                                                            makeString(authority().url()).get(), 4,
                                                            &added, &error),
            1);
  const TimeStampObject owner(added);
  const SignatureRecord record = decode(document);
  TalvoPKITimeStamp *verified = nullptr;
  ASSERT_EQ(talvo_xml_signature_xades_verifysignaturetimestamp(record.get(), 0, nullptr, &verified),
            1);
  const TimeStampObject verifiedOwner(verified);
  const Time given(TalvoPKIMsgTimeStampGetTime(added));
  const Time found(TalvoPKIMsgTimeStampGetTime(verified));
  EXPECT_EQ(talvo_time_cmp(given.get(), found.get()), 0);
  const Certificate authorityCertificate(TalvoPKIMsgTimeStampGetSigner(verified));
  const UString subject(TalvoPKICertGetCertStringAttribute(authorityCertificate.get(), 48));
  EXPECT_EQ(viewOf(subject.get()), "CN=Time Stamping,O=Talvo Example,C=DE");
}

struct ModeCase {
  const char *name;
  TsaMode mode;
  uint32_t error;
};

TEST_F(SignatureTimeStampTest, OnlyAGrantedAnswerToThisRequestIsAdded) {
  for (const auto &[name, mode, error] :
       {ModeCase{"granted with modifications", TsaMode::grantedWithMods, 0},
        {"rejected", TsaMode::rejected, 23},
        {"wrong imprint", TsaMode::wrongImprint, 23},
        {"wrong nonce", TsaMode::wrongNonce, 23},
        {"not HTTP 200", TsaMode::httpError, 23},
        {"garbage", TsaMode::garbage, 23},
        {"cut short", TsaMode::cutShort, 23}}) {
    SCOPED_TRACE(name);
    const TimeStampAuthority special(mode);
    const SignedDocument document = signDocument(signer());
    const std::string before = document.text();
    EXPECT_EQ(add(document.signature, {1}, special.url()), error);
    EXPECT_EQ(special.requests(), 1);
    EXPECT_EQ(document.text() == before, error != 0);
  }
}

struct RefusalCase {
  const char *name;
  uint32_t error;
  Stamp stamp;
  std::function<void(std::string &)> change = [](std::string &) {};
};

TEST_F(SignatureTimeStampTest, RefusalsComeBeforeTheAuthorityIsAsked) {
  const auto unsign = [](std::string &xml) {
    xml = replaced(xml, "<ds:SignatureValue Id=\"value\"", "<ds:Other");
    xml = replaced(xml, "</ds:SignatureValue>", "</ds:Other>");
  };
  const std::string original = signDocument(signer()).text();
  const int requestsBefore = authority().requests();
  for (const RefusalCase &row : {
           RefusalCase{"minimal canonicalisation", 8, {5}},
           {"transform number", 8, {16}},
           {"method before digest", 8, {8, {}, 2}},
           {"MD5", 12, {1, {}, 2}},
           {"RIPEMD-160", 12, {1, {}, 7}},
           {"digest 0", 12, {1, {}, 0}},
           {"digest -1", 12, {1, {}, -1}},
           {"digest 9", 12, {1, {}, 9}},
           {"digest before value", 12, {1, {}, 2}, unsign},
           {"no SignatureValue", 21, {1}, unsign},
           {"exclusive without prefixes", 1, {3}},
           {"exclusive with comments without prefixes", 1, {4}},
       }) {
    SCOPED_TRACE(row.name);
    std::string xml = original;
    row.change(xml);
    const SignedDocument document = reparse(xml);
    const std::string before = document.text();
    EXPECT_EQ(add(document.signature, row.stamp), row.error);
    EXPECT_EQ(document.text(), before);
  }
  EXPECT_EQ(authority().requests(), requestsBefore);
}

TEST_F(SignatureTimeStampTest, WithoutSignatureAuthorityOrErrorWordNothingIsDone) {
  const SignedDocument document = signDocument(signer());
  const std::string before = document.text();
  EXPECT_EQ(add(talvo_xml_doc_getrootelement(document.document.get()), {}), 21u);
  EXPECT_EQ(add(nullptr, {}), 21u);
  EXPECT_EQ(add(document.signature, {}, "ftp://127.0.0.1/tsa"), 23u);
  EXPECT_EQ(add(document.signature, {}, "http://127.0.0.1:1/tsa"), 23u);
  uint32_t error = 0;
  EXPECT_EQ(talvo_xml_signature_xades_addsignaturetimestamp(document.signature, nullptr, 0, nullptr,
                                                            nullptr, 4, nullptr, &error),
            0);
  EXPECT_EQ(error, 23u);
  EXPECT_EQ(talvo_xml_signature_xades_addsignaturetimestamp(document.signature, nullptr, 0, nullptr,
                                                            makeString(authority().url()).get(), 4,
                                                            nullptr, nullptr),
            0);
  EXPECT_EQ(document.text(), before);
}

struct BeliefCase {
  const char *name;
  std::function<std::string(const std::string &)> change;
  bool verifies;
};

TEST_F(SignatureTimeStampTest, OnlyAnIntactTokenOverThisValueIsBelieved) {
  const SignedDocument other = signDocument(signer(), "<other/>");
  ASSERT_EQ(add(other.signature, {}), 0u);
  const SignedDocument document = signDocument(signer());
  ASSERT_EQ(add(document.signature, {1}), 0u);
  const auto setToken = [](const std::string &in, const std::string &token) {
    return withContent(in, kTokenBegin, kTokenEnd, token);
  };
  const auto tokenOf = [](const std::string &in) {
    const size_t from = in.find(kTokenBegin) + std::string(kTokenBegin).size();
    return in.substr(from, in.find(kTokenEnd) - from);
  };
  const std::string foreign = tokenOf(other.text());
  const std::string own = tokenOf(document.text());
  for (const BeliefCase &row : {
           BeliefCase{"untouched", [](const std::string &in) { return in; }, true},
           {"another Id of SignatureValue",
            [](const std::string &in) { return replaced(in, "Id=\"value\"", "Id=\"Value\""); },
            false},
           {"token over another value",
            [&](const std::string &in) { return setToken(in, foreign); }, false},
           {"token cut short",
            [&](const std::string &in) { return setToken(in, own.substr(0, 64 * 8)); }, false},
           {"token with a byte more",
            [&](const std::string &in) { return setToken(in, own + "AAAA"); }, false},
           {"not Base64", [&](const std::string &in) { return setToken(in, "?"); }, false},
           {"empty", [&](const std::string &in) { return setToken(in, ""); }, false},
           {"another method",
            [](const std::string &in) {
              const size_t at = in.find("<xa:SignatureTimeStamp");
              return in.substr(0, at) + replaced(in.substr(at), "TR/2001/REC-xml-c14n-20010315",
                                                 "2001/10/xml-exc-c14n#");
            },
            false},
           // An unknown method counts like none: C14N 1.0, which is what was stamped here.
           {"unknown method",
            [](const std::string &in) {
              const size_t at = in.find("<xa:SignatureTimeStamp");
              return in.substr(0, at) + replaced(in.substr(at), "REC-xml-c14n-20010315", "nothing");
            },
            true},
       }) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(verifies(reparse(row.change(document.text()))), row.verifies);
  }
}

TEST_F(SignatureTimeStampTest, TrustedListAsksForAPathToOneOfIts) {
  const SignedDocument document = signDocument(signer());
  ASSERT_EQ(add(document.signature, {}), 0u);
  const Certificate root = authority().root().publicCertificate();
  const Certificate stranger = signer().publicCertificate();
  const List trusted(talvo_arraylist_new(nullptr, nullptr));
  talvo_arraylist_pushback(trusted.get(), stranger.get());
  EXPECT_FALSE(verifies(document, 0, trusted.get()));
  talvo_arraylist_pushback(trusted.get(), root.get());
  EXPECT_TRUE(verifies(document, 0, trusted.get()));
  const SignatureRecord record = decode(document);
  EXPECT_EQ(talvo_xml_signature_xades_verifysignaturetimestamp(record.get(), 0, nullptr, nullptr),
            0);
  TalvoPKITimeStamp *stamp = nullptr;
  EXPECT_EQ(talvo_xml_signature_xades_verifysignaturetimestamp(nullptr, 0, nullptr, &stamp), 0);
  EXPECT_EQ(talvo_xml_signature_xades_getsigningtime(record.get()), nullptr);
  EXPECT_EQ(talvo_xml_signature_xades_getsigningtime(nullptr), nullptr);
}

TEST_F(SignatureTimeStampTest, AFailedAllocationIsAFailure) {
  const std::string original = signDocument(signer()).text();
  const UString url = makeString(authority().url());
  everyAllocationFails([&] {
    const Document document(
        talvo_xml_parse(original.data(), static_cast<int64_t>(original.size())));
    uint32_t error = 0;
    return talvo_xml_signature_xades_addsignaturetimestamp(firstSignature(document.get()), nullptr,
                                                           1, nullptr, url.get(), 4, nullptr,
                                                           &error) == 1;
  });
}

}  // namespace
}  // namespace talvo::test
