#include "signature/context/json_params.h"

#include <string>
#include <vector>

#include "signature/vocabulary/algorithm.h"
#include "support/contexts.h"
#include "support/json.h"
#include "support/memory_test.h"

namespace talvo::test {
namespace {

class JsonParamsTest : public MemoryTest {};

const std::string kMethods = R"("C14NAlgo": "C14N", "SignAlgo": "Sha256WithRSA")";
const std::string kReferences = R"("References": [{"HashAlgo": "Sha256", "URI": ""}])";

// A document that is right but for what is added to it.
std::string document(const std::string &more) {
  return "{" + kMethods + ", " + kReferences + (more.empty() ? "" : ", ") + more + "}";
}

std::string withReference(const std::string &members) {
  return "{" + kMethods + R"(, "References": [{"HashAlgo": "Sha1", "URI": "#a"}, {)" + members +
         "}]}";
}

std::string withTransform(const std::string &members) {
  return withReference(R"("HashAlgo": "Sha1", "URI": "", "Transforms": [{)" + members + "}]");
}

std::string withXades(const std::string &members) {
  return document("\"XAdES\": {" + members + "}");
}

std::string withTimeStamp(const std::string &members) {
  return withXades("\"SignatureTimeStamp\": {" + members + "}");
}

SignedInfoContext read(const std::string &text) {
  return SignedInfoContext(JsonToSignedInfoCtx(json(text).get()));
}

std::string complaintAbout(const std::string &text) {
  talvo_ustring *message = nullptr;
  const int32_t accepted = talvo_xml_signature_checkparameters(json(text).get(), &message);
  const UString owned(message);
  return accepted == 1 ? "accepted" : textOf(owned);
}

// The names of a table as a complaint lists them.
template <class Row>
std::string allowed(const Row *(*byNumber)(int32_t) noexcept) {
  std::string names;
  for (int32_t number = 0; number <= 200; ++number) {
    const Row *row = byNumber(number);
    if (row != nullptr && !row->jsonName.empty()) {
      names += (names.empty() ? "\"" : ", \"") + std::string(row->jsonName) + "\"";
    }
  }
  return "allowed are " + names;
}

constexpr char kFull[] = R"({
  "C14NAlgo": "ExcC14NWithComments", "C14NParam": ["ds", "#default"], "C14N": 5,
  "SignAlgo": "ECDSAWithSha384", "SignatureValueId": "sv", "IncludeCertOption": "CertPathWithRoot",
  "SignatureId": "s", "BasePath": "/tmp", "DereferenceFlag": "OffLine", "Unknown": {},
  "References": [
    {"HashAlgo": "SM3", "Id": "r", "URI": "a b", "Type": "urn:t", "Transforms": [
      {"TransformAlgo": "EnvelopedSignature"},
      {"TransformAlgo": "XPath", "TransformParam": "self::a\u0000ignored"},
      {"TransformAlgo": "ExcC14N", "TransformParam": ["p", "q"]},
      {"TransformAlgo": "ExcC14N", "TransformParam": 7},
      {"TransformAlgo": "C14N11", "TransformParam": ["ignored"]}]},
    {"HashAlgo": "sha1", "URI": "http://example.org/x",
     "HashValue": "00112233445566778899aAbBcCdDeEfF01234567"}],
  "XAdES": {
    "HasSigningTime": true, "QualifyingPropertiesId": "q", "SignedPropertiesId": "p",
    "SignedSignaturePropertiesId": "ss", "ProductionPlace": {"City": "Bern"},
    "SigningCertificate": {"HashAlgo": "Sha512", "IncludeCertOption": "certpath"},
    "SignatureTimeStamp": {"Id": "t", "C14NAlgo": "ExcC14N", "C14NParam": ["x"],
                           "TSA": "http://127.0.0.1/", "HashAlgo": "Sha224"}}})";

