// A signature that holds everything which can be asked for, octet by octet but for what is computed.
#include "support/contexts.h"
#include "support/signing.h"

namespace talvo::test {
namespace {

class LayoutTest : public LibraryTest {};

constexpr const char *kWhole =
    R"(<ds:Signature xmlns:ds="http://www.w3.org/2000/09/xmldsig#" Id="s">
<ds:SignedInfo Id="si">
<ds:CanonicalizationMethod Algorithm="http://www.w3.org/2001/10/xml-exc-c14n#WithComments"><ec:InclusiveNamespaces xmlns:ec="http://www.w3.org/2001/10/xml-exc-c14n#" PrefixList="p #default"/></ds:CanonicalizationMethod>
<ds:SignatureMethod Algorithm="http://www.w3.org/2001/04/xmldsig-more#rsa-sha256"/>
<ds:Reference Id="r1" URI="" Type="urn:t">
<ds:Transforms>
<ds:Transform Algorithm="http://www.w3.org/2000/09/xmldsig#enveloped-signature"/>
<ds:Transform Algorithm="http://www.w3.org/TR/1999/REC-xpath-19991116">
<ds:XPath>a &lt; b</ds:XPath>
</ds:Transform>
<ds:Transform Algorithm="http://www.w3.org/2001/10/xml-exc-c14n#"/>
</ds:Transforms>
<ds:DigestMethod Algorithm="http://www.w3.org/2001/04/xmlenc#sha256"/>
<ds:DigestValue>*</ds:DigestValue>
</ds:Reference>
<ds:Reference URI="#m">
<ds:DigestMethod Algorithm="http://www.w3.org/2001/04/xmlenc#sha512"/>
<ds:DigestValue>*</ds:DigestValue>
</ds:Reference>
<ds:Reference>
<ds:DigestMethod Algorithm="http://www.w3.org/2000/09/xmldsig#sha1"/>
<ds:DigestValue>*</ds:DigestValue>
</ds:Reference>
</ds:SignedInfo>
<ds:SignatureValue Id="sv">*</ds:SignatureValue>
<ds:KeyInfo>
<ds:X509Data>
<ds:X509Certificate>*</ds:X509Certificate>
</ds:X509Data>
<ds:X509Data>
<ds:X509Certificate>*</ds:X509Certificate>
</ds:X509Data>
</ds:KeyInfo>
<ds:Object Id="o" MimeType="text/plain" Encoding="urn:e">a&lt;b</ds:Object>
<ds:Object>x</ds:Object>
<ds:Object>
<ds:SignatureProperties Id="ps">
<ds:SignatureProperty Id="p" Target="#s"><e/></ds:SignatureProperty>
</ds:SignatureProperties>
</ds:Object>
<ds:Object>
<ds:Manifest Id="m">
<ds:Reference URI="#o">
<ds:DigestMethod Algorithm="http://www.w3.org/2000/09/xmldsig#sha1"/>
<ds:DigestValue>*</ds:DigestValue>
</ds:Reference>
</ds:Manifest>
</ds:Object>
<ds:Object>
<xa:QualifyingProperties xmlns:xa="http://uri.etsi.org/01903/v1.3.2#" Id="qp" Target="#s">
<xa:SignedProperties Id="sp">
<xa:SignedSignatureProperties Id="ssp">
<xa:SigningTime>*</xa:SigningTime>
<xa:SigningCertificate>
<xa:Cert>
<xa:CertDigest>
<ds:DigestMethod Algorithm="http://www.w3.org/2001/04/xmlenc#sha256"/>
<ds:DigestValue>*</ds:DigestValue>
</xa:CertDigest>
<xa:IssuerSerial>
<ds:X509IssuerName>CN=Intermediate,O=Talvo Example,C=DE</ds:X509IssuerName>
<ds:X509SerialNumber>3</ds:X509SerialNumber>
</xa:IssuerSerial>
</xa:Cert>
</xa:SigningCertificate>
<xa:SignaturePolicyIdentifer>
<xa:SignaturePolicyImplied/>
</xa:SignaturePolicyIdentifer>
<xa:SignatureProductionPlace>
<xa:City>Zürich</xa:City>
<xa:PostalCode>8001</xa:PostalCode>
<xa:CountryName>CH</xa:CountryName>
</xa:SignatureProductionPlace>
</xa:SignedSignatureProperties>
</xa:SignedProperties>
</xa:QualifyingProperties>
</ds:Object>
</ds:Signature>)";

// With "*" for digests, values, certificates, serial numbers and times.
std::string withoutComputed(std::string text) {
  for (const char *name : {":DigestValue", ":SignatureValue", ":X509Certificate", ":SigningTime"}) {
    for (size_t at = 0; (at = text.find(name, at)) != std::string::npos;) {
      const size_t content = text.find('>', at) + 1;
      const bool isStart = text[text.rfind('<', at) + 1] != '/' && text[content] != '\n';
      at = isStart ? content + 1 : content;
      if (isStart) {
        text.replace(content, text.find('<', content) - content, "*");
      }
    }
  }
  return text;
}

TEST_F(LayoutTest, EveryPartStandsOnALineOfItsOwn) {
  const Chain chain = makeChain();
  const Certificate certificate = chain.certificate();
  const TransformContext enveloped = transform(48);
  const TransformContext xpath = transform(32, str("a < b").get());
  const TransformContext exclusive = transform(3, stringList({"p"}).get());
  const ReferenceContext first(talvo_xml_signature_referencectx_new(
      4, str("r1").get(), str("").get(), str("urn:t").get(), nullptr,
      listOf({enveloped.get(), xpath.get(), exclusive.get()}).get()));
  const ReferenceContext second = reference("#m", 6);
  const Blob content(talvo_data_blob_new("x", 1));
  const ReferenceContext third(
      talvo_xml_signature_referencectx_new(1, nullptr, nullptr, nullptr, content.get(), nullptr));
  const SignedInfoContext owner(talvo_xml_signature_signedinfoctx_new(
      str("si").get(), 4, stringList({"p", "#default"}).get(), 68,
      listOf({first.get(), second.get(), third.get()}).get()));
  SignedInfoCtx *context = owner.get();
  talvo_xml_signature_signedinfoctx_setsignaturevalueid(context, str("sv").get());
  talvo_xml_signature_signedinfoctx_setincludecertflag(context, 3);
  talvo_xml_signature_signedinfoctx_xades_setusesigningtime(context, 1);
  talvo_xml_signature_signedinfoctx_xades_setsigningcertificateinfo(context, 4, 2);
  talvo_xml_signature_signedinfoctx_xades_setsignaturepolicyimplied(context);
  talvo_xml_signature_signedinfoctx_xades_setsignatureproductionplace(
      context, str("Z\u00fcrich").get(), nullptr, str("8001").get(), str("CH").get());
  talvo_xml_signature_signedinfoctx_xades_setqualifyingpropertiesid(context, str("qp").get());
  talvo_xml_signature_signedinfoctx_xades_setsignedpropertiesid(context, str("sp").get());
  talvo_xml_signature_signedinfoctx_xades_setsignedsignaturepropertiesid(context, str("ssp").get());

  const ObjectContext data(talvo_xml_signature_objectctx_newdata(
      str("o").get(), str("text/plain").get(), str("urn:e").get(), str("a<b").get()));
  const ObjectContext bare(
      talvo_xml_signature_objectctx_newdata(nullptr, nullptr, nullptr, str("x").get()));
  const SignaturePropContext property(talvo_xml_signature_signaturepropctx_new(
      str("p").get(), str("#s").get(), talvo_xml_node_newelem(nullptr, str("e").get())));
  const ObjectContext properties(
      talvo_xml_signature_objectctx_newsignprops(str("ps").get(), listOf({property.get()}).get()));
  const ReferenceContext entry = reference("#o", 1);
  const ObjectContext manifest(
      talvo_xml_signature_objectctx_newmanifest(str("m").get(), listOf({entry.get()}).get()));
  const List objects = listOf({data.get(), bare.get(), properties.get(), manifest.get()});
  const Document document = parse("<a/>");
  XmlNode *made = nullptr;
  uint32_t error = 0;
  ASSERT_EQ(
      talvo_xml_signature_sign(document.get(), rootOf(document), nullptr, str("s").get(), context,
                               objects.get(), certificate.get(), nullptr, &made, &error),
      1)
      << error;
  EXPECT_EQ(withoutComputed(elementText(made)), kWhole);
}

}  // namespace
}  // namespace talvo::test
