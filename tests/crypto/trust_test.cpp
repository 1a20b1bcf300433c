// Paths, pins and revocation for one certificate at a time.
#include "support/keys.h"
#include "support/memory_test.h"

namespace talvo::test {
namespace {

using Trust = Handle<TalvoPKITrust, TalvoPKITrustFree>;
using CrlHandle = Handle<talvo_crl, talvo_crl_free>;

class TrustTest : public MemoryTest {
 protected:
  static Trust trusting(std::initializer_list<std::pair<int32_t, const Identity *>> added) {
    Trust trust(TalvoPKITrustNew());
    for (const auto &[role, identity] : added) {
      EXPECT_EQ(TalvoPKITrustAddCert(trust.get(), role, identity->publicCertificate().get()), 1);
    }
    return trust;
  }
  static uint32_t judge(const Trust &trust, const Identity &identity, int32_t expected) {
    uint32_t findings = 0;
    EXPECT_EQ(TalvoPKITrustJudge(trust.get(), identity.publicCertificate().get(), nullptr, nullptr,
                                 &findings, nullptr),
              expected);
    return findings;
  }
};

TEST_F(TrustTest, PathsAndPinsAreBelieved) {
  for (const KeyKind kind : {KeyKind::p256, KeyKind::sm2}) {
    const Chain chain = makeChain(kind, KeyKind::rsa);
    EXPECT_EQ(judge(trusting({}), chain.leaf, 0), TALVO_TRUST_UNTRUSTED);
    EXPECT_EQ(judge(trusting({{TALVO_TRUST_ANCHOR, &chain.root}}), chain.leaf, 0),
              TALVO_TRUST_UNTRUSTED)
        << "the intermediate is missing";
    EXPECT_EQ(judge(trusting({{TALVO_TRUST_ANCHOR, &chain.root},
                              {TALVO_TRUST_INTERMEDIATE, &chain.intermediate}}),
                    chain.leaf, 1),
              TALVO_TRUST_ANCHORED);
    EXPECT_EQ(judge(trusting({{TALVO_TRUST_ANCHOR, &chain.intermediate}}), chain.leaf, 1),
              TALVO_TRUST_ANCHORED)
        << "an anchor need not be self-signed";
    EXPECT_EQ(judge(trusting({{TALVO_TRUST_PIN, &chain.leaf}}), chain.leaf, 1), TALVO_TRUST_PINNED);
  }
}

TEST_F(TrustTest, ListsOfTheIssuerDecideAboutRevocation) {
  for (const KeyKind kind : {KeyKind::p256, KeyKind::sm2}) {
    const Identity root = makeIdentity({.kind = kind,
                                        .subject = "/CN=Root",
                                        .keyUsage = kKeyCertSign | kCrlSign,
                                        .authority = true});
    const Identity leaf = makeIdentity({.subject = "/CN=Leaf", .serial = "3", .issuer = &root});
    const auto judgeWith = [&](const std::string &der, int32_t expected) {
      const Trust trust = trusting({{TALVO_TRUST_ANCHOR, &root}});
      TalvoPKITrustSetRule(trust.get(), TALVO_TRUST_RULE_REVOCATION, TALVO_REVOCATION_REQUIRED);
      const CrlHandle crl(talvo_crl_new(der.data(), der.size(), 0));
      EXPECT_EQ(TalvoPKITrustAddCrl(trust.get(), crl.get()), 1);
      return judge(trust, leaf, expected);
    };
    EXPECT_EQ(judgeWith(makeCrl(root, 1, {"4"}), 1), TALVO_TRUST_ANCHORED);
    EXPECT_EQ(judgeWith(makeCrl(root, 1, {"3"}), 0), TALVO_TRUST_ANCHORED | TALVO_TRUST_REVOKED);
  }
}

TEST_F(TrustTest, ShortKeysOfEveryKindAreWeak) {
  struct Row {
    KeyKind kind;
    int32_t rule;
    int32_t bits;
  };
  for (const Row &row : {Row{KeyKind::rsa, TALVO_TRUST_RULE_MIN_RSA_BITS, 2048},
                         {KeyKind::rsaPss, TALVO_TRUST_RULE_MIN_RSA_BITS, 2048},
                         {KeyKind::dsa, TALVO_TRUST_RULE_MIN_DSA_BITS, 1024},
                         {KeyKind::p256, TALVO_TRUST_RULE_MIN_EC_BITS, 256},
                         {KeyKind::sm2, TALVO_TRUST_RULE_MIN_EC_BITS, 256}}) {
    SCOPED_TRACE(row.rule);
    const Identity identity = makeIdentity({.kind = row.kind});
    const Trust trust = trusting({{TALVO_TRUST_ANCHOR, &identity}});
    EXPECT_EQ(TalvoPKITrustSetRule(trust.get(), row.rule, row.bits), 1);
    EXPECT_EQ(judge(trust, identity, 1), TALVO_TRUST_ANCHORED);
    EXPECT_EQ(TalvoPKITrustSetRule(trust.get(), row.rule, row.bits + 1), 1);
    EXPECT_EQ(judge(trust, identity, 0), TALVO_TRUST_ANCHORED | TALVO_TRUST_WEAK_KEY);
  }
}

}  // namespace
}  // namespace talvo::test
