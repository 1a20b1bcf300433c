// The commands of the program. Each `add...` hangs one onto the command line; when it was chosen
// and has run, its exit status stands in `status`.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/result.h"

namespace talvo::cli {

void addSign(CLI::App &program, ExitStatus &status);
void addVerify(CLI::App &program, ExitStatus &status);
void addInspect(CLI::App &program, ExitStatus &status);
void addC14n(CLI::App &program, ExitStatus &status);
void addDigest(CLI::App &program, ExitStatus &status);
void addTimestamp(CLI::App &program, ExitStatus &status);
void addAddCerts(CLI::App &program, ExitStatus &status);
void addAddCrl(CLI::App &program, ExitStatus &status);
void addCountersign(CLI::App &program, ExitStatus &status);

// Prints "talvo-xml: message" on standard error and answers the failure's exit status.
ExitStatus report(const Failure &failure);

// Adds a command whose options live in an Options and whose work is `run(options)`, which gives a
// Check. `declare(command, options)` declares the options.
template <class Options, class Declare, class Run>
void addCommand(CLI::App &program, ExitStatus &status, const char *name, const char *description,
                Declare declare, Run run) {
  CLI::App *command = program.add_subcommand(name, description);
  auto options = std::make_shared<Options>();
  declare(*command, *options);
  command->callback([&status, options, run] {
    const Check problem = run(*options);
    status = problem ? report(*problem) : ExitStatus::done;
  });
}

// The options that several commands share. Each repeatable option takes one value an occurrence:
// else it would swallow the documents behind it.
CLI::Option *addInput(CLI::App &command, std::string &input);
CLI::Option *addOutput(CLI::App &command, std::string &output);
CLI::Option *addSignatureChoice(CLI::App &command, std::string &which);
void addBasePath(CLI::App &command, std::string &folder);
void addIdAttribute(CLI::App &command, std::string &name);
CLI::Option *addRepeatable(CLI::App &command, const char *name, std::vector<std::string> &values,
                           const char *description, const char *type);

}  // namespace talvo::cli
