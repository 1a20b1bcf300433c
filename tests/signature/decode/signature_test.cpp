#include "signature/decode/signature.h"

#include <atomic>
#include <string>
#include <thread>

#include "base/utf8.h"
#include "signature/vocabulary/vocabulary.h"
#include "support/every_allocation_fails.h"
#include "support/sample_signature.h"
#include "xml/node.h"

namespace talvo::test {
namespace {

class DecodeTest : public LibraryTest {};

std::string textOf(const UString &string) {
  return string ? std::string(viewOf(string.get())) : "null";
}

std::string textOf(const Blob &blob) {
  const Bytes octets = bytesOf(blob.get());
  return {octets.begin(), octets.end()};
}

struct Edit {
  const char *name;
  const char *from;
  const char *to;
  bool decodes = false;
};

// Each edit of the document decides whether it still decodes.
template <size_t count>
void expectEdits(const std::string &document, const Edit (&edits)[count]) {
  EXPECT_TRUE(decodes(document)) << "the unedited document";
  for (const Edit &edit : edits) {
    SCOPED_TRACE(edit.name);
    EXPECT_EQ(decodes(edited(document, edit.from, edit.to)), edit.decodes);
  }
}

TEST_F(DecodeTest, KeepsAllOfSignedInfo) {
  const Decoded decoded = decode(richDocument());
  ASSERT_NE(decoded.record, nullptr);
  const SignedInfo &info = *decoded.record->signedInfo;
  EXPECT_EQ(textOf(decoded.record->id), "S");
  EXPECT_EQ(textOf(info.id), "SI");
  EXPECT_EQ(info.canonicalizationMethod->algorithmId, 3);
  EXPECT_EQ(info.signatureMethod->algorithmId, 68);
  EXPECT_EQ(info.signatureMethod->hmacOutputLength, -1);
  EXPECT_EQ(textOf(decoded.record->signatureValue->value), "signature");
  EXPECT_EQ(textOf(decoded.record->signatureValueId), "SV");
  EXPECT_EQ(decoded.record->document, decoded.document.get());

  const auto references = items<Reference>(info.references);
  ASSERT_EQ(references.size(), 2);
  EXPECT_EQ(textOf(references[0]->id), "R1");
  EXPECT_EQ(textOf(references[0]->uri), "#data");
  EXPECT_EQ(textOf(references[0]->type), "urn:type");
  EXPECT_EQ(items<Transform>(references[0]->transforms).size(), 3);
  EXPECT_EQ(items<Transform>(references[0]->transforms)[2]->signatureElement,
            decoded.record->element);
  EXPECT_EQ(textOf(references[1]->uri), "");
  EXPECT_EQ(references[1]->id, nullptr);
  EXPECT_EQ(references[1]->transforms, nullptr);
  EXPECT_EQ(references[1]->digestMethod->algorithmId, -1);
  EXPECT_EQ(textOf(references[1]->digestMethod->algorithm), "urn:unknown");
  EXPECT_EQ(textOf(references[1]->digestValue->value), "\1\2\3");
}

TEST_F(DecodeTest, RefusesAnyOtherStructure) {
  const Edit edits[] = {
      {"two Signature attributes", R"(Signature Id="S")", R"(Signature Id="S" x="")"},
      {"other Signature attribute", R"(Signature Id="S")", R"(Signature id="S")"},
      {"Id in a namespace", R"(Signature Id="S")", R"(Signature ds:Id="S")"},
      {"no Id", R"(Signature Id="S")", "Signature", true},
      {"foreign namespace", "<ds:SignedInfo", R"(<ds:SignedInfo xmlns:ds="urn:x")"},
      {"namespaced SignedInfo Id", R"(Info Id="SI")", R"(Info ds:Id="SI")"},
      {"text before SignedInfo", "<!-- before -->", "text"},
      {"text inside SignedInfo", "</ds:CanonicalizationMethod>", "</ds:CanonicalizationMethod>x"},
      {"text behind a reference", "</ds:Reference>\n</ds:Signed", "</ds:Reference>x</ds:Signed"},
      {"Object in SignedInfo", "</ds:SignedInfo>", "<ds:Object/></ds:SignedInfo>"},
      {"method without Algorithm", R"(Method Algorithm="{rsa-sha256}")", "Method"},
      {"method with two attributes", R"(Algorithm="{rsa-sha256}")",
       R"(Algorithm="{rsa-sha256}" x="")"},
      {"unknown method", "{rsa-sha256}", "urn:method", true},
      {"unknown canonicalisation", R"(Method Algorithm="{exc-c14n}")",
       R"(Method Algorithm="urn:c")", true},
      {"swapped methods", "<ds:SignatureMethod", "<ds:Reference/><ds:SignatureMethod"},
      {"four reference attributes", R"(Id="R1")", R"(Id="R1" x="")"},
      {"namespaced reference attribute", R"(Id="R1")", R"(ds:Id="R1")"},
      {"reference without Id and Type", R"(Id="R1" URI="#data" Type="urn:type")", "", true},
      {"reference without children", R"(<ds:Reference Id="R1")", R"(<ds:Reference/><ds:Reference)"},
      {"element behind DigestValue", "</ds:DigestValue></ds:Ref", "</ds:DigestValue><x/></ds:Ref"},
      {"comment behind DigestValue", "</ds:DigestValue></ds:Ref",
       "</ds:DigestValue><!-- c --> </ds:Ref", true},
      {"transforms last", R"(URI=""><ds:DigestMethod Algorithm="urn:unknown"/>)",
       R"(URI=""><ds:Transforms><ds:Transform Algorithm=""/></ds:Transforms>)"},
      {"empty transforms", R"(URI="">)", R"(URI=""><ds:Transforms/>)"},
      {"other element among transforms", "<ds:Transforms>", "<ds:Transforms><x/>"},
      {"transform with two attributes", R"(Transform Algorithm="{enveloped}")",
       R"(Transform Algorithm="{enveloped}" x="")"},
      {"unknown transform", "{enveloped}", "urn:transform", true},
      {"DigestValue with attribute", "<ds:DigestValue>AQID", R"(<ds:DigestValue x="">AQID)"},
      {"empty DigestValue", "<ds:DigestValue>AQID", "<ds:DigestValue>"},
      {"blank DigestValue", "<ds:DigestValue>AQID", "<ds:DigestValue> "},
      {"DigestValue not Base64", "<ds:DigestValue>AQID", "<ds:DigestValue>AQI"},
      {"DigestValue with foreign letter", "<ds:DigestValue>AQID", "<ds:DigestValue>AQ-D"},
      {"DigestValue with element", "<ds:DigestValue>AQID", "<ds:DigestValue>AQ<x/>ID"},
      {"wrapped DigestValue", "<ds:DigestValue>AQID", "<ds:DigestValue>\n\tA<!-- c -->Q I&#13;D",
       true},
      {"SignatureValue with other attribute", R"(Id="SV")", R"(Name="SV")"},
      {"SignatureValue not Base64", "c2ln\n", "c2ln!"},
      {"SignatureValue missing", "<ds:SignatureValue Id=\"SV\">c2ln\nbmF0dXJl</ds:SignatureValue>",
       ""},
      {"KeyInfo with other attribute", R"(KeyInfo Id="KI")", R"(KeyInfo Id="KI" x="")"},
      {"text behind KeyInfo", "</ds:KeyInfo>", "</ds:KeyInfo>x"},
      {"second KeyInfo", "</ds:KeyInfo>", "</ds:KeyInfo><ds:KeyInfo/>"},
      {"foreign element behind KeyInfo", "</ds:KeyInfo>", "</ds:KeyInfo><x/>"},
      {"comment behind KeyInfo", "</ds:KeyInfo>", "</ds:KeyInfo><!-- c --><?pi?>", true},
  };
  expectEdits(richDocument(), edits);
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
        decode(edited(plainSignature(), method,
                      std::string("<ds:SignatureMethod Algorithm=\"") + row.method + "\">" +
                          row.children + "</ds:SignatureMethod>"));
    ASSERT_EQ(decoded.record != nullptr, row.bits != 0);
    if (decoded.record) {
      EXPECT_EQ(decoded.record->signedInfo->signatureMethod->hmacOutputLength, row.bits);
    }
  }
}

TEST_F(DecodeTest, RefusesASingleDigitOutputLengthWithoutBlankBefore) {
  const std::string document =
      edited(edited(plainSignature(), "{rsa-sha256}", "{hmac-sha256}"), R"(256}"/>)",
             R"(256}"><ds:HMACOutputLength>8</ds:HMACOutputLength></ds:SignatureMethod>)");
  EXPECT_FALSE(decodes(document));
  EXPECT_FALSE(decodes(edited(document, ">8<", ">8 <")));
  EXPECT_TRUE(decodes(edited(document, ">8<", "> 8<")));
}

TEST_F(DecodeTest, KeepsTheNodesOfUnknownChildren) {
  const Decoded decoded = decode(richDocument());
  ASSERT_NE(decoded.record, nullptr);
  const auto keys = items<KeyInfoItem>(decoded.record->keyInfo->items);
  ASSERT_EQ(keys.size(), 8);
  EXPECT_EQ(keys[7]->kind, -1);
  EXPECT_EQ(localName(std::get<XmlNode *>(keys[7]->data)), "Foreign");
  const auto parts = items<X509DataItem>(std::get<List>(keys[5]->data));
  ASSERT_EQ(parts.size(), 6);
  EXPECT_EQ(parts[5]->kind, X509Kind::other);
  EXPECT_EQ(localName(std::get<XmlNode *>(parts[5]->data)), "X509Digest");
  const auto &curve = std::get<Owned<KeyValue>>(keys[3]->data);
  EXPECT_EQ(curve->kind, -1);
  EXPECT_EQ(localName(std::get<XmlNode *>(curve->value)), "ECKeyValue");
}

TEST_F(DecodeTest, KeepsAllOfKeyInfo) {
  const Decoded decoded = decode(richDocument());
  ASSERT_NE(decoded.record, nullptr);
  const auto keys = items<KeyInfoItem>(decoded.record->keyInfo->items);
  EXPECT_EQ(textOf(decoded.record->keyInfo->id), "KI");
  EXPECT_EQ(textOf(std::get<Owned<KeyName>>(keys[0]->data)->name), "Key name");
  const auto &rsa = *std::get<Owned<RsaKeyValue>>(std::get<Owned<KeyValue>>(keys[1]->data)->value);
  EXPECT_EQ(talvo_biginteger_getbits(rsa.modulus.get()), 16) << "leading zeros do not count";
  const auto &dsa = *std::get<Owned<DsaKeyValue>>(std::get<Owned<KeyValue>>(keys[2]->data)->value);
  EXPECT_EQ(talvo_biginteger_getbits(dsa.p.get()), 5);
  EXPECT_EQ(talvo_biginteger_getbits(dsa.pgenCounter.get()), 3);
  EXPECT_EQ(textOf(dsa.seed), "\1\2\3");
  const auto &method = *std::get<Owned<RetrievalMethod>>(keys[4]->data);
  EXPECT_EQ(textOf(method.uri), "#KI");
  EXPECT_EQ(items<Transform>(method.transforms).size(), 1);
  const auto parts = items<X509DataItem>(std::get<List>(keys[5]->data));
  const auto &serial = *std::get<Owned<X509IssuerSerial>>(parts[0]->data);
  EXPECT_EQ(textOf(serial.issuerName) + " " + textOf(serial.serialNumber), "CN=Issuer 17");
  EXPECT_EQ(textOf(std::get<Blob>(parts[1]->data)), "ski");
  EXPECT_EQ(textOf(std::get<UString>(parts[2]->data)), "CN=Subject");
  EXPECT_EQ(textOf(std::get<Blob>(parts[4]->data)), "crl");
  EXPECT_EQ(textOf(std::get<UString>(keys[6]->data)), "managed");
}

TEST_F(DecodeTest, JudgesEachKindOfKeyInformation) {
  struct Row {
    const char *content;
    bool decodes;
  };
  const Row rows[] = {
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
      {"<ds:KeyValue><ds:RSAKeyValue><ds:Modulus>AQ==</ds:Modulus></ds:RSAKeyValue></ds:KeyValue>",
       false},
      {"<ds:KeyValue><ds:RSAKeyValue><ds:Modulus>AQ==</ds:Modulus><ds:Exponent>=</ds:Exponent>"
       "</ds:RSAKeyValue></ds:KeyValue>",
       false},
      {"<ds:KeyValue><ds:RSAKeyValue><ds:Modulus>AQ==</ds:Modulus><ds:Exponent>AQ==</ds:Exponent>"
       "<x/></ds:RSAKeyValue></ds:KeyValue>",
       false},
      {"<ds:KeyValue><ds:DSAKeyValue><ds:Y>AQ==</ds:Y></ds:DSAKeyValue></ds:KeyValue>", true},
      {"<ds:KeyValue><ds:DSAKeyValue/></ds:KeyValue>", false},
      {"<ds:KeyValue><ds:DSAKeyValue><ds:P>AQ==</ds:P><ds:Y>AQ==</ds:Y></ds:DSAKeyValue>"
       "</ds:KeyValue>",
       false},
      {"<ds:KeyValue><ds:DSAKeyValue><ds:G>AQ==</ds:G><ds:Y>AQ==</ds:Y></ds:DSAKeyValue>"
       "</ds:KeyValue>",
       true},
      {"<ds:KeyValue><ds:DSAKeyValue><ds:Y>AQ==</ds:Y><ds:PgenCounter>AQ==</ds:PgenCounter>"
       "</ds:DSAKeyValue></ds:KeyValue>",
       true},
      {"<ds:KeyValue><ds:DSAKeyValue><ds:Y>AQ==</ds:Y><ds:Seed>AQ==</ds:Seed></ds:DSAKeyValue>"
       "</ds:KeyValue>",
       true},
      {"<ds:KeyValue><ds:DSAKeyValue><ds:Y>AQ==</ds:Y><ds:Seed>AQ==</ds:Seed><ds:J>AQ==</ds:J>"
       "</ds:DSAKeyValue></ds:KeyValue>",
       false},
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
      {"<ds:X509Data><x/></ds:X509Data>", true},
      {"<ds:X509Data><ds:X509SKI>?</ds:X509SKI></ds:X509Data>", false},
      {"<ds:X509Data><ds:X509Certificate/></ds:X509Data>", false},
      {"<ds:X509Data><ds:X509SubjectName/></ds:X509Data>", false},
      {"<ds:X509Data><ds:X509IssuerSerial><ds:X509IssuerName>CN=a</ds:X509IssuerName>"
       "</ds:X509IssuerSerial></ds:X509Data>",
       false},
      {"<ds:X509Data><ds:X509IssuerSerial><ds:X509SerialNumber>1</ds:X509SerialNumber>"
       "<ds:X509IssuerName>CN=a</ds:X509IssuerName></ds:X509IssuerSerial></ds:X509Data>",
       false},
      {"<ds:PGPData/><ds:SPKIData/><x/>", true},
  };
  for (const Row &row : rows) {
    SCOPED_TRACE(row.content);
    EXPECT_EQ(decodes(plainSignature(std::string("<ds:KeyInfo>") + row.content + "</ds:KeyInfo>")),
              row.decodes);
  }
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
  EXPECT_EQ(items<ObjectContent>(objects[0]->content)[0]->kind, 5);
  EXPECT_EQ(objects[1]->content, nullptr) << "an object of text has no content list";
  EXPECT_EQ(textOf(objects[1]->mimeType), "text/plain");
  EXPECT_EQ(textOf(objects[1]->encoding), "urn:e");
  const auto content = items<ObjectContent>(objects[2]->content);
  ASSERT_EQ(content.size(), 4);
  EXPECT_EQ(items<Reference>(std::get<Owned<Manifest>>(content[0]->data)->references).size(), 1);
  EXPECT_EQ(textOf(std::get<UString>(content[1]->data)), "between");
  const auto &properties = *std::get<Owned<SignatureProperties>>(content[2]->data);
  EXPECT_EQ(textOf(items<SignatureProperty>(properties.properties)[0]->target), "#S");
  const auto &nested = std::get<SignatureRecord>(content[3]->data);
  EXPECT_EQ(textOf(nested->id), "N");
  EXPECT_EQ(nested->signedInfo->signatureMethod->hmacOutputLength, 160);
}

TEST_F(DecodeTest, JudgesEachKindOfObjectContent) {
  struct Row {
    const char *object;
    bool decodes;
  };
  const Row rows[] = {
      {"<ds:Object/>", true},
      {"<ds:Object>text<ds:Manifest/></ds:Object>", true},
      {"<ds:Object><!-- c --><ds:Manifest/></ds:Object>", false},
      {"<ds:Object Id='i' MimeType='m' Encoding='e'/>", true},
      {"<ds:Object Id='i' MimeType='m' Encoding='e' x=''/>", false},
      {"<ds:Object ds:Id='i'/>", false},
      {"<ds:Object Name='i'/>", false},
      {"<ds:Object><any x='y'/>text<any/></ds:Object>", true},
      {"<ds:Object><ds:SignatureProperties/></ds:Object>", true},
      {"<ds:Object><ds:SignatureProperties Target=''/></ds:Object>", false},
      {"<ds:Object><ds:SignatureProperties><x/></ds:SignatureProperties></ds:Object>", false},
      {"<ds:Object><ds:SignatureProperties><ds:SignatureProperty Id='i'/></ds:SignatureProperties>"
       "</ds:Object>",
       false},
      {"<ds:Object><ds:SignatureProperties><ds:SignatureProperty Target='' Id='i' x=''/>"
       "</ds:SignatureProperties></ds:Object>",
       false},
      {"<ds:Object><ds:Manifest><x/></ds:Manifest></ds:Object>", false},
      {"<ds:Object><ds:Signature/></ds:Object>", false},
      {"<x/>", false},
  };
  for (const Row &row : rows) {
    SCOPED_TRACE(row.object);
    EXPECT_EQ(decodes(plainSignature(row.object)), row.decodes);
  }
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

TEST_F(DecodeTest, ReportsExhaustedMemoryAndLeaksNothing) {
  const Document document = parse(expand(richDocument()));
  XmlNode *element = findSignature(document);
  talvo_xml_signature_setid(document.get());
  everyAllocationFails([element] {
    const SignatureRecord record = decodeSignature(element, Registration::skip);
    // Certificates and prefix lists also use memory whose refusals are not counted: then only that
    // property is absent.
    return record && record->signatureTimeStamps && record->certificateValues;
  });
}

// The other thread asks for more than there can be, from before the first record to behind the last.
TEST_F(DecodeTest, AnotherThreadsWantOfMemoryFailsNothingHere) {
  const Document document = parse(expand(richDocument()));
  XmlNode *element = findSignature(document);
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
