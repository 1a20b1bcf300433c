#include "support/contexts.h"
#include "support/documents.h"
#include "support/keys.h"

namespace talvo::test {
namespace {

class ObjectCtxTest : public LibraryTest {};

TEST_F(ObjectCtxTest, ConstructorsRefuseMissingContent) {
  const Document doc = parse("<a>text</a>");
  XmlNode *root = rootOf(doc);
  const UString text = str("x");
  const List none = listOf<ReferenceCtx>({});
  EXPECT_EQ(talvo_xml_signature_objectctx_newdata(nullptr, nullptr, nullptr, nullptr), nullptr);
  EXPECT_EQ(talvo_xml_signature_objectctx_newnode(nullptr, nullptr), nullptr);
  EXPECT_EQ(talvo_xml_signature_objectctx_newnode(nullptr, talvo_xml_node_getchildren(root)),
            nullptr);
  EXPECT_EQ(talvo_xml_signature_objectctx_newmanifest(text.get(), none.get()), nullptr);
  EXPECT_EQ(
      talvo_xml_signature_objectctx_newmanifest(nullptr, listOf({reference("#a").get()}).get()),
      nullptr);
  EXPECT_EQ(talvo_xml_signature_objectctx_newsignprops(nullptr, none.get()), nullptr);
  EXPECT_EQ(talvo_xml_signature_signaturepropctx_new(nullptr, nullptr, root), nullptr);
  EXPECT_EQ(talvo_xml_signature_signaturepropctx_new(nullptr, text.get(), nullptr), nullptr);
}

TEST_F(ObjectCtxTest, GettersAnswerForTheirKindOnly) {
  const Document doc = parse("<a/>");
  XmlNode *root = rootOf(doc);
  const UString text = str("x");
  const ReferenceContext first = reference("#a");
  const SignaturePropContext property(
      talvo_xml_signature_signaturepropctx_new(nullptr, text.get(), root));
  const ObjectContext contexts[] = {
      ObjectContext(talvo_xml_signature_objectctx_newdata(nullptr, nullptr, nullptr, text.get())),
      ObjectContext(
          talvo_xml_signature_objectctx_newsignprops(nullptr, listOf({property.get()}).get())),
      ObjectContext(
          talvo_xml_signature_objectctx_newmanifest(text.get(), listOf({first.get()}).get())),
      ObjectContext(talvo_xml_signature_objectctx_newnode(nullptr, root))};
  const int32_t kinds[] = {1, 3, 4, 5};
  for (size_t i = 0; i < std::size(kinds); ++i) {
    const ObjectCtx *context = contexts[i].get();
    SCOPED_TRACE(kinds[i]);
    EXPECT_EQ(talvo_xml_signature_objectctx_gettype(context), kinds[i]);
    EXPECT_EQ(talvo_xml_signature_objectctx_getnode(context), kinds[i] == 5 ? root : nullptr);
    const List properties(talvo_xml_signature_objectctx_getsignatureprops(context));
    const List references(talvo_xml_signature_objectctx_getmanifest(context));
    EXPECT_EQ(items<SignaturePropCtx>(properties).size(), kinds[i] == 3 ? 1 : 0);
    EXPECT_EQ(items<ReferenceCtx>(references).size(), kinds[i] == 4 ? 1 : 0);
  }
  EXPECT_EQ(talvo_xml_signature_objectctx_gettype(nullptr), -1);
}

TEST_F(ObjectCtxTest, NodesAreOnlyBorrowed) {
  const Document doc = parse("<a><b/></a>");
  ObjectContext(talvo_xml_signature_objectctx_newnode(nullptr, find(doc.get(), "b"))).reset();
  EXPECT_EQ(elementText(rootOf(doc)), "<a><b/></a>");
}

TEST_F(ObjectCtxTest, KeysHoldWhatTheirTypeSaysAndCopiesStandAlone) {
  const Identity identity = makeIdentity();
  const PublicKey publicKey(TalvoPKICryptoGetKeypairPublicKey(identity.keyPair().get()));
  const std::string secret = "secret";
  Key keys[] = {Key(talvo_xml_signature_key_newcert(identity.certificate().get())),
                Key(talvo_xml_signature_key_newpubkey(publicKey.get())),
                makeHmacKey({reinterpret_cast<const uint8_t *>(secret.data()), secret.size()})};
  const uint32_t types[] = {4, 5, 1};
  for (size_t i = 0; i < std::size(types); ++i) {
    SCOPED_TRACE(types[i]);
    const Key copy(talvo_xml_signature_key_dup(keys[i].get()));
    EXPECT_NE(copy, keys[i]);
    keys[i].reset();
    EXPECT_EQ(talvo_xml_signature_key_gettype(copy.get()), types[i]);
    const Certificate certificate(talvo_xml_signature_key_getcert(copy.get()));
    const PublicKey key(talvo_xml_signature_key_getpubkey(copy.get()));
    EXPECT_EQ(certificate != nullptr, types[i] == 4);
    EXPECT_EQ(key != nullptr, types[i] == 5);
    const Blob *kept = std::get_if<Blob>(&copy->value);
    EXPECT_EQ(kept == nullptr ? "" : textOf(*kept), types[i] == 1 ? secret : "");
  }
  EXPECT_EQ(talvo_xml_signature_key_newcert(nullptr), nullptr);
  EXPECT_EQ(talvo_xml_signature_key_newpubkey(nullptr), nullptr);
  EXPECT_EQ(talvo_xml_signature_key_dup(nullptr), nullptr);
  EXPECT_EQ(talvo_xml_signature_key_gettype(nullptr), 0U);
}

}  // namespace
}  // namespace talvo::test
