// The shape of the commands that add something to a signature: read a document, choose the
// signature, change it, write the document. The commands differ in the step between.
#pragma once

#include <string>

#include "cli/command.h"
#include "cli/document.h"
#include "cli/select.h"

namespace talvo::cli {

struct ExtendOptions {
  std::string signature;
  std::string output;
  std::string input;
};

inline void declareExtend(CLI::App &command, ExtendOptions &options) {
  addSignatureChoice(command, options.signature);
  addOutput(command, options.output);
  addInput(command, options.input);
}

// `change(signatureElement)` gives a Check; nothing is written after a failure.
template <class Change>
Check extendSignature(const ExtendOptions &options, Change change) {
  const Result<LoadedDocument> loaded = loadDocument(options.input);
  if (!loaded) {
    return loaded.failure();
  }
  const Result<XmlNode *> signature = chooseSignature(loaded->document.get(), options.signature);
  if (!signature) {
    return signature.failure();
  }
  if (Check problem = change(*signature)) {
    return problem;
  }
  return writeDocument(options.output, *loaded);
}

}  // namespace talvo::cli
