// Evaluating XPath expressions. libxml2's axes take for granted that every way upwards ends at the
// document of the context, and die where it does not.
#include <algorithm>
#include <span>
#include <utility>

#include <libxml/xpathInternals.h>

#include "base/list.h"
#include "base/utf8.h"
#include "xml/native.h"
#include "xml/node.h"

namespace talvo {
namespace {

// Gives a run of nodes that has none a parent, for a scope.
class LentParent {
 public:
  LentParent() = default;
  ~LentParent() { setParent(nullptr); }
  LentParent(const LentParent &) = delete;
  LentParent &operator=(const LentParent &) = delete;

  // Returns the first node of the run that the node is in.
  xmlNode *lend(xmlNode *node, xmlNode *parent) noexcept {
    for (first_ = node; first_->prev != nullptr;) {
      first_ = first_->prev;
    }
    setParent(parent);
    return first_;
  }

 private:
  void setParent(xmlNode *parent) noexcept {
    for (xmlNode *node = first_; node != nullptr; node = node->next) {
      node->parent = parent;
    }
  }

  xmlNode *first_ = nullptr;
};

// Where an expression is evaluated: for a scope, an attribute without element has one, and a tree
// without document too.
class XPathPlace {
 public:
  explicit XPathPlace(xmlNode *node) noexcept : document_(node->doc) {
    if (node->type == XML_ATTRIBUTE_NODE && node->parent == nullptr) {
      element_.type = XML_ELEMENT_NODE;
      element_.name = xmlText("");
      element_.properties = asAttr(ofElement_.lend(node, &element_));
    }
    if (document_ == nullptr) {
      lentDocument_.type = XML_DOCUMENT_NODE;
      lentDocument_.doc = document_ = &lentDocument_;
      lentDocument_.children = ofDocument_.lend(topOf(node), asNode(&lentDocument_));
    }
  }

  xmlDoc *document() const noexcept { return document_; }
  bool lent(const xmlNode *node) const noexcept {
    return node == &element_ || node == reinterpret_cast<const xmlNode *>(&lentDocument_);
  }

 private:
  static xmlNode *topOf(xmlNode *node) noexcept {
    while (node->parent != nullptr) {
      node = node->parent;
    }
    return node;
  }

  xmlNode element_ = {};
  xmlDoc lentDocument_ = {};
  xmlDoc *document_;
  LentParent ofElement_;
  LentParent ofDocument_;
};

void registerPrefixesInScope(xmlXPathContext *context, const XmlNode *node) noexcept {
  for (const XmlNode *at = node; at != nullptr; at = talvo_xml_node_getparent(at)) {
    for (const XmlNode *ns = talvo_xml_node_getnsnode(at); ns != nullptr;
         ns = talvo_xml_node_getnextsibling(ns)) {
      const xmlNs *declaration = nativeNs(ns);
      if (declaration->prefix != nullptr &&
          xmlXPathNsLookup(context, declaration->prefix) == nullptr) {
        xmlXPathRegisterNs(context, declaration->prefix, declaration->href);
      }
    }
  }
}

bool appendSelected(xmlNodeSet *selected, const XPathPlace &place, talvo_arraylist *list) noexcept {
  xmlXPathNodeSetSort(selected);
  for (int i = 0; i < xmlXPathNodeSetGetLength(selected); ++i) {
    xmlNode *node = xmlXPathNodeSetItem(selected, i);
    // XPath makes namespace nodes of its own, which die with its result.
    if (node->type != XML_NAMESPACE_DECL && !place.lent(node) &&
        talvo_arraylist_pushback(list, handleOf(node)) != 1) {
      return false;
    }
  }
  return true;
}

bool bind(xmlXPathContext *context, std::span<const PrefixBinding> bindings) noexcept {
  return std::all_of(bindings.begin(), bindings.end(), [context](const PrefixBinding &binding) {
    return xmlXPathRegisterNs(context, xmlText(binding.prefix), xmlText(binding.uri)) == 0;
  });
}

bool appendXPath(XmlNode *node, const char *expression, std::span<const PrefixBinding> bindings,
                 talvo_arraylist *list) noexcept {
  MemoryWatch watch;
  const XPathPlace place(native(node));
  const XPathContext context(xmlXPathNewContext(place.document()));
  if (!context) {
    return false;
  }
  watch.follow(context.get());
  context->node = native(node);
  if (!bind(context.get(), bindings)) {
    return false;
  }
  registerPrefixesInScope(context.get(), node);
  const XPathObject result(xmlXPathEvalExpression(xmlText(expression), context.get()));
  return result && !watch.exhausted() && result->type == XPATH_NODESET &&
         appendSelected(result->nodesetval, place, list);
}

}  // namespace

List selectXPath(XmlNode *node, const char *expression,
                 std::span<const PrefixBinding> bindings) noexcept {
  List found(talvo_arraylist_new(nullptr, nullptr));
  return found && appendXPath(node, expression, bindings, found.get()) ? std::move(found) : nullptr;
}

}  // namespace talvo

using namespace talvo;

int32_t talvo_xml_node_findxpath(XmlNode *node, const talvo_ustring *expression,
                                 talvo_arraylist **list) noexcept {
  const Utf8 text(expression);
  const NodeKind kind = kindOf(node);
  if (list == nullptr) {
    return 0;
  }
  *list = nullptr;
  if (!text || kind == NodeKind::unsupported || kind == NodeKind::namespaceDeclaration) {
    return 0;
  }
  *list = selectXPath(node, text.get(), {}).release();
  return *list == nullptr ? 0 : 1;
}
