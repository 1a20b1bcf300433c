#include "support/sample_signature.h"

#include <map>

#include "support/keys.h"

namespace talvo::test {
namespace {

const std::map<std::string_view, talvo_ustring *const *> kNames = {
    {"ds", &g_xml_signature_nsuri},
    {"xa", &g_xml_xadesv132_nsuri},
    {"xa141", &g_xml_xadesv141_nsuri},
    {"ec", &g_xml_signature_exc_c14n_nsuri},
    {"c14n", &g_xml_signature_c14n_without_comments},
    {"exc-c14n", &g_xml_signature_exc_c14n_without_comments},
    {"exc-c14n-comments", &g_xml_signature_exc_c14n_with_comments},
    {"rsa-sha256", &g_xml_signature_algorithm_rsa_sha256},
    {"dsa-sha1", &g_xml_signature_algorithm_dsa_sha1},
    {"ecdsa-sha256", &g_xml_signature_algorithm_ecdsa_sha256},
    {"hmac-sha1", &g_xml_signature_algorithm_hmac_sha1},
    {"hmac-sha256", &g_xml_signature_algorithm_hmac_sha256},
    {"sha1", &g_xml_signature_algorithm_sha1},
    {"sha256", &g_xml_signature_algorithm_sha256},
    {"xpath", &g_xml_signature_xpath},
    {"base64", &g_xml_signature_base64},
    {"enveloped", &g_xml_signature_enveloped_signature},
};

std::string valueOf(std::string_view name) {
  if (name == "digest") {
    return base64(std::string(32, 'd'));
  }
  if (name == "cert") {
    static const std::string der = makeIdentity().der();
    return base64(der);
  }
  const auto found = kNames.find(name);
  EXPECT_NE(found, kNames.end()) << name;
  return found == kNames.end() ? "" : textOf(*found->second);
}

constexpr std::string_view kRich = R"(<doc xmlns:ds="{ds}" xmlns:xa="{xa}" xmlns:ec="{ec}">
<data Id="outside">text</data>
<ds:Signature Id="S"><!-- before -->
<ds:SignedInfo Id="SI">
<ds:CanonicalizationMethod Algorithm="{exc-c14n}"><ec:InclusiveNamespaces PrefixList="a b"/></ds:CanonicalizationMethod>
<ds:SignatureMethod Algorithm="{rsa-sha256}"/>
<ds:Reference Id="R1" URI="#data" Type="urn:type"><ds:Transforms>
<ds:Transform Algorithm="{xpath}"><ds:XPath><!-- c -->self::a<?pi?> or self::b</ds:XPath></ds:Transform>
<ds:Transform Algorithm="{exc-c14n}"><ec:InclusiveNamespaces PrefixList="p"/></ds:Transform>
<ds:Transform Algorithm="{enveloped}"/></ds:Transforms>
<ds:DigestMethod Algorithm="{sha256}"/><ds:DigestValue>{digest}</ds:DigestValue></ds:Reference>
<ds:Reference URI=""><ds:DigestMethod Algorithm="urn:unknown"/><ds:DigestValue>AQID</ds:DigestValue></ds:Reference>
</ds:SignedInfo>
<ds:SignatureValue Id="SV">c2ln
bmF0dXJl</ds:SignatureValue>
<ds:KeyInfo Id="KI">
<ds:KeyName>Key <!-- c -->name</ds:KeyName>
<ds:KeyValue><ds:RSAKeyValue><ds:Modulus>AMAA</ds:Modulus><ds:Exponent>AQAB</ds:Exponent></ds:RSAKeyValue></ds:KeyValue>
<ds:KeyValue><ds:DSAKeyValue><ds:P>Fw==</ds:P><ds:Q>Cw==</ds:Q><ds:G>BA==</ds:G><ds:Y>CA==</ds:Y><ds:J>Ag==</ds:J><ds:Seed>AQID</ds:Seed><ds:PgenCounter>BQ==</ds:PgenCounter></ds:DSAKeyValue></ds:KeyValue>
<ds:KeyValue><k:ECKeyValue xmlns:k="urn:k"/></ds:KeyValue>
<ds:RetrievalMethod URI="#KI" Type="urn:r"><ds:Transforms><ds:Transform Algorithm="{base64}"/></ds:Transforms></ds:RetrievalMethod>
<ds:X509Data>
<ds:X509IssuerSerial><ds:X509IssuerName>CN=Issuer</ds:X509IssuerName><ds:X509SerialNumber>17</ds:X509SerialNumber></ds:X509IssuerSerial>
<ds:X509SKI>c2tp</ds:X509SKI>
<ds:X509SubjectName>CN=Subject</ds:X509SubjectName>
<ds:X509Certificate>{cert}</ds:X509Certificate>
<ds:X509CRL>Y3Js</ds:X509CRL>
<ds:X509Digest>ZGln</ds:X509Digest>
</ds:X509Data>
<ds:MgmtData>managed</ds:MgmtData>
<f:Foreign xmlns:f="urn:f"/>
</ds:KeyInfo>
<ds:Object Id="O1"><xa:QualifyingProperties Id="QP" Target="#S">
<xa:SignedProperties Id="SP"><xa:SignedSignatureProperties Id="SSP">
<xa:SigningTime>2024-01-02T03:04:05Z</xa:SigningTime>
<xa:SigningCertificate><xa:Cert><xa:CertDigest><ds:DigestMethod Algorithm="{sha256}"/><ds:DigestValue>{digest}</ds:DigestValue></xa:CertDigest><xa:IssuerSerial><ds:X509IssuerName>CN=Issuer</ds:X509IssuerName><ds:X509SerialNumber>17</ds:X509SerialNumber></xa:IssuerSerial></xa:Cert></xa:SigningCertificate>
</xa:SignedSignatureProperties></xa:SignedProperties>
<xa:UnsignedProperties><xa:UnsignedSignatureProperties>
<xa:SignatureTimeStamp><ds:CanonicalizationMethod Algorithm="{exc-c14n}"><ec:InclusiveNamespaces PrefixList="t"/></ds:CanonicalizationMethod><xa:EncapsulatedTimeStamp Id="E">dG9rZW4=</xa:EncapsulatedTimeStamp></xa:SignatureTimeStamp>
<xa:CertificateValues><xa:EncapsulatedX509Certificate Id="CV">{cert}</xa:EncapsulatedX509Certificate></xa:CertificateValues>
<xa:SignatureTimeStamp><xa:EncapsulatedTimeStamp>c2Vjb25k</xa:EncapsulatedTimeStamp></xa:SignatureTimeStamp>
<xa:CompleteCertificateRefs><xa:CertRefs><xa:Cert><xa:CertDigest><ds:DigestMethod Algorithm="{sha1}"/><ds:DigestValue>AQID</ds:DigestValue></xa:CertDigest><xa:IssuerSerial><ds:X509IssuerName>CN=Root</ds:X509IssuerName><ds:X509SerialNumber>1</ds:X509SerialNumber></xa:IssuerSerial></xa:Cert></xa:CertRefs></xa:CompleteCertificateRefs>
<xa:CounterSignature><ds:Signature Id="CS"/></xa:CounterSignature>
<xa:CounterSignature><other/></xa:CounterSignature>
</xa:UnsignedSignatureProperties></xa:UnsignedProperties>
</xa:QualifyingProperties></ds:Object>
<ds:Object Id="O2" MimeType="text/plain" Encoding="urn:e">only text</ds:Object>
<ds:Object Id="O3"><ds:Manifest Id="M"><ds:Reference Id="MR" URI="#data"><ds:DigestMethod Algorithm="{sha1}"/><ds:DigestValue>AQID</ds:DigestValue></ds:Reference></ds:Manifest>between<ds:SignatureProperties Id="SPS"><ds:SignatureProperty Id="P1" Target="#S"><any/></ds:SignatureProperty></ds:SignatureProperties>
<ds:Signature Id="N"><ds:SignedInfo><ds:CanonicalizationMethod Algorithm="{c14n}"/><ds:SignatureMethod Algorithm="{hmac-sha1}"/><ds:Reference URI=""><ds:DigestMethod Algorithm="{sha1}"/><ds:DigestValue>AQID</ds:DigestValue></ds:Reference></ds:SignedInfo><ds:SignatureValue>bmVzdA==</ds:SignatureValue></ds:Signature></ds:Object>
</ds:Signature>
</doc>)";

}  // namespace

