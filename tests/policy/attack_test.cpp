// Documents that are right by the arithmetic alone, or mishandled by it, and what `standard` calls them.
#include <sys/stat.h>

#include "policy/policy_support.h"
#include "support/workshop.h"

namespace talvo::test {
namespace {

struct Attack {
  const char *name;
  std::string text;
  const char *reasons;
};

class AttackTest : public PolicyTest {
 protected:
  void expectAll(std::initializer_list<Attack> attacks, const Fill &fill = {}) {
    for (const Attack &attack : attacks) {
      SCOPED_TRACE(attack.name);
      const Verified outcome = verify(attack.text, fill);
      EXPECT_EQ(outcome.result, 0);
      EXPECT_EQ(outcome.reasons(), attack.reasons) << attack.text << "\n" << outcome.json();
    }
  }
};

std::string part(const std::string &text, const std::string &start, const std::string &end) {
  const size_t from = text.find(start);
  const size_t to = text.find(end, from);
  EXPECT_NE(to, std::string::npos) << text;
  return text.substr(from, to - from + end.size());
}

constexpr const char *kExclusive =
    R"("Transforms": [{"TransformAlgo": "EnvelopedSignature"}, {"TransformAlgo": "ExcC14N", "TransformParam": ["#default"]}])";

TEST_F(AttackTest, WrappedElementsAreNotCovered) {
  const std::string signedText =
      sign("<R><A ID=\"a\"><D>good</D>" + std::string(kSignatureHere) + "</A></R>",
           parameters(to("#a", kExclusive)));
  ASSERT_EQ(verify(signedText, [](auto *p) { set(p, "cover", R"(["/R/A"])"); }).verdict(), "valid");
  const std::string good = part(signedText, "<A", "</A>");
  const std::string signature = part(good, "<ds:Signature", "</ds:Signature>");
  const std::string bare = replaced(good, signature, "");
  const std::string evil = "<A ID=\"e\"><D>evil</D>";
  const std::string inside = replaced(signature, "</ds:Signature>", bare + "</ds:Signature>");
  const std::string object =
      replaced(signature, "</ds:Signature>", "<ds:Object>" + bare + "</ds:Object></ds:Signature>");
  // The element that a program takes for the message, in each position, asked for by its place.
  for (const Attack &attack : std::initializer_list<Attack>{
           {"1: original inside of the signature of a new message",
            "<R><A ID=\"e\"><D>evil</D>" + inside + "</A></R>", "undecodable not-covered"},
           {"2: original beside its signature", "<R>" + evil + bare + signature + "</A></R>",
            "not-covered"},
           {"3: new one before the original", "<R>" + evil + "</A>" + good + "</R>", "not-covered"},
           {"4: new one around the original", "<R>" + evil + good + "</A></R>", "not-covered"},
           {"5: signature in the new one, original behind",
            "<R>" + evil + signature + "</A>" + bare + "</R>", "not-covered"},
           {"6: original inside of the signature in the new one",
            "<R>" + evil + inside + "</A></R>", "undecodable not-covered"},
           {"7: new one in an extension", "<R><X>" + evil + "</A></X>" + good + "</R>",
            "not-covered"},
           {"8: original in an Object of the signature in the new one",
            "<R>" + evil + object + "</A></R>", "not-covered"},
       }) {
    SCOPED_TRACE(attack.name);
    const Verified outcome = verify(attack.text, [](auto *p) { set(p, "cover", R"(["root"])"); });
    EXPECT_EQ(outcome.result, 0);
    EXPECT_NE(outcome.verdict(), "valid");
    const std::string first = outcome.reasons();
    EXPECT_TRUE(first == "not-covered" || first == "undecodable") << first << outcome.json();
  }
}

TEST_F(AttackTest, IdentifiersThatStandTwiceAreRefused) {
  const std::string signedText =
      sign("<R><A ID=\"a\"><D>good</D></A>" + std::string(kSignatureHere) + "</R>",
           parameters(to("#a") + "," + enveloped()));
  ASSERT_EQ(verify(signedText).verdict(), "valid");
  expectAll({
      {"the same attribute", replaced(signedText, "<R>", "<R><A ID=\"a\"/>"),
       "duplicate-id digest-mismatch"},
      {"another case", replaced(signedText, "<R>", "<R><A Id=\"a\"/>"),
       "duplicate-id digest-mismatch"},
      {"another namespace", replaced(signedText, "<R>", "<R><A xmlns:w=\"urn:w\" w:Id=\"a\"/>"),
       "duplicate-id digest-mismatch"},
      {"xml:id", replaced(signedText, "<R>", "<R><A xml:id=\"a\"/>"),
       "duplicate-id digest-mismatch"},
  });
}

TEST_F(AttackTest, DocumentTypesEndTheLook) {
  const std::string good = sign(document(), parameters(enveloped()));
  expectAll({
      {"identifiers by declaration", "<!DOCTYPE a [<!ATTLIST b x ID #IMPLIED>]>" + good, "dtd"},
      {"defaults", "<!DOCTYPE a [<!ATTLIST b x CDATA 'y'>]>" + good, "dtd"},
      {"entity", "<!DOCTYPE a [<!ENTITY e 'x'>]>" + good, "dtd"},
  });
}

TEST_F(AttackTest, KeysOfStrangersAreRefused) {
  const std::string good = sign(document(), parameters(enveloped()));
  const Identity twin = makeIdentity({.subject = "/CN=Twin", .keyUsage = kDigitalSignature});
  const std::string withTwin = sign(document(), parameters(enveloped()), twin);
  const std::string both = sign(replaced(good, "</a>", std::string(kSignatureHere) + "</a>"),
                                parameters(enveloped()), stranger());
  expectAll({
      {"stranger", sign(document(), parameters(enveloped()), stranger()), "signer-not-trusted"},
      {"another certificate for the same key", withTwin, "signer-not-trusted"},
      {"a second signature beside a good one", both, "digest-mismatch signer-not-trusted"},
  });
}

TEST_F(AttackTest, WeakMethodsAndKeysAreRefused) {
  const Identity authority =
      makeIdentity({.subject = "/CN=CA", .keyUsage = kKeyCertSign | kCrlSign, .authority = true});
  expectAll({
      {"SHA-1 digest", sign(document(), parameters(enveloped("Sha1"))), "weak-digest"},
      {"SHA-1 signature", sign(document(), parameters(enveloped(), "", "Sha1WithRSA")),
       "weak-signature-method"},
  });
  expectAll({{"authority that may not sign documents",
              sign(document(), parameters(enveloped()), authority), "key-usage"}},
            [&](auto *p) { add(p, TALVO_XML_POLICY_PIN, authority); });
  const Identity dsa = makeIdentity({.kind = KeyKind::dsa, .keyUsage = kDigitalSignature});
  expectAll({{"short DSA key", sign(document(), parameters(enveloped(), "", "DSAWithSha1"), dsa),
              "weak-signature-method weak-key"}},
            [&](auto *p) { add(p, TALVO_XML_POLICY_PIN, dsa); });
  EXPECT_EQ(verify(sign(document(), parameters(enveloped("Sha1"))),
                   [](auto *p) { set(p, "allowSha1", "true"); })
                .verdict(),
            "valid");
}

TEST_F(AttackTest, DatesAndRevocationAreJudged) {
  const Chain chain = makeChain(KeyKind::p256, KeyKind::rsa, kDigitalSignature);
  Identity leaf = makeIdentity({.subject = "/CN=Leaf",
                                .serial = "3",
                                .keyUsage = kDigitalSignature,
                                .issuer = &chain.intermediate});
  const std::string text = sign(document(), parameters(enveloped()), leaf);
  const auto trusting = [&](auto *p) {
    add(p, TALVO_XML_POLICY_ANCHOR, chain.root);
    add(p, TALVO_XML_POLICY_INTERMEDIATE, chain.intermediate);
  };
  const auto withCrl = [&](talvo_xml_policy *p, const std::string &crl) {
    trusting(p);
    return talvo_xml_policy_addbundle(p, TALVO_XML_POLICY_CRL, crl.data(), crl.size());
  };
  EXPECT_EQ(verify(text, trusting).verdict(), "valid");
  expectAll({{"expired", text, "certificate-expired"}}, [&](auto *p) {
    trusting(p);
    set(p, "time", "\"2050-01-02\"");
  });
  expectAll({{"not yet valid", text, "certificate-not-yet-valid"}}, [&](auto *p) {
    trusting(p);
    set(p, "time", "\"2019-12-31T23:59:59Z\"");
  });
  expectAll({{"revoked", text, "certificate-revoked"}},
            [&](auto *p) { withCrl(p, makeCrl(chain.intermediate, 1, {"3"})); });
  expectAll({{"no word", text, "revocation-unknown"}}, [&](auto *p) {
    trusting(p);
    set(p, "revocation", "\"required\"");
  });
  // Signed by the root, but about the certificates of the intermediate's name.
  Identity forger{chain.root.kind, X509Handle(X509_dup(chain.intermediate.x509.get()))};
  expectAll({{"forged CRL", text, "revocation-unknown"}},
            [&](auto *p) { withCrl(p, makeCrl(forger, 1, {})); });
  EXPECT_EQ(
      verify(text, [&](auto *p) { withCrl(p, makeCrl(chain.intermediate, 1, {"4"})); }).verdict(),
      "valid");
  EXPECT_EQ(verify(text,
                   [&](auto *p) {
                     withCrl(p, makeCrl(chain.intermediate, 1, {"3"}));
                     set(p, "time", "\"2024-06-01\"");
                   })
                .verdict(),
            "valid")
      << "revoked later";
}

TEST_F(AttackTest, WhatIsNotSignedIsRefused) {
  const std::string good = sign(document(), parameters(enveloped()));
  expectAll({
      {"comment in text", replaced(good, "12.50", "12<!-- -->.50"), "not-covered"},
      {"unsigned Object",
       replaced(good, "</ds:Signature>", "<ds:Object><x/></ds:Object></ds:Signature>"),
       "not-covered"},
      {"instruction outside",
       "<?x y?>" + sign("<a ID=\"a\"><b/>" + std::string(kSignatureHere) + "</a>",
                        parameters(to("#a", kExclusive))),
       "not-covered"},
      {"part of the document",
       sign("<a><b ID=\"b\"/>" + std::string(kSignatureHere) + "</a>", parameters(to("#b"))),
       "not-covered"},
      {"empty selection",
       sign(
           document(),
           parameters(
               enveloped() +
               R"j(,{"HashAlgo": "Sha256", "URI": "", "Transforms": [{"TransformAlgo": "XPath", "TransformParam": "false()"}]})j")),
       "empty-selection"},
  });
  const Verified apart = verify(replaced(good, "<b>", "<!-- apart --><b>"));
  EXPECT_EQ(apart.verdict(), "valid");
  EXPECT_EQ(apart.warnings(), "comment-not-covered");
  EXPECT_EQ(verify(replaced(good, "</ds:Signature>", "<ds:Object/></ds:Signature>")).verdict(),
            "valid");
}

TEST_F(AttackTest, WorkIsLimited) {
  std::string references = enveloped();
  for (int i = 0; i < 40; ++i) {
    references += "," + enveloped();
  }
  const std::string many = sign(document(), parameters(references));
  std::string transforms = R"({"TransformAlgo": "EnvelopedSignature"})";
  for (int i = 0; i < 5; ++i) {
    transforms += R"(,{"TransformAlgo": "C14N"})";
  }
  const std::string long_ =
      sign(document(),
           parameters(R"({"HashAlgo": "Sha256", "URI": "", "Transforms": [)" + transforms + "]}"));
  std::string content;
  for (int i = 0; i < 60; ++i) {
    content += "<b/>";
  }
  const std::string xpath = sign(
      document(content),
      parameters(
          R"j({"HashAlgo": "Sha256", "URI": "", "Transforms": [{"TransformAlgo": "EnvelopedSignature"}, {"TransformAlgo": "XPath", "TransformParam": "count(//*[count(//*) > 1]) > 0"}]})j"));
  expectAll({{"transforms", long_, "too-many-transforms"}});
  expectAll({{"references", many, "too-many-references"}},
            [](auto *p) { set(p, "limits", R"({"references": 40})"); });
  expectAll({{"XPath", xpath, "xpath-budget"}},
            [](auto *p) { set(p, "limits", R"({"xpathOperations": 100000})"); });
  EXPECT_EQ(verify(xpath).verdict(), "valid");
  expectAll({{"signatures", many, "too-many-signatures"}},
            [](auto *p) { set(p, "limits", R"({"signatures": 0})"); });
}

TEST_F(AttackTest, FilesAreTakenFromTheFolderAlone) {
  const Workshop workshop;
  workshop.write("outside.txt", "secret");
  ::mkdir(workshop.path("in").c_str(), 0700);
  workshop.write("in/data.txt", "data");
  ASSERT_EQ(::symlink("../outside.txt", workshop.path("in/link.txt").c_str()), 0);
  ASSERT_EQ(::mkfifo(workshop.path("in/fifo").c_str(), 0600), 0);
  struct Row {
    const char *uri;
    const char *reasons;
  };
  const std::string digest =
      R"("HashValue": "00112233445566778899aabbccddeeff00112233445566778899aabbccddeeff")";
  for (const Row &row : std::initializer_list<Row>{
           {"data.txt", "digest-mismatch"},
           {"../outside.txt", "file-outside-base"},
           {"..%2Foutside.txt", "file-outside-base"},
           {"%2e%2e/outside.txt", "file-outside-base"},
           {"link.txt", "file-outside-base"},
           {"../gone.txt", "file-outside-base"},
           {"gone.txt", "reference-unavailable"},
           {"fifo", "reference-unavailable"},
           {".", "reference-unavailable"},
           {"http://127.0.0.1:1/x", "network-reference"},
       }) {
    SCOPED_TRACE(row.uri);
    const std::string text = sign(document(), parameters(enveloped() + "," + to(row.uri, digest)));
    EXPECT_EQ(verify(text, policyOf(), workshop.path("in")).reasons(), row.reasons);
  }
  // Nothing is opened for somebody who is not trusted.
  const std::string strange =
      sign(document(), parameters(enveloped() + "," + to("data.txt", digest)), stranger());
  const Verified outcome = verify(strange, policyOf(), workshop.path("in"));
  EXPECT_EQ(outcome.reasons(), "signer-not-trusted");
  EXPECT_EQ(talvo_xml_report_getreferenceverdict(outcome.report.get(), 0, 1),
            TALVO_XML_REFERENCE_NOT_EXAMINED);
}

}  // namespace
}  // namespace talvo::test
