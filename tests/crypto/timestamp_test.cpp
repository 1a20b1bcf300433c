// Time-stamps asked for from an authority on this machine, and judged again as stored tokens.
#include <algorithm>

#include <gtest/gtest.h>

#include "base/list.h"
#include "base/utf8.h"
#include "support/every_allocation_fails.h"
#include "support/memory_test.h"
#include "support/tsa.h"

namespace talvo::test {
namespace {

class TimeStampTest : public MemoryTest {};

using TimeStamp = Handle<TalvoPKITimeStamp, TalvoPKIMsgFreeTimeStamp>;

constexpr int32_t kSha256 = 0x4000;
const std::string kDigest(32, 'd');

const uint8_t *bytesOf(const std::string &text) {
  return reinterpret_cast<const uint8_t *>(text.data());
}

TimeStamp prepare(const std::string &url, int32_t hash, const std::string &digest) {
  TimeStamp timeStamp(TalvoPKIMsgNewTimeStamp());
  const UString address = makeString(url);
  const bool set =
      TalvoPKIMsgTimeStampSetTSA(timeStamp.get(), address.get()) == 1 &&
      TalvoPKIMsgTimeStampSetHashAlgorithm(timeStamp.get(), hash) == 1 &&
      TalvoPKIMsgTimeStampSetMessageImprint(timeStamp.get(), bytesOf(digest), digest.size()) == 1;
  return set ? std::move(timeStamp) : nullptr;
}

// What a getter that hands out a buffer answers; "" for 0.
template <class Getter>
std::string taken(Getter getter, const TalvoPKITimeStamp *timeStamp) {
  uint8_t *bytes = nullptr;
  size_t length = 0;
  if (getter(timeStamp, &bytes, &length) != 1) {
    return "";
  }
  const CryptoBytes owned(bytes);
  return {reinterpret_cast<char *>(bytes), length};
}

std::string tokenOf(const TalvoPKITimeStamp *timeStamp) {
  return taken(TalvoPKIMsgTimeStampGetTimeStampToken, timeStamp);
}

TimeStamp verify(const std::string &token, const talvo_arraylist *trusted = nullptr) {
  return TimeStamp(TalvoPKIMsgVerifyTimeStampToken(bytesOf(token), token.size(), trusted));
}

std::string freshToken(const TimeStampAuthority &authority) {
  const TimeStamp timeStamp = prepare(authority.url(), kSha256, kDigest);
  int32_t status = -1;
  EXPECT_EQ(TalvoPKIMsgTimeStampGetResponse(timeStamp.get(), &status), 1);
  return tokenOf(timeStamp.get());
}

List trustedList(const std::vector<const Identity *> &identities) {
  List list(talvo_arraylist_new(
      nullptr, [](void *item) { TalvoPKICertFreeCert(static_cast<TalvoPKICert *>(item)); }));
  for (const Identity *identity : identities) {
    append(list, identity->publicCertificate());
  }
  return list;
}

struct Answer {
  const char *name;
  TsaMode mode;
  int32_t result;
  int32_t status;
  bool token;
};

TEST_F(TimeStampTest, OnlyAnswersToTheQuestionAreTaken) {
  for (const Answer &expected : {Answer{"granted", TsaMode::granted, 1, 0, true},
                                 {"with modifications", TsaMode::grantedWithMods, 1, 1, true},
                                 {"rejected", TsaMode::rejected, 1, 2, false},
                                 {"wrong imprint", TsaMode::wrongImprint, 0, -1, false},
                                 {"wrong nonce", TsaMode::wrongNonce, 0, -1, false},
                                 {"no certificate", TsaMode::noCertificate, 0, -1, false},
                                 {"HTTP error", TsaMode::httpError, 0, -1, false},
                                 {"garbage", TsaMode::garbage, 0, -1, false},
                                 {"cut short", TsaMode::cutShort, 0, -1, false}}) {
    SCOPED_TRACE(expected.name);
    const TimeStampAuthority authority(expected.mode);
    const TimeStamp timeStamp = prepare(authority.url(), kSha256, kDigest);
    int32_t status = -1;
    EXPECT_EQ(TalvoPKIMsgTimeStampGetResponse(timeStamp.get(), &status), expected.result);
    EXPECT_EQ(status, expected.status);
    EXPECT_EQ(!tokenOf(timeStamp.get()).empty(), expected.token);
    EXPECT_EQ(authority.requests(), 1);
  }
}

TEST_F(TimeStampTest, EveryHashCanBeStamped) {
  const TimeStampAuthority authority;
  for (const auto &[hash, length] : {std::pair<int32_t, size_t>{0x2000, 20},
                                     {0x3000, 28},
                                     {0x4000, 32},
                                     {0x5000, 48},
                                     {0x6000, 64},
                                     {0x7000, 32}}) {
    SCOPED_TRACE(hash);
    const std::string digest(length, 'i');
    const TimeStamp timeStamp = prepare(authority.url(), hash, digest);
    int32_t status = -1;
    EXPECT_EQ(TalvoPKIMsgTimeStampGetResponse(timeStamp.get(), &status), 1);
    const TimeStamp verified = verify(tokenOf(timeStamp.get()));
    EXPECT_EQ(TalvoPKIMsgTimeStampGetHashAlgorithm(verified.get()), hash);
    EXPECT_EQ(taken(TalvoPKIMsgTimeStampGetMessageImprint, verified.get()), digest);
  }
}

TEST_F(TimeStampTest, NothingIsAskedWithoutAllThatIsNeeded) {
  const TimeStampAuthority authority;
  int32_t status = -1;
  const TimeStamp empty(TalvoPKIMsgNewTimeStamp());
  EXPECT_EQ(TalvoPKIMsgTimeStampGetResponse(empty.get(), &status), 0);
  const TimeStamp wrongLength = prepare(authority.url(), kSha256, std::string(20, 'd'));
  EXPECT_EQ(TalvoPKIMsgTimeStampGetResponse(wrongLength.get(), &status), 0);
  EXPECT_EQ(TalvoPKIMsgTimeStampSetHashAlgorithm(empty.get(), 0x8000), 0);
  EXPECT_EQ(authority.requests(), 0);
}

TEST_F(TimeStampTest, TokenTellsTimeAndSigner) {
  const TimeStampAuthority authority;
  const Time before(talvo_time_newnow());
  // The authority's clock counts whole seconds.
  ASSERT_EQ(talvo_time_addminute(before.get(), -1), 1);
  const TimeStamp verified = verify(freshToken(authority));
  const Time time(TalvoPKIMsgTimeStampGetTime(verified.get()));
  const Time after(talvo_time_newnow());
  EXPECT_GT(talvo_time_cmp(time.get(), before.get()), 0);
  EXPECT_LE(talvo_time_cmp(time.get(), after.get()), 0);
  const Certificate signer(TalvoPKIMsgTimeStampGetSigner(verified.get()));
  const UString serial(TalvoPKICertGetCertStringAttribute(signer.get(), 32));
  EXPECT_EQ(viewOf(serial.get()), "5");
}

TEST_F(TimeStampTest, TrustIsAPathToOneOfTheGivenCertificates) {
  const TimeStampAuthority authority;
  const Identity stranger = makeIdentity();
  const std::string token = freshToken(authority);
  EXPECT_TRUE(verify(token, trustedList({&authority.root()}).get()));
  EXPECT_TRUE(verify(token, trustedList({&stranger, &authority.signer()}).get()));
  EXPECT_FALSE(verify(token, trustedList({&stranger}).get()));
  EXPECT_FALSE(verify(token, trustedList({}).get()));
}

TEST_F(TimeStampTest, CertificatesSignedWithSm2AreTrustedToo) {
  const TimeStampAuthority authority(TsaMode::granted, KeyKind::sm2);
  EXPECT_TRUE(verify(freshToken(authority), trustedList({&authority.root()}).get()));
}

TEST_F(TimeStampTest, OnlyTimeStampingCertificatesMayStamp) {
  const TimeStampAuthority authority;
  const std::string token = freshToken(authority);
  EXPECT_TRUE(verify(signTokenAgain(token, authority.signer())));
  const Identity plain = makeIdentity({.keyUsage = kDigitalSignature});
  EXPECT_FALSE(verify(signTokenAgain(token, plain)));
  EXPECT_FALSE(verify(signTokenAgain(token, plain), trustedList({&plain}).get()));
}

TEST_F(TimeStampTest, DamagedTokensAreRefused) {
  const TimeStampAuthority authority;
  const std::string token = freshToken(authority);
  ASSERT_TRUE(verify(token));
  EXPECT_FALSE(verify(token + "x"));
  EXPECT_FALSE(verify(""));
  for (size_t length = 0; length < token.size(); length += 97) {
    EXPECT_FALSE(verify(token.substr(0, length))) << length;
  }
  // The digest, and the last octet, which is one of the signature's.
  for (const size_t at : {token.find(kDigest), token.size() - 1}) {
    std::string changed = token;
    changed[at] = static_cast<char>(changed[at] ^ 1);
    EXPECT_FALSE(verify(changed)) << at;
  }
}

TEST_F(TimeStampTest, SurvivesExhaustedMemory) {
  const TimeStampAuthority authority;
  const std::string url = authority.url();
  everyAllocationFails([&] {
    const TimeStamp timeStamp = prepare(url, kSha256, kDigest);
    int32_t status = -1;
    if (timeStamp == nullptr || TalvoPKIMsgTimeStampGetResponse(timeStamp.get(), &status) != 1) {
      return false;
    }
    uint8_t *bytes = nullptr;
    size_t length = 0;
    if (TalvoPKIMsgTimeStampGetTimeStampToken(timeStamp.get(), &bytes, &length) != 1) {
      return false;
    }
    const CryptoBytes owned(bytes);
    const TimeStamp verified(TalvoPKIMsgVerifyTimeStampToken(bytes, length, nullptr));
    const Certificate signer(TalvoPKIMsgTimeStampGetSigner(verified.get()));
    const Time time(TalvoPKIMsgTimeStampGetTime(verified.get()));
    return signer != nullptr && time != nullptr;
  });
}

}  // namespace
}  // namespace talvo::test
