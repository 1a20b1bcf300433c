// talvo-xml: signs, verifies and inspects XML documents from the command line, over the public
// headers of the libraries alone.
#include <cstdio>

#include "talvo_xml.h"

#include "cli/command.h"

namespace talvo::cli {

namespace {

class Library {
 public:
  Library() : ready_(talvo_xml_init() == 1) {}
  Library(const Library &) = delete;
  Library &operator=(const Library &) = delete;
  ~Library() { talvo_xml_end(); }

  bool ready() const { return ready_; }

 private:
  bool ready_;
};

constexpr void (*kCommands[])(CLI::App &, ExitStatus &) = {
    addSign,      addVerify,   addInspect, addC14n,        addDigest,
    addTimestamp, addAddCerts, addAddCrl,  addCountersign,
};

constexpr const char *kFooter =
    "Exit status: 0 done or valid; 1 invalid, or another failure; 2 wrong usage, unreadable or bad "
    "input.\n"
    "\"talvo-xml COMMAND --help\" describes a command. \"-\" stands for standard input and output.";

// CLI11 reports by exceptions; asking for help is one of them, and the only kind that is no wrong
// usage.
ExitStatus parse(CLI::App &program, int argc, char **argv, const ExitStatus &status) {
  try {
    program.parse(argc, argv);
    return status;
  } catch (const CLI::ParseError &error) {
    return program.exit(error) == 0 ? ExitStatus::done : ExitStatus::badInput;
  }
}

ExitStatus run(int argc, char **argv) {
  CLI::App program("Signs, verifies and inspects XML documents (XML Signature, XAdES).",
                   "talvo-xml");
  program.set_version_flag("--version", std::string("talvo-xml ") + talvo_xml_getversion());
  program.require_subcommand(1);
  program.footer(kFooter);
  ExitStatus status = ExitStatus::done;
  for (const auto add : kCommands) {
    add(program, status);
  }
  return parse(program, argc, argv, status);
}

}  // namespace

}  // namespace talvo::cli

int main(int argc, char **argv) {
  using talvo::cli::ExitStatus;
  const talvo::cli::Library library;
  if (!library.ready()) {
    std::fputs("talvo-xml: the library cannot be started\n", stderr);
    return static_cast<int>(ExitStatus::failed);
  }
  try {
    return static_cast<int>(talvo::cli::run(argc, argv));
  } catch (const std::exception &error) {
    std::fprintf(stderr, "talvo-xml: %s\n", error.what());
    return static_cast<int>(ExitStatus::failed);
  }
}
