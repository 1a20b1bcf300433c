#include "signature/decode/xades.h"

#include <string>

#include "support/sample_signature.h"

namespace talvo::test {
namespace {

class DecodeXadesTest : public LibraryTest {};

// What was read, in one line: qualifying, signed and signed-signature Ids, signing time, then the
// counts of signing certificates, time-stamps, certificate values, certificate references and
// countersignatures ("-" for absent, which for a list is not the same as empty).
std::string summaryOf(const Signature *signature) {
  if (signature == nullptr) {
    return "undecodable";
  }
  const auto text = [](const UString &id) { return id ? textOf(id) : "-"; };
  const auto count = [](const List &list) {
    return list ? std::to_string(items<void>(list).size()) : "-";
  };
  return text(signature->qualifyingPropertiesId) + " " + text(signature->signedPropertiesId) + " " +
         text(signature->signedSignaturePropertiesId) + " " +
         (signature->signingTime ? std::to_string(talvo_time_getyear(signature->signingTime.get()))
                                 : "-") +
         " " + count(signature->signingCertificate) + count(signature->signatureTimeStamps) +
         count(signature->certificateValues) + count(signature->completeCertificateRefs) +
         count(signature->counterSignatures);
}

TEST_F(DecodeXadesTest, LeavesOutWhatItCannotRead) {
  struct Row {
    const char *from;
    const char *to;
    const char *expected;
  };
  const Row rows[] = {
      {"", "", "QP SP SSP 2024 12111"},
      {"xmlns:xa=\"{xa}\"", "xmlns:xa=\"{xa141}\"", "- - - - -----"},
      {"<xa:QualifyingProperties", "<x/><xa:QualifyingProperties", ""},
      {"<xa:SignedProperties", "<!-- c --><xa:SignedProperties", "QP SP SSP 2024 12111"},
      {"<xa:SignedProperties Id=\"SP\"", "<x Id='X'/><xa:SignedProperties Id=\"SP\"",
       "QP X - - -----"},
      {"03:04:05Z", "03:04:05", "QP SP SSP - 12111"},
      {"<xa:SigningTime>2024-01-02T03:04:05Z</xa:SigningTime>", "", "QP SP SSP - 12111"},
      {"<xa:SigningCertificate>", "<x/><xa:SigningCertificate>", "QP SP SSP 2024 -2111"},
      {"<xa:SigningCertificate>", "<xa:SigningCertificate><x/>", "QP SP SSP 2024 -2111"},
      {"</xa:Cert></xa:Signing", "</xa:Cert>x</xa:Signing", "QP SP SSP 2024 -2111"},
      {"<xa:Cert><xa:CertDigest>", "<xa:Cert><xa:IssuerSerial/><xa:CertDigest>",
       "QP SP SSP 2024 -2111"},
      {"</xa:IssuerSerial>", "</xa:IssuerSerial><x/>", "QP SP SSP 2024 -2111"},
      {"{sha256}\"/><ds:DigestValue>{digest}</ds:DigestValue></xa",
       "urn:d\"/><ds:DigestValue>{digest}</ds:DigestValue></xa", "QP SP SSP 2024 12111"},
      {"<ds:X509SerialNumber>17</ds:X509SerialNumber></xa",
       "<ds:X509SerialNumber x=''>17</ds:X509SerialNumber></xa", "QP SP SSP 2024 -2111"},
      {"<xa:EncapsulatedTimeStamp>c2Vjb25k", "<xa:XMLTimeStamp/><xa:EncapsulatedTimeStamp>c2Vjb25k",
       "QP SP SSP 2024 1-111"},
      {"c2Vjb25k", "c2Vjb25", "QP SP SSP 2024 1-111"},
      {"</xa:EncapsulatedTimeStamp>", "</xa:EncapsulatedTimeStamp><x/>", "QP SP SSP 2024 12111"},
      {"PrefixList=\"t\"", "PrefixList=\"t \"", "QP SP SSP 2024 1-111"},
      {"<xa:CertificateValues>",
       "<xa:CertificateValues><xa:EncapsulatedX509Certificate>AQID"
       "</xa:EncapsulatedX509Certificate>",
       "QP SP SSP 2024 12-11"},
      {"<xa:CertificateValues>", "<xa:CertificateValues><xa:OtherCertificate/>",
       "QP SP SSP 2024 12-11"},
      {"</xa:CertRefs>", "</xa:CertRefs><x/>", "QP SP SSP 2024 121-1"},
      {"<xa:CompleteCertificateRefs>",
       "<xa:CompleteCertificateRefs><xa:CertRefs/></xa:CompleteCertificateRefs>"
       "<xa:CompleteCertificateRefs>",
       "QP SP SSP 2024 12101"},
      {"<xa:UnsignedProperties>", "<x/><xa:UnsignedProperties>", "QP SP SSP 2024 1----"},
      {"<xa:UnsignedSignatureProperties>", "<x/><xa:UnsignedSignatureProperties>",
       "QP SP SSP 2024 1----"},
      {"<ds:Signature Id=\"CS\"/>", "", "QP SP SSP 2024 12110"},
      {"<other/>", "<ds:Signature/>", "QP SP SSP 2024 12112"},
  };
  for (const Row &row : rows) {
    SCOPED_TRACE(std::string(row.from) + " to " + row.to);
    const std::string expected = *row.expected == '\0' ? "- - - - -----" : row.expected;
    EXPECT_EQ(summaryOf(decode(replaced(richDocument(), row.from, row.to)).record.get()), expected);
  }
}

TEST_F(DecodeXadesTest, ReadsIdsWhereverTheyStandAmongTheAttributes) {
  const std::string document =
      replaced(richDocument(), "Id=\"QP\" Target=\"#S\"", "Target=\"#S\" Id=\"QP\"");
  EXPECT_EQ(summaryOf(decode(document).record.get()), "QP SP SSP 2024 12111");
  EXPECT_EQ(summaryOf(decode(replaced(document, "Id=\"QP\"", "ds:Id=\"QP\"")).record.get()),
            "- SP SSP 2024 12111");
}

TEST_F(DecodeXadesTest, ReadsNothingWhenTheSignatureEndsWithKeyInfo) {
  EXPECT_EQ(summaryOf(decode(plainSignature("<ds:KeyInfo/>")).record.get()), "- - - - -----");
}

TEST_F(DecodeXadesTest, TimeStampsKeepPrefixesOnlyWithoutComments) {
  const auto stampOf = [](const Decoded &decoded) {
    return items<TimeStamp>(decoded.record->signatureTimeStamps)[0];
  };
  const Decoded without = decode(richDocument());
  EXPECT_EQ(stampOf(without)->c14nAlgorithmId, 3);
  EXPECT_EQ(items<void>(stampOf(without)->inclusivePrefixes).size(), 1);
  EXPECT_EQ(textOf({stampOf(without)->token.get(), stampOf(without)->tokenLength}), "token");
  const Decoded with = decode(replaced(richDocument(),
                                       "Method Algorithm=\"{exc-c14n}\"><ec:Inc"
                                       "lusiveNamespaces PrefixList=\"t\"",
                                       "Method Algorithm=\"{exc-c14n-comments}\"><ec:Inclusive"
                                       "Namespaces PrefixList=\"t\""));
  EXPECT_EQ(stampOf(with)->c14nAlgorithmId, 4);
  EXPECT_EQ(stampOf(with)->inclusivePrefixes, nullptr);
  const Decoded none =
      decode(replaced(richDocument(), "<ec:InclusiveNamespaces PrefixList=\"t\"/>", ""));
  EXPECT_EQ(stampOf(none)->c14nAlgorithmId, 3);
  EXPECT_EQ(stampOf(none)->inclusivePrefixes, nullptr) << "no list is no failure";
}

TEST_F(DecodeXadesTest, FindsPropertiesInTheFirstObjectThatHasOne) {
  const Document document = parse(expand(plainSignature(
      "<ds:Object><xa:QualifyingProperties><xa:UnsignedProperties><xa:UnsignedSignatureProperties>"
      "<xa:A/></xa:UnsignedSignatureProperties></xa:UnsignedProperties></xa:QualifyingProperties>"
      "</ds:Object><ds:Object><x/></ds:Object>"
      "<ds:Object><xa:QualifyingProperties><any/><xa:UnsignedProperties>"
      "<xa:UnsignedSignatureProperties><xa:A Id='no'/><xa:B Id='1'/><xa:B Id='2'/>"
      "</xa:UnsignedSignatureProperties></xa:UnsignedProperties></xa:QualifyingProperties>"
      "</ds:Object>")));
  const auto find = [&document](const char *name) {
    return findUnsignedSignatureProperty(findSignature(document.get()), str(name).get());
  };
  EXPECT_EQ(talvo_xml_node_getattribute(find("A")), nullptr);
  EXPECT_EQ(take(talvo_xml_node_getattributevalue(find("B"), g_xml_xades_id, nullptr)), "1");
  EXPECT_EQ(find("C"), nullptr);
}

}  // namespace
}  // namespace talvo::test