std::string expand(std::string text) {
  for (size_t open = text.find('{'); open != std::string::npos; open = text.find('{', open)) {
    const size_t close = text.find('}', open);
    const std::string value = valueOf(std::string_view(text).substr(open + 1, close - open - 1));
    text.replace(open, close - open + 1, value);
    open += value.size();
  }
  return text;
}

std::string richDocument() {
  return std::string(kRich);
}

std::string plainSignature(std::string_view more) {
  return std::string(R"(<ds:Signature xmlns:ds="{ds}" xmlns:ec="{ec}" xmlns:xa="{xa}" Id="S">)"
                     R"(<ds:SignedInfo><ds:CanonicalizationMethod Algorithm="{c14n}"/>)"
                     R"(<ds:SignatureMethod Algorithm="{rsa-sha256}"/>)"
                     R"(<ds:Reference URI=""><ds:DigestMethod Algorithm="{sha256}"/>)"
                     R"(<ds:DigestValue>{digest}</ds:DigestValue></ds:Reference></ds:SignedInfo>)"
                     R"(<ds:SignatureValue>c2lnbmF0dXJl</ds:SignatureValue>)")
      .append(more)
      .append("</ds:Signature>");
}

Decoded decode(const std::string &text) {
  Decoded decoded;
  decoded.document = parse(expand(text));
  decoded.record.reset(talvo_xml_decode_signature(findSignature(decoded.document.get())));
  return decoded;
}

bool decodes(const std::string &text) {
  return decode(text).record != nullptr;
}

}  // namespace talvo::test
