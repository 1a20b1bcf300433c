// What must be signed, asked of what is.
#include <algorithm>

#include "base/list.h"
#include "base/utf8.h"
#include "policy/run.h"

namespace talvo::policy {
namespace {

// Where nobody has signed anything, that is said already, and every node would say it again.
bool hasValidSignature(const TalvoXmlReport &report) {
  return std::any_of(
      report.signatures.begin(), report.signatures.end(),
      [](const SignatureEntry &entry) { return entry.isValid && !entry.isCounterSignature; });
}

void noteUncovered(Run &run, const Uncovered &uncovered) {
  if (!hasValidSignature(run.report())) {
    return;
  }
  for (XmlNode *node : uncovered.nodes) {
    run.refuse(-1, {Reason::notCovered, {}, 0, -1, node});
  }
  for (XmlNode *node : uncovered.comments) {
    run.refuse(-1, {Reason::notCovered, {}, 0, -1, node});
  }
  for (XmlNode *node : uncovered.otherComments) {
    run.warn(-1, {Reason::commentNotCovered, {}, 0, -1, node});
  }
}

void coverRoot(Run &run) {
  Uncovered &uncovered = run.report().uncovered;
  uncovered = {};
  findUncovered(run.report().coverage, run.document(), nullptr, run.policy().refuseAnyComment,
                &uncovered);
  noteUncovered(run, uncovered);
}

void coverNode(Run &run, XmlNode *node) {
  if (kindOf(node) == NodeKind::document) {
    coverRoot(run);
    return;
  }
  Uncovered uncovered;
  findUncovered(run.report().coverage, run.document(), node, run.policy().refuseAnyComment,
                &uncovered);
  noteUncovered(run, uncovered);
}

void coverId(Run &run, std::string_view entry) {
  const UString id = makeString(entry.substr(1));
  XmlNode *element = talvo_xml_getidelemnode(run.document(), id.get());
  if (kindOf(element) == NodeKind::element) {
    coverNode(run, element);
  } else {
    run.refuse(-1, {Reason::notCovered, entry});
  }
}

void coverXPath(Run &run, const Text &expression) {
  std::vector<PrefixBinding> bindings;
  for (const NamespaceBinding &binding : run.policy().namespaces) {
    bindings.push_back({binding.prefix.c_str(), binding.uri.c_str()});
  }
  const List found =
      selectXPath(talvo_xml_doc_getrootelement(run.document()), expression.c_str(), bindings);
  if (items<XmlNode>(found).empty()) {
    run.refuse(-1, {Reason::notCovered, expression});
    return;
  }
  for (XmlNode *node : items<XmlNode>(found)) {
    coverNode(run, node);
  }
}

}  // namespace

void examineCoverage(Run &run) {
  const auto &cover = run.policy().cover;
  if (cover.empty()) {
    coverRoot(run);
  }
  for (const Text &entry : cover) {
    if (entry == "root") {
      coverRoot(run);
    } else if (entry.starts_with('#')) {
      coverId(run, entry);
    } else if (entry != "any") {
      coverXPath(run, entry);
    }
  }
}

}  // namespace talvo::policy
