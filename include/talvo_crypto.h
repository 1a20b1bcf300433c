/* talvo_crypto.h - the cryptographic library: hashes, MACs, keys, signatures, certificates,
 * time-stamps, HTTP GET.
 *
 * The conventions of talvo_util.h hold here too (NULL handles, 1 and 0, out-parameters last,
 * ownership words), and:
 *
 * - Buffers (uint8_t *) that are handed out are given back to TalvoPKICryptoFreeMemory.
 * - Objects that are fed (hash, MAC, sign, verify) take any number of updates, then one
 *   final; after the final, whether it succeeded or not, they can only be released.
 * - Algorithms are named by the numbers of the enumerations below.
 * - Signatures of DSA, ECDSA and SM2 are DER (SEQUENCE of r and s) in the sign and verify
 *   operations.
 * - SM2 always works with the default identifier 1234567812345678. Keys on the SM2 curve sign and
 *   verify with TALVO_CRYPTO_SM2_SM3 only, keys on any other curve never with it.
 * - No function leaves anything on the calling thread's OpenSSL error queue or takes away what the
 *   application had there.
 * - The certificates read last (at most 128) are remembered process-wide, since reading one takes
 *   longer than verifying with it.
 * - Threads: two handles of one key or certificate (made by a dup function) may be used in two
 *   threads.
 */
#ifndef TALVO_CRYPTO_H
#define TALVO_CRYPTO_H

#include "talvo_util.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct TalvoPKIDevice TalvoPKIDevice;
typedef struct TalvoPKIHash TalvoPKIHash;
typedef struct TalvoPKIMac TalvoPKIMac;
typedef struct TalvoPKISign TalvoPKISign;
typedef struct TalvoPKIVerify TalvoPKIVerify;
typedef struct TalvoPKICert TalvoPKICert;
typedef struct TalvoPKIKeyPair TalvoPKIKeyPair;
typedef struct TalvoPKIPublicKey TalvoPKIPublicKey;
typedef struct TalvoPKITimeStamp TalvoPKITimeStamp;
typedef struct TalvoPKITrust TalvoPKITrust;

/* ---- algorithms ---- */

/* Hashes. */
enum {
  TALVO_HASH_MD5 = 0x1000,
  TALVO_HASH_SHA1 = 0x2000,
  TALVO_HASH_SHA224 = 0x3000,
  TALVO_HASH_SHA256 = 0x4000,
  TALVO_HASH_SHA384 = 0x5000,
  TALVO_HASH_SHA512 = 0x6000,
  TALVO_HASH_SM3 = 0x7000,
  TALVO_HASH_SHA3_224 = 0x8000,
  TALVO_HASH_SHA3_256 = 0x9000,
  TALVO_HASH_SHA3_384 = 0xa000,
  TALVO_HASH_SHA3_512 = 0xb000
};

/* MACs. */
enum {
  TALVO_MAC_HMAC_MD5 = 0x20000,
  TALVO_MAC_HMAC_SHA1 = 0x40000,
  TALVO_MAC_HMAC_SHA224 = 0x60000,
  TALVO_MAC_HMAC_SHA256 = 0x80000,
  TALVO_MAC_HMAC_SHA384 = 0xa0000,
  TALVO_MAC_HMAC_SHA512 = 0xc0000
};

/* Signatures. RSA_PSS (RFC 8017) has the same hash in the mask, MGF1, a salt as long as the hash
 * and trailer 1; TalvoPKICryptoNewSignPSS takes other parameters. The others of RSA are PKCS #1
 * v1.5. ED25519 and ED448 are the pure forms (RFC 8032) with the empty context; their objects hold
 * all of the octets that they are fed. */
enum {
  TALVO_CRYPTO_RSA_MD5 = 1,
  TALVO_CRYPTO_RSA_SHA1 = 2,
  TALVO_CRYPTO_RSA_SHA256 = 4,
  TALVO_CRYPTO_RSA_SHA384 = 5,
  TALVO_CRYPTO_RSA_SHA512 = 6,
  TALVO_CRYPTO_DSA_SHA1 = 13,
  TALVO_CRYPTO_ECDSA_SHA1 = 16,
  TALVO_CRYPTO_ECDSA_SHA224 = 17,
  TALVO_CRYPTO_ECDSA_SHA256 = 18,
  TALVO_CRYPTO_ECDSA_SHA384 = 19,
  TALVO_CRYPTO_ECDSA_SHA512 = 20,
  TALVO_CRYPTO_SM2_SM3 = 25,
  TALVO_CRYPTO_RSA_SHA224 = 26,
  TALVO_CRYPTO_DSA_SHA256 = 27,
  TALVO_CRYPTO_ECDSA_SHA3_224 = 28,
  TALVO_CRYPTO_ECDSA_SHA3_256 = 29,
  TALVO_CRYPTO_ECDSA_SHA3_384 = 30,
  TALVO_CRYPTO_ECDSA_SHA3_512 = 31,
  TALVO_CRYPTO_ED25519 = 32,
  TALVO_CRYPTO_ED448 = 33,
  TALVO_CRYPTO_RSA_PSS_SHA1 = 34,
  TALVO_CRYPTO_RSA_PSS_SHA224 = 35,
  TALVO_CRYPTO_RSA_PSS_SHA256 = 36,
  TALVO_CRYPTO_RSA_PSS_SHA384 = 37,
  TALVO_CRYPTO_RSA_PSS_SHA512 = 38,
  TALVO_CRYPTO_RSA_PSS_SHA3_224 = 39,
  TALVO_CRYPTO_RSA_PSS_SHA3_256 = 40,
  TALVO_CRYPTO_RSA_PSS_SHA3_384 = 41,
  TALVO_CRYPTO_RSA_PSS_SHA3_512 = 42
};

