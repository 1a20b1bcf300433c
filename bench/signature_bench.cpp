// What signing and verifying cost: a 2 kB and a 10 MB document, with the parts that no implementation can avoid
// (parsing alone, one key operation) beside them, so that the ratios say something on any machine.
#include <sys/resource.h>

#include <string>
#include <string_view>

#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/x509v3.h>

#include "talvo_xml.h"

#include "base/list.h"
#include "base/utf8.h"

namespace talvo::bench {
namespace {

using Document = Handle<XmlDoc, talvo_xml_doc_free>;
using Certificate = Handle<TalvoPKICert, TalvoPKICertFreeCert>;
using KeyPair = Handle<TalvoPKIKeyPair, TalvoPKICryptoFreeKeyPair>;
using ReferenceContext = Handle<ReferenceCtx, talvo_xml_signature_referencectx_free>;
using TransformContext = Handle<TransformCtx, talvo_xml_signature_transformctx_free>;
using SignedInfoContext = Handle<SignedInfoCtx, talvo_xml_signature_signedinfoctx_free>;
using EvpKey = Handle<EVP_PKEY, EVP_PKEY_free>;
using X509Handle = Handle<X509, X509_free>;

constexpr int32_t kRsaSha256 = 68;
constexpr int32_t kC14n = 1;
constexpr int32_t kSha256 = 4;
constexpr int32_t kEnveloped = 48;

Certificate makeCertificate() {
  const EvpKey key(EVP_RSA_gen(2048));
  const X509Handle x509(X509_new());
  ASN1_INTEGER_set(X509_get_serialNumber(x509.get()), 1);
  X509_gmtime_adj(X509_getm_notBefore(x509.get()), 0);
  X509_gmtime_adj(X509_getm_notAfter(x509.get()), 86400);
  X509_set_pubkey(x509.get(), key.get());
  X509_NAME *name = X509_get_subject_name(x509.get());
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                             reinterpret_cast<const unsigned char *>("Bench"), -1, -1, 0);
  X509_set_issuer_name(x509.get(), name);
  X509_sign(x509.get(), key.get(), EVP_sha256());
  unsigned char *der = nullptr;
  int length = i2d_X509(x509.get(), &der);
  Certificate certificate(TalvoPKICertNewCert(der, static_cast<size_t>(length)));
  OPENSSL_free(der);
  der = nullptr;
  length = i2d_PrivateKey(key.get(), &der);
  const KeyPair keyPair(TalvoPKICryptoOpenKeyPair(der, static_cast<size_t>(length), nullptr));
  OPENSSL_free(der);
  TalvoPKICertSetKeyPair(certificate.get(), keyPair.get());
  return certificate;
}

TalvoPKICert *signer() {
  static const Certificate certificate = makeCertificate();
  return certificate.get();
}

// An order of as many lines as fit.
std::string makeOrder(size_t size) {
  std::string text = "<o:Order xmlns:o='urn:example:order' xmlns='urn:example:line'>";
  for (size_t line = 1; text.size() + 160 < size; ++line) {
    text += "\n <Line number='" + std::to_string(line) +
            "' unit='piece'><Item>Grünes Gehäuse, 19 Zoll</Item><!-- stock --><Price "
            "currency='EUR'>12.50</Price></Line>";
  }
  return text + "\n</o:Order>\n";
}

Document parse(std::string_view text) {
  return Document(talvo_xml_parse(text.data(), static_cast<int64_t>(text.size())));
}

SignedInfoContext makeContext() {
  const TransformContext transform(talvo_xml_signature_transformctx_new(kEnveloped, nullptr));
  const List transforms(talvo_arraylist_new(nullptr, nullptr));
  talvo_arraylist_pushback(transforms.get(), transform.get());
  const UString uri = makeString("");
  const ReferenceContext reference(talvo_xml_signature_referencectx_new(
      kSha256, nullptr, uri.get(), nullptr, nullptr, transforms.get()));
  const List references(talvo_arraylist_new(nullptr, nullptr));
  talvo_arraylist_pushback(references.get(), reference.get());
  return SignedInfoContext(
      talvo_xml_signature_signedinfoctx_new(nullptr, kC14n, nullptr, kRsaSha256, references.get()));
}

bool sign(XmlDoc *document, SignedInfoCtx *context) {
  XmlNode *signature = nullptr;
  uint32_t error = 0;
  return talvo_xml_signature_sign(document, talvo_xml_doc_getrootelement(document), nullptr,
                                  nullptr, context, nullptr, signer(), nullptr, &signature,
                                  &error) == 1;
}

std::string makeSignedOrder(size_t size) {
  const Document document = parse(makeOrder(size));
  const SignedInfoContext context = makeContext();
  if (!sign(document.get(), context.get())) {
    return {};
  }
  const Blob blob(talvo_xml_doc_dump(document.get(), 0));
  return {reinterpret_cast<const char *>(talvo_data_blob_getdata(blob.get())),
          talvo_data_blob_getlength(blob.get())};
}

void report(benchmark::State &state, size_t bytes) {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
  state.counters["peak_kB"] = static_cast<double>(usage.ru_maxrss);
}

void parseOnly(benchmark::State &state) {
  const std::string text = makeSignedOrder(static_cast<size_t>(state.range(0)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(parse(text));
  }
  report(state, text.size());
}

void parseAndVerify(benchmark::State &state) {
  const std::string text = makeSignedOrder(static_cast<size_t>(state.range(0)));
  for (auto _ : state) {
    const Document document = parse(text);
    uint32_t error = 0;
    if (talvo_xml_signature_verify(document.get(), nullptr, 0, nullptr, &error) != 1) {
      state.SkipWithError("not valid");
    }
  }
  report(state, text.size());
}

void parseAndSign(benchmark::State &state) {
  const std::string text = makeOrder(static_cast<size_t>(state.range(0)));
  const SignedInfoContext context = makeContext();
  for (auto _ : state) {
    const Document document = parse(text);
    if (!sign(document.get(), context.get())) {
      state.SkipWithError("not signed");
    }
  }
  report(state, text.size());
}

// The key operations that the two above contain.
void rsaSign(benchmark::State &state) {
  const KeyPair key(TalvoPKICertGetCertKeyPair(signer(), 0, 2, nullptr));
  for (auto _ : state) {
    const Handle<TalvoPKISign, TalvoPKICryptoFreeSign> operation(
        TalvoPKICryptoNewSign(key.get(), 4));
    TalvoPKICryptoSignUpdate(operation.get(), "abc", 3);
    uint8_t *value = nullptr;
    size_t length = 0;
    if (TalvoPKICryptoSignFinal(operation.get(), &value, &length) != 1) {
      state.SkipWithError("not signed");
    }
    TalvoPKICryptoFreeMemory(value);
  }
}

// Many signatures in one document, and many references in one signature: time per item must not grow.
void manySignatures(benchmark::State &state) {
  const Document document = parse("<root/>");
  const SignedInfoContext context = makeContext();
  const auto count = state.range(0);
  for (int64_t index = 0; index < count; ++index) {
    const std::string id = "part" + std::to_string(index);
    const UString uri = makeString("#" + id);
    const UString idString = makeString(id);
    const ReferenceContext reference(talvo_xml_signature_referencectx_new(
        kSha256, nullptr, uri.get(), nullptr, nullptr, nullptr));
    const List references(talvo_arraylist_new(nullptr, nullptr));
    talvo_arraylist_pushback(references.get(), reference.get());
    const SignedInfoContext own(talvo_xml_signature_signedinfoctx_new(
        nullptr, kC14n, nullptr, kRsaSha256, references.get()));
    const UString data = makeString("data");
    const Handle<ObjectCtx, talvo_xml_signature_objectctx_free> object(
        talvo_xml_signature_objectctx_newdata(idString.get(), nullptr, nullptr, data.get()));
    const List objects(talvo_arraylist_new(nullptr, nullptr));
    talvo_arraylist_pushback(objects.get(), object.get());
    XmlNode *signature = nullptr;
    uint32_t error = 0;
    if (talvo_xml_signature_sign(document.get(), talvo_xml_doc_getrootelement(document.get()),
                                 nullptr, nullptr, own.get(), objects.get(), signer(), nullptr,
                                 &signature, &error) != 1) {
      state.SkipWithError("not signed");
      return;
    }
  }
  for (auto _ : state) {
    uint32_t error = 0;
    if (talvo_xml_signature_verify(document.get(), nullptr, 0, nullptr, &error) != 1) {
      state.SkipWithError("not valid");
    }
  }
  state.SetItemsProcessed(state.iterations() * count);
}

constexpr int64_t kSmall = 2048;
constexpr int64_t kLarge = 10'000'000;

BENCHMARK(parseOnly)->Arg(kSmall)->Arg(kLarge)->Unit(benchmark::kMicrosecond);
BENCHMARK(parseAndVerify)->Arg(kSmall)->Arg(kLarge)->Unit(benchmark::kMicrosecond);
BENCHMARK(parseAndSign)->Arg(kSmall)->Arg(kLarge)->Unit(benchmark::kMicrosecond);
BENCHMARK(rsaSign)->Unit(benchmark::kMicrosecond);
BENCHMARK(manySignatures)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace talvo::bench
