// XPath filters. An expression is compiled once for its rule and evaluated in one context, which is
// put back into the state of a new one before each node.
//
// The two expressions that real signatures use to leave out signatures are recognised: what they
// remove is subtrees, with the results that XPath would give for every kind of node.
#include <algorithm>
#include <span>
#include <string>
#include <string_view>

#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include "base/boundary.h"
#include "base/utf8.h"
#include "signature/vocabulary/vocabulary.h"
#include "transform/nodeset.h"
#include "xml/native.h"

extern "C" {

// The XPath function here().
static void XPathHereFunction(xmlXPathParserContext *parser, int) noexcept {
  if (parser->context->here != nullptr) {
    valuePush(parser, xmlXPathNewNodeSet(parser->context->here));
  }
}
}

namespace talvo {
namespace {

constexpr const char *kSource = "nodeset";
constexpr std::string_view kBlanks = " \t\r\n";

// Stands for a qualified name that names ds:Signature.
constexpr std::string_view kSignature;

// not(ancestor-or-self::ds:Signature)
constexpr std::string_view kNoSignature[] = {"not", "(", "ancestor-or-self", "::", kSignature, ")"};

// count(ancestor-or-self::ds:Signature | here()/ancestor::ds:Signature[1]) >
// count(ancestor-or-self::ds:Signature)
constexpr std::string_view kNotThisSignature[] = {"count",    "(",        "ancestor-or-self",
                                                  "::",       kSignature, "|",
                                                  "here",     "(",        ")",
                                                  "/",        "ancestor", "::",
                                                  kSignature, "[",        "1",
                                                  "]",        ")",        ">",
                                                  "count",    "(",        "ancestor-or-self",
                                                  "::",       kSignature, ")"};

bool isSignatureNamespace(const xmlChar *uri) noexcept {
  return viewOf(uri) == viewOf(g_xml_signature_nsuri);
}

void skipBlanks(std::string_view *text) noexcept {
  text->remove_prefix(std::min(text->find_first_not_of(kBlanks), text->size()));
}

bool takeText(std::string_view *text, std::string_view expected) noexcept {
  const bool isThere = text->starts_with(expected);
  text->remove_prefix(isThere ? expected.size() : 0);
  return isThere;
}

// Takes "P:Signature" where P is bound to the namespace of XML signatures.
bool takeSignatureName(std::string_view *text, xmlXPathContext *context) {
  const std::string prefix(text->substr(0, text->find(':')));
  text->remove_prefix(prefix.size());
  return takeText(text, ":") && takeText(text, viewOf(g_xml_signature_name)) &&
         isSignatureNamespace(xmlXPathNsLookup(context, xmlText(prefix.c_str())));
}

// Whether the expression consists of the tokens, with white space anywhere between them.
bool consistsOf(std::string_view text, std::span<const std::string_view> tokens,
                xmlXPathContext *context) {
  for (std::string_view token : tokens) {
    skipBlanks(&text);
    const bool isThere = token.empty() ? takeSignatureName(&text, context) : takeText(&text, token);
    if (!isThere) {
      return false;
    }
  }
  skipBlanks(&text);
  return text.empty();
}

// Binds the prefixes in scope at the XPath element. The nearest declaration wins, and a default
// namespace does not count. Binding fails only when memory is exhausted.
bool registerPrefixes(xmlXPathContext *context, const xmlNode *element) {
  for (const xmlNode *node = element; node != nullptr && node->type == XML_ELEMENT_NODE;
       node = node->parent) {
    for (const xmlNs *ns = node->nsDef; ns != nullptr; ns = ns->next) {
      const bool isNamed = ns->prefix != nullptr && *ns->prefix != 0;
      if (isNamed && xmlXPathNsLookup(context, ns->prefix) == nullptr &&
          xmlXPathRegisterNs(context, ns->prefix, ns->href) != 0) {
        return false;
      }
    }
  }
  return true;
}

xmlNode *enclosingSignature(const xmlNode *element) noexcept {
  xmlNode *node = element->parent;
  while (node != nullptr && !hasSignatureName(node)) {
    node = node->parent;
  }
  return node;
}

// Whether a node is an element of the sort, or lies in one.
template <class IsSort>
bool isWithin(const xmlNode *node, IsSort isSort) noexcept {
  if (node->type == XML_NAMESPACE_DECL) {  // see passesFilterAt
    node = reinterpret_cast<const xmlNode *>(reinterpret_cast<const xmlNs *>(node)->next);
  }
  while (node != nullptr && !isSort(node)) {
    node = node->parent;
  }
  return node != nullptr;
}

}  // namespace

class XPathFilter {
 public:
  void prepare(const NodeSet &rule) noexcept;
  Recognised recognised() const noexcept { return recognised_; }
  const xmlNode *top() const noexcept { return top_; }
  bool passes(xmlNode *node) noexcept;
  // Whether memory was exhausted, so that an answer may have been wrong.
  bool hasFailed() const noexcept { return hasFailed_; }

