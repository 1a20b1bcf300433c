// The decoded tree of one ds:Signature: plain structs of handles, so that destroying a record
// releases all of it. Records own texts, octets, numbers and lists; nodes are only pointed at and
// belong to their document. A null string means that the item is absent.
#pragma once

#include <array>
#include <cstdint>
#include <variant>

#include "talvo_xml.h"

#include "base/handle.h"
#include "base/list.h"
#include "base/memory.h"
#include "base/refcount.h"
#include "crypto/handle.h"
#include "signature/record/release.h"

namespace talvo {

struct CanonicalizationMethod {
  XmlNode *element = nullptr;
  UString algorithm;
  int32_t algorithmId = -1;
};

struct SignatureMethod {
  XmlNode *element = nullptr;
  UString algorithm;
  int32_t algorithmId = -1;
  int32_t hmacOutputLength = -1;  // bits; -1 for a method that is not an HMAC
};

// The algorithm of a transform stays unnumbered, and its content stays in the document, until it is
// run.
struct Transform {
  XmlNode *signatureElement = nullptr;  // the enclosing ds:Signature, or null
  XmlNode *element = nullptr;
  UString algorithm;
};

struct DigestMethod {
  XmlNode *element = nullptr;
  UString algorithm;
  int32_t algorithmId = -1;
};

struct DigestValue {
  XmlNode *element = nullptr;
  Blob value;
};

}  // namespace talvo

struct Reference {
  XmlNode *element = nullptr;
  talvo::List transforms;  // of Transform; null without ds:Transforms
  talvo::Owned<talvo::DigestMethod> digestMethod;
  talvo::Owned<talvo::DigestValue> digestValue;
  talvo::UString id;
  talvo::UString uri;  // null when the attribute is absent, which is not the same as empty
  talvo::UString type;
};

namespace talvo {

struct SignedInfo {
  XmlNode *element = nullptr;
  Owned<CanonicalizationMethod> canonicalizationMethod;
  Owned<SignatureMethod> signatureMethod;
  List references;  // of Reference, at least one
  UString id;
};

struct SignatureValue {
  XmlNode *element = nullptr;
  Blob value;
  UString id;
};

struct KeyName {
  XmlNode *element = nullptr;
  UString name;
};

struct DsaKeyValue {
  XmlNode *element = nullptr;
  BigInteger p, q, g, y, j;
  Blob seed;
  BigInteger pgenCounter;
};

struct RsaKeyValue {
  XmlNode *element = nullptr;
  BigInteger modulus;
  BigInteger exponent;
};

struct KeyValue {
  XmlNode *element = nullptr;
  int32_t kind = TALVO_KEY_VALUE_OTHER;  // the value is then the child node
  std::variant<XmlNode *, Owned<DsaKeyValue>, Owned<RsaKeyValue>> value;
};

struct RetrievalMethod {
  XmlNode *element = nullptr;
  UString uri;
  UString type;
  List transforms;  // of Transform, or null
};

struct X509IssuerSerial {
  XmlNode *element = nullptr;
  UString issuerName;
  UString serialNumber;
};

enum class X509Kind { other, issuerSerial, ski, subjectName, certificate, crl };

struct X509DataItem {
  X509Kind kind = X509Kind::other;  // the data is then the node; DER for certificates and CRLs
  std::variant<XmlNode *, Owned<X509IssuerSerial>, Blob, UString> data;
};

// X509Data is a list of X509DataItem, MgmtData a text, an unknown child its node.
struct KeyInfoItem {
  int32_t kind = TALVO_KEYINFO_OTHER;
  std::variant<XmlNode *, Owned<KeyName>, Owned<KeyValue>, Owned<RetrievalMethod>, List, UString>
      data;
};

struct KeyInfo {
  XmlNode *element = nullptr;
  UString id;
  List items;  // of KeyInfoItem, in document order
};

struct SignatureProperty {
  XmlNode *element = nullptr;
  UString id;
  UString target;
};

struct SignatureProperties {
  XmlNode *element = nullptr;
  UString id;
  List properties;  // of SignatureProperty
};

struct Manifest {
  XmlNode *element = nullptr;
  UString id;
  List references;  // of Reference
};

struct ObjectContent {
  int32_t kind = TALVO_OBJECT_NODE;
  std::variant<XmlNode *, UString, Handle<Signature, talvo_xml_free_signature>,
               Owned<SignatureProperties>, Owned<Manifest>>
      data;
};

struct Object {
  XmlNode *element = nullptr;
  UString id;
  UString encoding;
  UString mimeType;
  List content;  // of ObjectContent from the first element child on; null without element child
};

// One XAdES SignatureTimeStamp.
struct TimeStamp {
  int32_t c14nAlgorithmId = -1;  // -1 without ds:CanonicalizationMethod
  List inclusivePrefixes;        // of ustring; only for exclusive canonicalisation without comments
  ByteBuffer token;              // DER
  uint32_t tokenLength = 0;
};

using OwnedReference = Owned<Reference>;

}  // namespace talvo

// One certificate named by XAdES SigningCertificate or CompleteCertificateRefs.
struct CertId {
  int32_t digestAlgorithmId = -1;
  talvo::ByteBuffer digest;
  uint32_t digestLength = 0;
  talvo::TextBuffer issuerName;    // NUL-terminated
  talvo::TextBuffer serialNumber;  // NUL-terminated decimal text as written
};

struct Signature : talvo::Counted {
  XmlNode *element = nullptr;
  talvo::Owned<talvo::SignedInfo> signedInfo;
  talvo::Owned<talvo::SignatureValue> signatureValue;
  talvo::Owned<talvo::KeyInfo> keyInfo;
  talvo::List objects;  // of Object; null without ds:Object
  talvo::UString id;
  std::array<talvo::BigInteger, 3> domainParameters;  // P, Q, G given by the caller
  talvo::List extraCertificates;                      // of TalvoPKICert, given by the caller
  talvo::Blob hmacKey;                                // given by the caller
  XmlDoc *document = nullptr;
  talvo::UString basePath;
  talvo::Certificate signerCertificate;  // set when the signature value verified with a certificate
  talvo::List certificateValues;         // of TalvoPKICert
  talvo::List signingCertificate;        // of CertId
  talvo::List signatureTimeStamps;       // of TimeStamp
  talvo::List counterSignatures;         // of XmlNode, not owned
  talvo::Time signingTime;
  talvo::UString qualifyingPropertiesId;
  talvo::UString signedPropertiesId;
  talvo::UString signedSignaturePropertiesId;
  talvo::UString signatureValueId;
  talvo::List completeCertificateRefs;  // of CertId
};

namespace talvo {

using SignatureRecord = Handle<Signature, talvo_xml_free_signature>;

}  // namespace talvo
