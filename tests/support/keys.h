// Keys, certificates and CRLs made in the test's own process. Keys are made once a process and
// kind, since some take long; certificates are valid from 2020 to 2049.
#pragma once

#include <string>
#include <vector>

#include <openssl/evp.h>
#include <openssl/x509.h>

#include "talvo_crypto.h"

#include "base/handle.h"

namespace talvo::test {

enum class KeyKind { rsa, rsaOther, rsaPss, p224, p256, p384, p521, dsa, sm2, ed25519, ed448 };

using Certificate = Handle<TalvoPKICert, TalvoPKICertFreeCert>;
using KeyPair = Handle<TalvoPKIKeyPair, TalvoPKICryptoFreeKeyPair>;
using PublicKey = Handle<TalvoPKIPublicKey, TalvoPKICryptoFreePublicKey>;
using CryptoBytes = Handle<uint8_t, TalvoPKICryptoFreeMemory>;

// The DER of an OpenSSL object.
template <class T, class Encode>
std::string derOf(T *object, Encode i2d) {
  unsigned char *bytes = nullptr;
  const int length = i2d(object, &bytes);
  std::string der(reinterpret_cast<char *>(bytes), static_cast<size_t>(length < 0 ? 0 : length));
  OPENSSL_free(bytes);
  return der;
}

using EvpKeyHandle = Handle<EVP_PKEY, EVP_PKEY_free>;
using X509Handle = Handle<X509, X509_free>;

// RSA 2048 (RSA-PSS without restrictions), DSA 1024/160, and the curves. Borrowed: lives as long as the process.
EVP_PKEY *evpKey(KeyKind kind);
// PKCS #8.
std::string privateKeyDer(KeyKind kind);
std::string privateKeyPem(KeyKind kind);
std::string publicKeyDer(KeyKind kind);
std::string publicKeyPem(KeyKind kind);
// The ds:KeyValue of an RSA or DSA key.
std::string keyValueXml(KeyKind kind);

// Key usage bits as the library numbers them; kNoKeyUsage leaves the extension out.
constexpr int kNoKeyUsage = -1;
constexpr int kDigitalSignature = 1;
constexpr int kNonRepudiation = 2;
constexpr int kKeyEncipherment = 4;
constexpr int kKeyAgreement = 16;
constexpr int kKeyCertSign = 32;
constexpr int kCrlSign = 64;

struct Identity {
  KeyKind kind = KeyKind::rsa;
  X509Handle x509;

  // The handle with its private key, and the handle alone.
  Certificate certificate() const;
  Certificate publicCertificate() const;
  KeyPair keyPair() const;
  std::string der() const;
  std::string pem() const;
};

struct IdentityOptions {  // each with a value, so that a test names only what matters to it
  KeyKind kind = KeyKind::rsa;
  // "/C=DE/O=Example/CN=Name", most general part first.
  std::string subject = "/C=DE/O=Talvo Example/CN=Signer";
  std::string serial = "4660";
  int keyUsage = kNoKeyUsage;
  bool authority = false;
  bool timeStamping = false;
  const Identity *issuer = nullptr;  // null: self-signed
};

Identity makeIdentity(const IdentityOptions &options = {});

// Root, intermediate and leaf, all with keys of one kind but for the leaf's.
struct Chain {
  Identity root;
  Identity intermediate;
  Identity leaf;

  // The leaf with its key and the other two as companions.
  Certificate certificate() const;
};

Chain makeChain(KeyKind authorityKind = KeyKind::p256, KeyKind leafKind = KeyKind::rsa,
                int leafKeyUsage = kDigitalSignature | kNonRepudiation);

// The DER of a CRL of the issuer; `number` below 0 leaves the CRL number out.
std::string makeCrl(const Identity &issuer, long number = -1,
                    const std::vector<std::string> &revokedSerials = {});

// PKCS #12 with the identity's key and certificate and the others; an empty password is a password.
std::string makePkcs12(const Identity &identity, const std::vector<const Identity *> &others,
                       const std::string &password);

// Encrypted PKCS #8 as PEM.
std::string encryptedKeyPem(KeyKind kind, const std::string &password);

}  // namespace talvo::test
