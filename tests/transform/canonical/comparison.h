// Comparisons with libxml2 that fail the running test.
#pragma once

#include <gtest/gtest.h>

#include "transform/canonical/oracle.h"
#include "xml/tree.h"

namespace talvo::test {

inline const std::vector<std::string> kPrefixes = {"p", "ds", "#default", "x", "p"};

inline std::string shown(const Octets &octets) {
  return octets ? *octets : "(failure)";
}

inline void compare(xmlDoc *document, const TreeSelection &selection) {
  for (const OracleForm &form : oracleForms(kPrefixes)) {
    SCOPED_TRACE("mode " + std::to_string(static_cast<int>(form.mode)) +
                 (form.withComments ? " with comments" : "") +
                 (form.prefixes.empty() ? "" : " with prefixes"));
    ASSERT_EQ(shown(ownOctets(document, selection, form)),
              shown(oracleOctets(document, selection, form)));
  }
}

inline void compareSubtree(xmlDoc *document, const xmlNode *apex) {
  TreeSelection selection;
  selection.apex = apex;
  compare(document, selection);
}

inline void compareFilters(xmlDoc *document) {
  for (const char *expression : kFilters) {
    SCOPED_TRACE(expression);
    XPathNodes filter(document, expression);
    ASSERT_TRUE(filter.isUsable());
    TreeSelection selection;
    selection.filter = &filter;
    ASSERT_NO_FATAL_FAILURE(compare(document, selection));
  }
}

inline std::vector<const xmlNode *> elementsOf(xmlDoc *document) {
  std::vector<const xmlNode *> elements;
  forEachNode(asNode(document), [&elements](const xmlNode *node) {
    if (node->type == XML_ELEMENT_NODE) {
      elements.push_back(node);
    }
  });
  return elements;
}

}  // namespace talvo::test