/* Key types. */
enum {
  TALVO_KEY_TYPE_OTHER = 0, /* Ed25519, Ed448, RSA keys bound to RSA-PSS, and what cannot sign */
  TALVO_KEY_TYPE_RSA = 1,
  TALVO_KEY_TYPE_DSA = 2,
  TALVO_KEY_TYPE_EC = 4 /* elliptic curve, SM2 included */
};

/* ---- buffers, random octets ---- */

/* TalvoPKICryptoAllocMemory returns a new buffer of `length` bytes, as the functions below hand
 * them out, or NULL. */
TALVO_API void *TalvoPKICryptoAllocMemory(size_t length) TALVO_NOEXCEPT;
/* TalvoPKICryptoFreeMemory gives a buffer back. NULL is ignored. */
TALVO_API void TalvoPKICryptoFreeMemory(void *memory) TALVO_NOEXCEPT;
/* TalvoPKICryptoGetPseudoDevice returns the borrowed software device; it is never released. */
TALVO_API TalvoPKIDevice *TalvoPKICryptoGetPseudoDevice(void) TALVO_NOEXCEPT;
/* TalvoPKICryptoGenerateRandom fills `bytes` with octets fit for keys and identifiers. On failure
 * the bytes must not be used. */
TALVO_API int32_t TalvoPKICryptoGenerateRandom(TalvoPKIDevice *device, uint8_t *bytes,
                                               size_t length) TALVO_NOEXCEPT;

/* ---- hashes ---- */

/* TalvoPKICryptoGetHashHandle returns a new hash object, or NULL for an unknown number. */
TALVO_API TalvoPKIHash *TalvoPKICryptoGetHashHandle(int32_t algorithm) TALVO_NOEXCEPT;
/* TalvoPKICryptoHashUpdate feeds `length` bytes. */
TALVO_API int32_t TalvoPKICryptoHashUpdate(TalvoPKIHash *hash, const void *bytes,
                                           size_t length) TALVO_NOEXCEPT;
/* TalvoPKICryptoHashFinal hands out the digest. */
TALVO_API int32_t TalvoPKICryptoHashFinal(TalvoPKIHash *hash, uint8_t **digest,
                                          size_t *length) TALVO_NOEXCEPT;
/* TalvoPKICryptoFreeHash releases a hash object. */
TALVO_API void TalvoPKICryptoFreeHash(TalvoPKIHash *hash) TALVO_NOEXCEPT;

/* ---- MACs ---- */

/* TalvoPKICryptoNewMac returns a new HMAC object (RFC 2104) with a copy of the key, or NULL. An
 * empty key is allowed. */
TALVO_API TalvoPKIMac *TalvoPKICryptoNewMac(int32_t algorithm, const void *key,
                                            size_t keyLength) TALVO_NOEXCEPT;
/* TalvoPKICryptoMacUpdate feeds `length` bytes. */
TALVO_API int32_t TalvoPKICryptoMacUpdate(TalvoPKIMac *mac, const void *bytes,
                                          size_t length) TALVO_NOEXCEPT;
/* TalvoPKICryptoMacFinal hands out the whole value, as long as the digest of the hash. */
TALVO_API int32_t TalvoPKICryptoMacFinal(TalvoPKIMac *mac, uint8_t **value,
                                         size_t *length) TALVO_NOEXCEPT;
/* TalvoPKICryptoFreeMac releases a MAC object and wipes its key. */
TALVO_API void TalvoPKICryptoFreeMac(TalvoPKIMac *mac) TALVO_NOEXCEPT;

/* TalvoPKICryptoEqualMemory compares two buffers of one length in constant time: 1 when equal, 0
 * when not or when one is NULL. Of length 0 they are equal. */
TALVO_API int32_t TalvoPKICryptoEqualMemory(const void *first, const void *second,
                                            size_t length) TALVO_NOEXCEPT;

/* ---- keys ---- */

