// Runs the built program as its user does: in a folder of its own, as a child process, with what it
// writes and answers caught.
#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
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

// The words of a command: blanks part them, and what stands between apostrophes is one word.
inline std::vector<std::string> wordsOf(const std::string &command) {
  std::vector<std::string> words;
  for (size_t at = 0; (at = command.find_first_not_of(' ', at)) != std::string::npos;) {
    const bool isQuoted = command[at] == '\'';
    const size_t start = isQuoted ? at + 1 : at;
    const size_t end = std::min(command.find(isQuoted ? '\'' : ' ', start), command.size());
    words.push_back(command.substr(start, end - start));
    at = end + (isQuoted ? 1 : 0);
  }
  return words;
}

// A run and what must come of it. The patterns are searched for anywhere.
struct ProgramRow {
  const char *name;
  std::string command;
  int status;
  const char *output = "^$";
  const char *errors = "^$";
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

  Outcome run(const std::string &command, const std::string &input = "") const {
    write(".stdin", input);
    const pid_t child = ::fork();
    if (child == 0) {
      becomeProgram(wordsOf(command));
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read(".stdout"), read(".stderr")};
  }

  void expectRow(const ProgramRow &row) const {
    SCOPED_TRACE(row.name);
    const Outcome outcome = run(row.command);
    EXPECT_EQ(outcome.status, row.status) << outcome.output << outcome.errors;
    EXPECT_TRUE(matches(outcome.output, row.output)) << outcome.output;
    EXPECT_TRUE(matches(outcome.errors, row.errors)) << outcome.errors;
  }

  // Rows that leave no file behind them.
  void expectRefusals(const std::vector<ProgramRow> &rows, const std::string &output) const {
    for (const ProgramRow &row : rows) {
      expectRow(row);
      EXPECT_FALSE(exists(output)) << row.name;
    }
  }
  void expectRows(const std::vector<ProgramRow> &rows) const {
    for (const ProgramRow &row : rows) {
      expectRow(row);
    }
  }
  void expectDone(const std::string &command) const {
    const Outcome outcome = run(command);
    EXPECT_EQ(outcome.status, 0) << command << "\n" << outcome.output << outcome.errors;
  }

  // NAME.pem and NAME.key.
  void writeIdentity(const std::string &name, const Identity &identity) const {
    write(name + ".pem", identity.pem());
    write(name + ".key", privateKeyPem(identity.kind));
  }

  // Signs with the identity "signer".
  static std::string sign(const std::string &more) {
    return "sign --cert signer.pem --key signer.key " + more;
  }

 private:
  [[noreturn]] void becomeProgram(const std::vector<std::string> &arguments) const {
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
