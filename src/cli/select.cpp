#include "cli/select.h"

#include <algorithm>
#include <charconv>

#include "cli/document.h"
#include "cli/list.h"
#include "cli/text.h"

namespace talvo::cli {

namespace {

// Digits alone are a number: no Id begins with one.
bool isNumber(const std::string &text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

Result<XmlNode *> byNumber(const List &signatures, const std::string &which) {
  int32_t number = 0;
  std::from_chars(which.data(), which.data() + which.size(), number);
  if (number < 1 || number > items<XmlNode>(signatures).size()) {
    return badInput("there is no signature " + which + ": the document holds " +
                    std::to_string(items<XmlNode>(signatures).size()));
  }
  return items<XmlNode>(signatures)[number - 1];
}

Result<XmlNode *> byId(const List &signatures, const std::string &which) {
  for (XmlNode *signature : items<XmlNode>(signatures)) {
    std::string id;
    if (attributeValue(signature, "Id", id) && id == which) {
      return signature;
    }
  }
  return badInput("no signature has the Id " + shown(which));
}

}  // namespace

List allSignatures(XmlDoc *document) {
  talvo_arraylist *found = nullptr;
  talvo_xml_node_findsignature(document, &found);
  return List(found);
}

Result<XmlNode *> chooseSignature(XmlDoc *document, const std::string &which) {
  const List signatures = allSignatures(document);
  const auto all = items<XmlNode>(signatures);
  if (all.empty()) {
    return badInput("the document holds no signature");
  }
  if (which.empty()) {
    return all.size() == 1 ? Result<XmlNode *>(all[0])
                           : badInput("the document holds " + std::to_string(all.size()) +
                                      " signatures: choose one with --signature");
  }
  return isNumber(which) ? byNumber(signatures, which) : byId(signatures, which);
}

}  // namespace talvo::cli
