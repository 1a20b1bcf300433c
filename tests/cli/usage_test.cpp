#include "cli/program.h"

namespace talvo::test {
namespace {

using UsageTest = ProgramTest;

TEST_F(UsageTest, HelpAndVersionAreNoErrors) {
  expectRows({
      {"help", "--help", 0, "verify.*Exit status"},
      {"help of a command", "verify --help", 0, "--base-path DIR"},
      {"version", "--version", 0, "^talvo-xml [0-9]+\\.[0-9]+"},
  });
}

TEST_F(UsageTest, WrongUsageExitsWithTwo) {
  expectRows({
      {"no command", "", 2, "^$", "subcommand"},
      {"unknown command", "frobnicate", 2, "^$", "."},
      {"unknown option", "verify --frobnicate in.xml", 2, "^$", "--frobnicate"},
      {"no file", "verify", 2, "^$", "FILE"},
      {"option without value", "verify in.xml --cert", 2, "^$", "--cert"},
      {"bad number of processes", "verify -j 0 in.xml", 2, "^$", "-j|--jobs"},
      {"odd HMAC key", "verify --policy plain --hmac-key abc in.xml", 2, "^$", "hexadecimal"},
      {"sign without certificate", "sign in.xml", 2, "^$", "--cert"},
      {"unknown mode", "c14n --mode c15n in.xml", 2, "^$", "c15n.*c14n-comments"},
      {"id and xpath", "c14n --id a --xpath /* in.xml", 2, "^$", "--id"},
  });
}

// A repeatable option takes one value; what follows are documents.
TEST_F(UsageTest, RepeatableOptionsLeaveTheDocumentsAlone) {
  write("a.der", makeIdentity().der());
  write("d1.xml", "<a/>");
  write("d2.xml", "<b/>");
  expectRow({"two documents", "verify --policy plain --cert a.der d1.xml d2.xml", 1,
             "^d1.xml: invalid: error 16: [^\n]*\nd2.xml: invalid: error 16: [^\n]*\n$"});
}

}  // namespace
}  // namespace talvo::test
