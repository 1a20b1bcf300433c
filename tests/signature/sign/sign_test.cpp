// Signatures made from contexts: what is made verifies, what cannot be made is refused with its code, and a refusal
// leaves the document's bytes and the caller's objects as they were.
#include "support/contexts.h"
#include "support/signing.h"

namespace talvo::test {
namespace {

constexpr const char *kOrder =
    "<o:Order xmlns:o='urn:order' xmlns='urn:line' xml:lang='de'><!-- internal --><Line "
    "no='1'>Gehäuse &amp; "
    "Deckel</Line><o:Part xml:id='p1'>one</o:Part></o:Order>";

class SignTest : public LibraryTest {};

TEST_F(SignTest, EverythingThatCanBeSignedVerifies) {
  for (const auto &[name, kind, plan] : everyPlan()) {
    SCOPED_TRACE(name);
    const Identity signer = makeIdentity({.kind = kind, .keyUsage = kNonRepudiation});
    const Document document = parse(kPlannedDocument);
    const Signed made = signPlan(signer, document.get(), plan);
    EXPECT_TRUE(made) << made.error;
    EXPECT_EQ(verifyAll(document.get()), 0u);
    EXPECT_EQ(verifyAll(dump(document.get())), 0u);
    EXPECT_EQ(verifyAll(replaced(dump(document.get()), "Grüße", "grüße")), 2u);
  }
}

// A list that changes the octets cannot be repeated by the verifier, since the Transform does not carry it.
TEST_F(SignTest, ExclusiveTransformLosesItsPrefixListInTheDocument) {
  const Document document = parse("<a xmlns:p='urn:p'><b xml:id='x'/></a>");
  ASSERT_TRUE(signPlan(anySigner(), document.get(), {.references = {{"#x", {{3, {"p"}}}}}}));
  EXPECT_EQ(dump(document.get()).find("InclusiveNamespaces"), std::string::npos);
  EXPECT_EQ(verifyAll(document.get()), 2u);
}

TEST_F(SignTest, WithoutDocumentTheSignatureIsTheRootOfANewOne) {
  const ObjectContext object(talvo_xml_signature_objectctx_newdata(
      str("obj").get(), str("text/plain").get(), nullptr, str("signed <data>").get()));
  const List objects = listOf({object.get()});
  const SignedInfoContext context = makeContext({.references = {{"#obj"}}});
  const Signed made = signWith(anySigner(), nullptr, context.get(), objects.get());
  ASSERT_TRUE(made) << made.error;
  const Document document(talvo_xml_node_getdoc(made.element));
  EXPECT_EQ(talvo_xml_doc_getrootelement(document.get()), made.element);
  EXPECT_EQ(verifyAll(document.get()), 0u);
  EXPECT_EQ(verifyAll(replaced(dump(document.get()), "data", "date")), 2u);
}

TEST_F(SignTest, SuppliedContentIsDigestedForTheOneReferenceWithoutUri) {
  ReferencePlan supplied;
  supplied.uri.reset();
  supplied.content = "outside";
  const Signed made = signPlan(anySigner(), nullptr, {.references = {supplied}});
  ASSERT_TRUE(made) << made.error;
  const Document document(talvo_xml_node_getdoc(made.element));
  uint32_t error = 0;
  EXPECT_EQ(talvo_xml_signature_verify(document.get(), "outside", 7, nullptr, &error), 1);
  EXPECT_EQ(talvo_xml_signature_verify(document.get(), "outsidE", 7, nullptr, &error), 0);
  EXPECT_EQ(error, 2u);
  EXPECT_EQ(signPlan(anySigner(), nullptr, {.references = {supplied, supplied}}).error, 14u);
}

// What a signing call is given.
struct Arguments {
  XmlDoc *document;
  XmlNode *parent;
  SignedInfoCtx *context;
  const SignatureKey *key;
  TalvoPKIKeyPair *keyPair;
  int32_t checkKey = 0;
  XmlNode *sibling = nullptr;