 private:
  bool findWay(const NodeSet &rule);
  bool evaluate(xmlNode *node) noexcept;
  bool evaluateWithin(XPathBudget &budget, xmlNode *node) noexcept;

  Recognised recognised_ = Recognised::nothing;
  const xmlNode *top_ = nullptr;
  xmlDoc *document_ = nullptr;
  XPathContext context_;
  XPathExpression expression_;
  XPathBudget *budget_ = nullptr;
  bool hasFailed_ = false;
};

void XPathFilter::prepare(const NodeSet &rule) noexcept {
  document_ = nativeDoc(rule.document);
  budget_ = rule.budget;
  context_.reset(xmlXPathNewContext(nullptr));
  // The objects of one evaluation serve the next one.
  hasFailed_ = context_ == nullptr || xmlXPathContextSetCache(context_.get(), 1, -1, 0) != 0 ||
               !guard([&] { return findWay(rule); });
}

bool XPathFilter::findWay(const NodeSet &rule) {
  xmlNode *element = native(rule.xpathElement);
  xmlXPathContext *context = context_.get();
  const std::string_view text = viewOf(rule.expression.get());
  const bool isAtHome = element->doc == document_;
  if (isAtHome) {
    // Elsewhere here() stays unknown, so that an expression with it selects nothing.
    xmlXPathRegisterFunc(context, xmlText("here"), XPathHereFunction);
    context->here = element;
  }
  if (!registerPrefixes(context, element)) {
    return false;
  }
  if (consistsOf(text, kNoSignature, context)) {
    recognised_ = Recognised::noSignatures;
    return true;
  }
  if (isAtHome && consistsOf(text, kNotThisSignature, context)) {
    top_ = enclosingSignature(element);
    recognised_ = top_ == nullptr ? Recognised::nothing : Recognised::notTheSubtree;
    return true;
  }
  // Deliberate: an expression that does not compile selects nothing and is no error.
  expression_.reset(xmlXPathCtxtCompile(context, xmlText(text.data())));
  recognised_ = expression_ == nullptr ? Recognised::nothing : Recognised::no;
  return context->lastError.code != XML_ERR_NO_MEMORY;
}

// A recognised form is asked here about single nodes only; a walk asks for the subtrees instead.
bool XPathFilter::passes(xmlNode *node) noexcept {
  switch (recognised_) {
    case Recognised::noSignatures:
      return !isWithin(node, hasSignatureName);
    case Recognised::notTheSubtree:
      return !isWithin(node, [this](const xmlNode *element) { return element == top_; });
    case Recognised::no:
      return budget_ == nullptr ? evaluate(node) : evaluateWithin(*budget_, node);
    default:
      return false;
  }
}

bool XPathFilter::evaluate(xmlNode *node) noexcept {
  // What a new context holds; an evaluation that ends in an error leaves other values behind.
  context_->contextSize = -1;
  context_->proximityPosition = -1;
  context_->depth = 0;
  context_->doc = document_;
  context_->node = node;
  const int answer = xmlXPathCompiledEvalToBoolean(expression_.get(), context_.get());
  hasFailed_ = hasFailed_ || context_->lastError.code == XML_ERR_NO_MEMORY;
  return answer == 1;  // -1 for an evaluation that failed
}

// What is left of a budget limits each evaluation, so that one that never ends is stopped too. A
// filter that ran out has failed: what it selects is not known.
bool XPathFilter::evaluateWithin(XPathBudget &budget, xmlNode *node) noexcept {
  if (budget.left == 0 || budget.isExhausted) {
    budget.isExhausted = hasFailed_ = true;
    return false;
  }
  context_->opLimit = budget.left;
  context_->opCount = 0;
  const bool isKept = evaluate(node);
  const uint64_t used = context_->opCount + 1;
  budget.left -= std::min(used, budget.left);
  budget.isExhausted = budget.left == 0;
  hasFailed_ = hasFailed_ || budget.isExhausted;
  return isKept && !budget.isExhausted;
}

void freeXPathFilter(XPathFilter *filter) noexcept {
  destroy(filter);
}

namespace {

XPathFilter *filterOf(NodeSet &rule) noexcept {
  if (rule.filter == nullptr) {
    rule.filter.reset(make<XPathFilter>(kSource).release());
    if (rule.filter != nullptr) {
      rule.filter->prepare(rule);
    }
  }
  rule.hasFailed = rule.hasFailed || rule.filter == nullptr || rule.filter->hasFailed();
  return rule.filter.get();
}

}  // namespace

Recognised recognise(NodeSet &rule, const xmlNode **top) noexcept {
  const XPathFilter *filter = filterOf(rule);
  if (filter == nullptr) {
    return Recognised::nothing;
  }
  *top = filter->top();
  return filter->recognised();
}

bool passesFilter(NodeSet &rule, XmlNode *node) noexcept {
  XPathFilter *filter = filterOf(rule);
  const bool isKept = filter != nullptr && node != nullptr && filter->passes(native(node));
  rule.hasFailed = rule.hasFailed || filter == nullptr || filter->hasFailed();
  return isKept;
}

}  // namespace talvo
