// talvo-xml digest: the Base64 digests that the References of a document should carry.
#include "cli/base_path.h"
#include "cli/command.h"
#include "cli/document.h"
#include "cli/error_text.h"
#include "cli/list.h"
#include "cli/text.h"

namespace talvo::cli {

namespace {

// In SignedInfo and in Manifests, whether or not their signature is complete yet. What is no
// Reference of XML Signature is refused when it is digested.
constexpr const char *kReferences =
    "//*[local-name()='Reference'][parent::*[local-name()='SignedInfo' or "
    "local-name()='Manifest']]";

struct DigestOptions {
  std::string reference;
  std::string basePath;
  std::string idAttribute;
  bool allowNetwork = false;
  std::string output;
  std::string input;
};

void declare(CLI::App &command, DigestOptions &options) {
  command
      .add_option("--reference", options.reference,
                  "Only one Reference: its number from 1 in document order, or its Id (default: "
                  "all, one digest a line)")
      ->type_name("N|ID");
  addBasePath(command, options.basePath);
  addIdAttribute(command, options.idAttribute);
  command.add_flag("--allow-network", options.allowNetwork,
                   "Let references be fetched by http and https");
  addOutput(command, options.output);
  addInput(command, options.input);
}

Result<List> allReferences(XmlDoc *document) {
  talvo_arraylist *found = nullptr;
  if (talvo_xml_node_findxpath(talvo_xml_doc_getrootelement(document),
                               makeString(kReferences).get(), &found) != 1) {
    return failed("the References of the document cannot be found");
  }
  List references(found);
  if (items<XmlNode>(references).empty()) {
    return badInput("the document holds no Reference");
  }
  return references;
}

bool isChosen(XmlNode *reference, int32_t number, const std::string &choice) {
  std::string id;
  return choice.empty() || choice == std::to_string(number) ||
         (attributeValue(reference, "Id", id) && id == choice);
}

Result<std::string> digestOf(XmlNode *reference, const DigestOptions &options,
                             const UString &basePath) {
  uint32_t error = 0;
  const UString digest(talvo_xml_signature_calref(
      reference, options.allowNetwork ? TALVO_DEREFERENCE_NETWORK : 0, basePath.get(), &error));
  if (digest == nullptr) {
    std::string uri;
    attributeValue(reference, "URI", uri);
    return failed("reference \"" + shown(uri) + "\": error " + std::to_string(error) + ": " +
                  signErrorText(error));
  }
  return std::string(view(digest)) + "\n";
}

Result<std::string> digestLines(XmlDoc *document, const DigestOptions &options,
                                const UString &basePath) {
  const Result<List> references = allReferences(document);
  if (!references) {
    return references.failure();
  }
  std::string lines;
  int32_t number = 0;
  for (XmlNode *reference : items<XmlNode>(*references)) {
    if (!isChosen(reference, ++number, options.reference)) {
      continue;
    }
    const Result<std::string> line = digestOf(reference, options, basePath);
    if (!line) {
      return line.failure();
    }
    lines += *line;
  }
  return lines.empty()
             ? Result<std::string>(badInput("there is no reference " + shown(options.reference)))
             : lines;
}

Check run(const DigestOptions &options) {
  const Result<LoadedDocument> loaded = loadDocument(options.input);
  if (!loaded) {
    return loaded.failure();
  }
  if (Check problem = registerIds(loaded->document.get(), options.idAttribute)) {
    return problem;
  }
  const Result<UString> basePath = basePathFor(options.basePath, options.input);
  if (!basePath) {
    return basePath.failure();
  }
  const Result<std::string> lines = digestLines(loaded->document.get(), options, *basePath);
  return lines ? writeFile(options.output, *lines) : lines.failure();
}

}  // namespace

void addDigest(CLI::App &program, ExitStatus &status) {
  addCommand<DigestOptions>(program, status, "digest",
                            "Compute the digests that References should carry", declare, run);
}

}  // namespace talvo::cli