TEST_F(JsonParamsTest, EveryKeyReachesItsPlaceInTheContext) {
  const SignedInfoContext context = read(kFull);
  ASSERT_NE(context, nullptr);
  EXPECT_EQ(context->id, nullptr);
  EXPECT_EQ(context->c14nMethod, 4U);
  EXPECT_EQ(joined(context->prefixes), "ds #default");
  EXPECT_EQ(context->signatureMethod, 76);
  EXPECT_EQ(textOf(context->signatureValueId), "sv");
  EXPECT_EQ(context->includeCertOption, 4);
  EXPECT_TRUE(context->useSigningTime);
  EXPECT_EQ(textOf(context->qualifyingPropertiesId), "q");
  EXPECT_EQ(textOf(context->signedPropertiesId), "p");
  EXPECT_EQ(textOf(context->signedSignaturePropertiesId), "ss");
  EXPECT_EQ(context->signingCertificateDigest, 6);
  EXPECT_EQ(context->signingCertificateOption, 3);
  EXPECT_EQ(complaintAbout(kFull), "accepted");
}

TEST_F(JsonParamsTest, ReferencesAndTransformsKeepTheirOrderAndParameters) {
  const SignedInfoContext context = read(kFull);
  ASSERT_EQ(items<ReferenceCtx>(context->references).size(), 2);
  const ReferenceCtx &first = *items<ReferenceCtx>(context->references)[0];
  const ReferenceCtx &second = *items<ReferenceCtx>(context->references)[1];
  EXPECT_EQ(first.digestMethod, 8U);
  EXPECT_EQ(textOf(first.id) + " " + textOf(first.uri) + " " + textOf(first.type), "r a%20b urn:t");
  EXPECT_FALSE(first.hasDigestValue);
  std::string transforms;
  for (const TransformCtx *transform : items<TransformCtx>(first.transforms)) {
    transforms += std::to_string(transform->algorithm) + "(" + joined(transform->prefixes) + "|" +
                  textOf(transform->expression) + ") ";
  }
  EXPECT_EQ(transforms, "48(|(null)) 32(|self::a) 3(p q|(null)) 3(|(null)) 6(|(null)) ");
  EXPECT_EQ(second.digestMethod, 1U);
  EXPECT_TRUE(second.hasDigestValue);
  EXPECT_EQ(textOf(second.digestValue), "ABEiM0RVZneImaq7zN3u/wEjRWc=");
}

TEST_F(JsonParamsTest, WhatIsAbsentHasADefault) {
  const SignedInfoContext context = read(withXades(R"("SigningCertificate": {"HashAlgo": "SM3"})"));
  ASSERT_NE(context, nullptr);
  EXPECT_EQ(context->includeCertOption, 2);
  EXPECT_EQ(context->signingCertificateOption, 2);
  EXPECT_FALSE(context->useSigningTime);
  EXPECT_EQ(context->signatureValueId, nullptr);
  EXPECT_FALSE(read(document(""))->asksForXades());
}

TEST_F(JsonParamsTest, AProductionPlaceHasNoEffect) {
  for (const std::string place : {R"({"City": "Bern"})", "5"}) {
    const SignedInfoContext context = read(withXades("\"ProductionPlace\": " + place));
    ASSERT_NE(context, nullptr);
    EXPECT_FALSE(context->asksForXades());
  }
}

TEST_F(JsonParamsTest, NamesCountInAnyCaseAndKeysDoNot) {
  for (const auto &[key, isRead] : {std::pair{"SignAlgo", true}, {"signalgo", false}}) {
    const SignedInfoContext context =
        read(R"({"C14NAlgo": "c14n11withcomments", ")" + std::string(key) +
             R"(": "SHA512withrsa", )" + kReferences + "}");
    ASSERT_EQ(context != nullptr, isRead);
    EXPECT_EQ(isRead ? context->signatureMethod : 70, 70);
    EXPECT_EQ(isRead ? context->c14nMethod : 7U, 7U);
  }
}

