// talvo-xml inspect: everything that the decoder sees in the signatures of a document. Nothing is
// verified but time-stamps and countersignatures, and nothing is fetched.
#include "cli/command.h"
#include "cli/describe_signature.h"
#include "cli/document.h"
#include "cli/list.h"
#include "cli/node_path.h"
#include "cli/select.h"

namespace talvo::cli {

namespace {

struct InspectOptions {
  bool json = false;
  std::string output;
  std::string input;
};

void declare(CLI::App &command, InspectOptions &options) {
  command.add_flag("--json", options.json, "One JSON object");
  addOutput(command, options.output);
  addInput(command, options.input);
}

JsonObject inspectSignature(XmlNode *element, NodePaths &paths) {
  JsonObject report;
  report.text("path", paths.of(element));
  const SignatureRecord signature(talvo_xml_decode_signature(element));
  if (signature == nullptr) {
    return report.flag("decoded", false)
        .text("message", "the signature is not built as XML Signature demands");
  }
  report.flag("decoded", true);
  describeSignature(signature.get(), report);
  return report;
}

Check run(const InspectOptions &options) {
  const Result<LoadedDocument> loaded = loadDocument(options.input);
  if (!loaded) {
    return loaded.failure();
  }
  const List elements = allSignatures(loaded->document.get());
  JsonArray signatures;
  NodePaths paths;
  for (XmlNode *element : items<XmlNode>(elements)) {
    signatures.add(inspectSignature(element, paths));
  }
  JsonObject report;
  report.text("file", options.input);
  report.number("signatureCount", items<XmlNode>(elements).size());
  report.member("signatures", signatures.json());
  return writeFile(options.output,
                   options.json ? jsonLine(report.json()) + "\n" : textLines(report.json(), 0));
}

}  // namespace

void addInspect(CLI::App &program, ExitStatus &status) {
  addCommand<InspectOptions>(program, status, "inspect",
                             "Show what the signatures of a document say", declare, run);
}

}  // namespace talvo::cli
