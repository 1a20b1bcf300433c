#include <string>
#include <string_view>
#include <vector>

#include <openssl/x509.h>

#include "base/utf8.h"
#include "support/every_allocation_fails.h"
#include "support/memory_test.h"
#include "util/x509/objects.h"

namespace talvo::test {
namespace {

using namespace util;

using namespace std::string_view_literals;

struct Attribute {
  const char *oid;
  int type;
  std::string_view value;
  bool joinsPrevious = false;
};

// The DER of a name, most general part first.
std::string derOf(const std::vector<Attribute> &attributes) {
  const X509Name name(X509_NAME_new());
  for (const Attribute &attribute : attributes) {
    const int done = X509_NAME_add_entry_by_txt(
        name.get(), attribute.oid, attribute.type,
        reinterpret_cast<const uint8_t *>(attribute.value.data()),
        static_cast<int>(attribute.value.size()), -1, attribute.joinsPrevious ? -1 : 0);
    EXPECT_EQ(done, 1) << attribute.oid;
  }
  uint8_t *der = nullptr;
  const int length = i2d_X509_NAME(name.get(), &der);
  const OpensslMemory<uint8_t> owner(der);
  return {reinterpret_cast<char *>(der), static_cast<size_t>(length)};
}

class DnTest : public MemoryTest {
 protected:
  static DistinguishedName nameOf(const std::vector<Attribute> &attributes) {
    const std::string der = derOf(attributes);
    return DistinguishedName(talvo_cert_dn_new(der.data(), der.size()));
  }

  static bool matches(const DistinguishedName &name, std::string_view text) {
    return talvo_cert_dn_matchldapstring(name.get(), text.data(), text.size()) == 1;
  }

