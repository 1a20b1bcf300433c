#include "cli/program.h"

namespace talvo::test {
namespace {

class C14nTest : public ProgramTest {
 protected:
  C14nTest() {
    write("c.xml",
          "<?xml version='1.0'?><!DOCTYPE r [<!ENTITY e 'x'>]>"
          "<r xmlns='urn:r' xmlns:p=\"urn:p\"><!--c--><a b='2'   a='1' Id='i'>&e;</a><p:e/></r>");
  }
};

TEST_F(C14nTest, EveryModeWritesItsOctets) {
  const std::string a = "<a Id=\"i\" a=\"1\" b=\"2\">x</a>";
  const std::string open = "<r xmlns=\"urn:r\" xmlns:p=\"urn:p\">";
  const std::string inclusive = open + a + "<p:e></p:e></r>";
  const std::string comments = open + "<!--c-->" + a + "<p:e></p:e></r>";
  const std::string e = "<p:e xmlns:p=\"urn:p\"></p:e>";
  const std::pair<const char *, std::string> rows[] = {
      {"", inclusive},
      {"--mode c14n", inclusive},
      {"--mode c14n-comments", comments},
      {"--mode c14n11", inclusive},
      {"--mode c14n11-comments", comments},
      {"--mode exc", "<r xmlns=\"urn:r\">" + a + e + "</r>"},
      {"--mode exc-comments", "<r xmlns=\"urn:r\"><!--c-->" + a + e + "</r>"},
      {"--mode exc --prefixes p", inclusive},
      {"--id i", "<a xmlns=\"urn:r\" xmlns:p=\"urn:p\" Id=\"i\" a=\"1\" b=\"2\">x</a>"},
      {"--mode exc --xpath //p:e", e},
  };
  for (const auto &[options, expected] : rows) {
    SCOPED_TRACE(options);
    const Outcome outcome = run(std::string("c14n ") + options + " c.xml");
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(outcome.output, expected);
  }
}

TEST_F(C14nTest, BadInputIsNamedAndLeavesNoOutput) {
  write("empty.xml", "");
  write("broken.xml", "<a>");
  std::filesystem::create_directory(path("folder"));
  expectRefusals(
      {
          {"absent", "c14n none.xml -o o", 2, "^$", "none.xml: cannot be read"},
          {"empty", "c14n empty.xml -o o", 2, "^$", "empty.xml: is empty"},
          {"broken", "c14n broken.xml -o o", 2, "^$", "broken.xml: is not well-formed"},
          {"directory", "c14n folder -o o", 2, "^$", "folder: is a directory"},
          {"no such Id", "c14n --id x c.xml -o o", 2, "^$", "x: is the identifier"},
          {"several nodes", "c14n --xpath //* c.xml -o o", 2, "^$", "3 nodes"},
          {"no element", "c14n --xpath //@a c.xml -o o", 2, "^$", "no element"},
          {"no XPath", "c14n --xpath /// c.xml -o o", 2, "^$", "no XPath"},
          {"idle prefixes", "c14n --prefixes p c.xml -o o", 2, "^$", "exclusive"},
      },
      "o");
}

TEST_F(C14nTest, DashReadsStandardInput) {
  const Outcome outcome = run("c14n -", "<a  b='1'/>");
  EXPECT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_EQ(outcome.output, "<a b=\"1\"></a>");
}

TEST_F(C14nTest, OutputIsWholeAndKeepsLinksAndPermissions) {
  const auto mine = std::filesystem::perms::owner_read | std::filesystem::perms::owner_write;
  write("real/o", "old");
  std::filesystem::create_symlink("real/o", path("o"));
  std::filesystem::permissions(path("real/o"), mine);
  expectDone("c14n c.xml -o o");
  EXPECT_TRUE(std::filesystem::is_symlink(path("o")));
  EXPECT_EQ(read("real/o").substr(0, 3), "<r ");
  EXPECT_EQ(std::filesystem::status(path("real/o")).permissions(), mine);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(path("real")), {}), 1);
  expectRows({{"nowhere to write", "c14n c.xml -o no/o", 1, "^$", "no/o: cannot be"},
              {"full device", "c14n c.xml -o /dev/full", 1, "^$", "/dev/full: cannot"}});
}

}  // namespace
}  // namespace talvo::test