/* Why TalvoPKICryptoOpenKeyPairEx or TalvoPKICertOpenEx did not open what it was given. */
enum {
  TALVO_OPEN_DONE = 0,
  TALVO_OPEN_UNREADABLE = 1,              /* neither a certificate nor a key, or damaged */
  TALVO_OPEN_PASSWORD_MISSING = 2,        /* locked, and no password (or PIN) was given */
  TALVO_OPEN_PASSWORD_WRONG = 3,          /* the password does not unlock it */
  TALVO_OPEN_LEGACY_PROVIDER_MISSING = 4, /* encrypted with algorithms of old that only OpenSSL's
                                             legacy provider has, which cannot be loaded */
  TALVO_OPEN_NO_KEY = 5,                  /* readable, but without private key; on a token: no such
                                             key, or the wrong PIN */
  TALVO_OPEN_TOKEN_UNAVAILABLE = 6,       /* the PKCS #11 engine (Debian package
                                             libengine-pkcs11-openssl) cannot be loaded */
  TALVO_OPEN_OUT_OF_MEMORY = 7
};

/* TalvoPKICryptoOpenKeyPair reads a private key: PEM or DER; PKCS #8, encrypted or not, or the
 * traditional forms; PKCS #12; or the text "pkcs11:..." (RFC 7512) that names a key on a token. The
 * first private key of a PEM text counts. `password` is NUL-terminated UTF-8 (for a token the PIN),
 * or NULL. NULL when the bytes are no private key, or the password is missing or wrong; nothing is
 * ever asked on a terminal. */
TALVO_API TalvoPKIKeyPair *TalvoPKICryptoOpenKeyPair(const void *bytes, size_t length,
                                                     const char *password) TALVO_NOEXCEPT;
/* TalvoPKICryptoOpenKeyPairEx is TalvoPKICryptoOpenKeyPair that also tells by `reason` (optional)
 * why it failed: one of the TALVO_OPEN_ codes. */
TALVO_API TalvoPKIKeyPair *TalvoPKICryptoOpenKeyPairEx(const void *bytes, size_t length,
                                                       const char *password,
                                                       int32_t *reason) TALVO_NOEXCEPT;
/* TalvoPKICryptoDupKeyPair returns a new handle of the same key. */
TALVO_API TalvoPKIKeyPair *TalvoPKICryptoDupKeyPair(TalvoPKIKeyPair *keyPair) TALVO_NOEXCEPT;
/* TalvoPKICryptoFreeKeyPair releases a handle of a key. */
TALVO_API void TalvoPKICryptoFreeKeyPair(TalvoPKIKeyPair *keyPair) TALVO_NOEXCEPT;
/* TalvoPKICryptoGetKeypairBits returns the bits that fix the width of a signature half: of the
 * modulus for RSA, of Q for DSA, of the group order for elliptic curves; -1 on failure. */
TALVO_API int32_t TalvoPKICryptoGetKeypairBits(const TalvoPKIKeyPair *keyPair) TALVO_NOEXCEPT;
/* TalvoPKICryptoGetKeypairType returns the key type; TALVO_KEY_TYPE_OTHER for NULL. */
TALVO_API int32_t TalvoPKICryptoGetKeypairType(const TalvoPKIKeyPair *keyPair) TALVO_NOEXCEPT;
/* TalvoPKICryptoIsSM2KeyPair returns 1 for an elliptic-curve key on the SM2 curve. */
TALVO_API int32_t TalvoPKICryptoIsSM2KeyPair(const TalvoPKIKeyPair *keyPair) TALVO_NOEXCEPT;
/* TalvoPKICryptoGetKeypairPublicKey returns the key's public part as a new public key. */
TALVO_API TalvoPKIPublicKey *TalvoPKICryptoGetKeypairPublicKey(const TalvoPKIKeyPair *keyPair)
    TALVO_NOEXCEPT;
/* TalvoPKICryptoDupPublicKey returns a new handle of the same key. */
TALVO_API TalvoPKIPublicKey *TalvoPKICryptoDupPublicKey(TalvoPKIPublicKey *key) TALVO_NOEXCEPT;
/* TalvoPKICryptoFreePublicKey releases a handle of a key. */
TALVO_API void TalvoPKICryptoFreePublicKey(TalvoPKIPublicKey *key) TALVO_NOEXCEPT;
/* TalvoPKICryptoGetPublicKeyType returns the key type; TALVO_KEY_TYPE_OTHER for NULL. */
TALVO_API int32_t TalvoPKICryptoGetPublicKeyType(const TalvoPKIPublicKey *key) TALVO_NOEXCEPT;
/* TalvoPKICryptoGetPublicKeyBits returns the size of a key: of the modulus for RSA, of P for
 * DSA, of the field for elliptic curves; -1 for NULL. */
TALVO_API int32_t TalvoPKICryptoGetPublicKeyBits(const TalvoPKIPublicKey *key) TALVO_NOEXCEPT;
/* TalvoPKICryptoEqualPublicKey returns 1 when both are the same key, else 0. */
TALVO_API int32_t TalvoPKICryptoEqualPublicKey(const TalvoPKIPublicKey *first,
                                               const TalvoPKIPublicKey *second) TALVO_NOEXCEPT;
/* TalvoPKICryptoReadPublicKey returns a new public key read from SubjectPublicKeyInfo, as DER or as
 * PEM ("BEGIN PUBLIC KEY", the first one in the text counts); NULL for anything else. */
TALVO_API TalvoPKIPublicKey *TalvoPKICryptoReadPublicKey(const void *bytes,
                                                         size_t length) TALVO_NOEXCEPT;
