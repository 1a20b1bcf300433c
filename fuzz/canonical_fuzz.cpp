// Any document, edited at will: the canonical form of any selection is what libxml2 makes of it. The
// first octet says how many of the next ones choose edits and selection; the rest is the document.
#include "../tests/transform/canonical/oracle.h"
#include "../tests/transform/canonical/random_edits.h"
#include "fuzz.h"

namespace talvo::fuzz {
namespace {

class Choices {
 public:
  explicit Choices(Bytes octets) : octets_(octets) {}

  uint32_t operator()(uint32_t count) {
    uint32_t number = 0;
    for (uint32_t below = count; below > 1 && at_ < octets_.size(); below /= 256) {
      number = number * 256 + octets_[at_++];
    }
    return number % count;
  }
  bool isAtEnd() const { return at_ >= octets_.size(); }

 private:
  Bytes octets_;
  size_t at_ = 0;
};

std::vector<const xmlNode *> elementsOf(xmlDoc *document) {
  std::vector<const xmlNode *> elements;
  forEachNode(asNode(document), [&elements](const xmlNode *node) {
    if (node->type == XML_ELEMENT_NODE) {
      elements.push_back(node);
    }
  });
  return elements;
}

void compare(xmlDoc *document, const TreeSelection &selection, bool isEdited) {
  for (const test::OracleForm &form : test::oracleForms({"p", "ds", "#default", "p"})) {
    // libxml2 takes the declaration of a default attribute for an attribute where an element that a
    // caller made is not selected.
    if (form.mode == C14nMode::inclusive11 && isEdited && document->intSubset != nullptr) {
      continue;
    }
    const test::Octets own = test::ownOctets(document, selection, form);
    const test::Octets expected = test::oracleOctets(document, selection, form);
    if (own != expected) {
      std::fprintf(stderr, "mode %d\nown:     %s\nlibxml2: %s\n", static_cast<int>(form.mode),
                   own.value_or("(failure)").c_str(), expected.value_or("(failure)").c_str());
      std::abort();
    }
  }
}

void compareSome(xmlDoc *document, Choices &choices, bool isEdited) {
  const std::vector<const xmlNode *> elements = elementsOf(document);
  const auto count = static_cast<uint32_t>(elements.size());
  std::vector<const xmlNode *> removed;
  for (uint32_t i = count == 0 ? 0 : choices(4); i > 0; --i) {
    removed.push_back(elements[choices(count)]);
  }
  TreeSelection selection;
  selection.apex = count == 0 || choices(2) == 0 ? nullptr : elements[choices(count)];
  selection.removed = removed;
  compare(document, selection, isEdited);
  test::XPathNodes filter(document, test::kFilters[choices(std::size(test::kFilters))]);
  TreeSelection filtered;
  filtered.filter = &filter;
  compare(document, filtered, isEdited);
}

}  // namespace
}  // namespace talvo::fuzz

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  using namespace talvo::fuzz;
  const LeakCheck leaks;
  if (size < 1 || size > 4096) {
    return 0;
  }
  const size_t count = std::min<size_t>(data[0], size - 1);
  const Document document = parse(data + 1 + count, size - 1 - count);
  if (document == nullptr) {
    return 0;
  }
  Choices choices({data + 1, count});
  const uint32_t edits = choices(16);
  talvo::test::RandomEdits(document.get(), choices).run(edits);
  do {
    compareSome(talvo::nativeDoc(document.get()), choices, edits > 0);
  } while (!choices.isAtEnd());
  return 0;
}
