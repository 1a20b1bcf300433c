// What the queries answer for signatures that other implementations made.
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "base/utf8.h"
#include "signature/record/record.h"
#include "support/library_test.h"

namespace talvo::test {
namespace {

class CorpusQueryTest : public LibraryTest {};

using Fields = std::vector<std::string>;

Fields split(const std::string &line) {
  Fields fields;
  std::istringstream stream(line);
  for (std::string field; std::getline(stream, field, '\t');) {
    fields.push_back(field);
  }
  return fields;
}

std::string take(talvo_ustring *string) {
  const UString owned(string);
  return owned ? std::string(viewOf(owned.get())) : "-";
}

int32_t methodOf(const Signature *signature) {
  int32_t method = 0;
  return talvo_xml_signature_getsignalgothrim(signature, &method) == 1 ? method : 0;
}

int32_t hmacOctets(const Signature *signature) {
  int32_t octets = 0;
  return talvo_xml_signature_gethmaclength(signature, &octets) == 1 ? octets : 0;
}

int32_t referenceCount(const Signature *signature) {
  const List references(talvo_xml_signature_getreflist(signature));
  return items<void>(references).size();
}

// Undecodable here: its certificate's Base64 text has a padding character behind complete groups.
constexpr std::string_view kDisputed = "third-party/dss/validation/xades-tampered-keyinfo.xml";

// The columns behind file and index.
Fields answersOf(const Signature *signature) {
  return {
      take(talvo_xml_signature_getid(signature)),
      take(talvo_xml_signature_getsignaturevalueid(signature)),
      std::to_string(methodOf(signature)),
      std::to_string(hmacOctets(signature)),
      std::to_string(referenceCount(signature)),
      std::to_string(talvo_xml_signature_xades_hassigningcertificate(signature)),
      std::to_string(talvo_xml_signature_xades_getcertificatevaluescount(signature)),
      std::to_string(talvo_xml_signature_xades_getcompleterevocationrefscount(signature)),
      std::to_string(talvo_xml_signature_xades_getcountersignaturecount(signature)),
      std::to_string(talvo_xml_signature_xades_getsignaturetimestampcount(signature)),
      take(talvo_xml_signature_xades_getqualifyingpropertiesid(signature)),
      take(talvo_xml_signature_xades_getsignedpropertiesid(signature)),
      take(talvo_xml_signature_xades_getsignedsignaturepropertiesid(signature)),
  };
}

std::string readFile(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST_F(CorpusQueryTest, AnswersAsRecorded) {
  const char *corpus = std::getenv("TALVO_XML_CORPUS");
  if (corpus == nullptr) {
    GTEST_SKIP() << "TALVO_XML_CORPUS names no collection of signatures";
  }
  const std::string directory = std::string(corpus) + "/";
  std::ifstream table(directory + "QUERIES.tsv");
  std::string line;
  ASSERT_TRUE(std::getline(table, line)) << "no QUERIES.tsv in " << corpus;
  const Fields heading = split(line);
  while (std::getline(table, line)) {
    const Fields row = split(line);
    SCOPED_TRACE(row[0] + " " + row[1]);
    ASSERT_EQ(row.size(), heading.size());
    const Document document = parse(readFile(directory + row[0]));
    talvo_arraylist *found = nullptr;
    ASSERT_EQ(talvo_xml_node_findsignature(document.get(), &found), 1);
    const List signatures(found);
    const SignatureRecord record(
        talvo_xml_decode_signature(items<XmlNode>(signatures)[std::stoi(row[1])]));
    if (row[0] == kDisputed) {
      EXPECT_EQ(record, nullptr);
      continue;
    }
    ASSERT_NE(record, nullptr);
    const Fields answers = answersOf(record.get());
    for (size_t column = 2; column < row.size(); ++column) {
      EXPECT_EQ(answers[column - 2], row[column]) << heading[column];
    }
  }
}

}  // namespace
}  // namespace talvo::test