/* TalvoPKICryptoEncodeRSAPubKey hands out the PKCS #1 RSAPublicKey DER of two unsigned big-endian
 * numbers. */
TALVO_API int32_t TalvoPKICryptoEncodeRSAPubKey(const uint8_t *modulus, size_t modulusLength,
                                                const uint8_t *exponent, size_t exponentLength,
                                                uint8_t **encoded, size_t *length) TALVO_NOEXCEPT;
/* TalvoPKICryptoImportPublicKey reads PKCS #1 RSAPublicKey DER, SubjectPublicKeyInfo DER, or the
 * "_PUBKEY_" DSA blob (8 bytes of that text, 3 zero bytes, key type 2, a 4-byte length of the rest,
 * then plen, P, qlen, Q, G and Y padded to plen; lengths are 4 bytes, all big-endian), and returns
 * a new public key. NULL for anything else, for bytes that something follows, and for RSA moduli
 * above 16,384 bits and DSA P above 10,000 bits. `device` is the software device. */
TALVO_API TalvoPKIPublicKey *TalvoPKICryptoImportPublicKey(TalvoPKIDevice *device,
                                                           const uint8_t *bytes,
                                                           size_t length) TALVO_NOEXCEPT;

/* ---- signatures ---- */

/* TalvoPKICryptoNewSign returns a new signing object that keeps its own reference to the key; NULL
 * when the algorithm is unknown or the key cannot do it. */
TALVO_API TalvoPKISign *TalvoPKICryptoNewSign(TalvoPKIKeyPair *keyPair,
                                              int32_t algorithm) TALVO_NOEXCEPT;
/* TalvoPKICryptoNewSignPSS returns a new signing object for RSA-PSS (RFC 8017) with parameters of
 * one's own: the hash of the text, the hash of the mask (MGF1), and the length of the salt in
 * octets; the trailer is 1. NULL as above, for unknown hashes and a negative length, and when a key
 * that is bound to RSA-PSS does not allow these parameters; a salt that is too long for the key
 * makes TalvoPKICryptoSignFinal fail. */
TALVO_API TalvoPKISign *TalvoPKICryptoNewSignPSS(TalvoPKIKeyPair *keyPair, int32_t hash,
                                                 int32_t maskHash,
                                                 int32_t saltLength) TALVO_NOEXCEPT;
/* TalvoPKICryptoSignUpdate feeds `length` bytes of what is signed. */
TALVO_API int32_t TalvoPKICryptoSignUpdate(TalvoPKISign *sign, const void *bytes,
                                           size_t length) TALVO_NOEXCEPT;
/* TalvoPKICryptoSignFinal hands out the signature. */
TALVO_API int32_t TalvoPKICryptoSignFinal(TalvoPKISign *sign, uint8_t **signature,
                                          size_t *length) TALVO_NOEXCEPT;
/* TalvoPKICryptoFreeSign releases a signing object. */
TALVO_API void TalvoPKICryptoFreeSign(TalvoPKISign *sign) TALVO_NOEXCEPT;
/* TalvoPKICryptoNewVerify returns a new verifying object, as TalvoPKICryptoNewSign does. */
TALVO_API TalvoPKIVerify *TalvoPKICryptoNewVerify(TalvoPKIPublicKey *key,
                                                  int32_t algorithm) TALVO_NOEXCEPT;
/* TalvoPKICryptoNewVerifyPSS returns a new verifying object, as TalvoPKICryptoNewSignPSS does. A
 * signature with a salt of another length is invalid. */
TALVO_API TalvoPKIVerify *TalvoPKICryptoNewVerifyPSS(TalvoPKIPublicKey *key, int32_t hash,
                                                     int32_t maskHash,
                                                     int32_t saltLength) TALVO_NOEXCEPT;
/* TalvoPKICryptoVerifyUpdate feeds `length` bytes of what was signed. */
TALVO_API int32_t TalvoPKICryptoVerifyUpdate(TalvoPKIVerify *verify, const void *bytes,
                                             size_t length) TALVO_NOEXCEPT;
/* TalvoPKICryptoVerifyFinal returns 1 exactly when the signature is valid, else 0. */
TALVO_API int32_t TalvoPKICryptoVerifyFinal(TalvoPKIVerify *verify, const uint8_t *signature,
                                            size_t length) TALVO_NOEXCEPT;
/* TalvoPKICryptoFreeVerify releases a verifying object. */
TALVO_API void TalvoPKICryptoFreeVerify(TalvoPKIVerify *verify) TALVO_NOEXCEPT;
/* TalvoPKICryptoDecodeECCSignature hands out r and s of a DER signature as unsigned big-endian
 * octets without leading zeros. Anything but exactly one such SEQUENCE fails. */
TALVO_API int32_t TalvoPKICryptoDecodeECCSignature(const uint8_t *der, size_t length, uint8_t **r,
                                                   size_t *rLength, uint8_t **s,
                                                   size_t *sLength) TALVO_NOEXCEPT;
/* TalvoPKICryptoEncodeECCSignature hands out the DER of unsigned big-endian r and s. Leading zeros
 * do not count. */
