// libxml2 does the work; what stands here decides how it is asked. With a visibility callback it
// asks about every node of the document. So a whole document runs without one, a single subtree in a
// copy of the document record that has nothing else, and what an enveloped signature leaves with the
// signature out of sight: each where that gives the same octets.
#include "transform/canonicalize.h"

#include <array>
#include <string_view>

#include <libxml/c14n.h>
#include <libxml/xmlIO.h>

#include "base/boundary.h"
#include "transform/fitness.h"
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

// What a selection leaves for a run without callback.
enum class Way { whole, alone, callback };

// Whether a node that is taken out lies strictly inside what remains, below an element: a missing
// root element would change how libxml2 sets its siblings apart.
bool isRemovable(const XmlNode *removed, const XmlNode *apex, const XmlDoc *document) noexcept {
  const XmlNode *parent = talvo_xml_node_getparent(removed);
  return kindOf(removed) == NodeKind::element && kindOf(parent) == NodeKind::element &&
         isInDocument(removed, document) && (apex == nullptr || isAtOrBelow(parent, apex));
}

Way findWay(const PlainSelection &plain, const XmlDoc *document, xmlC14NMode mode) noexcept {
  if (!plain.isPlain ||
      (plain.removed != nullptr && !isRemovable(plain.removed, plain.apex, document))) {
    return Way::callback;
  }
  if (plain.apex == nullptr) {
    return Way::whole;
  }
  const bool isAlone = kindOf(plain.apex) == NodeKind::element &&
                       isInDocument(plain.apex, document) &&
                       isIndependent(native(plain.apex), mode);
  return isAlone ? Way::alone : Way::callback;
}

// Takes a node out of the chain of its siblings for one scope. Only the link that leads to it is
// changed, and nobody else looks: libxml2 follows children and next links, the sinks see no tree, and
// one document is never used by two threads at once.
class HiddenNode {
 public:
  explicit HiddenNode(const xmlNode *node) noexcept {
    if (node != nullptr) {
      link_ = node->prev != nullptr ? &node->prev->next : &node->parent->children;
      hidden_ = *link_;
      *link_ = node->next;
    }
  }
  ~HiddenNode() {
    if (link_ != nullptr) {
      *link_ = hidden_;
    }
  }
  HiddenNode(const HiddenNode &) = delete;
  HiddenNode &operator=(const HiddenNode &) = delete;

 private:
  xmlNode **link_ = nullptr;
  xmlNode *hidden_ = nullptr;
};

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

// libxml2 refuses a document for what stands anywhere in it, so what it is not shown is looked at
// here. For the inclusive methods what it is shown is, too, because of the cost.
bool isFitFor(Way way, const PlainSelection &plain, const XmlDoc *document,
              bool isInclusive) noexcept {
  if (way == Way::alone) {
    const bool hidesRest = native(plain.apex)->parent->type == XML_ELEMENT_NODE;
    return (!hidesRest || isCanonical(document)) &&
           (plain.removed == nullptr || isCanonicalBelow(plain.removed)) &&
           (!isInclusive || isAffordableBelow(plain.apex));
  }
  if (isInclusive) {
    return isAffordable(document);
  }
  return way == Way::callback || plain.removed == nullptr || isCanonicalBelow(plain.removed);
}

bool executeOver(OctetSink &sink, NodeSet *nodes, const Settings &settings) noexcept {
  OrderedRun run(nodes);
  return execute(sink, nativeDoc(documentOf(nodes)), &run, settings) && !run.hasFailed();
}

}  // namespace

bool OctetCollector::write(Bytes octets) noexcept {
  return guard([&] {
    octets_.append(reinterpret_cast<const char *>(octets.data()), octets.size());
    return true;
  });
}

bool canonicalizeInto(OctetSink &sink, NodeSet *nodes, int32_t method, char **prefixes) noexcept {
  const Method *found = findMethod(method);
  XmlDoc *document = documentOf(nodes);
  if (found == nullptr || document == nullptr) {
    return false;
  }
  const PlainSelection plain = plainSelection(nodes);
  const bool isInclusive = found->mode != XML_C14N_EXCLUSIVE_1_0;
  const Settings settings{*found, isInclusive ? nullptr : prefixes,
                          found->withComments && plain.withComments};
  const Way way = findWay(plain, document, found->mode);
  if (!isFitFor(way, plain, document, isInclusive)) {
    return false;
  }
  const HiddenNode hidden(way == Way::callback ? nullptr : native(plain.removed));
  if (way == Way::alone) {
    return executeAlone(sink, nativeDoc(document), *native(plain.apex), settings);
  }
  const bool isDone = way == Way::whole ? execute(sink, nativeDoc(document), nullptr, settings)
                                        : executeOver(sink, nodes, settings);
  if (isDone) {
    noteCanonical(document);
  }
  return isDone;
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
