// Reads CSV as RFC 4180 writes it: fields separated by a delimiter (a comma
// unless told otherwise), records by CRLF or LF, a field in double quotes may
// hold delimiters, line breaks and doubled quotes. A UTF-8 byte order mark at
// the start is skipped; a blank last line is not a record. The input is read
// in blocks, and the field strings are reused from record to record.
#pragma once

#include <cstdint>
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
  explicit CsvReader(std::istream& in, char delimiter = ',');
  // The next record's fields; false at the end of the input. Throws CsvError
  // naming the line for a quote left open, text after a closing quote, and
  // a UTF-16 file (its byte order mark, or a NUL byte).
  bool Next(std::vector<std::string>* fields);
  // The line on which the last record began (1 for the first).
  std::uint64_t Line() const { return fnRecordLine; }

 private:
  bool Fill();
  int Get() { return fnPos < fnEnd || Fill() ? static_cast<unsigned char>(fnBuffer[fnPos++]) : -1; }
  int Peek() { return fnPos < fnEnd || Fill() ? static_cast<unsigned char>(fnBuffer[fnPos]) : -1; }
  void Start();
  [[noreturn]] void Fail(std::uint64_t line, std::string const& what) const;

  std::streambuf* fnIn;
  char fnDelimiter;
  std::vector<char> fnBuffer;
  std::size_t fnPos = 0, fnEnd = 0;
  bool fnStarted = false;
  std::uint64_t fnLine = 1;
  std::uint64_t fnRecordLine = 0;
};

// Whether `text` is well-formed UTF-8.
bool IsUtf8(std::string const& text);

}  // namespace treeout_cli