TEST_F(JsonParamsTest, AWrongDocumentIsRefusedAndTheKeyNamed) {
  const std::string digests = allowed(digestByNumber);
  const std::string c14n = allowed(c14nByNumber);
  const std::string options = R"(allowed are "None", "Self", "CertPath", "CertPathWithRoot")";
  const std::string prefixes = "expected an array of at least one string";
  const std::pair<std::string, std::string> rows[] = {
      {"[1]", "the document: found an array, expected an object"},
      {"{}", "C14NAlgo: missing, " + c14n},
      {R"({"C14NAlgo": 1})", "C14NAlgo: found 1, " + c14n},
      {R"({"C14NAlgo": "Minimal"})", "C14NAlgo: found \"Minimal\", " + c14n},
      {R"({"C14NAlgo": "ExcC14N"})", "C14NParam: missing, " + prefixes},
      {R"({"C14NAlgo": "ExcC14N", "C14NParam": []})",
       "C14NParam: found an empty array, " + prefixes},
      {R"({"C14NAlgo": "ExcC14N", "C14NParam": ["a", 1]})",
       "C14NParam[1]: found 1, expected a string"},
      {R"({"C14NAlgo": "C14N", "SignAlgo": "HMAC"})",
       "SignAlgo: found \"HMAC\", " + allowed(signatureByNumber)},
      {"{" + kMethods + "}", "References: missing, expected an array of at least one reference"},
      {"{" + kMethods + R"(, "References": {}})",
       "References: found an object, expected an array of at least one reference"},
      {withReference(""), "References[1].HashAlgo: missing, " + digests},
      {withReference(R"("HashAlgo": "MD5", "URI": "")"),
       "References[1].HashAlgo: found \"MD5\", " + digests},
      {withReference(R"("HashAlgo": "Sha1", "URI": "", "HashValue": "0011")"),
       "References[1].HashValue: found \"0011\", expected a string of 40 hexadecimal digits"},
      {withReference(R"("HashAlgo": "Sha1", "URI": "", "HashValue": "zz")"),
       "References[1].HashValue: found \"zz\", expected a string of 40 hexadecimal digits"},
      {withReference(R"("HashAlgo": "Sha1", "URI": "", "HashValue": null)"),
       "References[1].HashValue: found null, expected a string of 40 hexadecimal digits"},
      {withReference(R"("HashAlgo": "Sha1")"), "References[1].URI: missing, expected a string"},
      {withReference(R"("HashAlgo": "Sha1", "URI": false)"),
       "References[1].URI: found false, expected a string"},
      {withReference(R"("HashAlgo": "Sha1", "URI": "", "Id": 1)"),
       "References[1].Id: found 1, expected a string"},
      {withReference(R"("HashAlgo": "Sha1", "URI": "", "Type": [])"),
       "References[1].Type: found an empty array, expected a string"},
      {withReference(R"("HashAlgo": "Sha1", "URI": "", "Transforms": [])"),
       "References[1].Transforms: found an empty array, expected an array of at least one "
       "transform"},
      {withTransform(R"("TransformAlgo": "XSLT")"),
       "References[1].Transforms[0].TransformAlgo: found \"XSLT\", " + allowed(transformByNumber)},
      {withTransform(R"("TransformAlgo": "XPath")"),
       "References[1].Transforms[0].TransformParam: missing, expected a string with an XPath "
       "expression"},
      {document(R"("SignatureValueId": 1)"), "SignatureValueId: found 1, expected a string"},
      {document(R"("IncludeCertOption": "All")"), "IncludeCertOption: found \"All\", " + options},
      {document(R"("XAdES": "T")"), "XAdES: found \"T\", expected an object"},
      {withXades(R"("HasSigningTime": 1)"),
       "XAdES.HasSigningTime: found 1, expected true or false"},
      {withXades(R"("SignedPropertiesId": {})"),
       "XAdES.SignedPropertiesId: found an object, expected a string"},
      {withXades(R"("SigningCertificate": {})"),
       "XAdES.SigningCertificate.HashAlgo: missing, " + digests},
      {withXades(R"("SigningCertificate": {"HashAlgo": "Sha1", "IncludeCertOption": "None"})"),
       R"(XAdES.SigningCertificate.IncludeCertOption: found "None", allowed are "Self", )"
       R"("CertPath", "CertPathWithRoot")"},
  };
  for (const auto &[text, complaint] : rows) {
    SCOPED_TRACE(text);
    EXPECT_EQ(read(text), nullptr);
    EXPECT_EQ(complaintAbout(text), complaint);
  }
}

