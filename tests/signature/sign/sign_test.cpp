// Signatures made from contexts: what is made verifies, what cannot be made is refused with its code, and a refusal
// leaves the document's bytes and the caller's objects as they were.
#include <functional>

#include "base/utf8.h"
#include "signature/record/record.h"
#include "signature/vocabulary/vocabulary.h"
#include "support/signing.h"

namespace talvo::test {
namespace {

constexpr const char *kOrder =
    "<o:Order xmlns:o='urn:order' xmlns='urn:line' xml:lang='de'><!-- internal --><Line "
    "no='1'>Gehäuse &amp; "
    "Deckel</Line><o:Part xml:id='p1'>one</o:Part></o:Order>";

class SignTest : public LibraryTest {
 protected:
  static const Identity &rsa() {
    static const Identity identity = makeIdentity({.keyUsage = kDigitalSignature});
    return identity;
  }
};

struct MethodCase {
  int32_t method;
  KeyKind kind;
};

TEST_F(SignTest, EverySigningMethodVerifies) {
  for (const auto &[method, kind] : {MethodCase{65, KeyKind::rsa},
                                     {68, KeyKind::rsa},
                                     {69, KeyKind::rsa},
                                     {70, KeyKind::rsa},
                                     {72, KeyKind::dsa},
                                     {73, KeyKind::p224},
                                     {74, KeyKind::p224},
                                     {75, KeyKind::p256},
                                     {76, KeyKind::p384},
                                     {77, KeyKind::p521},
                                     {83, KeyKind::sm2}}) {
    SCOPED_TRACE(method);
    const Identity signer = makeIdentity({.kind = kind, .keyUsage = kNonRepudiation});
    const Document document = parse(kOrder);
    const Signed made = signPlan(signer, document.get(), {.signatureMethod = method});
    EXPECT_TRUE(made) << made.error;
    EXPECT_EQ(verifyAll(document.get()), 0u);
    EXPECT_EQ(verifyAll(parse(dump(document.get())).get()), 0u);
    EXPECT_EQ(verifyAll(parse(replaced(dump(document.get()), "Deckel", "Deckes")).get()), 2u);
  }
}

struct ReferenceCase {
  const char *name;
  ReferencePlan reference;
};

TEST_F(SignTest, EveryReferenceFormVerifies) {
  const std::string notSignature = "not(ancestor-or-self::ds:Signature)";
  for (const auto &[name, reference] : {
           ReferenceCase{"C14N 1.0", {"", {{48, {}, {}}, {1, {}, {}}}}},
           {"with comments", {"#xpointer(/)", {{48, {}, {}}, {2, {}, {}}}}},
           {"exclusive", {"", {{48, {}, {}}, {3, {"o"}, {}}}}},
           {"exclusive with comments", {"#xpointer(/)", {{48, {}, {}}, {4, {"o"}, {}}}}},
           {"C14N 1.1", {"", {{48, {}, {}}, {6, {}, {}}}}},
           {"1.1 with comments", {"", {{48, {}, {}}, {7, {}, {}}}}},
           {"XPath", {"", {{32, {}, notSignature}}}},
           {"XPath by here",
            {"",
             {{32, {}, "not(here()/ancestor::ds:Signature = ancestor-or-self::ds:Signature)"}}}},
           {"element by xml:id", {"#p1"}},
           {"xpointer by id", {"#xpointer(id('p1'))"}},
           {"SHA-1", {"#p1", {}, 1}},
           {"SHA-224", {"#p1", {}, 3}},
           {"SHA-384", {"#p1", {}, 5}},
           {"SHA-512", {"#p1", {}, 6}},
           {"SM3", {"#p1", {}, 8}},
       }) {
    SCOPED_TRACE(name);
    const Document document = parse(kOrder);
    const Signed made = signPlan(rsa(), document.get(), {.references = {reference}});
    EXPECT_TRUE(made) << made.error;
    EXPECT_EQ(verifyAll(document.get()), 0u);
  }
}

TEST_F(SignTest, EverySignedInfoCanonicalizationVerifies) {
  for (const uint32_t method : {1u, 2u, 3u, 4u, 6u, 7u}) {
    SCOPED_TRACE(method);
    const Document document = parse(kOrder);
    const Signed made =
        signPlan(rsa(), document.get(), {.c14nMethod = method, .prefixes = {"o", "#default"}});
    EXPECT_TRUE(made) << made.error;
    EXPECT_EQ(verifyAll(document.get()), 0u);
  }
}

// A list that changes the octets cannot be repeated by the verifier, since the Transform does not carry it.
TEST_F(SignTest, ExclusiveTransformLosesItsPrefixListInTheDocument) {
  const Document document = parse("<a xmlns:p='urn:p'><b xml:id='x'/></a>");
  ASSERT_TRUE(signPlan(rsa(), document.get(), {.references = {{"#x", {{3, {"p"}, {}}}}}}));
  EXPECT_EQ(dump(document.get()).find("InclusiveNamespaces"), std::string::npos);
  EXPECT_EQ(verifyAll(document.get()), 2u);
}

TEST_F(SignTest, WithoutDocumentTheSignatureIsTheRootOfANewOne) {
  const ObjectContext object(talvo_xml_signature_objectctx_newdata(
      text("obj").get(), text("text/plain").get(), nullptr, text("signed <data>").get()));
  const List objects(talvo_arraylist_new(nullptr, nullptr));
  talvo_arraylist_pushback(objects.get(), object.get());
  const SignedInfoContext context = makeContext({.references = {{"#obj"}}});
  const Signed made = signWith(rsa(), nullptr, context.get(), objects.get());
  ASSERT_TRUE(made) << made.error;
  const Document document(talvo_xml_node_getdoc(made.element));
  EXPECT_EQ(talvo_xml_doc_getrootelement(document.get()), made.element);
  EXPECT_EQ(verifyAll(document.get()), 0u);
  EXPECT_EQ(verifyAll(parse(replaced(dump(document.get()), "data", "date")).get()), 2u);
}

TEST_F(SignTest, SuppliedContentIsDigestedForTheOneReferenceWithoutUri) {
  ReferencePlan supplied;
  supplied.uri.reset();
  supplied.content = "outside";
  const Signed made = signPlan(rsa(), nullptr, {.references = {supplied}});
  ASSERT_TRUE(made) << made.error;
  const Document document(talvo_xml_node_getdoc(made.element));
  uint32_t error = 0;
  EXPECT_EQ(talvo_xml_signature_verify(document.get(), "outside", 7, nullptr, &error), 1);
  EXPECT_EQ(talvo_xml_signature_verify(document.get(), "outsidE", 7, nullptr, &error), 0);
  EXPECT_EQ(error, 2u);
  EXPECT_EQ(signPlan(rsa(), nullptr, {.references = {supplied, supplied}}).error, 14u);
}

// What a signing call is given; the defaults make a valid one.
struct Call {
  const char *name;
  uint32_t error;
  std::function<void(struct Arguments &)> change;
};

struct Arguments {
  XmlDoc *document;
  XmlNode *parent;
  XmlNode *sibling = nullptr;
  SignedInfoCtx *context;
  const SignatureKey *key;
  TalvoPKIKeyPair *keyPair;
  int32_t checkKey = 0;
  XmlNode **out;

