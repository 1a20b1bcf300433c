#include "signature/vocabulary/vocabulary.h"

#include "base/utf8.h"
#include "support/library_test.h"

namespace talvo::test {
namespace {

class VocabularyTest : public LibraryTest {};

// One of each kind, and those whose form surprises; documents carry exactly these octets.
TEST_F(VocabularyTest, TextsAreExact) {
  struct Row {
    const talvo_ustring *string;
    std::string_view text;
  };
  const Row rows[] = {
      {g_xml_signature_name, "Signature"},
      {g_xml_signature_nsuri, "http://www.w3.org/2000/09/xmldsig#"},
      {g_xml_signature_exc_c14n_nsprefix, "ec"},
      {g_xml_signature_prefix, "ds"},
      {g_xml_xadesv132_nsuri, "http://uri.etsi.org/01903/v1.3.2#"},
      {g_xml_xadesv132_prefix, "xa"},
      {g_xml_signature_algorithm_sha224, "http://www.w3.org/2001/04/xmldsig-more#sha224"},
      {g_xml_signature_algorithm_sha256, "http://www.w3.org/2001/04/xmlenc#sha256"},
      {g_xml_signature_algorithm_rsa_ripemd160,
       "http://www.w3.org/2001/04/xmldsig-more/rsa-ripemd160"},
      {g_xml_signature_algorithm_xpointer, "http://www.w3.org/2001/04/xmldsig-more/xptr"},
      {g_xml_signature_c14nv1_1_with_comments, "http://www.w3.org/2006/12/xml-c14n11#WithComments"},
      {g_talvo_xml_signature_algorithm_sm3, "http://sm.example.org/2012/10/xmldsig#sm3"},
      {g_xml_xades_signaturepolicyidentifer, "SignaturePolicyIdentifer"},
      {g_xml_xades_target, "Target"},
      {g_xml_xades_id, "Id"},
      {g_xml_xades_encode_der, "http://uri.etsi.org/01903/v1.2.2#DER"},
      {g_xml_lf, "\n"},
      {g_xml_signature_xpath_name, "XPath"},
  };
  for (const Row &row : rows) {
    EXPECT_EQ(viewOf(row.string), row.text);
  }
  EXPECT_NE(g_xml_xades_id, g_xml_signature_id) << "a handle of its own";
}

TEST_F(VocabularyTest, EndsTwiceAndLeavesNull) {
  EXPECT_EQ(talvo_xml_string_end(), 1);
  EXPECT_EQ(talvo_xml_string_end(), 1);
  EXPECT_EQ(g_xml_signature_name, nullptr);
  EXPECT_EQ(talvo_xml_string_init(), 1);
  EXPECT_NE(g_xml_signature_xpath_name, nullptr);
}

// Deliberate: what was built before a failure stays until the end.
TEST_F(VocabularyTest, AFailureKeepsWhatWasBuilt) {
  talvo_xml_string_end();
  talvo_memory_setfailafter(2);
  EXPECT_EQ(talvo_xml_string_init(), 0);
  talvo_memory_setfailafter(-1);
  EXPECT_NE(g_xml_signature_nsuri, nullptr);
  EXPECT_EQ(g_xml_signature_xpath_name, nullptr);
}

}  // namespace
}  // namespace talvo::test
