// Every signature of a document, in document order; the first failure is the answer. Ids are
// registered once for the whole document, so the decoder need not repeat that walk for each
// signature.
#include "base/boundary.h"
#include "base/list.h"
#include "signature/context/context.h"
#include "signature/decode/signature.h"
#include "signature/record/record.h"

namespace talvo {
namespace {

struct VerifyRun {
  const talvo_ustring *basePath;
  const void *externalData;
  size_t length;
  uint32_t *error;
};

void freeKey(void *key) noexcept {
  talvo_xml_signature_key_free(static_cast<SignatureKey *>(key));
}

Key verifyOne(XmlNode *element, const VerifyRun &run) noexcept {
  const SignatureRecord signature = decodeSignature(element, Registration::skip);
  if (!signature) {
    return failNull(run.error, TALVO_VERIFY_ERROR_UNDECODABLE);
  }
  if (run.basePath != nullptr &&
      talvo_xml_signature_setbasepath(signature.get(), run.basePath) != 1) {
    return failNull(run.error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY);
  }
  SignatureKey *verified = nullptr;
  if (talvo_xml_signature_signaturevalidation(signature.get(), &verified, run.error) != 1) {
    return nullptr;
  }
  Key key(verified);
  if (talvo_xml_signature_referencevalidation_ex(signature.get(), TALVO_DEREFERENCE_NETWORK,
                                                 run.externalData, run.length, run.error) != 1) {
    return nullptr;
  }
  return key;
}

List verifyAll(const List &elements, const VerifyRun &run) noexcept {
  List keys(talvo_arraylist_new(nullptr, freeKey));
  if (!keys) {
    return failNull(run.error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY);
  }
  for (XmlNode *element : items<XmlNode>(elements)) {
    Key key = verifyOne(element, run);
    if (!key) {
      return nullptr;
    }
    if (!append(keys, std::move(key))) {
      return failNull(run.error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY);
    }
  }
  return keys;
}

int32_t verifyDocument(XmlDoc *doc, const VerifyRun &run, talvo_arraylist **keys) noexcept {
  if (doc == nullptr) {
    return fail(run.error, TALVO_VERIFY_ERROR_MISSING_ARGUMENT);
  }
  talvo_arraylist *found = nullptr;
  if (talvo_xml_node_findsignature(talvo_xml_doc_getrootelement(doc), &found) != 1) {
    return fail(run.error, TALVO_VERIFY_ERROR_NO_SIGNATURE);
  }
  const List elements(found);
  if (items<XmlNode>(elements).empty()) {
    return fail(run.error, TALVO_VERIFY_ERROR_NO_SIGNATURE);
  }
  if (talvo_xml_signature_setid(doc) != 1) {
    return fail(run.error, TALVO_VERIFY_ERROR_ID_REGISTRATION);
  }
  List verified = verifyAll(elements, run);
  if (!verified) {
    return 0;
  }
  if (keys != nullptr) {
    *keys = verified.release();
  }
  return 1;
}

}  // namespace
}  // namespace talvo

extern "C" {

int32_t talvo_xml_signature_verify_ex(XmlDoc *doc, const talvo_ustring *basePath,
                                      const void *externalData, size_t length,
                                      talvo_arraylist **keys, uint32_t *error) noexcept {
  return talvo::guardWithError(error, TALVO_VERIFY_ERROR_OUT_OF_MEMORY, [&] {
    if (keys != nullptr) {
      *keys = nullptr;
    }
    return talvo::verifyDocument(doc, {basePath, externalData, length, error}, keys);
  });
}

int32_t talvo_xml_signature_verify(XmlDoc *doc, const void *externalData, size_t length,
                                   talvo_arraylist **keys, uint32_t *error) noexcept {
  return talvo_xml_signature_verify_ex(doc, nullptr, externalData, length, keys, error);
}
}
