#include "signature/decode/signature.h"

#include <atomic>
#include <string>
#include <thread>

#include "support/sample_signature.h"
#include "xml/node.h"

namespace talvo::test {
namespace {

class DecodeTest : public LibraryTest {};

struct Edit {
  const char *from;
  const char *to;
  bool decodes = false;
};

// What the queries do not tell.
TEST_F(DecodeTest, KeepsWhereThingsStand) {
  const Decoded decoded = decode(richDocument());
  ASSERT_NE(decoded.record, nullptr);
  EXPECT_EQ(decoded.record->document, decoded.document.get());
  const auto references = items<Reference>(decoded.record->signedInfo->references);
  const auto transforms = items<Transform>(references[0]->transforms);
  ASSERT_EQ(transforms.size(), 3);
  EXPECT_EQ(transforms[2]->signatureElement, decoded.record->element);
  EXPECT_EQ(references[1]->transforms, nullptr);
}

TEST_F(DecodeTest, RefusesAnyOtherStructure) {
  const Edit edits[] = {
      {R"(Signature Id="S")", R"(Signature Id="S" x="")"},
      {R"(Signature Id="S")", R"(Signature id="S")"},
      {R"(Signature Id="S")", R"(Signature ds:Id="S")"},
      {R"(Signature Id="S")", "Signature", true},
      {"<ds:SignedInfo", R"(<ds:SignedInfo xmlns:ds="urn:x")"},
      {R"(Info Id="SI")", R"(Info ds:Id="SI")"},
      {"<!-- before -->", "text"},
      {"</ds:CanonicalizationMethod>", "</ds:CanonicalizationMethod>x"},
      {"</ds:Reference>\n</ds:Signed", "</ds:Reference>x</ds:Signed"},
      {"</ds:SignedInfo>", "<ds:Object/></ds:SignedInfo>"},
      {R"(Method Algorithm="{rsa-sha256}")", "Method"},
      {R"(Algorithm="{rsa-sha256}")", R"(Algorithm="{rsa-sha256}" x="")"},
      {"{rsa-sha256}", "urn:method", true},
      {R"(Method Algorithm="{exc-c14n}")", R"(Method Algorithm="urn:c")", true},
      {"<ds:SignatureMethod", "<ds:Reference/><ds:SignatureMethod"},
      {R"(Id="R1")", R"(Id="R1" x="")"},
      {R"(Id="R1")", R"(ds:Id="R1")"},
      {R"(Id="R1" URI="#data" Type="urn:type")", "", true},
      {R"(<ds:Reference Id="R1")", R"(<ds:Reference/><ds:Reference)"},
      {"</ds:DigestValue></ds:Ref", "</ds:DigestValue><x/></ds:Ref"},
      {"</ds:DigestValue></ds:Ref", "</ds:DigestValue><!-- c --> </ds:Ref", true},
      {R"(URI=""><ds:DigestMethod Algorithm="urn:unknown"/>)",
       R"(URI=""><ds:Transforms><ds:Transform Algorithm=""/></ds:Transforms>)"},
      {R"(URI="">)", R"(URI=""><ds:Transforms/>)"},
      {"<ds:Transforms>", "<ds:Transforms><x/>"},
      {R"(Transform Algorithm="{enveloped}")", R"(Transform Algorithm="{enveloped}" x="")"},
      {"{enveloped}", "urn:transform", true},
      {"<ds:DigestValue>AQID", R"(<ds:DigestValue x="">AQID)"},
      {"<ds:DigestValue>AQID", "<ds:DigestValue>"},
      {"<ds:DigestValue>AQID", "<ds:DigestValue> "},
      {"<ds:DigestValue>AQID", "<ds:DigestValue>AQI"},
      {"<ds:DigestValue>AQID", "<ds:DigestValue>AQ-D"},
      {"<ds:DigestValue>AQID", "<ds:DigestValue>AQ<x/>ID"},
      {"<ds:DigestValue>AQID", "<ds:DigestValue>\n\tA<!-- c -->Q I&#13;D", true},
      {R"(Id="SV")", R"(Name="SV")"},
      {"c2ln\n", "c2ln!"},
      {"<ds:SignatureValue Id=\"SV\">c2ln\nbmF0dXJl</ds:SignatureValue>", ""},
      {R"(KeyInfo Id="KI")", R"(KeyInfo Id="KI" x="")"},
      {"</ds:KeyInfo>", "</ds:KeyInfo>x"},
      {"</ds:KeyInfo>", "</ds:KeyInfo><ds:KeyInfo/>"},
      {"</ds:KeyInfo>", "</ds:KeyInfo><x/>"},
      {"</ds:KeyInfo>", "</ds:KeyInfo><!-- c --><?pi?>", true},
  };
  EXPECT_TRUE(decodes(richDocument()));
  for (const auto &[from, to, expected] : edits) {
    EXPECT_EQ(decodes(replaced(richDocument(), from, to)), expected) << from << " to " << to;
  }
}

TEST_F(DecodeTest, ReadsOutputLengthsOfMacs) {
  struct Row {
    const char *method;
    const char *children;
    int32_t bits;  // 0: refused
  };
  const Row rows[] = {
      {"{hmac-sha1}", "", 160},
      {"{hmac-sha256}", "", 256},
      {"{hmac-sha256}", "<ds:HMACOutputLength>256</ds:HMACOutputLength>", 256},
      {"{hmac-sha256}", "<ds:HMACOutputLength>257</ds:HMACOutputLength>", 0},
      {"{hmac-sha256}", "<ds:HMACOutputLength>252</ds:HMACOutputLength>", 252},
      {"{hmac-sha256}", "<ds:HMACOutputLength>0</ds:HMACOutputLength>", 0},
      {"{hmac-sha256}", "<ds:HMACOutputLength>08</ds:HMACOutputLength>", 8},
      {"{hmac-sha256}", "<ds:HMACOutputLength>+8</ds:HMACOutputLength>", 0},
      {"{hmac-sha256}", "<ds:HMACOutputLength>-8</ds:HMACOutputLength>", 0},
      {"{hmac-sha256}", "<ds:HMACOutputLength>-0</ds:HMACOutputLength>", 0},
      {"{hmac-sha256}", "<ds:HMACOutputLength>1 6</ds:HMACOutputLength>", 0},
      {"{hmac-sha256}", "<ds:HMACOutputLength>16.0</ds:HMACOutputLength>", 0},
      {"{hmac-sha256}", "<ds:HMACOutputLength>\n\t 80 &#13;</ds:HMACOutputLength>", 80},
      {"{hmac-sha256}", "<ds:HMACOutputLength>8<!-- c -->0</ds:HMACOutputLength>", 80},
      {"{hmac-sha256}", "<ds:HMACOutputLength> </ds:HMACOutputLength>", 0},
      {"{hmac-sha256}", "<ds:HMACOutputLength/>", 0},
      {"{hmac-sha256}", "<ds:HMACOutputLength>4294967376</ds:HMACOutputLength>", 0},
      {"{hmac-sha256}", "<HMACOutputLength>80</HMACOutputLength>", 0},
      {"{hmac-sha256}", "<ds:HMACOutputLength>80</ds:HMACOutputLength><x/>", 80},
      {"{rsa-sha256}", "<ds:HMACOutputLength>256</ds:HMACOutputLength>", 0},
      {"{dsa-sha1}", "<x/>", 0},
      {"{ecdsa-sha256}", "<ds:HMACOutputLength>256</ds:HMACOutputLength>", -1},
      {"urn:unknown", "<x/>", -1},
  };
  const std::string method = R"(<ds:SignatureMethod Algorithm="{rsa-sha256}"/>)";
  for (const Row &row : rows) {
    SCOPED_TRACE(std::string(row.method) + row.children);
    const Decoded decoded =
        decode(replaced(plainSignature(), method,
                        std::string("<ds:SignatureMethod Algorithm=\"") + row.method + "\">" +
                            row.children + "</ds:SignatureMethod>"));
    ASSERT_EQ(decoded.record != nullptr, row.bits != 0);
    if (decoded.record) {
      EXPECT_EQ(decoded.record->signedInfo->signatureMethod->hmacOutputLength, row.bits);
      // The query tells whole octets only.
      const int32_t expected = row.bits > 0 && row.bits % 8 == 0 ? row.bits / 8 : 0;
      int32_t octets = 0;
      EXPECT_EQ(talvo_xml_signature_gethmaclength(decoded.record.get(), &octets), expected != 0);
      EXPECT_EQ(octets, expected);
    }
  }
}

TEST_F(DecodeTest, RefusesASingleDigitOutputLengthWithoutBlankBefore) {
  const std::string document =
      replaced(replaced(plainSignature(), "{rsa-sha256}", "{hmac-sha256}"), R"(256}"/>)",
               R"(256}"><ds:HMACOutputLength>8</ds:HMACOutputLength></ds:SignatureMethod>)");
  EXPECT_FALSE(decodes(document));
  EXPECT_FALSE(decodes(replaced(document, ">8<", ">8 <")));
  EXPECT_TRUE(decodes(replaced(document, ">8<", "> 8<")));
}

TEST_F(DecodeTest, KeepsAllOfKeyInfo) {
  const Decoded decoded = decode(richDocument());
  ASSERT_NE(decoded.record, nullptr);
  const auto keys = items<KeyInfoItem>(decoded.record->keyInfo->items);
  ASSERT_EQ(keys.size(), 8);
  EXPECT_EQ(textOf(decoded.record->keyInfo->id), "KI");
  const auto &rsa = *std::get<Owned<RsaKeyValue>>(std::get<Owned<KeyValue>>(keys[1]->data)->value);
  EXPECT_EQ(talvo_biginteger_getbits(rsa.modulus.get()), 16) << "leading zeros do not count";
  const auto &dsa = *std::get<Owned<DsaKeyValue>>(std::get<Owned<KeyValue>>(keys[2]->data)->value);
  EXPECT_EQ(talvo_biginteger_getbits(dsa.pgenCounter.get()), 3);
  EXPECT_EQ(textOf(dsa.seed), "\1\2\3");
  const auto &curve = *std::get<Owned<KeyValue>>(keys[3]->data);
  EXPECT_EQ(localName(std::get<XmlNode *>(curve.value)), "ECKeyValue");
  const auto &method = *std::get<Owned<RetrievalMethod>>(keys[4]->data);
  EXPECT_EQ(items<Transform>(method.transforms).size(), 1);
  EXPECT_EQ(localName(std::get<XmlNode *>(keys[7]->data)), "Foreign");
  const auto parts = items<X509DataItem>(std::get<List>(keys[5]->data));
  ASSERT_EQ(parts.size(), 6);
  const auto &serial = *std::get<Owned<X509IssuerSerial>>(parts[0]->data);
  EXPECT_EQ(textOf(serial.issuerName) + " " + textOf(serial.serialNumber), "CN=Issuer 17");
  EXPECT_EQ(textOf(std::get<Blob>(parts[1]->data)), "ski");
  EXPECT_EQ(textOf(std::get<UString>(parts[2]->data)), "CN=Subject");
  EXPECT_EQ(textOf(std::get<Blob>(parts[4]->data)), "crl");
  EXPECT_EQ(parts[5]->kind, X509Kind::other);
  EXPECT_EQ(localName(std::get<XmlNode *>(parts[5]->data)), "X509Digest");
}

struct Content {
  std::string xml;
  bool decodes;
};

// Each content stands behind the value of a plain signature, between two tags.
template <size_t count>
void expectContents(const Content (&rows)[count], const std::string &begin = "",
                    const std::string &end = "") {
  for (const auto &[xml, expected] : rows) {
    EXPECT_EQ(decodes(plainSignature(begin + xml + end)), expected) << xml;
  }
}

TEST_F(DecodeTest, JudgesEachKindOfKeyInformation) {
  const Content infos[] = {
      {"", true},
      {"text is kept", true},
      {"<ds:KeyName>n</ds:KeyName>", true},
      {"<ds:KeyName x=''>n</ds:KeyName>", false},
      {"<ds:KeyName/>", false},
      {"<ds:KeyName>n<x/></ds:KeyName>", false},
      {"<ds:MgmtData/>", false},
      {"<ds:KeyValue/>", false},
      {"<ds:KeyValue><x/></ds:KeyValue>", true},
      {"<ds:KeyValue><x/><y/></ds:KeyValue>", false},
      {"<ds:KeyValue a=''><x/></ds:KeyValue>", false},
      {"<ds:KeyValue><x/>text</ds:KeyValue>", false},
      {"<ds:RetrievalMethod URI=''/>", true},
      {"<ds:RetrievalMethod Type='t'/>", false},
      {"<ds:RetrievalMethod URI='' Type='t' Id='i'/>", false},
      {"<ds:RetrievalMethod URI=''><ds:Transforms/></ds:RetrievalMethod>", false},
      {"<ds:RetrievalMethod URI=''><x/></ds:RetrievalMethod>", false},
      {"<ds:RetrievalMethod URI=''><ds:Transforms><ds:Transform Algorithm=''/></ds:Transforms><x/>"
       "</ds:RetrievalMethod>",
       false},
      {"<ds:X509Data/>", false},
      {"<ds:X509Data x=''><x/></ds:X509Data>", false},
      {"<ds:PGPData/><ds:SPKIData/><x/>", true},
  };
  expectContents(infos, "<ds:KeyInfo>", "</ds:KeyInfo>");
  const Content rsaNumbers[] = {
      {"<ds:Modulus>AQ==</ds:Modulus><ds:Exponent>AQ==</ds:Exponent>", true},
      {"<ds:Modulus>AQ==</ds:Modulus>", false},
      {"<ds:Modulus>AQ==</ds:Modulus><ds:Exponent>=</ds:Exponent>", false},
      {"<ds:Modulus>AQ==</ds:Modulus><ds:Exponent>AQ==</ds:Exponent><x/>", false},
  };
  expectContents(rsaNumbers, "<ds:KeyInfo><ds:KeyValue><ds:RSAKeyValue>",
                 "</ds:RSAKeyValue></ds:KeyValue></ds:KeyInfo>");
  const Content dsaNumbers[] = {
      {"<ds:Y>AQ==</ds:Y>", true},
      {"", false},
      {"<ds:P>AQ==</ds:P><ds:Y>AQ==</ds:Y>", false},
      {"<ds:G>AQ==</ds:G><ds:Y>AQ==</ds:Y>", true},
      {"<ds:Y>AQ==</ds:Y><ds:PgenCounter>AQ==</ds:PgenCounter>", true},
      {"<ds:Y>AQ==</ds:Y><ds:Seed>AQ==</ds:Seed>", true},
      {"<ds:Y>AQ==</ds:Y><ds:Seed>AQ==</ds:Seed><ds:J>AQ==</ds:J>", false},
  };
  expectContents(dsaNumbers, "<ds:KeyInfo><ds:KeyValue><ds:DSAKeyValue>",
                 "</ds:DSAKeyValue></ds:KeyValue></ds:KeyInfo>");
  const std::string name = "<ds:X509IssuerName>CN=a</ds:X509IssuerName>";
  const std::string number = "<ds:X509SerialNumber>1</ds:X509SerialNumber>";
  const Content x509[] = {
      {"<x/>", true},
      {"<ds:X509SKI>?</ds:X509SKI>", false},
      {"<ds:X509Certificate/>", false},
      {"<ds:X509SubjectName/>", false},
      {"<ds:X509IssuerSerial>" + name + number + "</ds:X509IssuerSerial>", true},
      {"<ds:X509IssuerSerial>" + name + "</ds:X509IssuerSerial>", false},
      {"<ds:X509IssuerSerial>" + number + name + "</ds:X509IssuerSerial>", false},
  };
  expectContents(x509, "<ds:KeyInfo><ds:X509Data>", "</ds:X509Data></ds:KeyInfo>");
}

TEST_F(DecodeTest, ReadsAnySecondChildAsSerialNumber) {
  const Decoded decoded = decode(plainSignature(
      "<ds:KeyInfo><ds:X509Data><ds:X509IssuerSerial><ds:X509IssuerName>CN=a</ds:X509IssuerName>"
      "<misnamed>5</misnamed><more/></ds:X509IssuerSerial></ds:X509Data></ds:KeyInfo>"));
  ASSERT_NE(decoded.record, nullptr);
  const KeyInfoItem *item = items<KeyInfoItem>(decoded.record->keyInfo->items)[0];
  const X509DataItem *part = items<X509DataItem>(std::get<List>(item->data))[0];
  EXPECT_EQ(textOf(std::get<Owned<X509IssuerSerial>>(part->data)->serialNumber), "5");
}

TEST_F(DecodeTest, KeepsTheContentOfObjects) {
  const Decoded decoded = decode(richDocument());
  ASSERT_NE(decoded.record, nullptr);
  const auto objects = items<Object>(decoded.record->objects);
  ASSERT_EQ(objects.size(), 3);
  EXPECT_EQ(objects[1]->content, nullptr) << "an object of text has no content list";
  const auto content = items<ObjectContent>(objects[2]->content);
  ASSERT_EQ(content.size(), 4);
  EXPECT_EQ(items<Reference>(std::get<Owned<Manifest>>(content[0]->data)->references).size(), 1);
  EXPECT_EQ(textOf(std::get<UString>(content[1]->data)), "between");
  const auto &properties = *std::get<Owned<SignatureProperties>>(content[2]->data);
  EXPECT_EQ(textOf(items<SignatureProperty>(properties.properties)[0]->target), "#S");
  EXPECT_EQ(textOf(std::get<SignatureRecord>(content[3]->data)->id), "N");
}

TEST_F(DecodeTest, JudgesEachKindOfObjectContent) {
  const Content objects[] = {
      {"<ds:Object/>", true},
      {"<ds:Object>text<ds:Manifest/></ds:Object>", true},
      {"<ds:Object Id='i' MimeType='m' Encoding='e'/>", true},
      {"<ds:Object Id='i' MimeType='m' Encoding='e' x=''/>", false},
      {"<ds:Object ds:Id='i'/>", false},
      {"<ds:Object Name='i'/>", false},
      {"<x/>", false},
  };
  expectContents(objects);
  const Content contents[] = {
      {"<!-- c --><ds:Manifest/>", false},
      {"<any x='y'/>text<any/>", true},
      {"<ds:SignatureProperties/>", true},
      {"<ds:SignatureProperties Target=''/>", false},
      {"<ds:SignatureProperties><x/></ds:SignatureProperties>", false},
      {"<ds:SignatureProperties><ds:SignatureProperty Id='i'/></ds:SignatureProperties>", false},
      {"<ds:SignatureProperties><ds:SignatureProperty Target='' Id='i' x=''/>"
       "</ds:SignatureProperties>",
       false},
      {"<ds:Manifest><x/></ds:Manifest>", false},
      {"<ds:Signature/>", false},
  };
  expectContents(contents, "<ds:Object>", "</ds:Object>");
}

std::string nestedSignatures(int depth) {
  std::string text = plainSignature();
  for (int i = 0; i < depth; ++i) {
    text = plainSignature("<ds:Object>" + text + "</ds:Object>");
  }
  return text;
}

// The parser stops at some 257 levels, which is 128 signatures inside one another.
TEST_F(DecodeTest, FollowsNestedSignaturesOnlySoDeep) {
  EXPECT_TRUE(decodes(nestedSignatures(100)));
  const Decoded decoded = decode(plainSignature());
  ASSERT_NE(decoded.record, nullptr);
  XmlNode *element = decoded.record->element;
  EXPECT_NE(decodeSignature(element, Registration::skip, 128), nullptr);
  EXPECT_EQ(decodeSignature(element, Registration::skip, 129), nullptr);
}

TEST_F(DecodeTest, DeclaresIdsOnlyWhenSomethingStandsBehindKeyInfo) {
  const auto isDeclared = [](const std::string &document) {
    const Decoded decoded = decode("<doc>" + document + "</doc>");
    const UString id = makeString("S");
    return decoded.record && talvo_xml_getidelemnode(decoded.document.get(), id.get()) != nullptr;
  };
  EXPECT_FALSE(isDeclared(plainSignature()));
  EXPECT_FALSE(isDeclared(plainSignature("<ds:KeyInfo/>")));
  EXPECT_TRUE(isDeclared(plainSignature("<ds:Object/>")));
  EXPECT_TRUE(isDeclared(plainSignature("<ds:KeyInfo/><ds:Object/>")));
}

TEST_F(DecodeTest, NeedsAnElementOfADocument) {
  EXPECT_EQ(talvo_xml_decode_signature(nullptr), nullptr);
  const Document document = parse("<doc>text</doc>");
  XmlNode *root = talvo_xml_doc_getrootelement(document.get());
  EXPECT_EQ(talvo_xml_decode_signature(root), nullptr);
  EXPECT_EQ(talvo_xml_decode_signature(talvo_xml_node_getchildren(root)), nullptr);
  EXPECT_EQ(talvo_xml_decode_signature(document.get()), nullptr);
}

TEST_F(DecodeTest, LastReferenceReleasesARecord) {
  Decoded decoded = decode(richDocument());
  ASSERT_NE(decoded.record, nullptr);
  EXPECT_EQ(talvo_xml_signature_dup(decoded.record.get()), decoded.record.get());
  talvo_xml_free_signature(decoded.record.get());
  EXPECT_EQ(textOf(decoded.record->id), "S");
  EXPECT_EQ(talvo_xml_signature_dup(nullptr), nullptr);
  talvo_xml_free_signature(nullptr);
}

// The other thread asks for more than there can be, from before the first record to behind the last.
TEST_F(DecodeTest, AnotherThreadsWantOfMemoryFailsNothingHere) {
  const Document document = parse(expand(richDocument()));
  XmlNode *element = findSignature(document.get());
  std::atomic<bool> hasBegun = false;
  std::atomic<bool> isDone = false;
  std::thread other([&] {
    while (!isDone) {
      talvo_free(talvo_malloc(SIZE_MAX, "test", __LINE__));
      hasBegun = true;
    }
  });
  while (!hasBegun) {
    std::this_thread::yield();
  }
  int failed = 0;
  for (int round = 0; round < 500; ++round) {
    failed += decodeSignature(element, Registration::skip) ? 0 : 1;
  }
  isDone = true;
  other.join();
  EXPECT_EQ(failed, 0);
}

}  // namespace
}  // namespace talvo::test
