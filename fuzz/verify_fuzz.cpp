// Any document: decode and verify each signature, Manifests too, without network. Files that references name lie below
// a folder that does not exist.
#include "base/utf8.h"
#include "fuzz.h"

namespace talvo::fuzz {
namespace {

constexpr uint32_t kManifestsButNoNetwork = 2;

void verify(XmlNode *element, const talvo_ustring *basePath) {
  const SignatureHandle signature(talvo_xml_decode_signature(element));
  if (!signature) {
    return;
  }
  uint32_t error = 0;
  talvo_xml_signature_setbasepath(signature.get(), basePath);
  talvo_xml_signature_sethmackey(signature.get(), "secret", 6);
  talvo_xml_signature_signaturevalidation(signature.get(), nullptr, &error);
  talvo_xml_signature_referencevalidation_ex(signature.get(), kManifestsButNoNetwork, "data", 4,
                                             &error);
  XmlNode *counterSignature = nullptr;
  TalvoPKICert *signer = nullptr;
  talvo_xml_signature_xades_verifycountersignature(signature.get(), 0, nullptr, &signer,
                                                   &counterSignature);
  TalvoPKICertFreeCert(signer);
  TalvoPKITimeStamp *timeStamp = nullptr;
  talvo_xml_signature_xades_verifysignaturetimestamp(signature.get(), 0, nullptr, &timeStamp);
  TalvoPKIMsgFreeTimeStamp(timeStamp);
}

}  // namespace
}  // namespace talvo::fuzz

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  using namespace talvo::fuzz;
  const LeakCheck leaks;
  const talvo::UString basePath = talvo::makeString("/nonexistent");
  forEachSignature(data, size, [&](XmlNode *element) { verify(element, basePath.get()); });
  return 0;
}