// These keys are no part of the context.
TEST_F(JsonParamsTest, TheKeysOfTheEntryPointAreCheckedToo) {
  const std::pair<std::string, std::string> rows[] = {
      {document(R"("SignatureId": 5)"), "SignatureId: found 5, expected a string"},
      {document(R"("BasePath": 5, "DereferenceFlag": 5)"), "accepted"},
      {withTimeStamp(R"("HashAlgo": "Sha1")"),
       "XAdES.SignatureTimeStamp.TSA: missing, expected a string"},
      {withTimeStamp(R"("HashAlgo": "Sha1", "TSA": "x", "Id": 1)"),
       "XAdES.SignatureTimeStamp.Id: found 1, expected a string"},
      {withTimeStamp(R"("HashAlgo": "Sha1", "TSA": "x", "C14NAlgo": "ExcC14N")"),
       "XAdES.SignatureTimeStamp.C14NParam: missing, expected an array of at least one string"},
      {withTimeStamp(R"("TSA": "x")"),
       "XAdES.SignatureTimeStamp.HashAlgo: missing, " + allowed(digestByNumber)}};
  for (const auto &[text, complaint] : rows) {
    SCOPED_TRACE(text);
    EXPECT_NE(read(text), nullptr);
    EXPECT_EQ(complaintAbout(text), complaint);
  }
}

TEST_F(JsonParamsTest, TheEntryPointReadsItsOwnKeys) {
  EntryParameters entry;
  ASSERT_TRUE(readEntryParameters(json(kFull).get(), entry));
  EXPECT_EQ(textOf(entry.signatureId) + " " + textOf(entry.basePath), "s /tmp");
  EXPECT_EQ(entry.dereferenceFlags, 0U);
  for (const std::string flag : {"\"online\"", "\"offline \"", "7"}) {
    EntryParameters other;
    EXPECT_TRUE(readEntryParameters(
        json("{\"BasePath\": 1, \"DereferenceFlag\": " + flag + "}").get(), other));
    EXPECT_EQ(other.dereferenceFlags, 1U) << flag;
    EXPECT_EQ(other.basePath, nullptr);
    EXPECT_EQ(other.signatureId, nullptr);
  }
}

TEST_F(JsonParamsTest, ATimeStampIsReadOnlyWhenAskedFor) {
  TimeStampParameters timeStamp;
  ASSERT_TRUE(readTimeStampParameters(json(kFull).get(), timeStamp));
  EXPECT_TRUE(timeStamp.isRequested);
  EXPECT_EQ(textOf(timeStamp.id) + " " + textOf(timeStamp.tsa), "t http://127.0.0.1/");
  EXPECT_EQ(timeStamp.c14nMethod, 3);
  EXPECT_EQ(joined(timeStamp.prefixes), "x");
  EXPECT_EQ(timeStamp.digestMethod, 3);

  TimeStampParameters bare;
  const std::string text = withTimeStamp(R"("TSA": "x", "HashAlgo": "Sha1")");
  ASSERT_TRUE(readTimeStampParameters(json(text).get(), bare));
  EXPECT_EQ(bare.c14nMethod, -1);
  EXPECT_EQ(bare.prefixes, nullptr);

  TimeStampParameters none;
  EXPECT_TRUE(readTimeStampParameters(json(document("")).get(), none));
  EXPECT_FALSE(none.isRequested);
  EXPECT_FALSE(readTimeStampParameters(json(withTimeStamp("")).get(), none));
}

TEST_F(JsonParamsTest, TheSmallReadersAnswerForOneValue) {
  EXPECT_EQ(GetHashAlgoFromJson(json("\"sm3\"").get()), 8);
  EXPECT_EQ(GetHashAlgoFromJson(json("\"md5\"").get()), -1);
  EXPECT_EQ(GetHashAlgoFromJson(nullptr), -1);
  EXPECT_EQ(GetIncludeCertOptionFromJson(json("\"NONE\"").get()), 1);
  EXPECT_EQ(GetIncludeCertOptionFromJson(json("1").get()), -1);
  EXPECT_EQ(take(DecodeStringValueFromJson(json("\"\\u00e9\"").get())), "\u00e9");
  EXPECT_EQ(DecodeStringValueFromJson(json("1").get()), nullptr);
  int32_t method = 0;
  talvo_arraylist *prefixes = nullptr;
  EXPECT_EQ(GetC14NAlgoFromJson(json(R"({"C14NAlgo": "ExcC14N", "C14NParam": [1]})").get(), &method,
                                &prefixes),
            1);
  EXPECT_EQ(method, 3);
  EXPECT_EQ(prefixes, nullptr);
  EXPECT_EQ(GetC14NAlgoFromJson(json("{}").get(), &method, &prefixes), 0);
  const List strings(GetTransformC14NParamFromJson(json(R"({"TransformParam": ["a"]})").get()));
  EXPECT_EQ(joined(strings), "a");
}

}  // namespace
}  // namespace talvo::test
