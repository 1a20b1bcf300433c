// What digesting a reference costs by its transforms, over documents of 1,000 to 100,000 elements, and for a file.
// Each shows how it grows, and by how much the process grew over the parsed tree meanwhile.
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <string_view>

#include <benchmark/benchmark.h>

#include "talvo_xml.h"

#include "base/handle.h"
#include "base/utf8.h"

namespace talvo::bench {
namespace {

using Document = Handle<XmlDoc, talvo_xml_doc_free>;

constexpr std::string_view kDs = "http://www.w3.org/2000/09/xmldsig#";
constexpr int64_t kElementsOfRecord = 6;

std::string algorithm(int32_t number) {
  constexpr uint32_t kTransforms = 4;
  const UString uri(talvo_xml_algorithm_geturi(kTransforms, number));
  return std::string(viewOf(uri.get()));
}

std::string transform(int32_t number, std::string_view content = "") {
  return "<ds:Transform Algorithm='" + algorithm(number) + "'>" + std::string(content) +
         "</ds:Transform>";
}

std::string filter(std::string_view expression) {
  return transform(32, "<ds:XPath>" + std::string(expression) + "</ds:XPath>");
}

std::string reference(std::string_view uri, std::string_view transforms) {
  const std::string chain =
      transforms.empty() ? "" : "<ds:Transforms>" + std::string(transforms) + "</ds:Transforms>";
  return "<ds:Signature><ds:SignedInfo><ds:Reference URI='" + std::string(uri) + "'>" + chain +
         "<ds:DigestMethod Algorithm='http://www.w3.org/2001/04/xmlenc#sha256'/>"
         "<ds:DigestValue>AAAA</ds:DigestValue></ds:Reference></ds:SignedInfo></ds:Signature>";
}

// Records with namespaces, attributes and text, and a signature with one reference behind them.
std::string ledger(int64_t elements, std::string_view signature) {
  std::string text =
      "<l:ledger xmlns:l='urn:example:ledger' xmlns:m='urn:example:meta' xmlns:ds='" +
      std::string(kDs) + "'>\n<l:body xml:id='body'>";
  for (int64_t i = 0; i < elements / kElementsOfRecord; ++i) {
    text += "<l:record n='" + std::to_string(i) +
            "'>\n <l:name>A name &amp; more</l:name>\n <l:sum currency='EUR'>12.50</l:sum>\n"
            " <m:note m:by='x'>A note of some words</m:note>\n "
            "<l:at><m:code>4711</m:code></l:at>\n</l:record>\n";
  }
  return text + "</l:body>" + std::string(signature) + "</l:ledger>\n";
}

// The most memory that the process held since the last reset.
void resetPeak() {
  std::ofstream("/proc/self/clear_refs") << 5;
}

int64_t peakKilobytes() {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    if (word == "VmHWM:") {
      int64_t value = 0;
      status >> value;
      return value;
    }
  }
  return 0;
}

XmlNode *findReference(XmlDoc *document) {
  const UString name = makeString("Reference");
  const UString uri = makeString(kDs);
  return talvo_xml_node_findelemnode(document, name.get(), uri.get());
}

// Digests the reference of a document again and again.
void digest(benchmark::State &state, const std::string &text, const std::string &base,
            size_t bytes) {
  const Document document(talvo_xml_parse(text.data(), static_cast<int64_t>(text.size())));
  XmlNode *element = findReference(document.get());
  const UString basePath = makeString(base);
  resetPeak();
  const int64_t before = peakKilobytes();
  for (auto _ : state) {
    uint32_t error = 0;
    const UString value(talvo_xml_signature_calref(element, 0, basePath.get(), &error));
    if (value == nullptr) {
      state.SkipWithError(("error " + std::to_string(error)).c_str());
      return;
    }
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
  state.counters["grown_kB"] = static_cast<double>(peakKilobytes() - before);
}

void digestLedger(benchmark::State &state, std::string_view uri, const std::string &transforms) {
  const std::string text = ledger(state.range(0), reference(uri, transforms));
  digest(state, text, "/", text.size());
  state.SetComplexityN(state.range(0));
}

void digestText(benchmark::State &state) {
  const auto length = static_cast<size_t>(state.range(0));
  std::string content;
  while (content.size() < length) {
    content += std::string(76, 'Q') + "\n";
  }
  // A text node has a limit, hence the parts.
  std::string text = "<d xmlns:ds='" + std::string(kDs) + "'>";
  for (int part = 0; part < 4; ++part) {
    text += "<p>" + content.substr(0, length / 4 / 77 * 77) + "</p>";
  }
  text += reference("", transform(48) + transform(16)) + "</d>";
  digest(state, text, "/", text.size());
}

void digestFile(benchmark::State &state) {
  const auto megabytes = static_cast<size_t>(state.range(0));
  const std::string path = "/tmp/talvo-bench-" + std::to_string(getpid());
  {
    std::ofstream file(path, std::ios::binary);
    const std::string block(1U << 20U, 'x');
    for (size_t i = 0; i < megabytes; ++i) {
      file << block;
    }
  }
  const std::string text = "<d xmlns:ds='" + std::string(kDs) + "'>" +
                           reference(path.substr(path.rfind('/') + 1), "") + "</d>";
  digest(state, text, "/tmp", megabytes << 20U);
  std::remove(path.c_str());
}

void wholeInclusive(benchmark::State &state) {
  digestLedger(state, "", transform(1));
}

void wholeExclusive(benchmark::State &state) {
  digestLedger(state, "", transform(3));
}

void enveloped(benchmark::State &state) {
  digestLedger(state, "", transform(48) + transform(3));
}

void subtree(benchmark::State &state) {
  digestLedger(state, "#body", transform(3));
}

void xpathAnySignature(benchmark::State &state) {
  digestLedger(state, "", filter("not(ancestor-or-self::ds:Signature)") + transform(3));
}

void xpathThisSignature(benchmark::State &state) {
  digestLedger(state, "",
               filter("count(ancestor-or-self::ds:Signature | here()/ancestor::ds:Signature[1]) > "
                      "count(ancestor-or-self::ds:Signature)") +
                   transform(3));
}

// The same selection, written so that the XPath engine has to answer.
void xpathEngine(benchmark::State &state) {
  digestLedger(state, "", filter("not(ancestor-or-self::ds:Signature) and true()") + transform(3));
}

#define TALVO_BENCH_GROWTH(name) \
  BENCHMARK(name)->Arg(1000)->Arg(10000)->Arg(100000)->Complexity()->Unit(benchmark::kMicrosecond)

TALVO_BENCH_GROWTH(wholeInclusive);
TALVO_BENCH_GROWTH(wholeExclusive);
TALVO_BENCH_GROWTH(enveloped);
TALVO_BENCH_GROWTH(subtree);
TALVO_BENCH_GROWTH(xpathAnySignature);
TALVO_BENCH_GROWTH(xpathThisSignature);
TALVO_BENCH_GROWTH(xpathEngine);
BENCHMARK(digestText)->Arg(20'000'000)->Unit(benchmark::kMillisecond);
BENCHMARK(digestFile)->Arg(64)->Arg(1024)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace talvo::bench