TALVO_API int32_t TalvoPKICryptoEncodeECCSignature(const uint8_t *r, size_t rLength,
                                                   const uint8_t *s, size_t sLength, uint8_t **der,
                                                   size_t *length) TALVO_NOEXCEPT;

/* ---- certificates (RFC 5280) ---- */

/* What TalvoPKICertHasKeyPair answers. */
enum {
  TALVO_KEY_PAIR_NONE = 0,
  TALVO_KEY_PAIR_PRESENT = 1,
  TALVO_KEY_PAIR_LOCKED = 2 /* there, and encrypted still */
};
/* Encodings. */
enum { TALVO_ENCODING_DER = 1 };
/* What can be asked of a certificate. */
enum {
  TALVO_CERT_KEY_TYPE = 4,       /* integer: a key type */
  TALVO_CERT_KEY_USAGE = 6,      /* integer: key usages added up, TALVO_KEY_USAGE_ANY without that
                                    extension */
  TALVO_CERT_SERIAL_NUMBER = 32, /* string: plain decimal */
  TALVO_CERT_DIGEST = 44,        /* hash: the digest of the DER */
  TALVO_CERT_SUBJECT = 48,       /* string: RFC 4514, most specific part first, UTF-8 unescaped */
  TALVO_CERT_ISSUER = 49         /* string: the same */
};
/* Key usages: bit n of the extension as 1 << n. */
enum {
  TALVO_KEY_USAGE_DIGITAL_SIGNATURE = 1,
  TALVO_KEY_USAGE_NON_REPUDIATION = 2,
  TALVO_KEY_USAGE_KEY_ENCIPHERMENT = 4,
  TALVO_KEY_USAGE_DATA_ENCIPHERMENT = 8,
  TALVO_KEY_USAGE_KEY_AGREEMENT = 16,
  TALVO_KEY_USAGE_KEY_CERT_SIGN = 32,
  TALVO_KEY_USAGE_CRL_SIGN = 64,
  TALVO_KEY_USAGE_ENCIPHER_ONLY = 128,
  TALVO_KEY_USAGE_DECIPHER_ONLY = 256,
  TALVO_KEY_USAGE_ANY = 0x1ff
};
/* The two ends of validity. */
enum { TALVO_VALIDITY_START = 0, TALVO_VALIDITY_END = 1 };
/* What a key of a certificate is got for, and the flag that unlocks it. */
enum { TALVO_USE_SIGN = 2, TALVO_USE_VERIFY = 0x10000002 };
enum { TALVO_KEY_PAIR_UNLOCK = 0x40000000 };

/* TalvoPKICertNewCert returns a new certificate read from DER, PEM (the first certificate counts)
 * or bare Base64 text (white space anywhere). NULL for anything else, and when octets follow the
 * DER. */
TALVO_API TalvoPKICert *TalvoPKICertNewCert(const void *bytes, size_t length) TALVO_NOEXCEPT;
/* TalvoPKICertOpen reads a certificate with what came with it: DER, PEM, Base64 text, a PEM bundle
 * (key and chain in any order; the certificate that belongs to the key, else the first one, is the
 * handle's), or PKCS #12. `password` (NUL-terminated UTF-8, or NULL) unlocks PKCS #12 and an
 * encrypted key; without the right one a PKCS #12 fails, while the encrypted key of a bundle stays
 * locked until TalvoPKICertGetCertKeyPair is given its credential. */
TALVO_API TalvoPKICert *TalvoPKICertOpen(const void *bytes, size_t length,
                                         const char *password) TALVO_NOEXCEPT;
/* TalvoPKICertOpenEx is TalvoPKICertOpen that also tells by `reason` (optional) why it failed: one
 * of the TALVO_OPEN_ codes. A code beside a certificate tells why its key stayed locked. */
TALVO_API TalvoPKICert *TalvoPKICertOpenEx(const void *bytes, size_t length, const char *password,
                                           int32_t *reason) TALVO_NOEXCEPT;
/* TalvoPKICertDupCert returns a new handle of the same certificate, its key and its companions. */
TALVO_API TalvoPKICert *TalvoPKICertDupCert(const TalvoPKICert *cert) TALVO_NOEXCEPT;
/* TalvoPKICertFreeCert releases a handle of a certificate with its key and its companions. */
TALVO_API void TalvoPKICertFreeCert(TalvoPKICert *cert) TALVO_NOEXCEPT;
/* TalvoPKICertSetKeyPair gives the certificate a private key in place of any it had; 0, and nothing
 * changed, when the key does not belong to the certificate. */
TALVO_API int32_t TalvoPKICertSetKeyPair(TalvoPKICert *cert,
                                         TalvoPKIKeyPair *keyPair) TALVO_NOEXCEPT;
/* TalvoPKICertAddChainCert adds a companion certificate that certificate paths may use. */
TALVO_API int32_t TalvoPKICertAddChainCert(TalvoPKICert *cert,
                                           const TalvoPKICert *companion) TALVO_NOEXCEPT;
