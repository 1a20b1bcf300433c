// What libxml2 makes of a selection, to compare with: by a visibility callback that answers from the
// definition of the selection and takes no short cut.
#pragma once

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <libxml/c14n.h>
#include <libxml/xpathInternals.h>

#include "transform/canonical/refusal.h"
#include "transform/canonical/tree_walk.h"
#include "xml/native.h"

namespace talvo::test {

struct OracleForm {
  C14nMode mode;
  bool withComments;
  std::vector<std::string> prefixes;
};

// No value stands for a failure.
using Octets = std::optional<std::string>;

class StringSink final : public OctetSink {
 public:
  bool write(Bytes octets) noexcept override {
    text.append(octets.begin(), octets.end());
    return true;
  }
  std::string text;
};

inline bool isWithin(const xmlNode *node, const xmlNode *parent, const xmlNode *top) {
  while (node != top && parent != nullptr) {
    node = parent;
    parent = parent->parent;
  }
  return node == top;
}

extern "C" {

static int oracleSelects(void *data, xmlNode *node, xmlNode *parent) {
  const auto *selection = static_cast<const TreeSelection *>(data);
  if (selection->filter != nullptr) {
    return selection->filter->keeps(node, parent) ? 1 : 0;
  }
  const bool isIn = selection->apex == nullptr || isWithin(node, parent, selection->apex);
  const bool isOut = std::any_of(selection->removed.begin(), selection->removed.end(),
                                 [=](const xmlNode *top) { return isWithin(node, parent, top); });
  return isIn && !isOut ? 1 : 0;
}
}

inline Octets oracleOctets(xmlDoc *document, TreeSelection selection, const OracleForm &form) {
  std::vector<xmlChar *> prefixes;
  for (const std::string &prefix : form.prefixes) {
    prefixes.push_back(const_cast<xmlChar *>(xmlText(prefix.c_str())));
  }
  prefixes.push_back(nullptr);
  const xmlC14NMode mode = form.mode == C14nMode::exclusive     ? XML_C14N_EXCLUSIVE_1_0
                           : form.mode == C14nMode::inclusive10 ? XML_C14N_1_0
                                                                : XML_C14N_1_1;
  const bool withComments = form.withComments && selection.withComments;
  const MemoryWatch quiet;
  xmlOutputBuffer *buffer = xmlAllocOutputBuffer(nullptr);
  const int result = xmlC14NExecute(document, oracleSelects, &selection, mode,
                                    mode == XML_C14N_EXCLUSIVE_1_0 ? prefixes.data() : nullptr,
                                    withComments ? 1 : 0, buffer);
  Octets octets;
  if (result >= 0) {
    octets.emplace(plainText(xmlOutputBufferGetContent(buffer)), xmlOutputBufferGetSize(buffer));
  }
  xmlOutputBufferClose(buffer);
  return octets;
}

inline Octets ownOctets(xmlDoc *document, const TreeSelection &selection, const OracleForm &form) {
  const MemoryWatch quiet;
  if (!RefusalLook().admitsAll(asNode(document))) {
    return std::nullopt;
  }
  const std::vector<std::string_view> prefixes(form.prefixes.begin(), form.prefixes.end());
  StringSink sink;
  const bool isDone = canonicalizeTree(sink, document, selection,
                                       {form.mode, form.withComments, prefixes, nullptr});
  return isDone ? Octets(std::move(sink.text)) : std::nullopt;
}

// An XPath expression asked about every node once; both sides get the same answers.
class XPathNodes final : public NodeFilter {
 public:
  XPathNodes(xmlDoc *document, const char *expression) : document_(document) {
    context_.reset(xmlXPathNewContext(document));
    for (const auto &[prefix, uri] :
         {std::pair("ds", "http://www.w3.org/2000/09/xmldsig#"), std::pair("p", "urn:p")}) {
      xmlXPathRegisterNs(context_.get(), xmlText(prefix), xmlText(uri));
    }
    compiled_.reset(xmlXPathCtxtCompile(context_.get(), xmlText(expression)));
  }

  bool keeps(xmlNode *node, xmlNode *parent) noexcept override {
    const auto [place, isNew] = answers_.try_emplace({node, parent}, false);
    if (isNew) {
      place->second = ask(node, parent);
    }
    return place->second;
  }
  bool isUsable() const { return compiled_ != nullptr; }

 private:
  bool ask(xmlNode *node, xmlNode *parent) {
    xmlNs copy{};
    if (node->type == XML_NAMESPACE_DECL) {
      copy = *reinterpret_cast<xmlNs *>(node);
      copy.next = reinterpret_cast<xmlNs *>(parent);
      node = reinterpret_cast<xmlNode *>(&copy);
    }
    const MemoryWatch quiet;
    context_->doc = document_;
    context_->node = node;
    const XPathObject result(xmlXPathCompiledEval(compiled_.get(), context_.get()));
    return result != nullptr && xmlXPathCastToBoolean(result.get()) != 0;
  }

  xmlDoc *document_;
  XPathContext context_;
  XPathExpression compiled_;
  std::map<std::pair<xmlNode *, xmlNode *>, bool> answers_;
};

inline std::vector<OracleForm> oracleForms(const std::vector<std::string> &prefixes) {
  std::vector<OracleForm> forms;
  for (const bool withComments : {false, true}) {
    forms.push_back({C14nMode::inclusive10, withComments, {}});
    forms.push_back({C14nMode::inclusive11, withComments, {}});
    forms.push_back({C14nMode::exclusive, withComments, {}});
  }
  forms.push_back({C14nMode::exclusive, true, prefixes});
  return forms;
}

// Filters that keep and drop single attributes, namespaces, comments, texts and elements.
constexpr const char *kFilters[] = {
    "true()",
    "false()",
    "self::*",
    "not(self::*)",
    "self::text()",
    "self::comment()",
    "not(self::comment())",
    "self::processing-instruction()",
    "not(self::text())",
    "self::node()",
    "not(self::node())",
    "count(. | ../@*) = count(../@*)",
    "count(. | ../@*) != count(../@*)",
    "count(. | ../namespace::*) = count(../namespace::*)",
    "count(. | ../namespace::*) != count(../namespace::*)",
    "not(ancestor-or-self::ds:Signature)",
    "not(ancestor-or-self::ds:KeyInfo)",
    "ancestor-or-self::ds:SignedInfo",
    "not(self::ds:Signature)",
    "not(parent::ds:SignedInfo)",
    "not(self::*[@Id])",
    "ancestor::*[2]",
    "not(ancestor::*[2])",
    "count(ancestor::*) mod 2 = 0",
    "count(ancestor::*) mod 2 = 1",
    "count(ancestor::*) mod 3 != 0",
    "name() != 'Id'",
    "name() != 'Algorithm'",
    "name() = 'ds'",
    "name() != 'ds'",
    "name() != 'xml:lang'",
    "name() != 'xml:base'",
    "not(self::*[@xml:lang])",
    "not(self::*[@xml:base])",
    "not(self::*[@xml:base]) or name() = 'xml:base'",
    "string-length(name()) mod 2 = 0",
    "string-length(name()) != 1",
    "string-length(.) mod 2 = 0",
    "string-length(.) < 40",
    "namespace-uri() != 'urn:p'",
    "not(self::p:*)",
    "not(../self::p:*)",
    "self::* or count(. | ../namespace::*) = count(../namespace::*)",
    "(self::* and count(ancestor::*) mod 2 = 0) or (name() = 'p' and count(../namespace::*) > 1)",
    "not(self::*) or @*",
    "self::*[not(@*)] or name() = 'p'",
};

}  // namespace talvo::test
