#include "support/corpus.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

#include <gtest/gtest.h>

namespace talvo::test {

std::string corpusDirectory() {
  const char *path = std::getenv("TALVO_XML_CORPUS");
  return path == nullptr ? std::string() : std::string(path);
}

std::vector<std::string> split(const std::string &text, char separator) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, separator);) {
    parts.push_back(part);
  }
  return parts;
}

std::vector<CorpusRow> corpusTable(const std::string &name) {
  std::istringstream table(readFile(corpusDirectory() + "/" + name));
  std::string line;
  std::getline(table, line);
  const std::vector<std::string> columns = split(line, '\t');
  std::vector<CorpusRow> rows;
  while (std::getline(table, line)) {
    const std::vector<std::string> cells = split(line, '\t');
    CorpusRow row;
    for (size_t index = 0; index < columns.size() && index < cells.size(); ++index) {
      row[columns[index]] = cells[index] == "-" ? std::string() : cells[index];
    }
    rows.push_back(row);
  }
  return rows;
}

std::string readFile(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file) << path;
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace talvo::test