/* TalvoPKICertHasKeyPair returns whether there is a private key: TALVO_KEY_PAIR_NONE (also for
 * NULL), ..._PRESENT or ..._LOCKED. */
TALVO_API int32_t TalvoPKICertHasKeyPair(const TalvoPKICert *cert) TALVO_NOEXCEPT;
/* TalvoPKICertGetCertEncode hands out the encoding; `form` is TALVO_ENCODING_DER. */
TALVO_API int32_t TalvoPKICertGetCertEncode(const TalvoPKICert *cert, int32_t form,
                                            uint8_t **encoded, size_t *length) TALVO_NOEXCEPT;
/* TalvoPKICertGetCertIntegerAttribute hands out TALVO_CERT_KEY_TYPE or TALVO_CERT_KEY_USAGE. 0 for
 * other attributes, and for a key usage that cannot be read. */
TALVO_API int32_t TalvoPKICertGetCertIntegerAttribute(const TalvoPKICert *cert, int32_t attribute,
                                                      int32_t *value) TALVO_NOEXCEPT;
/* TalvoPKICertGetCertStringAttribute returns a new string with TALVO_CERT_SERIAL_NUMBER,
 * TALVO_CERT_SUBJECT or TALVO_CERT_ISSUER. NULL for other attributes. */
TALVO_API talvo_ustring *TalvoPKICertGetCertStringAttribute(const TalvoPKICert *cert,
                                                            int32_t attribute) TALVO_NOEXCEPT;
/* TalvoPKICertGetCertHashAttribute hands out TALVO_CERT_DIGEST by the given hash number. */
TALVO_API int32_t TalvoPKICertGetCertHashAttribute(const TalvoPKICert *cert, int32_t attribute,
                                                   int32_t hash, uint8_t **digest,
                                                   size_t *length) TALVO_NOEXCEPT;
/* TalvoPKICertGetCertIssuer returns the issuer as a new name. */
TALVO_API talvo_cert_dn *TalvoPKICertGetCertIssuer(const TalvoPKICert *cert) TALVO_NOEXCEPT;
/* TalvoPKICertGetCertValidity returns a new time, the start or the end of validity. */
TALVO_API talvo_time *TalvoPKICertGetCertValidity(const TalvoPKICert *cert,
                                                  int32_t which) TALVO_NOEXCEPT;
/* TalvoPKICertGetCertPublicKey returns the certificate's key as a new public key, or NULL. `usage`
 * is TALVO_USE_VERIFY or TALVO_USE_SIGN. */
TALVO_API TalvoPKIPublicKey *TalvoPKICertGetCertPublicKey(const TalvoPKICert *cert,
                                                          int32_t usage) TALVO_NOEXCEPT;
/* TalvoPKICertGetCertKeyPair returns a new handle of the private key. `flags` is 0 or
 * TALVO_KEY_PAIR_UNLOCK (unlock a locked key with the credential, NUL-terminated UTF-8; the key
 * then stays unlocked), `usage` is TALVO_USE_SIGN or TALVO_USE_VERIFY. NULL when there is no key,
 * when it is and stays locked, and when the unlocked key does not belong to the certificate. */
TALVO_API TalvoPKIKeyPair *TalvoPKICertGetCertKeyPair(TalvoPKICert *cert, int32_t flags,
                                                      int32_t usage,
                                                      const char *credential) TALVO_NOEXCEPT;
/* TalvoPKICertGetCertPath hands out a new array of new certificates from the self-issued anchor
 * (index 0) to the certificate itself (index count - 1), found among its companions by name and key
 * identifier; no trust is judged. 0 when the path does not reach a self-issued certificate. */
TALVO_API int32_t TalvoPKICertGetCertPath(const TalvoPKICert *cert, TalvoPKICert ***path,
                                          int32_t *count) TALVO_NOEXCEPT;
/* TalvoPKICertFreeCertPath releases a path with its certificates. NULL is ignored. */
TALVO_API void TalvoPKICertFreeCertPath(TalvoPKICert **path, int32_t count) TALVO_NOEXCEPT;

/* TalvoPKICertMatchIssuerSerial returns 1 when the DER of an IssuerSerial (RFC 5035: general
 * names of the issuer and a serial number) names this certificate: one of the names is exactly
 * its issuer, compared as RFC 5280 asks, and the number is its serial number. Else 0. */
TALVO_API int32_t TalvoPKICertMatchIssuerSerial(const TalvoPKICert *cert, const uint8_t *der,
                                                size_t length) TALVO_NOEXCEPT;

/* ---- trust ----
 *
 * A trust object holds whom its owner believes, and answers for one certificate after another.
 * It is filled first; while nobody adds to it, it may be asked by several threads at once. */

