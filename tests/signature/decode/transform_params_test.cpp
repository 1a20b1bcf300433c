#include "signature/decode/transform_params.h"

#include <string>

#include "support/contexts.h"
#include "support/sample_signature.h"

namespace talvo::test {
namespace {

class TransformParamsTest : public LibraryTest {};

// "none", "a|b", or "error N".
std::string prefixesOf(const std::string &content) {
  const Document document = parse(expand("<t xmlns:ec='{ec}' xmlns:ds='{ds}'>" + content + "</t>"));
  PrefixBlock block;
  uint32_t error = 0;
  if (!decodeexcc14nnode(rootOf(document), &block, &error)) {
    return "error " + std::to_string(error);
  }
  bool ok = false;
  const List list = toTransformCtxParam(block, &ok);
  if (!ok) {
    return "not converted";
  }
  return list ? replacedAll(joined(list), " ", "|") : "none";
}

TEST_F(TransformParamsTest, ReadsPrefixLists) {
  struct Row {
    const char *content;
    const char *expected;
  };
  const Row rows[] = {
      {"", "none"},
      {"<ec:InclusiveNamespaces PrefixList='a'/>", "a"},
      {"<ec:InclusiveNamespaces PrefixList='a b #default'/>", "a|b|#default"},
      {"\n<!-- c --><ec:InclusiveNamespaces PrefixList='a'/><?pi?>\n", "a"},
      {"<ec:InclusiveNamespaces PrefixList='a&#9;b&#10;c d'/>", "a\tb\nc|d"},
      {"<ec:InclusiveNamespaces PrefixList='a  b'/>", "error 18"},
      {"<ec:InclusiveNamespaces PrefixList=' a'/>", "error 18"},
      {"<ec:InclusiveNamespaces PrefixList='a '/>", "error 18"},
      {"<ec:InclusiveNamespaces PrefixList=' '/>", "error 18"},
      {"<ec:InclusiveNamespaces PrefixList=''/>", "error 18"},
      {"<ec:InclusiveNamespaces/>", "error 18"},
      {"<ec:InclusiveNamespaces PrefixList='a' x=''/>", "error 18"},
      {"<ec:InclusiveNamespaces x='a'/>", "error 18"},
      {"<ec:InclusiveNamespaces ec:PrefixList='a'/>", "error 18"},
      {"<ec:InclusiveNamespaces PrefixList='a'> </ec:InclusiveNamespaces>", "error 18"},
      {"<ec:InclusiveNamespaces PrefixList='a'/><x/>", "error 18"},
      {"<ec:InclusiveNamespaces PrefixList='a'/>text", "error 18"},
      {"text<ec:InclusiveNamespaces PrefixList='a'/>", "error 18"},
      {"<ds:InclusiveNamespaces PrefixList='a'/>", "error 18"},
      {"\n", "error 18"},
      {"<!-- c -->", "error 18"},
  };
  for (const Row &row : rows) {
    EXPECT_EQ(prefixesOf(row.content), row.expected) << row.content;
  }
}

// The number of the context and its expression or count of prefixes, or "null".
std::string contextOf(const std::string &algorithm, const std::string &content) {
  const Document document = parse(expand("<t xmlns:ec='{ec}' xmlns:ds='{ds}'>" + content + "</t>"));
  Transform transform;
  transform.element = rootOf(document);
  transform.algorithm = str(expand(algorithm));
  const TransformContext context(toTransformCtx(&transform));
  if (!context) {
    return "null";
  }
  std::string text = std::to_string(context->algorithm);
  if (context->expression) {
    text += " " + textOf(context->expression);
  }
  return context->prefixes ? text + " " + std::to_string(items<void>(context->prefixes).size())
                           : text;
}

TEST_F(TransformParamsTest, TurnsTransformsIntoContexts) {
  struct Row {
    const char *algorithm;
    const char *content;
    const char *expected;
  };
  const Row rows[] = {
      {"{c14n}", "", "1"},
      {"{base64}", "ignored", "16"},
      {"{enveloped}", "", "48"},
      {"{exc-c14n}", "", "3"},
      {"{exc-c14n-comments}", "<ec:InclusiveNamespaces PrefixList='a b'/>", "4 2"},
      {"{exc-c14n}", "<x/>", "null"},
      {"{xpath}", "<ds:XPath><!-- c -->self::a<!-- c --></ds:XPath>", "32 self::a"},
      {"{xpath}", "<ds:XPath/>", "null"},
      {"{xpath}", "<XPath>a</XPath>", "null"},
      {"{xpath}", "", "null"},
      {"urn:unknown", "", "null"},
  };
  for (const Row &row : rows) {
    EXPECT_EQ(contextOf(row.algorithm, row.content), row.expected) << row.algorithm << row.content;
  }
  EXPECT_EQ(toTransformCtx(nullptr), nullptr);
}

}  // namespace
}  // namespace talvo::test
