// libxml2 does the work; what stands here decides how it is asked. With a visibility callback it
// asks about every node of the document, so a whole document runs without one, and so does a single
// subtree, in a copy of the document record that has the subtree as its only child, where that
// gives the same octets.
#include "transform/canonicalize.h"

#include <array>
#include <string_view>

#include <libxml/c14n.h>
#include <libxml/uri.h>
#include <libxml/xmlIO.h>

#include "base/boundary.h"
#include "xml/native.h"
#include "xml/node.h"

namespace talvo {
namespace {

struct Method {
  int32_t number;
  xmlC14NMode mode;
  bool withComments;
};

constexpr std::string_view kXmlNamespace = "http://www.w3.org/XML/1998/namespace";

constexpr std::array<Method, 6> kMethods = {{
    {1, XML_C14N_1_0, false},
    {2, XML_C14N_1_0, true},
    {3, XML_C14N_EXCLUSIVE_1_0, false},
    {4, XML_C14N_EXCLUSIVE_1_0, true},
    {6, XML_C14N_1_1, false},
    {7, XML_C14N_1_1, true},
}};

const Method *findMethod(int32_t number) noexcept {
  for (const Method &method : kMethods) {
    if (method.number == number) {
      return &method;
    }
  }
  return nullptr;
}

// ---- what libxml2 refuses, wherever in the document it stands ----

// libxml2 looks up each declaration in scope at each element, which costs the square of their
// number. Beyond this many steps, and this many for each element, a document is refused.
constexpr uint64_t kMostSteps = 2'000'000'000;
constexpr uint64_t kMostStepsPerElement = 20'000;

// Walks a document once.
class Inspection {
 public:
  Fitness of(const xmlDoc *document) noexcept;

 private:
  bool enter(const xmlNode *node) noexcept;
  bool isAbsoluteUri(const xmlChar *uri) noexcept;
  size_t countDeclarations(const xmlNode *element) const noexcept;

  const xmlChar *lastAbsolute_ = nullptr;
  uint64_t inScope_ = 0;
  uint64_t elements_ = 0;
  uint64_t steps_ = 0;
};

// Documents declare the same few URIs again and again: remember one.
bool Inspection::isAbsoluteUri(const xmlChar *uri) noexcept {
  if (uri == nullptr || *uri == 0 || xmlStrEqual(uri, lastAbsolute_) != 0) {
    return true;
  }
  const Handle<xmlURI, xmlFreeURI> parsed(xmlParseURI(plainText(uri)));
  if (parsed == nullptr || parsed->scheme == nullptr) {
    return false;
  }
  lastAbsolute_ = uri;
  return true;
}

bool Inspection::enter(const xmlNode *node) noexcept {
  if (node->type != XML_ELEMENT_NODE) {
    return node->type != XML_ENTITY_REF_NODE;
  }
  for (const xmlNs *ns = node->nsDef; ns != nullptr; ns = ns->next) {
    if (!isAbsoluteUri(ns->href)) {
      return false;
    }
    ++inScope_;
  }
  ++elements_;
  steps_ += inScope_ * inScope_;
  return true;
}

size_t Inspection::countDeclarations(const xmlNode *element) const noexcept {
  size_t count = 0;
  for (const xmlNs *ns = element->nsDef; ns != nullptr; ns = ns->next) {
    ++count;
  }
  return count;
}

Fitness Inspection::of(const xmlDoc *document) noexcept {
  const auto *top = reinterpret_cast<const xmlNode *>(document);
  const xmlNode *node = document->children;
  while (node != nullptr && node != top) {
    if (!enter(node)) {
      return {false, false};
    }
    if (node->type == XML_ELEMENT_NODE && node->children != nullptr) {
      node = node->children;
      continue;
    }
    for (; node != top; node = node->parent) {
      if (node->type == XML_ELEMENT_NODE) {
        inScope_ -= countDeclarations(node);
      }
      if (node->next != nullptr) {
        node = node->next;
        break;
      }
    }
  }
  return {true, steps_ <= kMostSteps || steps_ / kMostStepsPerElement <= elements_};
}

// ---- running libxml2 ----

// Hands what libxml2 writes to a sink.
class Output {
 public:
  explicit Output(OctetSink &sink) noexcept : sink_(sink) {}

