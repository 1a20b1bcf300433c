// Any document: decode each signature and ask everything that can be asked of a record.
#include "fuzz.h"

namespace talvo::fuzz {
namespace {

using TextQuery = talvo_ustring *(*)(const Signature *) noexcept;

void askTexts(const Signature *signature) {
  for (const TextQuery query : {talvo_xml_signature_getid, talvo_xml_signature_getsignaturevalueid,
                                talvo_xml_signature_xades_getqualifyingpropertiesid,
                                talvo_xml_signature_xades_getsignedpropertiesid,
                                talvo_xml_signature_xades_getsignedsignaturepropertiesid}) {
    talvo_ustring_free(query(signature));
  }
}

void askXades(const Signature *signature) {
  Time(talvo_xml_signature_xades_getsigningtime(signature));
  for (int32_t index = -1; index <= talvo_xml_signature_xades_getcertificatevaluescount(signature);
       ++index) {
    TalvoPKICertFreeCert(talvo_xml_signature_xades_getcertificatevalue(signature, index));
  }
  for (int32_t index = -1;
       index <= talvo_xml_signature_xades_getcompleterevocationrefscount(signature); ++index) {
    CertId *certId = talvo_xml_signature_xades_getcompleterevocationref(signature, index);
    BigInteger(talvo_xml_signature_xades_certid_getsn(certId));
    TextBuffer(talvo_xml_signature_xades_certid_getissuer(certId));
    talvo_xml_signature_xades_certid_free(certId);
  }
}

void ask(XmlNode *element) {
  const SignatureHandle signature(talvo_xml_decode_signature(element));
  if (!signature) {
    return;
  }
  int32_t number = 0;
  talvo_xml_signature_getsignalgothrim(signature.get(), &number);
  talvo_xml_signature_gethmaclength(signature.get(), &number);
  const List references(talvo_xml_signature_getreflist(signature.get()));
  talvo_xml_signature_signedinfoctx_free(talvo_xml_signature_getsignedinfo(signature.get()));
  askTexts(signature.get());
  askXades(signature.get());
}

}  // namespace
}  // namespace talvo::fuzz

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  using namespace talvo::fuzz;
  const LeakCheck leaks;
  forEachSignature(data, size, ask);
  return 0;
}
