// The key of a signature. It is not counted: a copy holds a new handle of the same key.
#include "signature/context/copy.h"

namespace {

using namespace talvo;

template <class Value>
SignatureKey *newKey(uint32_t type, Value value) noexcept {
  if (value == nullptr) {
    return nullptr;
  }
  return make<SignatureKey>(kSource, type, std::move(value)).release();
}

}  // namespace

namespace talvo {

Key makeHmacKey(Bytes secret) noexcept {
  return Key(
      newKey(TALVO_SIGNATURE_KEY_HMAC, Blob(talvo_data_blob_new(secret.data(), secret.size()))));
}

}  // namespace talvo

SignatureKey *talvo_xml_signature_key_newcert(const TalvoPKICert *certificate) noexcept {
  return newKey(TALVO_SIGNATURE_KEY_CERTIFICATE, Certificate(TalvoPKICertDupCert(certificate)));
}

SignatureKey *talvo_xml_signature_key_newpubkey(TalvoPKIPublicKey *key) noexcept {
  return newKey(TALVO_SIGNATURE_KEY_PUBLIC, PublicKey(TalvoPKICryptoDupPublicKey(key)));
}

SignatureKey *talvo_xml_signature_key_dup(const SignatureKey *key) noexcept {
  if (key == nullptr) {
    return nullptr;
  }
  if (const Blob *secret = std::get_if<Blob>(&key->value)) {
    return makeHmacKey(bytesOf(secret->get())).release();
  }
  return key->type == TALVO_SIGNATURE_KEY_CERTIFICATE
             ? talvo_xml_signature_key_newcert(key->certificate())
             : talvo_xml_signature_key_newpubkey(key->publicKey());
}

void talvo_xml_signature_key_free(SignatureKey *key) noexcept {
  destroy(key);
}

uint32_t talvo_xml_signature_key_gettype(const SignatureKey *key) noexcept {
  return key == nullptr ? 0 : key->type;
}

TalvoPKICert *talvo_xml_signature_key_getcert(const SignatureKey *key) noexcept {
  return key == nullptr ? nullptr : TalvoPKICertDupCert(key->certificate());
}

TalvoPKIPublicKey *talvo_xml_signature_key_getpubkey(const SignatureKey *key) noexcept {
  return key == nullptr ? nullptr : TalvoPKICryptoDupPublicKey(key->publicKey());
}
