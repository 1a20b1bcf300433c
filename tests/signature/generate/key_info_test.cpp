#include "signature/generate/key_info.h"

#include <algorithm>

#include "support/keys.h"
#include "support/signature_namespace.h"

namespace talvo::test {
namespace {

class KeyInfoGenerationTest : public LibraryTest {
 protected:
  // The certificates in a generated KeyInfo by the letters of their owners.
  static std::string written(const SignatureHost &host, const SignatureKey *key, int32_t option,
                             const std::vector<std::pair<char, const Identity *>> &known,
                             const talvo_arraylist *extra = nullptr) {
    if (host.textOf(generateKeyInfo(host.doc(), host.ns(), key, option, extra)) == "(null)") {
      return "(null)";
    }
    talvo_arraylist *list = nullptr;
    talvo_xml_node_findallelemnode(host.root(), g_xml_signature_x509certificate,
                                   g_xml_signature_nsuri, &list);
    const List elements(list);
    std::string letters;
    for (const XmlNode *element : items<XmlNode>(elements)) {
      letters +=
          letterOf(take(talvo_xml_node_getpcdata(talvo_xml_node_getchildren(element))), known);
    }
    return letters;
  }

 private:
  static char letterOf(const std::string &base64,
                       const std::vector<std::pair<char, const Identity *>> &known) {
    const Certificate read(TalvoPKICertNewCert(base64.data(), base64.size()));
    uint8_t *der = nullptr;
    size_t length = 0;
    TalvoPKICertGetCertEncode(read.get(), 1, &der, &length);
    const CryptoBytes owned(der);
    const auto found = std::find_if(known.begin(), known.end(), [&](const auto &entry) {
      return entry.second->der() == test::textOf({der, length});
    });
    return found == known.end() ? '?' : found->first;
  }
};

TEST_F(KeyInfoGenerationTest, TheOptionDecidesWhichCertificatesAreWritten) {
  const SignatureHost host;
  const Chain chain = makeChain();
  const Identity alone = makeIdentity({.kind = KeyKind::p256});
  const Identity orphan = makeIdentity({.issuer = &chain.intermediate});
  const Identity rootIssued = makeIdentity({.subject = "/CN=Second", .issuer = &chain.root});
  Certificate pair = rootIssued.certificate();
  TalvoPKICertAddChainCert(pair.get(), chain.root.publicCertificate().get());
  const std::vector<std::pair<char, const Identity *>> known = {
      {'L', &chain.leaf}, {'I', &chain.intermediate}, {'R', &chain.root}, {'A', &alone},
      {'O', &orphan},     {'2', &rootIssued}};
  const struct {
    Certificate certificate;
    const char *expected[4];  // for options 1 to 4
  } rows[] = {{chain.certificate(), {"", "L", "LI", "LIR"}},
              {alone.certificate(), {"", "A", "A", "A"}},
              {std::move(pair), {"", "2", "2", "2R"}},
              // The path cannot be built.
              {orphan.certificate(), {"", "O", "O", "O"}}};
  for (const auto &row : rows) {
    const Key key(talvo_xml_signature_key_newcert(row.certificate.get()));
    for (int32_t option = 1; option <= 4; ++option) {
      EXPECT_EQ(written(host, key.get(), option, known), row.expected[option - 1]) << option;
    }
  }
}

TEST_F(KeyInfoGenerationTest, OnlyTheOptionNoneDoesWithoutACertificate) {
  const SignatureHost host;
  const Identity identity = makeIdentity();
  const PublicKey publicKey(TalvoPKICryptoGetKeypairPublicKey(identity.keyPair().get()));
  const Key key(talvo_xml_signature_key_newpubkey(publicKey.get()));
  const Certificate certificate = identity.certificate();
  const List extra = listOf({certificate.get()});
  EXPECT_EQ(host.textOf(generateKeyInfo(host.doc(), host.ns(), key.get(), 1, nullptr)),
            "<ds:KeyInfo>\n</ds:KeyInfo>");
  EXPECT_EQ(written(host, key.get(), 1, {{'S', &identity}}, extra.get()), "S");
  for (const int32_t option : {2, 3, 4}) {
    EXPECT_EQ(talvo_xml_keyinfonode_gen(host.doc(), host.ns(), key.get(), option, extra.get()),
              nullptr);
  }
  EXPECT_EQ(talvo_xml_keyinfonode_gen(host.doc(), host.ns(), nullptr, 1, nullptr), nullptr);
  EXPECT_EQ(talvo_xml_x509datanode_gen(host.doc(), host.ns(), nullptr), nullptr);
}

}  // namespace
}  // namespace talvo::test
