// A signature without prefixes whose QualifyingProperties change the default namespace, as many makers
// write them: what is added must be read back in the namespace that it was made in.
#include <functional>

#include "signature/xades/xades_support.h"
#include "support/json.h"
#include "support/tsa.h"

namespace talvo::test {
namespace {

class HiddenNamespaceTest : public LibraryTest {
 protected:
  // Only the shape matters: the value of this signature no longer verifies.
  static SignedDocument withoutPrefixes(const Identity &signer) {
    const std::string xml =
        replacedAll(replaced(signDocument(signer).text(), "xmlns:ds=", "xmlns="), "ds:", "");
    return reparse(replaced(xml, "</Signature>",
                            "<Object><QualifyingProperties xmlns='" + std::string(kXadesNs) +
                                "' Target='#S'/></Object></Signature>"));
  }

  static bool hasCounterSignature(const Signature *record) {
    TalvoPKICert *signer = nullptr;
    XmlNode *element = nullptr;
    const bool holds = talvo_xml_signature_xades_verifycountersignature(record, 0, nullptr, &signer,
                                                                        &element) == 1;
    const Certificate owner(signer);
    return holds;
  }
};

TEST_F(HiddenNamespaceTest, WhatIsAddedIsFoundAfterSavingAndReading) {
  const Chain chain = makeChain();
  const TimeStampAuthority authority;
  const Certificate leaf = chain.certificate();
  const Key key(talvo_xml_signature_key_newcert(leaf.get()));
  const struct {
    const char *name;
    std::function<int32_t(XmlNode *)> add;
    std::function<bool(Signature *)> isThere;
  } rows[] = {
      {"countersignature",
       [&](XmlNode *signature) {
         const Json parameters = json(R"({"C14NAlgo": "ExcC14N", "C14NParam": ["#default"],
                                          "SignAlgo": "Sha256WithRSA"})");
         uint32_t error = 0;
         return talvo_xml_signature_xades_countersign(signature, key.get(), 4, nullptr,
                                                      parameters.get(), nullptr, &error);
       },
       hasCounterSignature},
      {"time-stamp with canonicalisation",
       [&](XmlNode *signature) {
         uint32_t error = 0;
         return talvo_xml_signature_xades_addsignaturetimestamp(
             signature, nullptr, 1, nullptr, str(authority.url()).get(), 4, nullptr, &error);
       },
       [](const Signature *record) {
         const auto stamps = items<TimeStamp>(record->signatureTimeStamps);
         return stamps.size() == 1 && stamps[0]->c14nAlgorithmId == 1;
       }},
      {"certificate value",
       [&](XmlNode *signature) {
         return talvo_xml_signature_xades_addcertificatevalues(signature, leaf.get());
       },
       [](const Signature *record) {
         return items<TalvoPKICert>(record->certificateValues).size() == 1;
       }},
      {"certificate references",
       [&](XmlNode *signature) {
         return talvo_xml_signature_xades_addcompletecertificaterefs(signature, nullptr, 4,
                                                                     leaf.get(), nullptr);
       },
       [](const Signature *record) {
         return items<CertId>(record->completeCertificateRefs).size() == 2;
       }},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.name);
    const SignedDocument document = withoutPrefixes(chain.leaf);
    ASSERT_EQ(row.add(document.signature), 1);
    const SignedDocument again = reparse(document.text());
    const SignatureRecord record = again.record();
    ASSERT_NE(record, nullptr) << document.text();
    EXPECT_TRUE(row.isThere(record.get())) << document.text();
  }
}

TEST_F(HiddenNamespaceTest, RevocationReferencesKeepTheirDigestElements) {
  const Chain chain = makeChain();
  const std::string crl = makeCrl(chain.root);
  const SignedDocument document = withoutPrefixes(chain.leaf);
  ASSERT_EQ(talvo_xml_signature_xades_add_completerevocationrefs_crl(
                document.signature, 4, 0, crl.data(), static_cast<int32_t>(crl.size())),
            1);
  const SignedDocument again = reparse(document.text());
  XmlNode *property = findXades(again.signature, "CompleteRevocationRefs");
  ASSERT_NE(property, nullptr);
  EXPECT_NE(findDs(property, "DigestValue"), nullptr) << document.text();
}

}  // namespace
}  // namespace talvo::test
