// talvo-xml c14n: the canonical octets of a document or of one element of it.
#include "cli/algorithm.h"
#include "cli/command.h"
#include "cli/document.h"
#include "cli/prefixes.h"
#include "cli/text.h"

namespace talvo::cli {

namespace {

struct C14nOptions {
  std::string mode = "c14n";
  std::string prefixes;
  std::string id;
  std::string xpath;
  std::string output;
  std::string input;
};

void declare(CLI::App &command, C14nOptions &options) {
  command.add_option("--mode", options.mode, "One of " + c14nModeNames())
      ->type_name("MODE")
      ->capture_default_str();
  command
      .add_option("--prefixes", options.prefixes,
                  "Inclusive namespace prefixes of an exclusive mode, separated by blanks or "
                  "commas; #default is the default namespace")
      ->type_name("LIST");
  CLI::Option *id = command.add_option("--id", options.id, "Only the element with this identifier")
                        ->type_name("ID");
  command.add_option("--xpath", options.xpath, "Only the element that this expression selects")
      ->type_name("EXPR")
      ->excludes(id);
  addOutput(command, options.output);
  addInput(command, options.input);
}

Result<XmlNode *> chosenNode(XmlDoc *document, const C14nOptions &options) {
  if (!options.id.empty()) {
    return elementById(document, options.id);
  }
  return options.xpath.empty() ? Result<XmlNode *>(document)
                               : elementByXPath(document, options.xpath);
}

Check run(const C14nOptions &options) {
  const Result<uint32_t> mode = c14nModeByName(options.mode);
  if (!mode) {
    return mode.failure();
  }
  const Result<List> prefixes = parsePrefixes(options.prefixes);
  if (!prefixes) {
    return prefixes.failure();
  }
  if (*prefixes != nullptr && !isExclusive(*mode)) {
    return badInput("--prefixes goes with an exclusive --mode");
  }
  const Result<LoadedDocument> loaded = loadDocument(options.input);
  if (!loaded) {
    return loaded.failure();
  }
  const Result<XmlNode *> node = chosenNode(loaded->document.get(), options);
  if (!node) {
    return node.failure();
  }
  const Blob octets(talvo_xml_c14nnode(*node, *mode, prefixes->get()));
  if (octets == nullptr) {
    return failed(fileLabel(options.input) + ": cannot be canonicalised");
  }
  return writeFile(options.output, octetsOf(octets));
}

}  // namespace

void addC14n(CLI::App &program, ExitStatus &status) {
  addCommand<C14nOptions>(program, status, "c14n", "Write the canonical form of a document",
                          declare, run);
}

}  // namespace talvo::cli
