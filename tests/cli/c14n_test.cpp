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
  const std::string inclusive =
      "<r xmlns=\"urn:r\" xmlns:p=\"urn:p\"><a Id=\"i\" a=\"1\" b=\"2\">x</a><p:e></p:e></r>";
  const std::string comments =
      "<r xmlns=\"urn:r\" xmlns:p=\"urn:p\"><!--c--><a Id=\"i\" a=\"1\" "
      "b=\"2\">x</a><p:e></p:e></r>";
  const std::string exclusive =
      "<r xmlns=\"urn:r\"><a Id=\"i\" a=\"1\" b=\"2\">x</a><p:e xmlns:p=\"urn:p\"></p:e></r>";
  const std::string exclusiveComments =
      "<r xmlns=\"urn:r\"><!--c--><a Id=\"i\" a=\"1\" b=\"2\">x</a>"
      "<p:e xmlns:p=\"urn:p\"></p:e></r>";
  struct Row {
    Arguments options;
    std::string expected;
  };
  for (const Row &row : std::initializer_list<Row>{
           {{}, inclusive},
           {{"--mode", "c14n"}, inclusive},
           {{"--mode", "c14n-comments"}, comments},
           {{"--mode", "c14n11"}, inclusive},
           {{"--mode", "c14n11-comments"}, comments},
           {{"--mode", "exc"}, exclusive},
           {{"--mode", "exc-comments"}, exclusiveComments},
           {{"--mode", "exc", "--prefixes", "p"}, inclusive},
           {{"--id", "i"}, "<a xmlns=\"urn:r\" xmlns:p=\"urn:p\" Id=\"i\" a=\"1\" b=\"2\">x</a>"},
           {{"--mode", "exc", "--xpath", "//p:e"}, "<p:e xmlns:p=\"urn:p\"></p:e>"},
       }) {
    SCOPED_TRACE(::testing::PrintToString(row.options));
    Arguments arguments = {"c14n"};
    arguments.insert(arguments.end(), row.options.begin(), row.options.end());
    arguments.push_back("c.xml");
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(outcome.output, row.expected);
  }
}

TEST_F(C14nTest, BadInputIsNamedAndLeavesNoOutput) {
  write("empty.xml", "");
  write("broken.xml", "<a>");
  std::filesystem::create_directory(path("folder"));
  for (const ProgramRow &row : std::initializer_list<ProgramRow>{
           {"absent", {"c14n", "none.xml", "-o", "o"}, 2, "^$", "none.xml: cannot be read"},
           {"empty", {"c14n", "empty.xml", "-o", "o"}, 2, "^$", "empty.xml: is empty"},
           {"broken", {"c14n", "broken.xml", "-o", "o"}, 2, "^$", "broken.xml: is not well-formed"},
           {"directory", {"c14n", "folder", "-o", "o"}, 2, "^$", "folder: is a directory"},
           {"no such Id",
            {"c14n", "--id", "x", "c.xml", "-o", "o"},
            2,
            "^$",
            "x: is the identifier"},
           {"several nodes", {"c14n", "--xpath", "//*", "c.xml", "-o", "o"}, 2, "^$", "3 nodes"},
           {"no element", {"c14n", "--xpath", "//@a", "c.xml", "-o", "o"}, 2, "^$", "no element"},
           {"no XPath", {"c14n", "--xpath", "///", "c.xml", "-o", "o"}, 2, "^$", "no XPath"},
           {"idle prefixes", {"c14n", "--prefixes", "p", "c.xml", "-o", "o"}, 2, "^$", "exclusive"},
       }) {
    expectRow(row);
    EXPECT_FALSE(exists("o"));
  }
}

TEST_F(C14nTest, DashReadsStandardInput) {
  const Outcome outcome = run({"c14n", "-"}, "<a  b='1'/>");
  EXPECT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_EQ(outcome.output, "<a b=\"1\"></a>");
}

TEST_F(C14nTest, OutputIsWholeAndKeepsLinksAndPermissions) {
  write("real/o", "old");
  std::filesystem::create_symlink("real/o", path("o"));
  std::filesystem::permissions(
      path("real/o"), std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  EXPECT_EQ(run({"c14n", "c.xml", "-o", "o"}).status, 0);
  EXPECT_TRUE(std::filesystem::is_symlink(path("o")));
  EXPECT_EQ(read("real/o").substr(0, 3), "<r ");
  EXPECT_EQ(std::filesystem::status(path("real/o")).permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(path("real")), {}), 1);
  expectRow({"nowhere to write", {"c14n", "c.xml", "-o", "no/o"}, 1, "^$", "no/o: cannot be"});
  expectRow({"full device", {"c14n", "c.xml", "-o", "/dev/full"}, 1, "^$", "/dev/full: cannot"});
}

}  // namespace
}  // namespace talvo::test
