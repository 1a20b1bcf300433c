// The directory of foreign signatures with verdicts that TALVO_XML_CORPUS names: tables of tab-separated columns and
// the files they speak of.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace talvo::test {

// Empty when the variable is not set; then the test says so and ends.
std::string corpusDirectory();

// One row by column name; "-" is read as empty.
using CorpusRow = std::map<std::string, std::string>;
std::vector<CorpusRow> corpusTable(const std::string &name);

// All bytes of a file; fails the running test when it cannot be read.
std::string readFile(const std::string &path);

std::vector<std::string> split(const std::string &text, char separator);

}  // namespace talvo::test