  uint32_t sign() const {
    uint32_t error = 0;
    const int32_t result =
        talvo_xml_signature_signex(document, parent, sibling, nullptr, context, nullptr, key,
                                   keyPair, checkKey, nullptr, nullptr, out, &error);
    return result == 1 ? 0 : error;
  }
};

TEST_F(SignTest, RefusalsHaveTheirCodesAndLeaveTheDocument) {
  const Document document = parse(kOrder);
  const Document other = parse("<other><child/></other>");
  const std::string before = dump(document.get());
  const Certificate certificate = rsa().publicCertificate();
  const Key key(talvo_xml_signature_key_newcert(certificate.get()));
  const KeyPair keyPair = rsa().keyPair();
  const KeyPair foreignPair = makeIdentity({.kind = KeyKind::rsaOther}).keyPair();
  const Certificate encryptOnly = makeIdentity({.keyUsage = kKeyAgreement}).publicCertificate();
  const Key mayNotSign(talvo_xml_signature_key_newcert(encryptOnly.get()));
  const Key secret = makeHmacKey({});
  const SignedInfoContext good = makeContext({});
  const SignedInfoContext sha224 = makeContext({.signatureMethod = 67});
  const SignedInfoContext ecdsa = makeContext({.signatureMethod = 75});
  const SignedInfoContext missing = makeContext({.references = {{"#nowhere"}}});
  const SignedInfoContext network = makeContext({.references = {{"ftp://example.org/x"}}});
  const SignedInfoContext file = makeContext({.references = {{"no/such/file"}}});
  XmlNode *out = nullptr;
  XmlNode *root = talvo_xml_doc_getrootelement(document.get());
  const std::vector<Call> calls = {
      {"nothing to sign", 6, [](Arguments &call) { call.context = nullptr; }},
      {"no key pair", 9, [](Arguments &call) { call.keyPair = nullptr; }},
      {"no key", 9, [](Arguments &call) { call.key = nullptr; }},
      {"no output place", 6, [](Arguments &call) { call.out = nullptr; }},
      {"HMAC secret", 10, [&](Arguments &call) { call.key = secret.get(); }},
      {"certificate may not sign", 18, [&](Arguments &call) { call.key = mayNotSign.get(); }},
      {"parent of another document", 16,
       [&](Arguments &call) { call.parent = talvo_xml_doc_getrootelement(other.get()); }},
      {"parent is no element", 16,
       [&](Arguments &call) { call.parent = talvo_xml_node_getchildren(root); }},
      {"sibling elsewhere", 16, [&](Arguments &call) { call.sibling = root; }},
      {"key of another pair", 17,
       [&](Arguments &call) {
         call.keyPair = foreignPair.get();
         call.checkKey = 1;
       }},
      {"method that cannot sign", 11,
       [&](Arguments &call) {
         call.context = sha224.get();
         call.checkKey = 1;
       }},
      {"trial fails", 1,
       [&](Arguments &call) {
         call.context = ecdsa.get();
         call.checkKey = 1;
       }},
      {"method without identifier", 3, [&](Arguments &call) { call.context = sha224.get(); }},
      {"key of another family", 1, [&](Arguments &call) { call.context = ecdsa.get(); }},
      {"missing Id", 5, [&](Arguments &call) { call.context = missing.get(); }},
      {"scheme", 4, [&](Arguments &call) { call.context = network.get(); }},
      {"missing file", 5, [&](Arguments &call) { call.context = file.get(); }},
  };
  for (const Call &row : calls) {
    SCOPED_TRACE(row.name);
    Arguments call{document.get(), root, nullptr, good.get(), key.get(), keyPair.get(), 0, &out};
    row.change(call);
    EXPECT_EQ(call.sign(), row.error);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(dump(document.get()), before);
  }
  EXPECT_EQ(
      (Arguments{document.get(), root, nullptr, good.get(), key.get(), keyPair.get(), 1, &out})
          .sign(),
      0u);
  EXPECT_EQ(verifyAll(document.get()), 0u);
}

TEST_F(SignTest, SiblingPlacesTheSignatureRightBehindIt) {
  const Document document = parse("<a><b/><c/></a>");
  XmlNode *root = talvo_xml_doc_getrootelement(document.get());
  XmlNode *sibling = talvo_xml_node_getchildren(root);
  const Certificate certificate = rsa().certificate();
  const SignedInfoContext context = makeContext({});
  XmlNode *made = nullptr;
  uint32_t error = 0;
  ASSERT_EQ(
      talvo_xml_signature_sign(document.get(), root, sibling, text("sig").get(), context.get(),
                               nullptr, certificate.get(), nullptr, &made, &error),
      1);
  EXPECT_EQ(talvo_xml_node_getprevsibling(made), sibling);
  EXPECT_EQ(verifyAll(document.get()), 0u);
}

TEST_F(SignTest, DocumentWithoutParentGetsANewRoot) {
  const Document document = parse("<old xml:id='gone'/>");
  const Certificate certificate = rsa().certificate();
  const SignedInfoContext lost = makeContext({.references = {{"#gone"}}});
  XmlNode *made = nullptr;
  uint32_t error = 0;
  EXPECT_EQ(talvo_xml_signature_sign(document.get(), nullptr, nullptr, nullptr, lost.get(), nullptr,
                                     certificate.get(), nullptr, &made, &error),
            0);
  EXPECT_EQ(error, 5u) << "what was replaced is not in the document any more";
}

// A run of a caller's nodes: what its context and its surroundings say before and after.
TEST_F(SignTest, CallersNodesMoveInAndComeBackOnFailure) {
  const Document document = parse(
      "<a xmlns:p='urn:p'><keep/><p:lent xml:id='l' p:x='1'>1<p:in/></p:lent><!-- too --></a>");
  const std::string before = dump(document.get());
  XmlNode *root = talvo_xml_doc_getrootelement(document.get());
  XmlNode *lent = talvo_xml_node_getnextsibling(talvo_xml_node_getchildren(root));
  const Document target = parse("<target/>");
  XmlNode *free = talvo_xml_node_newelem(nullptr, text("free").get());
  const ObjectContext node(talvo_xml_signature_objectctx_newnode(text("n").get(), lent));
  const SignaturePropContext property(
      talvo_xml_signature_signaturepropctx_new(nullptr, text("#s").get(), free));
  const List properties(talvo_arraylist_new(nullptr, nullptr));
  talvo_arraylist_pushback(properties.get(), property.get());
  const ObjectContext propertiesObject(
      talvo_xml_signature_objectctx_newsignprops(text("p").get(), properties.get()));
  const List objects(talvo_arraylist_new(nullptr, nullptr));
  talvo_arraylist_pushback(objects.get(), node.get());
  talvo_arraylist_pushback(objects.get(), propertiesObject.get());

  const SignedInfoContext bad = makeContext({.references = {{"#n"}, {"#nowhere"}}});
  EXPECT_EQ(signWith(rsa(), target.get(), bad.get(), objects.get()).error, 5u);
  EXPECT_EQ(dump(document.get()), before);
  EXPECT_EQ(talvo_xml_getidelemnode(document.get(), text("l").get()), lent);
  EXPECT_EQ(dump(target.get()), dump(parse("<target/>").get()));
  EXPECT_EQ(talvo_xml_signature_objectctx_getnode(node.get()), lent);

  const SignedInfoContext good = makeContext({.references = {{"#n"}, {"#p"}}});
  const Signed made = signWith(rsa(), target.get(), good.get(), objects.get());
  ASSERT_TRUE(made) << made.error;
  EXPECT_EQ(verifyAll(parse(dump(target.get())).get()), 0u);
  EXPECT_EQ(talvo_xml_signature_objectctx_getnode(node.get()), nullptr);
  EXPECT_EQ(dump(document.get()), dump(parse("<a xmlns:p='urn:p'><keep/></a>").get()));
}

TEST_F(SignTest, ManifestReferencesAreDigestedAndFollowedOnDemand) {
  const Document document = parse(kOrder);
  const List references = makeReferences({{"#p1"}, {"", {{48, {}, {}}}}});
  const ObjectContext manifest(
      talvo_xml_signature_objectctx_newmanifest(text("m").get(), references.get()));
  const List objects(talvo_arraylist_new(nullptr, nullptr));
  talvo_arraylist_pushback(objects.get(), manifest.get());
  const SignedInfoContext context = makeContext({.references = {{"#m"}}});
  const Signed made = signWith(rsa(), document.get(), context.get(), objects.get());
  ASSERT_TRUE(made) << made.error;
  const Document changed = parse(replaced(dump(document.get()), ">one<", ">two<"));
  EXPECT_EQ(verifyAll(changed.get()), 0u) << "a Manifest is only followed when asked";
  const SignatureRecord decoded(talvo_xml_decode_signature(
      talvo_xml_node_findelemnode(changed.get(), g_xml_signature_name, g_xml_signature_nsuri)));
  uint32_t error = 0;
  EXPECT_EQ(talvo_xml_signature_referencevalidation_ex(decoded.get(), 1, nullptr, 0, &error), 1);
  EXPECT_EQ(talvo_xml_signature_referencevalidation_ex(decoded.get(), 2, nullptr, 0, &error), 0);
  EXPECT_EQ(error, 2u);

  ReferencePlan supplied;
  supplied.uri.reset();
  supplied.content = "x";
  const List without = makeReferences({supplied});
  const ObjectContext refused(
      talvo_xml_signature_objectctx_newmanifest(text("r").get(), without.get()));
  talvo_arraylist_pushback(objects.get(), refused.get());
  EXPECT_EQ(signWith(rsa(), document.get(), context.get(), objects.get()).error, 14u);
}

struct CertificateCase {
  int32_t option;
  int certificates;
};

TEST_F(SignTest, CertificateOptionsDecideWhatKeyInfoHolds) {
  const Chain chain = makeChain();
  const Certificate signer = chain.certificate();
  const Key key(talvo_xml_signature_key_newcert(signer.get()));
  const KeyPair keyPair = chain.leaf.keyPair();
  const Certificate extra = chain.root.publicCertificate();
  const List extras(talvo_arraylist_new(nullptr, nullptr));
  talvo_arraylist_pushback(extras.get(), extra.get());
  for (const auto &[option, certificates] : {CertificateCase{1, 0}, {2, 1}, {3, 2}, {4, 3}}) {
    for (const talvo_arraylist *added : {static_cast<const talvo_arraylist *>(nullptr),
                                         static_cast<const talvo_arraylist *>(extras.get())}) {
      SCOPED_TRACE(option);
      const Document document = parse(kOrder);
      const SignedInfoContext context = makeContext({});
      ASSERT_EQ(talvo_xml_signature_signedinfoctx_setincludecertflag(context.get(), option), 1);
      XmlNode *made = nullptr;
      uint32_t error = 0;
      ASSERT_EQ(
          talvo_xml_signature_signex(document.get(), talvo_xml_doc_getrootelement(document.get()),
                                     nullptr, nullptr, context.get(), nullptr, key.get(),
                                     keyPair.get(), 0, added, nullptr, &made, &error),
          1)
          << error;
      const int total = certificates + (added == nullptr ? 0 : 1);
      int found = 0;
      const std::string serialised = dump(document.get());
      for (size_t at = 0; (at = serialised.find("<ds:X509Certificate>", at)) != std::string::npos;
           ++at) {
        ++found;
      }
      EXPECT_EQ(found, total);
      EXPECT_EQ(verifyAll(document.get()), option == 1 ? 9u : 0u);
    }
  }
}

TEST_F(SignTest, PropertiesAreWrittenAndBindTheSigner) {
  const Document document = parse(kOrder);
  const SignedInfoContext context = makeContext(
      {.references = {{"", {{48, {}, {}}}}, {"#props", {}, 4, TALVO_XML_TYPE_SIGNED_PROPERTIES}}});
  SignedInfoCtx *plan = context.get();
  talvo_xml_signature_signedinfoctx_xades_setusesigningtime(plan, 1);
  talvo_xml_signature_signedinfoctx_xades_setsigningcertificateinfo(plan, 4, 2);
  talvo_xml_signature_signedinfoctx_xades_setsignaturepolicyimplied(plan);
  talvo_xml_signature_signedinfoctx_xades_setsignatureproductionplace(
      plan, text("Köln").get(), nullptr, nullptr, text("DE").get());
  talvo_xml_signature_signedinfoctx_xades_setsignedpropertiesid(plan, text("props").get());
  const Signed made = signWith(rsa(), document.get(), plan);
  ASSERT_TRUE(made) << made.error;
  EXPECT_EQ(verifyAll(document.get()), 0u);
  const std::string serialised = dump(document.get());
  EXPECT_EQ(verifyAll(parse(replaced(serialised, "Köln", "Bonn")).get()), 2u);
  const SignatureRecord decoded(talvo_xml_decode_signature(made.element));
  ASSERT_TRUE(decoded);
  EXPECT_EQ(talvo_xml_signature_xades_hassigningcertificate(decoded.get()), 1);
  const Time time(talvo_xml_signature_xades_getsigningtime(decoded.get()));
  const Time now(talvo_time_newnow());
  EXPECT_LE(talvo_time_cmp(time.get(), now.get()), 0);
  const UString id(talvo_xml_signature_getid(decoded.get()));
  EXPECT_EQ(viewOf(id.get()).size(), 37u) << "properties need a target, so an Id is made";
}

}  // namespace
}  // namespace talvo::test