  uint32_t sign(XmlNode **out) const {
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
  const Certificate certificate = anySigner().publicCertificate();
  const Key ownKey(talvo_xml_signature_key_newcert(certificate.get()));
  const KeyPair ownPair = anySigner().keyPair();
  const KeyPair foreignPair = makeIdentity({.kind = KeyKind::rsaOther}).keyPair();
  const Certificate encryptOnly = makeIdentity({.keyUsage = kKeyAgreement}).publicCertificate();
  const Key mayNotSign(talvo_xml_signature_key_newcert(encryptOnly.get()));
  const Key secret = makeHmacKey({});
  const SignedInfoContext ordinary = makeContext({});
  const SignedInfoContext sha224 = makeContext({.signatureMethod = 67});
  const SignedInfoContext ecdsa = makeContext({.signatureMethod = 75});
  const SignedInfoContext missing = makeContext({.references = {{"#nowhere"}}});
  const SignedInfoContext network = makeContext({.references = {{"ftp://example.org/x"}}});
  const SignedInfoContext file = makeContext({.references = {{"no/such/file"}}});
  XmlDoc *doc = document.get();
  XmlNode *root = rootOf(document);
  SignedInfoCtx *good = ordinary.get();
  const SignatureKey *key = ownKey.get();
  TalvoPKIKeyPair *pair = ownPair.get();
  struct Row {
    const char *name;
    uint32_t error;
    Arguments call;
  };
  XmlNode *out = nullptr;
  for (const Row &row : {
           Row{"nothing to sign", 6, {doc, root, nullptr, key, pair}},
           {"no key pair", 9, {doc, root, good, key, nullptr}},
           {"no key", 9, {doc, root, good, nullptr, pair}},
           {"HMAC secret", 10, {doc, root, good, secret.get(), pair}},
           {"certificate may not sign", 18, {doc, root, good, mayNotSign.get(), pair}},
           {"parent of another document", 16, {doc, rootOf(other), good, key, pair}},
           {"parent is no element", 16, {doc, find(doc, "comment()"), good, key, pair}},
           {"sibling elsewhere", 16, {doc, root, good, key, pair, 0, root}},
           {"key of another pair", 17, {doc, root, good, key, foreignPair.get(), 1}},
           {"method that cannot sign", 11, {doc, root, sha224.get(), key, pair, 1}},
           {"trial fails", 1, {doc, root, ecdsa.get(), key, pair, 1}},
           {"method without identifier", 3, {doc, root, sha224.get(), key, pair}},
           {"key of another family", 1, {doc, root, ecdsa.get(), key, pair}},
           {"missing Id", 5, {doc, root, missing.get(), key, pair}},
           {"scheme", 4, {doc, root, network.get(), key, pair}},
           {"missing file", 5, {doc, root, file.get(), key, pair}},
       }) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(row.call.sign(&out), row.error);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(dump(doc), before);
  }
  const Arguments valid{doc, root, good, key, pair, 1};
  EXPECT_EQ(valid.sign(nullptr), 6u);
  EXPECT_EQ(dump(doc), before);
  EXPECT_EQ(valid.sign(&out), 0u);
  EXPECT_EQ(verifyAll(doc), 0u);
}

TEST_F(SignTest, SiblingPlacesTheSignatureRightBehindIt) {
  const Document document = parse("<a><b/><c/></a>");
  XmlNode *sibling = find(document.get(), "b");
  const Certificate certificate = anySigner().certificate();
  XmlNode *made = nullptr;
  uint32_t error = 0;
  ASSERT_EQ(talvo_xml_signature_sign(document.get(), rootOf(document), sibling, str("sig").get(),
                                     makeContext({}).get(), nullptr, certificate.get(), nullptr,
                                     &made, &error),
            1);
  EXPECT_EQ(talvo_xml_node_getprevsibling(made), sibling);
  EXPECT_EQ(verifyAll(document.get()), 0u);
}

TEST_F(SignTest, DocumentWithoutParentGetsANewRoot) {
  const Document document = parse("<old xml:id='gone'/>");
  const Certificate certificate = anySigner().certificate();
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
  XmlNode *lent = find(document.get(), "p:lent");
  const Document target = parse("<target/>");
  XmlNode *free = talvo_xml_node_newelem(nullptr, str("free").get());
  const ObjectContext node(talvo_xml_signature_objectctx_newnode(str("n").get(), lent));
  const SignaturePropContext property(
      talvo_xml_signature_signaturepropctx_new(nullptr, str("#s").get(), free));
  const ObjectContext properties(
      talvo_xml_signature_objectctx_newsignprops(str("p").get(), listOf({property.get()}).get()));
  const List objects = listOf({node.get(), properties.get()});

  const SignedInfoContext bad = makeContext({.references = {{"#n"}, {"#nowhere"}}});
  EXPECT_EQ(signWith(anySigner(), target.get(), bad.get(), objects.get()).error, 5u);
  EXPECT_EQ(dump(document.get()), before);
  EXPECT_EQ(talvo_xml_getidelemnode(document.get(), str("l").get()), lent);
  EXPECT_EQ(dump(target.get()), dump(parse("<target/>").get()));
  EXPECT_EQ(talvo_xml_signature_objectctx_getnode(node.get()), lent);

  const SignedInfoContext good = makeContext({.references = {{"#n"}, {"#p"}}});
  const Signed made = signWith(anySigner(), target.get(), good.get(), objects.get());
  ASSERT_TRUE(made) << made.error;
  EXPECT_EQ(verifyAll(dump(target.get())), 0u);
  EXPECT_EQ(talvo_xml_signature_objectctx_getnode(node.get()), nullptr);
  EXPECT_EQ(dump(document.get()), dump(parse("<a xmlns:p='urn:p'><keep/></a>").get()));
}

TEST_F(SignTest, ManifestReferencesAreDigestedAndFollowedOnDemand) {
  const Document document = parse(kOrder);
  const List references = makeReferences({{"#p1"}, {"", {{48}}}});
  const ObjectContext manifest(
      talvo_xml_signature_objectctx_newmanifest(str("m").get(), references.get()));
  const SignedInfoContext context = makeContext({.references = {{"#m"}}});
  const Signed made =
      signWith(anySigner(), document.get(), context.get(), listOf({manifest.get()}).get());
  ASSERT_TRUE(made) << made.error;
  const Document changed = parse(replaced(dump(document.get()), ">one<", ">two<"));
  EXPECT_EQ(verifyAll(changed.get()), 0u) << "a Manifest is only followed when asked";
  const SignatureRecord decoded(talvo_xml_decode_signature(findSignature(changed.get())));
  uint32_t error = 0;
  EXPECT_EQ(talvo_xml_signature_referencevalidation_ex(decoded.get(), 1, nullptr, 0, &error), 1);
  EXPECT_EQ(talvo_xml_signature_referencevalidation_ex(decoded.get(), 2, nullptr, 0, &error), 0);
  EXPECT_EQ(error, 2u);

  ReferencePlan supplied;
  supplied.uri.reset();
  supplied.content = "x";
  const List without = makeReferences({supplied});
  const ObjectContext refused(
      talvo_xml_signature_objectctx_newmanifest(str("r").get(), without.get()));
  const List objects = listOf({manifest.get(), refused.get()});
  EXPECT_EQ(signWith(anySigner(), document.get(), context.get(), objects.get()).error, 14u);
}

TEST_F(SignTest, CertificateOptionAndFurtherCertificatesReachKeyInfo) {
  const Chain chain = makeChain();
  const Certificate signer = chain.certificate();
  const Key key(talvo_xml_signature_key_newcert(signer.get()));
  const KeyPair keyPair = chain.leaf.keyPair();
  const Certificate further = chain.root.publicCertificate();
  const List added = listOf({further.get()});
  for (const auto &[option, extra, certificates] :
       {std::tuple{1, static_cast<talvo_arraylist *>(nullptr), 0},
        {4, nullptr, 3},
        {2, added.get(), 2}}) {
    SCOPED_TRACE(option);
    const Document document = parse(kOrder);
    const SignedInfoContext context = makeContext({});
    ASSERT_EQ(talvo_xml_signature_signedinfoctx_setincludecertflag(context.get(), option), 1);
    XmlNode *made = nullptr;
    uint32_t error = 0;
    ASSERT_EQ(talvo_xml_signature_signex(document.get(), rootOf(document), nullptr, nullptr,
                                         context.get(), nullptr, key.get(), keyPair.get(), 0, extra,
                                         nullptr, &made, &error),
              1)
        << error;
    EXPECT_EQ(count(dump(document.get()), "<ds:X509Certificate>"), certificates);
    EXPECT_EQ(verifyAll(document.get()), option == 1 ? 9u : 0u);
  }
}

TEST_F(SignTest, PropertiesGetATargetAndAreCovered) {
  const Document document = parse(kOrder);
  const SignedInfoContext context =
      makeContext({.references = {{"#props", {}, 4, TALVO_XML_TYPE_SIGNED_PROPERTIES}}});
  talvo_xml_signature_signedinfoctx_xades_setsigningcertificateinfo(context.get(), 4, 2);
  talvo_xml_signature_signedinfoctx_xades_setsignedpropertiesid(context.get(), str("props").get());
  const Signed made = signWith(anySigner(), document.get(), context.get());
  ASSERT_TRUE(made) << made.error;
  EXPECT_EQ(verifyAll(document.get()), 0u);
  EXPECT_EQ(verifyAll(replaced(dump(document.get()), "<xa:CertDigest>", "<xa:CertDigest> ")), 2u);
  const SignatureRecord decoded(talvo_xml_decode_signature(made.element));
  const std::string id = take(talvo_xml_signature_getid(decoded.get()));
  EXPECT_EQ(id.size(), 37u) << id;
  EXPECT_EQ(count(dump(document.get()), "Target=\"#" + id), 1);
}

}  // namespace
}  // namespace talvo::test
