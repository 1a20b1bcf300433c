// Runs the built program as its user does: in a folder of its own, as a child process, with what it
// writes and answers caught.
#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <regex.h>

#include "support/keys.h"
#include "support/workshop.h"

namespace talvo::test {

struct Outcome {
  int status = -1;  // exit status; -1 when a signal ended the program
  std::string output;
  std::string errors;
};

using Arguments = std::vector<std::string>;

// Whether the POSIX extended expression fits anywhere. (The one of the standard library recurses for
// each character.)
inline bool matches(const std::string &text, const std::string &pattern) {
  regex_t expression;
  if (::regcomp(&expression, pattern.c_str(), REG_EXTENDED | REG_NOSUB) != 0) {
    ADD_FAILURE() << "no expression: " << pattern;
    return false;
  }
  const bool found = ::regexec(&expression, text.c_str(), 0, nullptr, 0) == 0;
  ::regfree(&expression);
  return found;
}

// A run and what must come of it. The patterns are searched for anywhere.
struct ProgramRow {
  const char *name;
  Arguments arguments;
  int status;
  const char *output;
  const char *errors;
};

class ProgramTest : public ::testing::Test {
 protected:
  ProgramTest() { write("in.xml", kInvoice); }

  static constexpr const char *kInvoice =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<inv:Invoice xmlns:inv=\"urn:invoice\" number=\"7\"><!-- draft -->\n"
      "  <inv:Total currency=\"EUR\">12.50 \xE2\x82\xAC</inv:Total>\n</inv:Invoice>\n";

  std::string path(const std::string &name) const { return workshop_.path(name); }
  bool exists(const std::string &name) const { return std::filesystem::exists(path(name)); }

  void write(const std::string &name, const std::string &content) const {
    std::filesystem::create_directories(std::filesystem::path(path(name)).parent_path());
    workshop_.write(name, content);
  }
  std::string read(const std::string &name) const { return workshop_.read(name); }
  bool shell(const std::string &command) const { return workshop_.run(command); }

  // Changes the first occurrence, which must exist.
  void replaceIn(const std::string &name, const std::string &from, const std::string &to) const {
    std::string content = read(name);
    const size_t at = content.find(from);
    ASSERT_NE(at, std::string::npos) << from;
    write(name, content.replace(at, from.size(), to));
  }

  Outcome run(const Arguments &arguments, const std::string &input = "") const {
    write(".stdin", input);
    const pid_t child = ::fork();
    if (child == 0) {
      becomeProgram(arguments);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read(".stdout"), read(".stderr")};
  }

  void expectRow(const ProgramRow &row) const {
    SCOPED_TRACE(row.name);
    const Outcome outcome = run(row.arguments);
    EXPECT_EQ(outcome.status, row.status) << outcome.output << outcome.errors;
    EXPECT_TRUE(matches(outcome.output, row.output)) << outcome.output;
    EXPECT_TRUE(matches(outcome.errors, row.errors)) << outcome.errors;
  }

  // NAME.pem and NAME.key.
  void writeIdentity(const std::string &name, const Identity &identity) const {
    write(name + ".pem", identity.pem());
    write(name + ".key", privateKeyPem(identity.kind));
  }

  Arguments signArguments(const Arguments &more, const std::string &name = "signer") const {
    Arguments arguments = {"sign", "--cert", name + ".pem", "--key", name + ".key"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
  }

 private:
  [[noreturn]] void becomeProgram(const Arguments &arguments) const {
    std::vector<char *> words = {const_cast<char *>("talvo-xml")};
    for (const std::string &argument : arguments) {
      words.push_back(const_cast<char *>(argument.c_str()));
    }
    words.push_back(nullptr);
    constexpr int kNew = O_WRONLY | O_CREAT | O_TRUNC;
    ::chdir(path("").c_str()) == 0 || (::_exit(120), true);
    ::dup2(::open(".stdin", O_RDONLY), STDIN_FILENO);
    ::dup2(::open(".stdout", kNew, 0600), STDOUT_FILENO);
    ::dup2(::open(".stderr", kNew, 0600), STDERR_FILENO);
    ::execv(TALVO_PROGRAM, words.data());
    ::_exit(121);
  }

  Workshop workshop_;
};

}  // namespace talvo::test
