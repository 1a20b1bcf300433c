// What the queries answer for signatures that other implementations made.
#include "interop/corpus_support.h"

namespace talvo::test {
namespace {

std::string orEmpty(talvo_ustring *string) {
  return string == nullptr ? "" : take(string);
}

// What a query of one number answers, 0 when it has none.
std::string numberBy(int32_t (*query)(const Signature *, int32_t *), const Signature *signature) {
  int32_t number = 0;
  return std::to_string(query(signature, &number) == 1 ? number : 0);
}

// By the names of the columns.
CorpusRow answersOf(const Signature *signature) {
  const auto number = [](int32_t count) { return std::to_string(count); };
  const List references(talvo_xml_signature_getreflist(signature));
  return {
      {"id", orEmpty(talvo_xml_signature_getid(signature))},
      {"signaturevalue_id", orEmpty(talvo_xml_signature_getsignaturevalueid(signature))},
      {"method", numberBy(talvo_xml_signature_getsignalgothrim, signature)},
      {"hmac_octets", numberBy(talvo_xml_signature_gethmaclength, signature)},
      {"references", number(items<void>(references).size())},
      {"has_signingcertificate",
       number(talvo_xml_signature_xades_hassigningcertificate(signature))},
      {"certificatevalues", number(talvo_xml_signature_xades_getcertificatevaluescount(signature))},
      {"completecertificaterefs",
       number(talvo_xml_signature_xades_getcompleterevocationrefscount(signature))},
      {"countersignatures", number(talvo_xml_signature_xades_getcountersignaturecount(signature))},
      {"signaturetimestamps",
       number(talvo_xml_signature_xades_getsignaturetimestampcount(signature))},
      {"qualifyingproperties_id",
       orEmpty(talvo_xml_signature_xades_getqualifyingpropertiesid(signature))},
      {"signedproperties_id", orEmpty(talvo_xml_signature_xades_getsignedpropertiesid(signature))},
      {"signedsignatureproperties_id",
       orEmpty(talvo_xml_signature_xades_getsignedsignaturepropertiesid(signature))},
  };
}

// Undecodable: its certificate's Base64 text has a padding character behind complete groups.
constexpr std::string_view kUndecodable = "third-party/dss/validation/xades-tampered-keyinfo.xml";

using CorpusQueryTest = CorpusTest;

TEST_F(CorpusQueryTest, AnswersAsRecorded) {
  for (CorpusRow row : corpusTable("QUERIES.tsv")) {
    SCOPED_TRACE(row["file"] + " " + row["index"]);
    const Document document = corpusDocument(row);
    const List signatures = signaturesOf(document);
    const SignatureRecord record(
        talvo_xml_decode_signature(items<XmlNode>(signatures)[std::stoi(row["index"])]));
    ASSERT_EQ(record == nullptr, row["file"] == kUndecodable);
    row.erase("file");
    row.erase("index");
    if (record != nullptr) {
      EXPECT_EQ(answersOf(record.get()), row);
    }
  }
}

}  // namespace
}  // namespace talvo::test