  static std::string textOf(const DistinguishedName &name) {
    return std::string(viewOf(UString(talvo_cert_dn_getldapstring(name.get(), 1)).get()));
  }
};

std::vector<Attribute> company() {
  return {{"C", V_ASN1_PRINTABLESTRING, "DE"},
          {"O", V_ASN1_UTF8STRING, "M\xC3\xBCller, S\xC3\xB6hne + Co"},
          {"OU", V_ASN1_UTF8STRING, "Sales"},
          {"CN", V_ASN1_UTF8STRING, "Example CA"}};
}

TEST_F(DnTest, WritesTheMostSpecificPartFirstWithUtf8AsItIs) {
  EXPECT_EQ(textOf(nameOf(company())),
            "CN=Example CA,OU=Sales,O=M\xC3\xBCller\\, S\xC3\xB6hne \\+ Co,C=DE");
  EXPECT_EQ(textOf(nameOf({})), "");
  const DistinguishedName name = nameOf(company());
  EXPECT_EQ(talvo_cert_dn_getldapstring(name.get(), 0), nullptr);
  EXPECT_EQ(talvo_cert_dn_getldapstring(nullptr, 1), nullptr);
}

TEST_F(DnTest, MatchesEveryCommonSpelling) {
  const DistinguishedName name = nameOf(company());
  const std::string_view same[] = {
      "CN=Example CA,OU=Sales,O=M\xC3\xBCller\\, S\xC3\xB6hne \\+ Co,C=DE",
      "  cn = example   ca , ou=SALES ; O=\"M\xC3\xBCller, S\xC3\xB6hne + Co\",\n c=de ",
      "2.5.4.3=Example CA,OID.2.5.4.11=Sales,oid.2.5.4.10=M\xC3\xBCller\\2C S\\C3\\B6hne \\2B "
      "Co,C=DE",
      "CN=#0C0A4578616D706C65204341,OU=#130553616C6573,O=\"M\xC3\xBCller, S\xC3\xB6hne + Co\",C=DE",
      "commonName=Example CA,OU=Sales,O=M\xC3\xBCller\\, S\xC3\xB6hne \\+ Co,countryName=DE",
      "C=DE,O=M\xC3\xBCller\\, S\xC3\xB6hne \\+ Co,OU=Sales,CN=Example CA",
      "CN=\\45xample\\ CA,OU=Sales,O=M\xC3\xBCller\\, S\xC3\xB6hne \\+ Co,C=DE",
  };
  for (const std::string_view text : same) {
    EXPECT_TRUE(matches(name, text)) << text;
  }
}

TEST_F(DnTest, MatchesNothingElse) {
  const DistinguishedName name = nameOf({{"C", MBSTRING_ASC, "DE"}, {"CN", MBSTRING_ASC, "A B"}});
  ASSERT_TRUE(matches(name, "CN=A B,C=DE"));
  const std::string_view others[] = {"",
                                     "CN=A B",
                                     "CN=A B,C=DE,C=DE",
                                     "CN=AB,C=DE",
                                     "CN=A B+C=DE",
                                     "CN=A B,,C=DE",
                                     "CN=A B,C=DE,",
                                     "CN=A B,C=DE x=",
                                     "CN=\"A B,C=DE",
                                     "CN=A B\\",
                                     "CN=\"A B\"x,C=DE",
                                     "CN,C=DE",
                                     "=A B,C=DE",
                                     "CN=A B,XX=DE",
                                     "CN=A B,1.2.x=DE",
                                     "CN=#,C=DE",
                                     "CN=#0C,C=DE",
                                     "CN=#0C034120420,C=DE",
                                     "CN=#0C0341204200,C=DE",
                                     "CN=#020101,C=DE",
                                     "CN=#0500,C=DE",
                                     "CN=#0101FF,C=DE",
                                     "CN=\xFF,C=DE",
                                     "CN=A \"B,C=DE",
                                     "CN=A B,C=DE\0"sv,
                                     "/C=DE/CN=A B"};
  for (const std::string_view text : others) {
    EXPECT_FALSE(matches(name, text)) << text;
  }
  EXPECT_EQ(talvo_cert_dn_matchldapstring(nullptr, "CN=A", 4), 0);
  EXPECT_EQ(talvo_cert_dn_matchldapstring(name.get(), nullptr, 0), 0);
  EXPECT_TRUE(matches(nameOf({}), " "));
}

TEST_F(DnTest, KnowsTheNamesThatSoftwareWrites) {
  struct Row {
    const char *oid;
    std::vector<std::string_view> names;
  };
  const Row rows[] = {{"1.2.840.113549.1.9.1", {"E", "email", "EmailAddress", "emailAddress"}},
                      {"2.5.4.8", {"S", "ST", "sp", "stateOrProvinceName"}},
                      {"2.5.4.9", {"STREET", "street"}},
                      {"2.5.4.12", {"T", "title"}},
                      {"2.5.4.42", {"G", "GN", "givenName"}},
                      {"2.5.4.4", {"SN", "surname"}},
                      {"2.5.4.5", {"SERIALNUMBER", "serialNumber"}},
                      {"0.9.2342.19200300.100.1.1", {"UID", "uid"}},
                      {"0.9.2342.19200300.100.1.25", {"DC", "dc"}},
                      {"2.5.4.97", {"organizationIdentifier", "OID.2.5.4.97"}},
                      {"1.3.6.1.4.1.99999.1", {"1.3.6.1.4.1.99999.1", "OID.1.3.6.1.4.1.99999.1"}}};
  for (const Row &row : rows) {
    const DistinguishedName name = nameOf({{row.oid, V_ASN1_UTF8STRING, "Value 1"}});
    for (const std::string_view type : row.names) {
      EXPECT_TRUE(matches(name, std::string(type) + "=value 1")) << row.oid << " as " << type;
    }
  }
}

TEST_F(DnTest, MatchesItsOwnTextWhateverTheValues) {
  const std::string longName(300, 'x');
  const std::vector<Attribute> names[] = {
      {{"CN", V_ASN1_UTF8STRING, longName}},
      {{"CN", V_ASN1_UTF8STRING, " lead and trail "}},
      {{"CN", V_ASN1_UTF8STRING, "#quote\"<>;=\\,+"}},
      {{"CN", V_ASN1_UTF8STRING, ""}},
      {{"CN", V_ASN1_BMPSTRING, "\0A\0\xE9"sv}},
      {{"serialNumber", V_ASN1_NUMERICSTRING, "12 34"}},
      {{"1.3.6.1.4.1.99999.1", V_ASN1_NUMERICSTRING, "12 34"}},
      {{"CN", V_ASN1_T61STRING, "caf\xE9"}},
      {{"CN", V_ASN1_UTF8STRING, "line\nfeed"}},
      {{"x500UniqueIdentifier", V_ASN1_BIT_STRING, "\x0F\xF0"sv}},
      {{"1.3.6.1.4.1.99999.1", V_ASN1_UTF8STRING, "unknown"}},
      {{"C", V_ASN1_PRINTABLESTRING, "DE"},
       {"CN", V_ASN1_UTF8STRING, "A"},
       {"serialNumber", V_ASN1_PRINTABLESTRING, "7", true}},
  };
  for (const std::vector<Attribute> &attributes : names) {
    const DistinguishedName name = nameOf(attributes);
    ASSERT_NE(name, nullptr);
    EXPECT_TRUE(matches(name, textOf(name))) << textOf(name);
  }
}

TEST_F(DnTest, PartsWithSeveralAttributesMatchInAnyOrder) {
  const DistinguishedName name = nameOf({{"C", V_ASN1_PRINTABLESTRING, "DE"},
                                         {"CN", V_ASN1_UTF8STRING, "A"},
                                         {"serialNumber", V_ASN1_PRINTABLESTRING, "7", true}});
  EXPECT_TRUE(matches(name, "CN=A+SERIALNUMBER=7,C=DE"));
  EXPECT_TRUE(matches(name, "SERIALNUMBER=7 + CN=a, C=DE"));
  EXPECT_FALSE(matches(name, "CN=A,SERIALNUMBER=7,C=DE"));
}

TEST_F(DnTest, ReadsExactlyOneName) {
  const std::string der = derOf(company());
  EXPECT_EQ(talvo_cert_dn_new(der.data(), der.size() - 1), nullptr);
  const std::string longer = der + '\0';
  EXPECT_EQ(talvo_cert_dn_new(longer.data(), longer.size()), nullptr);
  EXPECT_EQ(talvo_cert_dn_new(nullptr, 0), nullptr);
  EXPECT_EQ(ERR_peek_error(), 0U) << "the error queue is the caller's";
}

TEST_F(DnTest, FailsCleanlyWithoutMemory) {
  const std::string der = derOf(company());
  everyAllocationFails([&der] {
    const DistinguishedName name(talvo_cert_dn_new(der.data(), der.size()));
    const UString text(talvo_cert_dn_getldapstring(name.get(), 1));
    // A long type name, so that it does not fit into std::string itself.
    constexpr auto kText =
        "CN=Example CA,organizationalUnitName=Sales,O=\"M\xC3\xBCller, S\xC3\xB6hne + Co\",C=DE"sv;
    return text && matches(name, kText);
  });
}

}  // namespace
}  // namespace talvo::test
