#include "cli/command.h"

#include <cstdio>

namespace talvo::cli {

ExitStatus report(const Failure &failure) {
  std::fprintf(stderr, "talvo-xml: %s\n", failure.message.c_str());
  return failure.status;
}

CLI::Option *addInput(CLI::App &command, std::string &input) {
  return command.add_option("IN", input, "The document (- for standard input)")
      ->required()
      ->type_name("");
}

CLI::Option *addOutput(CLI::App &command, std::string &output) {
  return command
      .add_option("-o,--output", output, "Where the result goes (default: standard output)")
      ->type_name("OUT");
}

CLI::Option *addSignatureChoice(CLI::App &command, std::string &which) {
  return command
      .add_option("--signature", which,
                  "Which signature: its number from 1 in document order, or its Id (default: the "
                  "only one)")
      ->type_name("N|ID");
}

CLI::Option *addRepeatable(CLI::App &command, const char *name, std::vector<std::string> &values,
                           const char *description, const char *type) {
  return command.add_option(name, values, description)->allow_extra_args(false)->type_name(type);
}

void addBasePath(CLI::App &command, std::string &folder) {
  command
      .add_option("--base-path", folder,
                  "The folder that relative references are resolved against (default: the "
                  "document's)")
      ->type_name("DIR");
}

void addIdAttribute(CLI::App &command, std::string &name) {
  command
      .add_option("--id-attribute", name,
                  "Treat the attributes of this name as identifiers, in the whole document")
      ->type_name("NAME");
}

}  // namespace talvo::cli
