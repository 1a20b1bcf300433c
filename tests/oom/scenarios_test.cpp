// Whole scenarios with each of their allocations failing in turn: a clean failure and no leak, every time.
#include "signature/decode/signature.h"
#include "signature/xades/xades_support.h"
#include "support/contexts.h"
#include "support/every_allocation_fails.h"
#include "support/json.h"
#include "support/sample_signature.h"
#include "support/tsa.h"

namespace talvo::test {
namespace {

// Elliptic curves sign quickly.
class ExhaustedMemoryTest : public LibraryTest {
 protected:
  static const Chain &chain() {
    static const Chain made = makeChain(KeyKind::p256, KeyKind::p256);
    return made;
  }

  // Fails each allocation of what is done to the signature of a document that is parsed anew each time.
  template <class Action>
  static void expectCleanFailures(const std::string &xml, Action action) {
    everyAllocationFails([&] {
      const Document document(talvo_xml_parse(xml.data(), static_cast<int64_t>(xml.size())));
      uint32_t error = 0;
      return action(findSignature(document.get()), &error) == 1;
    });
  }
};

constexpr std::string_view kParameters = R"J({
  "C14NAlgo": "ExcC14N", "C14NParam": ["ds", "#default"], "SignAlgo": "ECDSAWithSha256",
  "SignatureValueId": "sv", "IncludeCertOption": "CertPathWithRoot", "SignatureId": "s",
  "BasePath": "/tmp", "References": [
    {"HashAlgo": "Sha256", "Id": "r", "URI": "", "Type": "urn:t", "Transforms": [
      {"TransformAlgo": "EnvelopedSignature"},
      {"TransformAlgo": "XPath", "TransformParam": "true()"},
      {"TransformAlgo": "ExcC14N", "TransformParam": ["p", "q"]}]},
    {"HashAlgo": "Sha1", "URI": "http://example.org/x",
     "HashValue": "00112233445566778899aAbBcCdDeEfF01234567"}],
  "XAdES": {
    "HasSigningTime": true, "QualifyingPropertiesId": "q", "SignedPropertiesId": "p",
    "SignedSignaturePropertiesId": "ss",
    "SigningCertificate": {"HashAlgo": "Sha512", "IncludeCertOption": "CertPath"}}})J";

TEST_F(ExhaustedMemoryTest, SigningByParameters) {
  const Certificate certificate = chain().certificate();
  const std::string xml =
      "<a><ds:Signature xmlns:ds='http://www.w3.org/2000/09/xmldsig#'><ds:Object>x</ds:Object>"
      "</ds:Signature></a>";
  expectCleanFailures(xml, [&](XmlNode *signature, uint32_t *error) {
    const Json parameters(talvo_json_parse(kParameters.data(), kParameters.size()));
    return talvo_xml_signature_sign_ex(signature, certificate.get(), parameters.get(), error);
  });
}

TEST_F(ExhaustedMemoryTest, ComplainingAboutParameters) {
  everyAllocationFails([] {
    const std::string_view text = R"({"C14NAlgo": "Minimal"})";
    const Json document(talvo_json_parse(text.data(), text.size()));
    talvo_ustring *message = nullptr;
    talvo_xml_signature_checkparameters(document.get(), &message);
    return UString(message) != nullptr && document != nullptr;
  });
}

TEST_F(ExhaustedMemoryTest, MakingAndReadingContexts) {
  everyAllocationFails([] {
    const UString text = makeString("t");
    const Blob digest(talvo_data_blob_new("12345678901234567890", 20));
    const List prefixes = stringList({"p", "q"});
    const TransformContext xpath = text ? transform(32, text.get()) : nullptr;
    if (!xpath || !digest || joined(prefixes) != "p q") {
      return false;
    }
    const List transforms = listOf({xpath.get()});
    const ReferenceContext reference(talvo_xml_signature_referencectx_newwithhash(
        1, digest.get(), text.get(), text.get(), text.get(), transforms.get()));
    if (!reference || !reference->transforms ||
        !Blob(talvo_xml_signature_referencectx_gethashvalue(reference.get()))) {
      return false;
    }
    const List references = listOf({reference.get()});
    const SignedInfoContext context(
        talvo_xml_signature_signedinfoctx_new(text.get(), 3, prefixes.get(), 68, references.get()));
    return talvo_xml_signature_signedinfoctx_setsignaturevalueid(context.get(), text.get()) == 1 &&
           talvo_xml_signature_signedinfoctx_xades_setsignatureproductionplace(
               context.get(), text.get(), text.get(), text.get(), text.get()) == 1 &&
           List(talvo_xml_signature_signedinfoctx_getrefs(context.get())) != nullptr &&
           List(talvo_xml_signature_signedinfoctx_getc14nparam(context.get())) != nullptr;
  });
}

