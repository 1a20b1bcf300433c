// The public queries over a decoded signature: what they answer, and what they answer for nothing.
#include "signature/decode/reference.h"
#include "signature/record/record.h"
#include "support/sample_signature.h"

namespace talvo::test {
namespace {

class QueryTest : public LibraryTest {};

TEST_F(QueryTest, AnswersForTheSignature) {
  const Decoded decoded = decode(richDocument());
  const Signature *signature = decoded.record.get();
  ASSERT_NE(signature, nullptr);
  int32_t method = 0;
  EXPECT_EQ(talvo_xml_signature_getnode(signature), findSignature(decoded.document.get()));
  EXPECT_EQ(take(talvo_xml_signature_getid(signature)), "S");
  EXPECT_EQ(take(talvo_xml_signature_getsignaturevalueid(signature)), "SV");
  EXPECT_EQ(take(talvo_xml_signature_getsignedinfoid(signature)), "SI");
  EXPECT_EQ(take(talvo_xml_signature_getsignaturevalue(signature)), "signature");
  EXPECT_EQ(talvo_xml_signature_getc14nmethod(signature), 3);
  EXPECT_EQ(take(talvo_xml_signature_getc14nuri(signature)), expand("{exc-c14n}"));
  EXPECT_EQ(talvo_xml_signature_getsignalgothrim(signature, &method), 1);
  EXPECT_EQ(method, 68);
  EXPECT_EQ(take(talvo_xml_signature_getsignatureuri(signature)), expand("{rsa-sha256}"));
  EXPECT_EQ(talvo_xml_signature_getsigncert(signature), nullptr);
}

TEST_F(QueryTest, AnswersForReferences) {
  const Decoded decoded = decode(richDocument());
  const List references(talvo_xml_signature_getreflist(decoded.record.get()));
  ASSERT_EQ(items<Reference>(references).size(), 2);
  const Reference *first = items<Reference>(references)[0];
  const Reference *second = items<Reference>(references)[1];
  EXPECT_NE(talvo_xml_signature_reference_getnode(first), nullptr);
  EXPECT_EQ(take(talvo_xml_signature_reference_getid(first)), "R1");
  EXPECT_EQ(take(talvo_xml_signature_reference_geturi(first)), "#data");
  EXPECT_EQ(take(talvo_xml_signature_reference_gettype(first)), "urn:type");
  EXPECT_EQ(take(talvo_xml_signature_reference_geturi(second)), "");
  EXPECT_EQ(take(talvo_xml_signature_reference_gettype(second)), "(null)");
  EXPECT_EQ(talvo_xml_signature_reference_getdigestmethod(first), 4);
  EXPECT_EQ(talvo_xml_signature_reference_getdigestmethod(second), -1);
  EXPECT_EQ(take(talvo_xml_signature_reference_getdigesturi(second)), "urn:unknown");
  EXPECT_EQ(take(talvo_xml_signature_reference_getdigestvalue(second)), "\1\2\3");
  EXPECT_EQ(talvo_xml_signature_reference_gettransformcount(first), 3);
  EXPECT_EQ(talvo_xml_signature_reference_gettransformcount(second), 0);
  EXPECT_EQ(talvo_xml_signature_reference_gettransform(first, 0), 32);
  EXPECT_EQ(talvo_xml_signature_reference_gettransform(first, 2), 48);
  EXPECT_EQ(talvo_xml_signature_reference_gettransform(first, 3), -1);
  EXPECT_EQ(take(talvo_xml_signature_reference_gettransformuri(first, 2)), expand("{enveloped}"));
  EXPECT_EQ(take(talvo_xml_signature_reference_gettransformuri(first, -1)), "(null)");
  EXPECT_NE(talvo_xml_signature_reference_gettransformnode(first, 2), nullptr);
}

TEST_F(QueryTest, AnswersForKeyInfo) {
  const Decoded decoded = decode(richDocument());
  const Signature *signature = decoded.record.get();
  struct Row {
    int32_t kind;
    const char *text;
    int32_t keyType;
    int32_t keyBits;
    bool hasNode;
  };
  const Row rows[] = {
      {1, "Key name", -1, -1, false}, {2, "(null)", 2, 16, false},  {2, "(null)", 1, 5, false},
      {2, "(null)", -1, -1, false},   {3, "#KI", -1, -1, false},    {4, "(null)", -1, -1, false},
      {7, "managed", -1, -1, false},  {-1, "(null)", -1, -1, true}, {-1, "(null)", -1, -1, false}};
  ASSERT_EQ(talvo_xml_signature_getkeyinfocount(signature), 8);
  int32_t index = 0;
  for (const Row &row : rows) {
    SCOPED_TRACE(index);
    EXPECT_EQ(talvo_xml_signature_getkeyinfokind(signature, index), row.kind);
    EXPECT_EQ(take(talvo_xml_signature_getkeyinfotext(signature, index)), row.text);
    EXPECT_EQ(talvo_xml_signature_getkeyinfokeytype(signature, index), row.keyType);
    EXPECT_EQ(talvo_xml_signature_getkeyinfokeybits(signature, index), row.keyBits);
    EXPECT_EQ(talvo_xml_signature_getkeyinfonode(signature, index) != nullptr, row.hasNode);
    ++index;
  }
  EXPECT_EQ(talvo_xml_signature_getkeyinfocertcount(signature), 1);
  EXPECT_NE(Certificate(talvo_xml_signature_getkeyinfocert(signature, 0)), nullptr);
  EXPECT_EQ(talvo_xml_signature_getkeyinfocert(signature, 1), nullptr);
  EXPECT_EQ(talvo_xml_signature_getkeyinfocert(signature, -1), nullptr);
}

TEST_F(QueryTest, AnswersForObjects) {
  const Decoded decoded = decode(richDocument());
  const Signature *signature = decoded.record.get();
  ASSERT_EQ(talvo_xml_signature_getobjectcount(signature), 3);
  EXPECT_EQ(take(talvo_xml_signature_getobjectid(signature, 2)), "O3");
  EXPECT_EQ(take(talvo_xml_signature_getobjectmimetype(signature, 1)), "text/plain");
  EXPECT_EQ(take(talvo_xml_signature_getobjectencoding(signature, 1)), "urn:e");
  EXPECT_EQ(take(talvo_xml_signature_getobjectencoding(signature, 0)), "(null)");
  EXPECT_EQ(talvo_xml_signature_getobjectnode(signature, 3), nullptr);
  EXPECT_EQ(talvo_xml_signature_getobjectcontentcount(signature, 1), 0);
  EXPECT_EQ(talvo_xml_signature_getobjectcontentcount(signature, 3), -1);
  const int32_t kinds[] = {4, 1, 3, 2, -1};
  for (int32_t item = 0; item < 5; ++item) {
    SCOPED_TRACE(item);
    EXPECT_EQ(talvo_xml_signature_getobjectcontentkind(signature, 2, item), kinds[item]);
    EXPECT_EQ(talvo_xml_signature_getobjectcontentnode(signature, 2, item) != nullptr,
              kinds[item] > 1);
  }
  EXPECT_NE(talvo_xml_signature_getobjectcontentnode(signature, 0, 0), nullptr);
}

TEST_F(QueryTest, AnswersForXadesProperties) {
  const Decoded decoded = decode(richDocument());
  const Signature *signature = decoded.record.get();
  EXPECT_EQ(talvo_xml_signature_xades_hassigningcertificate(signature), 1);
  EXPECT_EQ(take(talvo_xml_signature_xades_getqualifyingpropertiesid(signature)), "QP");
  EXPECT_EQ(take(talvo_xml_signature_xades_getsignedpropertiesid(signature)), "SP");
  EXPECT_EQ(take(talvo_xml_signature_xades_getsignedsignaturepropertiesid(signature)), "SSP");
  EXPECT_EQ(talvo_xml_signature_xades_getcertificatevaluescount(signature), 1);
  EXPECT_NE(Certificate(talvo_xml_signature_xades_getcertificatevalue(signature, 0)), nullptr);
  EXPECT_EQ(talvo_xml_signature_xades_getcertificatevalue(signature, -1), nullptr);
  EXPECT_EQ(talvo_xml_signature_xades_getcertificatevalue(signature, 1), nullptr);
  EXPECT_EQ(talvo_xml_signature_xades_getcountersignaturecount(signature), 1);
  EXPECT_EQ(talvo_xml_signature_issignaturenode(
                talvo_xml_signature_xades_getcountersignature(signature, 0)),
            1);
  EXPECT_EQ(talvo_xml_signature_xades_getcountersignature(signature, 1), nullptr);
  EXPECT_EQ(talvo_xml_signature_xades_getsignaturetimestampcount(signature), 2);
  EXPECT_EQ(take(talvo_xml_signature_xades_getsignaturetimestamptoken(signature, 1)), "second");
  EXPECT_EQ(take(talvo_xml_signature_xades_getsignaturetimestamptoken(signature, 2)), "(null)");
  EXPECT_EQ(talvo_xml_signature_xades_getsignaturetimestampc14n(signature, 0), 3);
  EXPECT_EQ(talvo_xml_signature_xades_getsignaturetimestampc14n(signature, 1), -1);
  const Time time(talvo_xml_signature_xades_getsigningtime(signature));
  EXPECT_EQ(talvo_time_getyear(time.get()), 2024);
}

using OwnedCertId = Handle<CertId, talvo_xml_signature_xades_certid_free>;

TEST_F(QueryTest, RevocationGettersServeCertificateReferences) {
  const Decoded decoded = decode(richDocument());
  const Signature *signature = decoded.record.get();
  ASSERT_EQ(talvo_xml_signature_xades_getcompleterevocationrefscount(signature), 1);
  const OwnedCertId root(talvo_xml_signature_xades_getcompleterevocationref(signature, 0));
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(talvo_xml_signature_xades_certid_getcerthashalgo(root.get()), 1);
  const TextBuffer issuer(talvo_xml_signature_xades_certid_getissuer(root.get()));
  EXPECT_STREQ(issuer.get(), "CN=Root");
  EXPECT_EQ(talvo_xml_signature_xades_getcompleterevocationref(signature, 1), nullptr);
  EXPECT_EQ(talvo_xml_signature_xades_getsigningcertificatecount(signature), 1);
  const OwnedCertId signer(talvo_xml_signature_xades_getsigningcertificate(signature, 0));
  const BigInteger serial(talvo_xml_signature_xades_certid_getsn(signer.get()));
  EXPECT_EQ(talvo_biginteger_getbits(serial.get()), 5);
}

TEST_F(QueryTest, CountsAreZeroWhereNothingIsAndMinusOneForNull) {
  const Decoded decoded = decode(plainSignature());
  ASSERT_NE(decoded.record, nullptr);
  for (const auto count :
       {talvo_xml_signature_getkeyinfocount, talvo_xml_signature_getkeyinfocertcount,
        talvo_xml_signature_getobjectcount, talvo_xml_signature_xades_getcertificatevaluescount,
        talvo_xml_signature_xades_getcompleterevocationrefscount,
        talvo_xml_signature_xades_getcountersignaturecount,
        talvo_xml_signature_xades_getsignaturetimestampcount}) {
    EXPECT_EQ(count(decoded.record.get()), 0);
    EXPECT_EQ(count(nullptr), -1);
  }
  for (const Signature *signature : {decoded.record.get(), static_cast<Signature *>(nullptr)}) {
    EXPECT_EQ(talvo_xml_signature_xades_hassigningcertificate(signature), 0);
    EXPECT_EQ(talvo_xml_signature_xades_getsigningtime(signature), nullptr);
    EXPECT_EQ(talvo_xml_signature_getsigncert(signature), nullptr);
  }
}

TEST_F(QueryTest, AnswersNothingForNull) {
  int32_t number = 7;
  uint8_t *bytes = nullptr;
  uint32_t length = 0;
  EXPECT_EQ(talvo_xml_signature_getnode(nullptr), nullptr);
  EXPECT_EQ(talvo_xml_signature_getid(nullptr), nullptr);
  EXPECT_EQ(talvo_xml_signature_getsignalgothrim(nullptr, &number), 0);
  EXPECT_EQ(talvo_xml_signature_gethmaclength(nullptr, &number), 0);
  EXPECT_EQ(number, 7);
  EXPECT_EQ(talvo_xml_signature_getreflist(nullptr), nullptr);
  EXPECT_EQ(talvo_xml_signature_getsignedinfo(nullptr), nullptr);
  EXPECT_EQ(talvo_xml_signature_getc14nmethod(nullptr), -1);
  EXPECT_EQ(talvo_xml_signature_reference_gettransformcount(nullptr), -1);
  EXPECT_EQ(talvo_xml_signature_xades_certid_getcerthashalgo(nullptr), -1);
  EXPECT_EQ(talvo_xml_signature_xades_certid_getcerthashvalue(nullptr, &bytes, &length), 0);
  EXPECT_EQ(talvo_xml_signature_xades_certid_getissuer(nullptr), nullptr);
  EXPECT_EQ(talvo_xml_signature_xades_certid_getsn(nullptr), nullptr);
}

TEST_F(QueryTest, ManifestReferencesBelongToTheCaller) {
  const Document document = parse(expand(richDocument()));
  XmlNode *manifest =
      talvo_xml_node_findelemnode(document.get(), g_xml_signature_manifest, g_xml_signature_nsuri);
  const List references(talvo_xml_signature_decodemanifestnode(manifest));
  ASSERT_EQ(items<Reference>(references).size(), 1);
  const OwnedReference reference(items<Reference>(references)[0]);
  EXPECT_EQ(take(talvo_xml_signature_reference_getid(reference.get())), "MR");
  EXPECT_EQ(findEnclosingSignature(manifest), findSignature(document.get()));
  EXPECT_EQ(talvo_xml_signature_decodemanifestnode(findSignature(document.get())), nullptr);
  EXPECT_EQ(talvo_xml_signature_decodemanifestnode(nullptr), nullptr);
}

using Context = Handle<SignedInfoCtx, talvo_xml_signature_signedinfoctx_free>;

TEST_F(QueryTest, DescribesSignedInfoOnlyWhereAContextCanBeMade) {
  struct Row {
    const char *name;
    const char *from;
    const char *to;
    bool described;
  };
  const Row rows[] = {
      {"as it is", "", "", true},
      {"exclusive with prefixes", "{c14n}\"/>",
       "{exc-c14n}\"><ec:InclusiveNamespaces PrefixList='a'/></ds:CanonicalizationMethod>", true},
      {"exclusive without prefixes", "{c14n}", "{exc-c14n}", false},
      {"exclusive with malformed prefixes", "{c14n}\"/>",
       "{exc-c14n}\"><ec:InclusiveNamespaces/></ds:CanonicalizationMethod>", false},
      {"HMAC", "{rsa-sha256}", "{hmac-sha256}", false},
      {"unknown method", "{rsa-sha256}", "urn:m", false},
      {"unknown canonicalisation", "{c14n}", "urn:c", false},
      {"unknown digest", "{sha256}\"/><ds:D", "urn:d\"/><ds:D", false},
      {"digest of another length", "{digest}", "AQID", false},
      {"reference without URI", " URI=\"\"", "", false},
  };
  for (const Row &row : rows) {
    SCOPED_TRACE(row.name);
    const Decoded decoded = decode(replaced(plainSignature(), row.from, row.to));
    ASSERT_NE(decoded.record, nullptr);
    const Context context(talvo_xml_signature_getsignedinfo(decoded.record.get()));
    EXPECT_EQ(context != nullptr, row.described);
    if (context) {
      EXPECT_EQ(talvo_xml_signature_signedinfoctx_getsignalgoid(context.get()), 68);
      const List references(talvo_xml_signature_signedinfoctx_getrefs(context.get()));
      EXPECT_EQ(items<void>(references).size(), 1);
    }
  }
}

}  // namespace
}  // namespace talvo::test