  static int write(void *self, const char *octets, int length) noexcept {
    auto *output = static_cast<Output *>(self);
    const Bytes piece(reinterpret_cast<const uint8_t *>(octets), static_cast<size_t>(length));
    output->hasFailed_ = output->hasFailed_ || !output->sink_.write(piece);
    return output->hasFailed_ ? -1 : length;
  }
  bool hasFailed() const noexcept { return hasFailed_; }

 private:
  OctetSink &sink_;
  bool hasFailed_ = false;
};

extern "C" {

static int writeOutput(void *output, const char *octets, int length) noexcept {
  return Output::write(output, octets, length);
}

static int isVisible(void *run, xmlNode *node, xmlNode *parent) noexcept {
  return static_cast<OrderedRun *>(run)->contains(handleOf(node), handleOf(parent)) ? 1 : 0;
}
}

struct Settings {
  const Method &method;
  char **prefixes;
  bool withComments;
};

// A null run makes every node of the document visible.
bool execute(OctetSink &sink, xmlDoc *document, OrderedRun *run,
             const Settings &settings) noexcept {
  const MemoryWatch watch;
  Output output(sink);
  xmlOutputBuffer *buffer = xmlOutputBufferCreateIO(writeOutput, nullptr, &output, nullptr);
  if (buffer == nullptr) {
    return false;
  }
  const int result = xmlC14NExecute(
      document, run == nullptr ? nullptr : isVisible, run, settings.method.mode,
      reinterpret_cast<xmlChar **>(settings.prefixes), settings.withComments ? 1 : 0, buffer);
  const int closed = xmlOutputBufferClose(buffer);
  return result >= 0 && closed >= 0 && !output.hasFailed() && !watch.exhausted();
}

bool hasXmlAttribute(const xmlNode *element) noexcept {
  for (const xmlAttr *attribute = element->properties; attribute != nullptr;
       attribute = attribute->next) {
    if (attribute->ns != nullptr && viewOf(attribute->ns->href) == kXmlNamespace) {
      return true;
    }
  }
  return false;
}

// Whether the subtree gives the same octets when libxml2 takes its ancestors for visible. The
// inclusive methods make an apex without visible parent inherit xml: attributes; C14N 1.1 also
// looks at those of the apex itself.
bool isIndependent(const xmlNode *apex, xmlC14NMode mode) noexcept {
  if (mode == XML_C14N_EXCLUSIVE_1_0) {
    return true;
  }
  const xmlNode *node = mode == XML_C14N_1_1 ? apex : apex->parent;
  for (; node != nullptr && node->type == XML_ELEMENT_NODE; node = node->parent) {
    if (hasXmlAttribute(node)) {
      return false;
    }
  }
  return true;
}

// The element whose subtree alone is selected and can run alone, or null.
const xmlNode *loneApex(const PlainSelection &plain, const XmlDoc *document,
                        xmlC14NMode mode) noexcept {
  const bool isAlone = plain.isPlain && kindOf(plain.apex) == NodeKind::element &&
                       isInDocument(plain.apex, document) &&
                       isIndependent(native(plain.apex), mode);
  return isAlone ? native(plain.apex) : nullptr;
}

// Runs over one element as if it were all that its document holds. Both records are copies, so
// that the tree stays as it is.
bool executeAlone(OctetSink &sink, xmlDoc *document, const xmlNode &element,
                  const Settings &settings) noexcept {
  xmlNode apex = element;
  apex.next = nullptr;
  xmlDoc view = *document;
  view.children = &apex;
  return execute(sink, &view, nullptr, settings);
}

bool executeOver(OctetSink &sink, NodeSet *nodes, const Settings &settings) noexcept {
  OrderedRun run(nodes);
  return execute(sink, nativeDoc(documentOf(nodes)), &run, settings) && !run.hasFailed();
}

thread_local FitnessScope *currentScope = nullptr;

}  // namespace

bool OctetCollector::write(Bytes octets) noexcept {
  return guard([&] {
    octets_.append(reinterpret_cast<const char *>(octets.data()), octets.size());
    return true;
  });
}

FitnessScope::FitnessScope(const XmlDoc *document) noexcept
    : document_(document), isOutermost_(currentScope == nullptr) {
  if (isOutermost_) {
    currentScope = this;
  }
}

FitnessScope::~FitnessScope() {
  if (isOutermost_) {
    currentScope = nullptr;
  }
}

bool FitnessScope::isFit(const XmlDoc *document, bool isInclusive) noexcept {
  if (currentScope == nullptr || currentScope->document_ != document) {
    return Inspection().of(nativeDoc(document)).allows(isInclusive);
  }
  std::optional<Fitness> &fitness = currentScope->fitness_;
  if (!fitness) {
    fitness = Inspection().of(nativeDoc(document));
  }
  return fitness->allows(isInclusive);
}

bool canonicalizeInto(OctetSink &sink, NodeSet *nodes, int32_t method, char **prefixes) noexcept {
  const Method *found = findMethod(method);
  XmlDoc *document = documentOf(nodes);
  if (found == nullptr || document == nullptr) {
    return false;
  }
  const PlainSelection plain = plainSelection(nodes);
  const bool isInclusive = found->mode != XML_C14N_EXCLUSIVE_1_0;
  const xmlNode *alone = loneApex(plain, document, found->mode);
  const Settings settings{*found, isInclusive ? nullptr : prefixes,
                          found->withComments && plain.withComments};
  // libxml2 refuses a document for what stands anywhere in it, so an element that runs alone needs
  // the look at the rest, if there is any.
  const bool hidesRest = alone != nullptr && alone->parent->type == XML_ELEMENT_NODE;
  if ((isInclusive || hidesRest) && !FitnessScope::isFit(document, isInclusive)) {
    return false;
  }
  if (alone != nullptr) {
    return executeAlone(sink, nativeDoc(document), *alone, settings);
  }
  return plain.isPlain && plain.apex == nullptr
             ? execute(sink, nativeDoc(document), nullptr, settings)
             : executeOver(sink, nodes, settings);
}

bool canonicalizeSubtree(OctetSink &sink, XmlNode *node, int32_t method, char **prefixes) noexcept {
  XmlDoc *document = talvo_xml_node_getdoc(node);
  if (!isInDocument(node, document)) {
    return false;
  }
  XmlNode *apex = node == document ? nullptr : node;
  const OwnedNodeSet nodes(talvo_xml_nodeset_getsubtree(document, apex, 1));
  return canonicalizeInto(sink, nodes.get(), method, prefixes);
}

Blob canonicalize(NodeSet *nodes, int32_t method, char **prefixes) noexcept {
  OctetCollector collector;
  return canonicalizeInto(collector, nodes, method, prefixes) ? collector.take() : nullptr;
}

}  // namespace talvo

using namespace talvo;

talvo_data_blob *talvo_xml_c14nnode(XmlNode *node, uint32_t mode,
                                    const talvo_arraylist *prefixes) noexcept {
  const auto method = static_cast<int32_t>(mode);
  const bool takesPrefixes = prefixes != nullptr && (method == 3 || method == 4);
  const PrefixBlock block(takesPrefixes ? getexcc14nparam2(prefixes) : nullptr);
  if (takesPrefixes && !block) {
    return nullptr;
  }
  OctetCollector collector;
  return canonicalizeSubtree(collector, node, method, block.get()) ? collector.take().release()
                                                                   : nullptr;
}