TEST_F(ExhaustedMemoryTest, SigningByContexts) {
  const Certificate certificate = chain().certificate();
  const SignedInfoContext context = makeContext(
      {.references = {{"", {{48}, {32, {}, "true()"}}}, {"#o"}, {"#m"}}, .signatureMethod = 75});
  talvo_xml_signature_signedinfoctx_xades_setsignaturepolicyimplied(context.get());
  talvo_xml_signature_signedinfoctx_xades_setsignatureproductionplace(
      context.get(), str("a").get(), str("b").get(), str("c").get(), str("d").get());
  talvo_xml_signature_signedinfoctx_xades_setsigningcertificateinfo(context.get(), 4, 4);
  const ObjectContext data(talvo_xml_signature_objectctx_newdata(
      str("o").get(), str("text/plain").get(), nullptr, str("data").get()));
  const List entries = makeReferences({{"#o"}});
  const ObjectContext manifest(
      talvo_xml_signature_objectctx_newmanifest(str("m").get(), entries.get()));
  const List objects = listOf({data.get(), manifest.get()});
  everyAllocationFails([&] {
    const Document document(talvo_xml_parse("<a>text</a>", 11));
    XmlNode *made = nullptr;
    uint32_t error = 0;
    return document && talvo_xml_signature_sign(document.get(), rootOf(document), nullptr, nullptr,
                                                context.get(), objects.get(), certificate.get(),
                                                nullptr, &made, &error) == 1;
  });
}

TEST_F(ExhaustedMemoryTest, Decoding) {
  const Document document = parse(expand(richDocument()));
  XmlNode *element = findSignature(document.get());
  talvo_xml_signature_setid(document.get());
  everyAllocationFails([element] {
    const SignatureRecord record = decodeSignature(element, Registration::skip);
    // Certificates and prefix lists also use memory whose refusals are not counted: then only that
    // property is absent.
    return record && record->signatureTimeStamps && record->certificateValues;
  });
}

TEST_F(ExhaustedMemoryTest, Verifying) {
  const std::string xml = signDocument(chain().leaf).text();
  expectCleanFailures(xml, [](XmlNode *signature, uint32_t *error) {
    talvo_arraylist *keys = nullptr;
    const int32_t result =
        talvo_xml_signature_verify(talvo_xml_node_getdoc(signature), nullptr, 0, &keys, error);
    return List(keys) != nullptr ? result : 0;
  });
}

TEST_F(ExhaustedMemoryTest, Countersigning) {
  const std::string xml = signDocument(chain().leaf).text();
  const Certificate certificate = chain().certificate();
  const Key key(talvo_xml_signature_key_newcert(certificate.get()));
  const Json parameters = json(R"({"C14NAlgo": "C14N", "SignAlgo": "ECDSAWithSha256"})");
  const auto countersign = [&](XmlNode *signature, uint32_t *error) {
    return talvo_xml_signature_xades_countersign(signature, key.get(), 4, nullptr, parameters.get(),
                                                 nullptr, error);
  };
  expectCleanFailures(xml, countersign);
  const SignedDocument made = reparse(xml);
  uint32_t error = 0;
  ASSERT_EQ(countersign(made.signature, &error), 1);
  const SignatureRecord record = made.record();
  everyAllocationFails([&] {
    TalvoPKICert *signer = nullptr;
    XmlNode *element = nullptr;
    const int32_t result = talvo_xml_signature_xades_verifycountersignature(
        record.get(), 0, nullptr, &signer, &element);
    const Certificate owner(signer);
    return result == 1;
  });
}

TEST_F(ExhaustedMemoryTest, AddingATimeStamp) {
  const TimeStampAuthority authority;
  const UString url = str(authority.url());
  expectCleanFailures(signDocument(chain().leaf).text(), [&](XmlNode *signature, uint32_t *error) {
    return talvo_xml_signature_xades_addsignaturetimestamp(signature, nullptr, 1, nullptr,
                                                           url.get(), 4, nullptr, error);
  });
}

TEST_F(ExhaustedMemoryTest, AddingValidationData) {
  const std::string xml = signDocument(chain().leaf).text();
  const std::string crl = makeCrl(chain().root, 7);
  const auto length = static_cast<int32_t>(crl.size());
  const Certificate signer = chain().certificate();
  expectCleanFailures(xml, [&](XmlNode *signature, uint32_t *) {
    return talvo_xml_signature_xades_addcertificatevalues(signature, signer.get());
  });
  expectCleanFailures(xml, [&](XmlNode *signature, uint32_t *) {
    return talvo_xml_signature_xades_addcompletecertificaterefs(signature, nullptr, 4, signer.get(),
                                                                nullptr);
  });
  expectCleanFailures(xml, [&](XmlNode *signature, uint32_t *) {
    return talvo_xml_signature_xades_add_revocationvalues_crl(signature, crl.data(), length);
  });
  expectCleanFailures(xml, [&](XmlNode *signature, uint32_t *) {
    return talvo_xml_signature_xades_add_completerevocationrefs_crl(signature, 4, 1, crl.data(),
                                                                    length);
  });
}

}  // namespace
}  // namespace talvo::test
