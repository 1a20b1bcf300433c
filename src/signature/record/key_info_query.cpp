// What KeyInfo holds, for callers.
#include "signature/record/record.h"

namespace talvo {
namespace {

ListView<KeyInfoItem> itemsOf(const Signature *signature) noexcept {
  const bool hasKeyInfo = signature != nullptr && signature->keyInfo != nullptr;
  return items<KeyInfoItem>(hasKeyInfo ? signature->keyInfo->items.get() : nullptr);
}

// The part of item `index` when it is a T, else null.
template <class T>
const T *partAt(const Signature *signature, int32_t index) noexcept {
  const KeyInfoItem *item = itemsOf(signature)[index];
  return item == nullptr ? nullptr : std::get_if<T>(&item->data);
}

const KeyValue *keyValueAt(const Signature *signature, int32_t index) noexcept {
  const auto *held = partAt<Owned<KeyValue>>(signature, index);
  return held == nullptr ? nullptr : held->get();
}

const talvo_ustring *textAt(const Signature *signature, int32_t index) noexcept {
  if (const auto *name = partAt<Owned<KeyName>>(signature, index)) {
    return (*name)->name.get();
  }
  if (const auto *method = partAt<Owned<RetrievalMethod>>(signature, index)) {
    return (*method)->uri.get();
  }
  const auto *text = partAt<UString>(signature, index);
  return text == nullptr ? nullptr : text->get();
}

// Shows the DER of each X509Certificate, in document order, until `visit` answers true.
template <class Visit>
void visitCertificates(const Signature *signature, Visit visit) noexcept {
  for (const KeyInfoItem *item : itemsOf(signature)) {
    const List *parts = std::get_if<List>(&item->data);
    for (const X509DataItem *part :
         items<X509DataItem>(parts == nullptr ? nullptr : parts->get())) {
      const Blob *octets = std::get_if<Blob>(&part->data);
      if (part->kind == X509Kind::certificate && octets != nullptr && visit(octets->get())) {
        return;
      }
    }
  }
}

}  // namespace
}  // namespace talvo

using namespace talvo;

int32_t talvo_xml_signature_getkeyinfocount(const Signature *signature) noexcept {
  return signature == nullptr ? -1 : itemsOf(signature).size();
}

int32_t talvo_xml_signature_getkeyinfokind(const Signature *signature, int32_t index) noexcept {
  const KeyInfoItem *item = itemsOf(signature)[index];
  return item == nullptr ? TALVO_KEYINFO_OTHER : item->kind;
}

talvo_ustring *talvo_xml_signature_getkeyinfotext(const Signature *signature,
                                                  int32_t index) noexcept {
  return talvo_ustring_dup(textAt(signature, index));
}

int32_t talvo_xml_signature_getkeyinfokeytype(const Signature *signature, int32_t index) noexcept {
  const KeyValue *value = keyValueAt(signature, index);
  return value == nullptr ? TALVO_KEY_VALUE_OTHER : value->kind;
}

int32_t talvo_xml_signature_getkeyinfokeybits(const Signature *signature, int32_t index) noexcept {
  const KeyValue *value = keyValueAt(signature, index);
  if (value == nullptr) {
    return -1;
  }
  if (const auto *rsa = std::get_if<Owned<RsaKeyValue>>(&value->value)) {
    return talvo_biginteger_getbits((*rsa)->modulus.get());
  }
  const auto *dsa = std::get_if<Owned<DsaKeyValue>>(&value->value);
  if (dsa == nullptr) {
    return -1;
  }
  return (*dsa)->p == nullptr ? 0 : talvo_biginteger_getbits((*dsa)->p.get());
}

XmlNode *talvo_xml_signature_getkeyinfonode(const Signature *signature, int32_t index) noexcept {
  const auto *node = partAt<XmlNode *>(signature, index);
  return node == nullptr ? nullptr : *node;
}

int32_t talvo_xml_signature_getkeyinfocertcount(const Signature *signature) noexcept {
  int32_t count = 0;
  visitCertificates(signature, [&count](const talvo_data_blob *) {
    ++count;
    return false;
  });
  return signature == nullptr ? -1 : count;
}

TalvoPKICert *talvo_xml_signature_getkeyinfocert(const Signature *signature,
                                                 int32_t index) noexcept {
  const talvo_data_blob *found = nullptr;
  int32_t position = 0;
  visitCertificates(signature, [&](const talvo_data_blob *der) {
    found = position == index ? der : nullptr;
    return position++ == index;
  });
  return found == nullptr ? nullptr
                          : TalvoPKICertNewCert(talvo_data_blob_getdata(found),
                                                talvo_data_blob_getlength(found));
}
