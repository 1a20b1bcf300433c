// How the parts of a record are given back: each has a release function of its own, which its
// handles use.
#pragma once

#include "talvo_xml.h"

#include "base/memory.h"

namespace talvo {

struct SignedInfo;
struct CanonicalizationMethod;
struct SignatureMethod;
struct Transform;
struct DigestMethod;
struct DigestValue;
struct SignatureValue;
struct KeyInfo;
struct KeyInfoItem;
struct KeyName;
struct KeyValue;
struct DsaKeyValue;
struct RsaKeyValue;
struct RetrievalMethod;
struct X509DataItem;
struct X509IssuerSerial;
struct Object;
struct ObjectContent;
struct SignatureProperties;
struct SignatureProperty;
struct Manifest;

}  // namespace talvo

// The release functions of the parts of a record. Null is ignored.
extern "C" {

void talvo_xml_free_signature_signedinfo(talvo::SignedInfo *record) noexcept;
void talvo_xml_free_signature_c14nmethod(talvo::CanonicalizationMethod *record) noexcept;
void talvo_xml_free_signature_signaturemethod(talvo::SignatureMethod *record) noexcept;
void talvo_xml_free_signature_transform(talvo::Transform *record) noexcept;
void talvo_xml_free_signature_digestmethod(talvo::DigestMethod *record) noexcept;
void talvo_xml_free_signature_digestvalue(talvo::DigestValue *record) noexcept;
void talvo_xml_free_signature_signaturevalue(talvo::SignatureValue *record) noexcept;
void talvo_xml_free_signature_keyinfo(talvo::KeyInfo *record) noexcept;
void talvo_xml_free_signature_keyinfoelem(talvo::KeyInfoItem *record) noexcept;
void talvo_xml_free_signature_keyname(talvo::KeyName *record) noexcept;
void talvo_xml_free_signature_keyvalue(talvo::KeyValue *record) noexcept;
void talvo_xml_free_signature_dsakeyvalue(talvo::DsaKeyValue *record) noexcept;
void talvo_xml_free_signature_rsakeyvalue(talvo::RsaKeyValue *record) noexcept;
void talvo_xml_free_signature_retrievalmethod(talvo::RetrievalMethod *record) noexcept;
void talvo_xml_free_signature_x509dataelem(talvo::X509DataItem *record) noexcept;
void talvo_xml_free_signature_x509IssuerSerial(talvo::X509IssuerSerial *record) noexcept;
void talvo_xml_free_signature_object(talvo::Object *record) noexcept;
void talvo_xml_free_signature_objectelem(talvo::ObjectContent *record) noexcept;
void talvo_xml_free_signature_signatureproperties(talvo::SignatureProperties *record) noexcept;
void talvo_xml_free_signature_signatureproperty(talvo::SignatureProperty *record) noexcept;
void talvo_xml_free_signature_manifest(talvo::Manifest *record) noexcept;
}

namespace talvo {

template <>
inline constexpr Release<Reference> kRelease<Reference> = talvo_xml_free_signature_reference;
template <>
inline constexpr Release<CertId> kRelease<CertId> = talvo_xml_signature_xades_certid_free;
template <>
inline constexpr Release<SignedInfo> kRelease<SignedInfo> = talvo_xml_free_signature_signedinfo;
template <>
inline constexpr Release<CanonicalizationMethod> kRelease<CanonicalizationMethod> =
    talvo_xml_free_signature_c14nmethod;
template <>
inline constexpr Release<SignatureMethod> kRelease<SignatureMethod> =
    talvo_xml_free_signature_signaturemethod;
template <>
inline constexpr Release<Transform> kRelease<Transform> = talvo_xml_free_signature_transform;
template <>
inline constexpr Release<DigestMethod> kRelease<DigestMethod> =
    talvo_xml_free_signature_digestmethod;
template <>
inline constexpr Release<DigestValue> kRelease<DigestValue> = talvo_xml_free_signature_digestvalue;
template <>
inline constexpr Release<SignatureValue> kRelease<SignatureValue> =
    talvo_xml_free_signature_signaturevalue;
template <>
inline constexpr Release<KeyInfo> kRelease<KeyInfo> = talvo_xml_free_signature_keyinfo;
template <>
inline constexpr Release<KeyInfoItem> kRelease<KeyInfoItem> = talvo_xml_free_signature_keyinfoelem;
template <>
inline constexpr Release<KeyName> kRelease<KeyName> = talvo_xml_free_signature_keyname;
template <>
inline constexpr Release<KeyValue> kRelease<KeyValue> = talvo_xml_free_signature_keyvalue;
template <>
inline constexpr Release<DsaKeyValue> kRelease<DsaKeyValue> = talvo_xml_free_signature_dsakeyvalue;
template <>
inline constexpr Release<RsaKeyValue> kRelease<RsaKeyValue> = talvo_xml_free_signature_rsakeyvalue;
template <>
inline constexpr Release<RetrievalMethod> kRelease<RetrievalMethod> =
    talvo_xml_free_signature_retrievalmethod;
template <>
inline constexpr Release<X509DataItem> kRelease<X509DataItem> =
    talvo_xml_free_signature_x509dataelem;
template <>
inline constexpr Release<X509IssuerSerial> kRelease<X509IssuerSerial> =
    talvo_xml_free_signature_x509IssuerSerial;
template <>
inline constexpr Release<Object> kRelease<Object> = talvo_xml_free_signature_object;
template <>
inline constexpr Release<ObjectContent> kRelease<ObjectContent> =
    talvo_xml_free_signature_objectelem;
template <>
inline constexpr Release<SignatureProperties> kRelease<SignatureProperties> =
    talvo_xml_free_signature_signatureproperties;
template <>
inline constexpr Release<SignatureProperty> kRelease<SignatureProperty> =
    talvo_xml_free_signature_signatureproperty;
template <>
inline constexpr Release<Manifest> kRelease<Manifest> = talvo_xml_free_signature_manifest;

}  // namespace talvo
