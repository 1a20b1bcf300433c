// CRLs and their extensions.
#include <string>
#include <string_view>

#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include "base/utf8.h"
#include "support/every_allocation_fails.h"
#include "support/memory_test.h"
#include "util/x509/objects.h"

namespace talvo::test {
namespace {

using namespace util;

using namespace std::string_view_literals;
using Key = Handle<EVP_PKEY, EVP_PKEY_free>;
using MemoryBio = Handle<BIO, BIO_free_all>;
using OctetString = Handle<ASN1_OCTET_STRING, ASN1_OCTET_STRING_free>;
using TimeValue = Handle<ASN1_TIME, ASN1_TIME_free>;
using Oid = Handle<ASN1_OBJECT, ASN1_OBJECT_free>;

constexpr char kCrlNumber[] = "2.5.29.20";

std::string_view viewOfBlob(const Blob &blob) {
  return {reinterpret_cast<const char *>(bytesOf(blob.get()).data()), bytesOf(blob.get()).size()};
}

void addExtension(X509_CRL *crl, const char *oid, std::string_view der) {
  const OctetString value(ASN1_OCTET_STRING_new());
  ASN1_OCTET_STRING_set(value.get(), reinterpret_cast<const uint8_t *>(der.data()),
                        static_cast<int>(der.size()));
  const Oid object(OBJ_txt2obj(oid, 1));
  const X509Extension extension(
      X509_EXTENSION_create_by_OBJ(nullptr, object.get(), 0, value.get()));
  EXPECT_EQ(X509_CRL_add_ext(crl, extension.get(), -1), 1);
}

X509Crl makeCrl(const char *nextUpdate, std::string_view numberDer) {
  X509Crl crl(X509_CRL_new());
  X509_CRL_set_version(crl.get(), 1);
  const X509Name issuer(X509_NAME_new());
  X509_NAME_add_entry_by_txt(issuer.get(), "CN", MBSTRING_UTF8,
                             reinterpret_cast<const uint8_t *>("Issuer"), -1, -1, 0);
  X509_CRL_set_issuer_name(crl.get(), issuer.get());
  const TimeValue thisTime(ASN1_TIME_new());
  ASN1_TIME_set_string(thisTime.get(), "240229235958Z");
  X509_CRL_set1_lastUpdate(crl.get(), thisTime.get());
  if (nextUpdate != nullptr) {
    const TimeValue nextTime(ASN1_TIME_new());
    ASN1_TIME_set_string(nextTime.get(), nextUpdate);
    X509_CRL_set1_nextUpdate(crl.get(), nextTime.get());
  }
  addExtension(crl.get(), "1.2.3.4", "\x05\x00"sv);
  addExtension(crl.get(), kCrlNumber, numberDer);
  static const Key key(EVP_EC_gen("P-256"));
  EXPECT_GT(X509_CRL_sign(crl.get(), key.get(), EVP_sha256()), 0);
  return crl;
}

std::string derOf(const X509Crl &crl) {
  uint8_t *der = nullptr;
  const int length = i2d_X509_CRL(crl.get(), &der);
  const OpensslMemory<uint8_t> owner(der);
  return {reinterpret_cast<char *>(der), static_cast<size_t>(length)};
}

std::string pemOf(const X509Crl &crl) {
  const MemoryBio bio(BIO_new(BIO_s_mem()));
  PEM_write_bio_X509_CRL(bio.get(), crl.get());
  char *text = nullptr;
  const long length = BIO_get_mem_data(bio.get(), &text);
  return {text, static_cast<size_t>(length)};
}

std::string base64Of(std::string_view bytes) {
  char *text = nullptr;
  EXPECT_EQ(talvo_base64_encode(bytes.data(), bytes.size(), 3, &text, nullptr), 1);
  const TextBuffer owner(text);
  return text;
}

Crl open(std::string_view bytes) {
  return Crl(talvo_crl_new(bytes.data(), bytes.size(), 0));
}

class CrlTest : public MemoryTest {
 protected:
  std::string der_ = derOf(makeCrl("20510101000000Z", "\x02\x02\x01\x00"sv));
};

TEST_F(CrlTest, ReadsDerPemAndBase64AndGivesTheDerBack) {
  const X509Crl crl = makeCrl(nullptr, "\x02\x01\x05"sv);
  const std::string der = derOf(crl);
  const std::string inputs[] = {der, pemOf(crl), "text before\n" + pemOf(crl), base64Of(der),
                                "\n " + base64Of(der) + "\n"};
  for (const std::string &input : inputs) {
    const Crl opened = open(input);
    EXPECT_EQ(viewOfBlob(Blob(talvo_crl_encode(opened.get()))), der) << input.substr(0, 30);
  }
}

TEST_F(CrlTest, RefusesEverythingElse) {
  const std::string pem = pemOf(makeCrl(nullptr, "\x02\x01\x05"sv));
  const std::string inputs[] = {
      "",
      "0",
      der_.substr(0, der_.size() - 1),
      der_ + '\0',
      base64Of(der_ + '\0'),
      base64Of("\x30\x00"),
      pem.substr(0, pem.size() / 2),
      "-----BEGIN X509 CRL-----\nProc-Type: 4,ENCRYPTED\nDEK-Info: AES-128-CBC,"
      "00112233445566778899AABBCCDDEEFF\n\nQUJD\n-----END X509 CRL-----\n"};
  for (const std::string &input : inputs) {
    EXPECT_EQ(open(input), nullptr) << input.substr(0, 30);
  }
  EXPECT_EQ(talvo_crl_new(der_.data(), der_.size(), 1), nullptr);
  EXPECT_EQ(talvo_crl_new(nullptr, 5, 0), nullptr);
  EXPECT_EQ(ERR_peek_error(), 0U) << "the error queue is the caller's";
}

TEST_F(CrlTest, TellsIssuerAndTimesInUtc) {
  const Crl crl = open(der_);
  const DistinguishedName issuer(talvo_crl_getissuer(crl.get()));
  EXPECT_EQ(viewOf(UString(talvo_cert_dn_getldapstring(issuer.get(), 1)).get()), "CN=Issuer");
  const Time thisUpdate(talvo_crl_getthisupdate(crl.get()));
  EXPECT_EQ(talvo_time_cmp(thisUpdate.get(),
                           Time(talvo_time_newutctime(2024, 2, 29, 23, 59, 58, 0)).get()),
            0);
  const Time nextUpdate(talvo_crl_getnextupdate(crl.get()));
  EXPECT_EQ(
      talvo_time_cmp(nextUpdate.get(), Time(talvo_time_newutctime(2051, 1, 1, 0, 0, 0, 0)).get()),
      0);
  EXPECT_EQ(talvo_crl_getnextupdate(open(derOf(makeCrl(nullptr, "\x02\x01\x05"sv))).get()),
            nullptr);
}

TEST_F(CrlTest, ListsItsExtensionsInOrder) {
  const Crl crl = open(der_);
  ASSERT_EQ(talvo_crl_getextensioncount(crl.get()), 2);
  const std::string_view oids[] = {"1.2.3.4", kCrlNumber};
  for (int32_t i = 0; i < 2; ++i) {
    const Extension extension(talvo_crl_getextension(crl.get(), i));
    EXPECT_EQ(viewOf(UString(talvo_cert_extension_getoid(extension.get())).get()), oids[i]);
  }
  EXPECT_EQ(talvo_crl_getextension(crl.get(), 2), nullptr);
  EXPECT_EQ(talvo_crl_getextension(crl.get(), -1), nullptr);
  EXPECT_EQ(talvo_crl_getextensioncount(nullptr), -1);
}

TEST_F(CrlTest, AnExtensionIsANumberOnlyAsOneDerInteger) {
  struct Row {
    std::string_view der;
    const char *number;
  };
  const Row rows[] = {{"\x02\x01\x00"sv, "0"},
                      {"\x02\x02\x01\x00"sv, "256"},
                      {"\x02\x02\x00\xFF"sv, "255"},
                      {"\x02\x01\xFF"sv, "-1"},
                      {"\x02\x02\xFF\x7F"sv, "-129"},
                      {"\x02\x09\x01\x00\x00\x00\x00\x00\x00\x00\x00"sv, "18446744073709551616"},
                      {""sv, nullptr},
                      {"\x02\x00"sv, nullptr},
                      {"\x02\x02\x00\x01"sv, nullptr},
                      {"\x02\x02\xFF\xFF"sv, nullptr},
                      {"\x02\x01\x05\x00"sv, nullptr},
                      {"\x02\x02\x05"sv, nullptr},
                      {"\x22\x03\x02\x01\x05"sv, nullptr},
                      {"\x04\x01\x05"sv, nullptr}};
  for (const Row &row : rows) {
    const X509Crl crl = makeCrl(nullptr, "\x02\x01\x05"sv);
    addExtension(crl.get(), "1.2.3.5", row.der);
    const talvo_crl borrowed{X509Crl(X509_CRL_dup(crl.get()))};
    const Extension extension(talvo_crl_getextension(&borrowed, 2));
    const BigInteger number(talvo_cert_extension_getinteger(extension.get()));
    const BigInteger expected(row.number == nullptr ? nullptr
                                                    : talvo_biginteger_newdec(row.number));
    EXPECT_EQ(talvo_biginteger_cmp(number.get(), expected.get()), 0)
        << (row.number == nullptr ? "" : row.number);
  }
}

TEST_F(CrlTest, FailsCleanlyWithoutMemory) {
  const std::string text = base64Of(der_);
  everyAllocationFails([&text] {
    const Crl crl = open(text);
    const Blob der(talvo_crl_encode(crl.get()));
    const DistinguishedName issuer(talvo_crl_getissuer(crl.get()));
    const Time time(talvo_crl_getthisupdate(crl.get()));
    const Extension extension(talvo_crl_getextension(crl.get(), 1));
    const UString oid(talvo_cert_extension_getoid(extension.get()));
    const BigInteger number(talvo_cert_extension_getinteger(extension.get()));
    return der && issuer && time && oid && number;
  });
}

}  // namespace
}  // namespace talvo::test
