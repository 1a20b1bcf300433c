// Owning handles of the libraries' objects, made from the public headers alone.
#pragma once

#include <memory>

#include "talvo_crypto.h"
#include "talvo_util.h"
#include "talvo_xml.h"

namespace talvo::cli {

template <auto Free>
struct Releaser {
  template <class T>
  void operator()(T *object) const noexcept {
    Free(object);
  }
};

template <class T, auto Free>
using Handle = std::unique_ptr<T, Releaser<Free>>;

using UString = Handle<talvo_ustring, talvo_ustring_free>;
using List = Handle<talvo_arraylist, talvo_arraylist_free>;
using Blob = Handle<talvo_data_blob, talvo_data_blob_free>;
using BigInteger = Handle<talvo_biginteger, talvo_biginteger_free>;
using Time = Handle<talvo_time, talvo_time_free>;
using Json = Handle<talvo_json, talvo_json_free>;
using Crl = Handle<talvo_crl, talvo_crl_free>;
using DistinguishedName = Handle<talvo_cert_dn, talvo_cert_dn_free>;
using TextBuffer = Handle<char, talvo_free>;
using ByteBuffer = Handle<uint8_t, talvo_free>;

using CryptoBuffer = Handle<uint8_t, TalvoPKICryptoFreeMemory>;
using Certificate = Handle<TalvoPKICert, TalvoPKICertFreeCert>;
using KeyPair = Handle<TalvoPKIKeyPair, TalvoPKICryptoFreeKeyPair>;
using TimeStamp = Handle<TalvoPKITimeStamp, TalvoPKIMsgFreeTimeStamp>;

using Document = Handle<XmlDoc, talvo_xml_doc_free>;
using SignatureRecord = Handle<Signature, talvo_xml_free_signature>;
using Key = Handle<SignatureKey, talvo_xml_signature_key_free>;
using SignedInfoContext = Handle<SignedInfoCtx, talvo_xml_signature_signedinfoctx_free>;
using ReferenceContext = Handle<ReferenceCtx, talvo_xml_signature_referencectx_free>;
using TransformContext = Handle<TransformCtx, talvo_xml_signature_transformctx_free>;
using ObjectContext = Handle<ObjectCtx, talvo_xml_signature_objectctx_free>;
using CertIdHandle = Handle<CertId, talvo_xml_signature_xades_certid_free>;

// The release function of a list item, for talvo_arraylist_new.
template <class T, auto Free>
void releaseItem(void *item) noexcept {
  Free(static_cast<T *>(item));
}

// A list that releases the items it is given by `append`.
template <class T, auto Free>
List makeList() {
  return List(talvo_arraylist_new(nullptr, releaseItem<T, Free>));
}

template <class Owner>
bool append(const List &list, Owner item) {
  if (item == nullptr || talvo_arraylist_pushback(list.get(), item.get()) != 1) {
    return false;
  }
  item.release();  // the list owns it now
  return true;
}

}  // namespace talvo::cli