/* What a certificate is added as. */
enum {
  TALVO_TRUST_ANCHOR = 1,       /* paths may end here; it need not be self-signed */
  TALVO_TRUST_INTERMEDIATE = 2, /* paths may lead through it; nobody believes it by itself */
  TALVO_TRUST_PIN = 3           /* exactly this certificate is believed as a signer */
};
/* Rules, with the value of a new object in brackets. */
enum {
  TALVO_TRUST_RULE_MIN_RSA_BITS = 1, /* of every certificate on the path (0) */
  TALVO_TRUST_RULE_MIN_DSA_BITS = 2,
  TALVO_TRUST_RULE_MIN_EC_BITS = 3,
  TALVO_TRUST_RULE_ALLOW_SHA1 = 4, /* in signatures of certificates on the path (1) */
  TALVO_TRUST_RULE_KEY_USAGE = 5,  /* whether the signer needs a usage that is for documents (0) */
  TALVO_TRUST_RULE_REVOCATION = 6, /* one of the three below (none) */
  TALVO_TRUST_RULE_PIN_IGNORES_DATES = 7
};
enum {
  TALVO_REVOCATION_NONE = 0,
  TALVO_REVOCATION_IF_AVAILABLE = 1, /* by the CRLs that there are */
  TALVO_REVOCATION_REQUIRED = 2      /* by a usable CRL for every certificate but anchors */
};
/* Findings, added up. */
enum {
  TALVO_TRUST_UNTRUSTED = 1, /* neither pinned nor with a path to an anchor */
  TALVO_TRUST_EXPIRED = 2,
  TALVO_TRUST_NOT_YET_VALID = 4,
  TALVO_TRUST_REVOKED = 8,
  TALVO_TRUST_REVOCATION_UNKNOWN = 16,
  TALVO_TRUST_KEY_USAGE = 32,
  TALVO_TRUST_WEAK_KEY = 64,
  TALVO_TRUST_WEAK_DIGEST = 128,
  TALVO_TRUST_CARRIED_CRL_UNUSABLE = 256, /* no reason to refuse by itself, like those below */
  TALVO_TRUST_PINNED = 512,
  TALVO_TRUST_ANCHORED = 1024
};

/* TalvoPKITrustNew returns a new object that believes nobody, or NULL. */
TALVO_API TalvoPKITrust *TalvoPKITrustNew(void) TALVO_NOEXCEPT;
/* TalvoPKITrustFree releases an object. NULL is ignored. */
TALVO_API void TalvoPKITrustFree(TalvoPKITrust *trust) TALVO_NOEXCEPT;
/* TalvoPKITrustAddCert adds a certificate in the given role. Its companions are not added. */
TALVO_API int32_t TalvoPKITrustAddCert(TalvoPKITrust *trust, int32_t role,
                                       const TalvoPKICert *cert) TALVO_NOEXCEPT;
/* TalvoPKITrustAddKey pins a public key: every certificate with this key is believed. */
TALVO_API int32_t TalvoPKITrustAddKey(TalvoPKITrust *trust, TalvoPKIPublicKey *key) TALVO_NOEXCEPT;
/* TalvoPKITrustAddCrl adds a CRL that the caller vouches for having given. Its signature is checked
 * when it is used. */
TALVO_API int32_t TalvoPKITrustAddCrl(TalvoPKITrust *trust, const talvo_crl *crl) TALVO_NOEXCEPT;
/* TalvoPKITrustSetTime sets the time that paths are judged for; NULL is the time of each
 * question. */
TALVO_API int32_t TalvoPKITrustSetTime(TalvoPKITrust *trust, const talvo_time *time) TALVO_NOEXCEPT;
/* TalvoPKITrustSetRule sets a rule; 0 for an unknown rule and a value that it does not take. */
TALVO_API int32_t TalvoPKITrustSetRule(TalvoPKITrust *trust, int32_t rule,
                                       int32_t value) TALVO_NOEXCEPT;
/* TalvoPKITrustHasKey returns 1 when the key is pinned, or is that of a pinned certificate. */
TALVO_API int32_t TalvoPKITrustHasKey(const TalvoPKITrust *trust,
                                      const TalvoPKIPublicKey *key) TALVO_NOEXCEPT;
/* TalvoPKITrustJudge judges one certificate. `certificates` (TalvoPKICert, may be NULL) are
 * others that paths may lead through; `crls` (talvo_crl, may be NULL) came with the certificate:
 * they can revoke, and make a status known, but one of them that cannot be used refuses nothing.
 * A CRL counts for the certificates of its issuer when that signed it and may sign CRLs, its
 * next update is not past, and it is neither a delta nor an indirect CRL; a revocation counts
 * when its date is not after the time of the question. A CRL of the object that cannot be used
 * for a certificate that it is about makes its status unknown, unless another one can be used.
 *
 * Returns 1 when the certificate is believed and nothing in `findings` refuses it, 0 when it is
 * not, and -1 with nothing written when it could not be judged. `findings` receives the sum of
 * what was found, `chain` (optional) a new list that owns certificates, the judged one first:
 * the path to the anchor where there is one. */
TALVO_API int32_t TalvoPKITrustJudge(const TalvoPKITrust *trust, const TalvoPKICert *cert,
                                     const talvo_arraylist *certificates,
                                     const talvo_arraylist *crls, uint32_t *findings,
                                     talvo_arraylist **chain) TALVO_NOEXCEPT;

/* ---- HTTP ---- */

