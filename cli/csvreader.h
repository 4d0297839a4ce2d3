// Reads CSV as RFC 4180 writes it: fields separated by commas, records by
// CRLF or LF, a field in double quotes may hold commas, line breaks and
// doubled quotes. A blank last line is not a record.
#pragma once

#include <istream>
#include <stdexcept>
#include <string>
#include <vector>

namespace treeout_cli {

class CsvError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class CsvReader {
 public:
  explicit CsvReader(std::istream& in) : fnIn(in) {}
  // The next record's fields; false at the end of the input. Throws CsvError
  // for a quote left open or text after a closing quote, naming the line.
  bool Next(std::vector<std::string>* fields);
  // The line on which the last record began (1 for the first).
  int Line() const { return fnRecordLine; }

 private:
  std::istream& fnIn;
  int fnLine = 1;
  int fnRecordLine = 0;
};

}  // namespace treeout_cli
