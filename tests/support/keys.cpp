#include "support/keys.h"

#include <array>
#include <mutex>
#include <stdexcept>

#include <openssl/bn.h>
#include <openssl/dsa.h>
#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/pkcs12.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include "support/text.h"

namespace talvo::test {

namespace {

constexpr char kSm2Identifier[] = "1234567812345678";

using Context = Handle<EVP_PKEY_CTX, EVP_PKEY_CTX_free>;
using DigestContext = Handle<EVP_MD_CTX, EVP_MD_CTX_free>;
using MemoryBio = Handle<BIO, BIO_free_all>;
using Number = Handle<BIGNUM, BN_free>;
using Integer = Handle<ASN1_INTEGER, ASN1_INTEGER_free>;
using AsnTime = Handle<ASN1_TIME, ASN1_TIME_free>;
using Name = Handle<X509_NAME, X509_NAME_free>;
using Extension509 = Handle<X509_EXTENSION, X509_EXTENSION_free>;
using BitString = Handle<ASN1_BIT_STRING, ASN1_BIT_STRING_free>;
using CrlHandle = Handle<X509_CRL, X509_CRL_free>;
using Container = Handle<PKCS12, PKCS12_free>;
using KeyInfo = Handle<PKCS8_PRIV_KEY_INFO, PKCS8_PRIV_KEY_INFO_free>;

// A test that cannot make its material cannot go on.
void check(bool condition, const char *what) {
  if (!condition) {
    throw std::runtime_error(std::string("test material: ") + what);
  }
}

// A new key: of the parameters, or of a kind that needs none.
EVP_PKEY *generate(const Context &context) {
  EVP_PKEY *key = nullptr;
  check(EVP_PKEY_keygen_init(context.get()) == 1 && EVP_PKEY_generate(context.get(), &key) == 1,
        "key");
  return key;
}

EVP_PKEY *makeDsa() {
  const Context parameters(EVP_PKEY_CTX_new_from_name(nullptr, "DSA", nullptr));
  EVP_PKEY *domain = nullptr;
  check(EVP_PKEY_paramgen_init(parameters.get()) == 1 &&
            EVP_PKEY_CTX_set_dsa_paramgen_bits(parameters.get(), 1024) == 1 &&
            EVP_PKEY_CTX_set_dsa_paramgen_q_bits(parameters.get(), 160) == 1 &&
            EVP_PKEY_paramgen(parameters.get(), &domain) == 1,
        "DSA parameters");
  const EvpKeyHandle owned(domain);
  return generate(Context(EVP_PKEY_CTX_new(domain, nullptr)));
}

EVP_PKEY *makeNamed(const char *type) {
  return generate(Context(EVP_PKEY_CTX_new_from_name(nullptr, type, nullptr)));
}

EVP_PKEY *makeKey(KeyKind kind) {
  switch (kind) {
    case KeyKind::rsa:
    case KeyKind::rsaOther:
      return EVP_RSA_gen(2048);
    case KeyKind::p224:
      return EVP_EC_gen("P-224");
    case KeyKind::p256:
      return EVP_EC_gen("P-256");
    case KeyKind::p384:
      return EVP_EC_gen("P-384");
    case KeyKind::p521:
      return EVP_EC_gen("P-521");
    case KeyKind::dsa:
      return makeDsa();
    case KeyKind::sm2:
      return makeNamed("SM2");
    case KeyKind::rsaPss:
      return makeNamed("RSA-PSS");
    case KeyKind::ed25519:
      return makeNamed("ED25519");
    case KeyKind::ed448:
      return makeNamed("ED448");
  }
  return nullptr;
}

template <class Write>
std::string written(Write write) {
  const MemoryBio bio(BIO_new(BIO_s_mem()));
  check(write(bio.get()) == 1, "PEM");
  char *text = nullptr;
  const long length = BIO_get_mem_data(bio.get(), &text);
  return {text, static_cast<size_t>(length)};
}

// "/C=DE/CN=Name"
Name nameOf(const std::string &text) {
  Name name(X509_NAME_new());
  for (size_t start = 1; start < text.size();) {
    const size_t end = std::min(text.find('/', start), text.size());
    const size_t equals = text.find('=', start);
    const std::string type = text.substr(start, equals - start);
    const std::string value = text.substr(equals + 1, end - equals - 1);
    check(X509_NAME_add_entry_by_txt(name.get(), type.c_str(), MBSTRING_UTF8,
                                     reinterpret_cast<const unsigned char *>(value.data()),
                                     static_cast<int>(value.size()), -1, 0) == 1,
          "name");
    start = end + 1;
  }
  return name;
}

Integer integerOf(const std::string &decimal) {
  BIGNUM *number = nullptr;
  check(BN_dec2bn(&number, decimal.c_str()) != 0, "number");
  const Number owned(number);
  return Integer(BN_to_ASN1_INTEGER(number, nullptr));
}

void addExtension(X509 *x509, X509 *issuer, int nid, const char *value) {
  X509V3_CTX context;
  X509V3_set_ctx(&context, issuer, x509, nullptr, nullptr, 0);
  const Extension509 extension(X509V3_EXT_nconf_nid(nullptr, &context, nid, value));
  check(extension && X509_add_ext(x509, extension.get(), -1) == 1, value);
}

void addKeyUsage(X509 *x509, int usage) {
  const BitString bits(ASN1_BIT_STRING_new());
  for (int bit = 0; bit < 9; ++bit) {
    if ((usage & 1 << bit) != 0) {
      ASN1_BIT_STRING_set_bit(bits.get(), bit, 1);
    }
  }
  check(X509_add1_ext_i2d(x509, NID_key_usage, bits.get(), 1, 0) == 1, "key usage");
}

// SM2 signatures cover an identifier, DSA of this size signs SHA-1, EdDSA the text itself,
// everything else SHA-256.
template <class Sign, class Object>
void signWith(KeyKind kind, Sign sign, Object *object) {
  const DigestContext context(EVP_MD_CTX_new());
  const bool isEd = kind == KeyKind::ed25519 || kind == KeyKind::ed448;
  const EVP_MD *digest = isEd                   ? nullptr
                         : kind == KeyKind::sm2 ? EVP_sm3()
                         : kind == KeyKind::dsa ? EVP_sha1()
                                                : EVP_sha256();
  EVP_PKEY_CTX *keyContext = nullptr;
  check(EVP_DigestSignInit(context.get(), &keyContext, digest, nullptr, evpKey(kind)) == 1, "sign");
  if (kind == KeyKind::sm2) {
    check(EVP_PKEY_CTX_set1_id(keyContext, kSm2Identifier, sizeof kSm2Identifier - 1) == 1, "id");
  }
  check(sign(object, context.get()) > 0, "sign");
}

void addExtensions(X509 *x509, X509 *issuer, const IdentityOptions &options) {
  if (options.authority) {
    addExtension(x509, issuer, NID_basic_constraints, "critical,CA:TRUE");
  }
  if (options.keyUsage != kNoKeyUsage) {
    addKeyUsage(x509, options.keyUsage);
  }
  if (options.timeStamping) {
    addExtension(x509, issuer, NID_ext_key_usage, "critical,timeStamping");
  }
  addExtension(x509, issuer, NID_subject_key_identifier, "hash");
  if (options.issuer != nullptr) {
    addExtension(x509, issuer, NID_authority_key_identifier, "keyid");
  }
}

// "YYMMDDhhmmssZ"
AsnTime timeOf(const char *text) {
  AsnTime time(ASN1_TIME_new());
  check(ASN1_TIME_set_string(time.get(), text) == 1, text);
  return time;
}

Certificate open(const std::string &bytes) {
  return Certificate(TalvoPKICertOpen(bytes.data(), bytes.size(), nullptr));
}

void revoke(X509_CRL *crl, const std::string &serial) {
  X509_REVOKED *entry = X509_REVOKED_new();
  X509_REVOKED_set_serialNumber(entry, integerOf(serial).get());
  X509_REVOKED_set_revocationDate(entry, timeOf("250101000000Z").get());
  check(X509_CRL_add0_revoked(crl, entry) == 1, "revoked");
}

}  // namespace

EVP_PKEY *evpKey(KeyKind kind) {
  static std::mutex mutex;
  static std::array<EvpKeyHandle, 11> keys;
  const std::lock_guard lock(mutex);
  EvpKeyHandle &key = keys.at(static_cast<size_t>(kind));
  if (!key) {
    key.reset(makeKey(kind));
    check(key != nullptr, "key");
  }
  return key.get();
}

std::string privateKeyDer(KeyKind kind) {
  const KeyInfo info(EVP_PKEY2PKCS8(evpKey(kind)));
  return derOf(info.get(), i2d_PKCS8_PRIV_KEY_INFO);
}

std::string privateKeyPem(KeyKind kind) {
  return written([kind](BIO *bio) {
    return PEM_write_bio_PrivateKey(bio, evpKey(kind), nullptr, nullptr, 0, nullptr, nullptr);
  });
}

std::string publicKeyDer(KeyKind kind) {
  return derOf(evpKey(kind), i2d_PUBKEY);
}

std::string publicKeyPem(KeyKind kind) {
  return written([kind](BIO *bio) { return PEM_write_bio_PUBKEY(bio, evpKey(kind)); });
}

std::string keyValueXml(KeyKind kind) {
  using Parameters = std::vector<std::pair<std::string, const char *>>;
  const bool isDsa = kind == KeyKind::dsa;
  const std::string name = isDsa ? "ds:DSAKeyValue>" : "ds:RSAKeyValue>";
  std::string text = "<ds:KeyValue><" + name;
  for (const auto &[tag, parameter] :
       isDsa ? Parameters{{"P", "p"}, {"Q", "q"}, {"G", "g"}, {"Y", "pub"}}
             : Parameters{{"Modulus", "n"}, {"Exponent", "e"}}) {
    BIGNUM *number = nullptr;
    check(EVP_PKEY_get_bn_param(evpKey(kind), parameter, &number) == 1, parameter);
    const Number owner(number);
    std::string octets(static_cast<size_t>(BN_num_bytes(number)), '\0');
    BN_bn2bin(number, reinterpret_cast<unsigned char *>(octets.data()));
    text += "<ds:" + tag + ">" + base64(octets) + "</ds:" + tag + ">";
  }
  return text + "</" + name + "</ds:KeyValue>";
}

std::string encryptedKeyPem(KeyKind kind, const std::string &password) {
  return written([&](BIO *bio) {
    return PEM_write_bio_PKCS8PrivateKey(bio, evpKey(kind), EVP_aes_256_cbc(), password.data(),
                                         static_cast<int>(password.size()), nullptr, nullptr);
  });
}

std::string Identity::der() const {
  return derOf(x509.get(), i2d_X509);
}

std::string Identity::pem() const {
  return written([this](BIO *bio) { return PEM_write_bio_X509(bio, x509.get()); });
}

Certificate Identity::certificate() const {
  return open(pem() + privateKeyPem(kind));
}

Certificate Identity::publicCertificate() const {
  return open(der());
}

KeyPair Identity::keyPair() const {
  const std::string key = privateKeyDer(kind);
  return KeyPair(TalvoPKICryptoOpenKeyPair(key.data(), key.size(), nullptr));
}

Identity makeIdentity(const IdentityOptions &options) {
  Identity identity{options.kind, X509Handle(X509_new())};
  X509 *x509 = identity.x509.get();
  X509 *issuer = options.issuer == nullptr ? x509 : options.issuer->x509.get();
  const KeyKind signer = options.issuer == nullptr ? options.kind : options.issuer->kind;
  const Name subject = nameOf(options.subject);
  check(X509_set_version(x509, X509_VERSION_3) == 1 &&
            X509_set_serialNumber(x509, integerOf(options.serial).get()) == 1 &&
            X509_set_subject_name(x509, subject.get()) == 1 &&
            X509_set_issuer_name(x509, X509_get_subject_name(issuer)) == 1 &&
            X509_set_pubkey(x509, evpKey(options.kind)) == 1 &&
            X509_set1_notBefore(x509, timeOf("200102030405Z").get()) == 1 &&
            X509_set1_notAfter(x509, timeOf("491231235959Z").get()) == 1,
        "certificate");
  addExtensions(x509, issuer, options);
  signWith(signer, X509_sign_ctx, x509);
  return identity;
}

Certificate Chain::certificate() const {
  return open(leaf.pem() + privateKeyPem(leaf.kind) + intermediate.pem() + root.pem());
}

Chain makeChain(KeyKind authorityKind, KeyKind leafKind, int leafKeyUsage) {
  const auto authority = [](KeyKind kind, const char *name, const char *serial,
                            const Identity *issuer) {
    return makeIdentity({.kind = kind,
                         .subject = std::string("/C=DE/O=Talvo Example/CN=") + name,
                         .serial = serial,
                         .keyUsage = kKeyCertSign | kCrlSign,
                         .authority = true,
                         .issuer = issuer});
  };
  // The root's key again would make the intermediate look like its own issuer by key identifier.
  const KeyKind between = authorityKind == KeyKind::p256 ? KeyKind::p384 : KeyKind::p256;
  Chain chain;
  chain.root = authority(authorityKind, "Root", "1", nullptr);
  chain.intermediate = authority(between, "Intermediate", "2", &chain.root);
  chain.leaf = makeIdentity({.kind = leafKind,
                             .subject = "/C=DE/O=Talvo Example/CN=Leaf",
                             .serial = "3",
                             .keyUsage = leafKeyUsage,
                             .issuer = &chain.intermediate});
  return chain;
}

std::string makeCrl(const Identity &issuer, long number,
                    const std::vector<std::string> &revokedSerials) {
  const CrlHandle crl(X509_CRL_new());
  check(X509_CRL_set_version(crl.get(), X509_CRL_VERSION_2) == 1 &&
            X509_CRL_set_issuer_name(crl.get(), X509_get_subject_name(issuer.x509.get())) == 1 &&
            X509_CRL_set1_lastUpdate(crl.get(), timeOf("250203040506Z").get()) == 1 &&
            X509_CRL_set1_nextUpdate(crl.get(), timeOf("491231235959Z").get()) == 1,
        "CRL");
  if (number >= 0) {
    const Integer value = integerOf(std::to_string(number));
    check(X509_CRL_add1_ext_i2d(crl.get(), NID_crl_number, value.get(), 0, 0) == 1, "CRL number");
  }
  for (const std::string &serial : revokedSerials) {
    revoke(crl.get(), serial);
  }
  signWith(issuer.kind, X509_CRL_sign_ctx, crl.get());
  return derOf(crl.get(), i2d_X509_CRL);
}

std::string makePkcs12(const Identity &identity, const std::vector<const Identity *> &others,
                       const std::string &password) {
  STACK_OF(X509) *stack = sk_X509_new_null();
  for (const Identity *other : others) {
    sk_X509_push(stack, other->x509.get());
  }
  const Container container(PKCS12_create(password.c_str(), "test", evpKey(identity.kind),
                                          identity.x509.get(), stack, 0, 0, 0, 0, 0));
  sk_X509_free(stack);
  check(container != nullptr, "PKCS #12");
  return derOf(container.get(), i2d_PKCS12);
}

}  // namespace talvo::test