/* TalvoPKICryptoHttpGet fetches `url` (http and https only, also on redirects, of which 5 are
 * followed; certificates are checked; the proxy environment is ignored). Hands out the body, its
 * length and the status of the final answer; the caller judges the status. The limits are 10 s to
 * connect, 60 s in all, redirects included, and 100 MiB of body, which is held once in memory. 0
 * when there was no complete answer within them. */
TALVO_API int32_t TalvoPKICryptoHttpGet(const char *url, uint8_t **body, size_t *length,
                                        int32_t *status) TALVO_NOEXCEPT;

/* ---- time-stamps (RFC 3161) ---- */

/* The PKIStatus of an answer; 2 and above are refusals. */
enum { TALVO_TIME_STAMP_GRANTED = 0, TALVO_TIME_STAMP_GRANTED_WITH_MODS = 1 };

/* TalvoPKIMsgNewTimeStamp returns a new, empty time-stamp object. */
TALVO_API TalvoPKITimeStamp *TalvoPKIMsgNewTimeStamp(void) TALVO_NOEXCEPT;
/* TalvoPKIMsgFreeTimeStamp releases a time-stamp object. */
TALVO_API void TalvoPKIMsgFreeTimeStamp(TalvoPKITimeStamp *timeStamp) TALVO_NOEXCEPT;
/* TalvoPKIMsgTimeStampSetTSA sets the authority's http or https URL. */
TALVO_API int32_t TalvoPKIMsgTimeStampSetTSA(TalvoPKITimeStamp *timeStamp,
                                             const talvo_ustring *tsa) TALVO_NOEXCEPT;
/* TalvoPKIMsgTimeStampSetHashAlgorithm sets the hash number of the imprint; 0 for an unknown one,
 * of which SHA-3 is one here. */
TALVO_API int32_t TalvoPKIMsgTimeStampSetHashAlgorithm(TalvoPKITimeStamp *timeStamp,
                                                       int32_t hash) TALVO_NOEXCEPT;
/* TalvoPKIMsgTimeStampSetMessageImprint sets the digest that is to be stamped. */
TALVO_API int32_t TalvoPKIMsgTimeStampSetMessageImprint(TalvoPKITimeStamp *timeStamp,
                                                        const uint8_t *digest,
                                                        size_t length) TALVO_NOEXCEPT;
/* TalvoPKIMsgTimeStampGetResponse sends the request (nonce, certificates asked for) and reads the
 * answer, as TalvoPKICryptoHttpGet does but for the size: 1 MiB. `status` receives its PKIStatus.
 * The token of a granted one is checked (imprint, nonce, signature and time-stamping usage of its
 * signer) and kept in the object. 0 when authority, hash or imprint are not set or do not fit, and
 * when there was no usable answer. */
TALVO_API int32_t TalvoPKIMsgTimeStampGetResponse(TalvoPKITimeStamp *timeStamp,
                                                  int32_t *status) TALVO_NOEXCEPT;
/* TalvoPKIMsgTimeStampGetTimeStampToken hands out the DER of the token; 0 when there is none. */
TALVO_API int32_t TalvoPKIMsgTimeStampGetTimeStampToken(const TalvoPKITimeStamp *timeStamp,
                                                        uint8_t **token,
                                                        size_t *length) TALVO_NOEXCEPT;
/* TalvoPKIMsgVerifyTimeStampToken checks a token's signature and the signer's time-stamping usage
 * with the certificates in the token. `trusted`, a list of TalvoPKICert, additionally asks for a
 * path to one of them that was valid at the time of the stamp; NULL asks for none. Returns a new
 * object, or NULL. */
TALVO_API TalvoPKITimeStamp *TalvoPKIMsgVerifyTimeStampToken(
    const uint8_t *token, size_t length, const talvo_arraylist *trusted) TALVO_NOEXCEPT;
/* TalvoPKIMsgTimeStampGetHashAlgorithm returns the hash number of the imprint; -1 when unknown, of
 * SHA-3 too. */
TALVO_API int32_t TalvoPKIMsgTimeStampGetHashAlgorithm(const TalvoPKITimeStamp *timeStamp)
    TALVO_NOEXCEPT;
/* TalvoPKIMsgTimeStampGetMessageImprint hands out the digest: that of the token, or without token
 * the one that was set. */
TALVO_API int32_t TalvoPKIMsgTimeStampGetMessageImprint(const TalvoPKITimeStamp *timeStamp,
                                                        uint8_t **digest,
                                                        size_t *length) TALVO_NOEXCEPT;
/* TalvoPKIMsgTimeStampGetTime returns the time of the token as a new time, or NULL without token.
 */
TALVO_API talvo_time *TalvoPKIMsgTimeStampGetTime(const TalvoPKITimeStamp *timeStamp)
    TALVO_NOEXCEPT;
/* TalvoPKIMsgTimeStampGetSigner returns the new certificate that signed the token, or NULL when the
 * token does not hold it. */
TALVO_API TalvoPKICert *TalvoPKIMsgTimeStampGetSigner(const TalvoPKITimeStamp *timeStamp)
    TALVO_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif
